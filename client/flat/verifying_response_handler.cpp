#include "client/flat/verifying_response_handler.h"

#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

CVerifyingResponseHandler::CVerifyingResponseHandler(CRequest& request, void** stores, unsigned long count)
    : request_(request), stores_(stores), storeCount_(count) {}

CVerifyingResponseHandler::~CVerifyingResponseHandler() = default;

std::int32_t CVerifyingResponseHandler::OnResponse(const CResponse& response) {
    if (response.get_Status() != 0) {
        return status::kNotSuccessful;
    }
    // A null certificate is passed on: Verify searches once more and throws the status that names what is missing.
    const _CERT_CONTEXT* responder = response.get_OCSPCertificate(stores_, storeCount_);
    if (const std::int32_t verdict = response.Verify(responder, nullptr); verdict != 0) {
        return verdict;
    }
    if (const std::int32_t verdict = response.VerifyCertificate(responder, false, stores_, storeCount_); verdict != 0) {
        return verdict;
    }
    for (unsigned long i = 0; i < request_.get_SRNumber(); ++i) {
        const unsigned long index = response.get_SRIndexByCertID(request_.get_SRCertID(i));
        if (index == CResponse::kNoIndex) {
            return status::kNotAnswered;
        }
        if (const std::int32_t verdict = response.VerifySR(index, nullptr, nullptr); verdict != 0) {
            return verdict;
        }
        switch (response.get_SRStatus(index)) {
            case CCertStatus::kUnknown:
                return status::kCertificateUnknown;
            case CCertStatus::kRevoked:
                ATL::AtlThrowImpl(status::kCertificateRevoked);
            default:
                break;
        }
    }
    return status::kOk;
}

}  // namespace Orvane::PKI::OCSP::Client
