// Verifies a response as a whole, and one single response.
#include "asn1/codec/rethrow_as_status.h"
#include "client/response/response_impl.h"
#include "client/shared/certificate_access.h"
#include "client/shared/critical_extensions.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

std::int32_t CResponse::Verify(const _CERT_CONTEXT* cert, const char* criticalOIDs) const try {
    cert = impl_->responderToCheck(cert, nullptr, 0);
    // A certificate from the caller is used without comparing it with the responder id: VerifyCertificate decides
    // whether it may answer.
    if (!impl_->isSignedBy(encodingOf(cert))) {
        return status::kBadSignature;
    }
    // The message's own list is checked, so a critical nonce counts like any other critical extension.
    if (CriticalExtensionRule(criticalOIDs).refuses(impl_->BasicResponse.get_responseExtensions())) {
        return status::kCertCritical;
    }
    return status::kOk;
} catch (...) {
    ASN1::rethrowAsStatus();
}

std::int32_t CResponse::VerifySR(unsigned long index, const char* criticalOIDs, bool* authorized) const try {
    impl_->requireSuccessful();
    if (authorized == nullptr && impl_->SRAuthorized.empty()) {
        ATL::AtlThrowImpl(status::kNotSuccessful);
    }
    impl_->requireEntry(index);
    const bool mayAnswer = authorized != nullptr ? *authorized : impl_->SRAuthorized[index] != 0;
    if (!mayAnswer) {
        return status::kWrongUsage;
    }
    const CSingleResponse& entry = impl_->get_SingleResponse(index);
    const CDateTime* nextUpdate = entry.get_nextUpdate();
    // The import already refuses such an entry; this is a second line of defence.
    if (nextUpdate != nullptr && *nextUpdate <= entry.get_thisUpdate()) {
        return status::kNextBeforeThis;
    }
    // Only a response just received must be current: a stored response, or one about an earlier time, may be older.
    const bool mustBeCurrent = impl_->CheckNextUpdate && !impl_->SRHistoricalRequests.contains(index);
    if (mustBeCurrent && nextUpdate != nullptr && *nextUpdate <= CDateTime::Now()) {
        return status::kNotCurrent;
    }
    // An entry made after the certificate expired proves nothing: responders may forget expired certificates.
    if (const _CERT_CONTEXT* cert = impl_->SRCertificates[index].get(); cert != nullptr) {
        if (entry.get_thisUpdate() >= CDateTime(cert->pCertInfo->NotAfter)) {
            return status::kCertExpired;
        }
    }
    // The raw list of the entry also contains the extensions that were sorted into tables.
    if (CriticalExtensionRule(criticalOIDs).refuses(entry.get_singleExtensions())) {
        return status::kCriticalSingleExtension;
    }
    return status::kOk;
} catch (...) {
    ASN1::rethrowAsStatus();
}

}  // namespace Orvane::PKI::OCSP::Client
