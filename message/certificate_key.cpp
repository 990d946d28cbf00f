#include "message/certificate_key.h"

#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP {

ATL2::CCertContext openCertificate(const CBlob& certificate) {
    ATL2::CCertContext context = ATL2::CCertContext::adopt(CertCreateCertificateContext(
        X509_ASN_ENCODING, certificate.pbData(), static_cast<DWORD>(certificate.cbData())));
    if (!context) {
        ATL2::throwLastErrorOrFail();
    }
    return context;
}

CBlob hashOf(ALG_ID algorithm, const unsigned char* data, unsigned long size) {
    unsigned char hash[128];
    DWORD hashSize = sizeof hash;
    if (!CryptHashCertificate(0, algorithm, 0, data, static_cast<DWORD>(size), hash, &hashSize)) {
        ATL2::throwLastErrorOrFail();
    }
    return {hash, hashSize};
}

bool verifySignature(DWORD subjectType, void* subject, const ATL2::CCertContext& certificate) {
    if (CryptVerifyCertificateSignatureEx(0, X509_ASN_ENCODING, subjectType, subject,
                                          CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT,
                                          const_cast<_CERT_CONTEXT*>(certificate.get()), 0, nullptr)) {
        return true;
    }
    const DWORD lastError = GetLastError();
    // A key that cannot be used verifies nothing. Carried certificates are untrusted: one with a broken key must not
    // keep the search from going on to the responder's own.
    if (lastError == NTE_BAD_SIGNATURE || lastError == NTE_BAD_PUBLIC_KEY) {
        return false;
    }
    ATL::AtlThrowImpl(lastError == 0 ? status::kFail : ATL2::convertLastError(lastError));
}

}  // namespace Orvane::PKI::OCSP
