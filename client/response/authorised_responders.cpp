// The two thumbprint policies about responders: who is authorised, and who needs no revocation check.
#include <string>

#include "asn1/codec/rethrow_as_status.h"
#include "client/policy/policy_settings.h"
#include "client/response/response_impl.h"
#include "foundation/blob.h"
#include "foundation/trace.h"
#include "handles/last_error.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

// The SHA-1 thumbprint as the policies write it: upper-case hexadecimal without blanks.
std::wstring thumbprint(const _CERT_CONTEXT* cert) {
    DWORD size = 0;
    if (!CertGetCertificateContextProperty(cert, CERT_SHA1_HASH_PROP_ID, nullptr, &size)) {
        ATL2::throwLastErrorOrFail();
    }
    CBlob hash(static_cast<unsigned long>(size));
    if (!CertGetCertificateContextProperty(cert, CERT_SHA1_HASH_PROP_ID, hash.pbData(), &size)) {
        ATL2::throwLastErrorOrFail();
    }
    const CStringProxy narrow = hash.writeToHexString(0);
    const std::string_view text(narrow.c_str());
    return {text.begin(), text.end()};
}

}  // namespace

int IsOCSPAuthorized(const _CERT_CONTEXT* cert) try {
    CGPStrings authorized;
    loadThumbprints(authorized, settings::AuthorizedOCSPs);
    const std::wstring print = thumbprint(cert);
    const bool listed = authorized.Find(print.c_str());
    TALLOW_TRACE("IsOCSPAuthorized", "Check OCSP operator certificate %s against AuthorizedOCSPs policy, result: %s \n",
                 std::string(print.begin(), print.end()).c_str(), listed ? "true" : "false");
    return listed ? 1 : 0;
} catch (...) {
    ASN1::rethrowAsStatus();
}

int CResponse::Impl::IsOCSPNocheck(const _CERT_CONTEXT* cert) const {
    return Policy->NocheckOCSPs.Find(thumbprint(cert).c_str()) ? 1 : 0;
}

}  // namespace Orvane::PKI::OCSP::Client
