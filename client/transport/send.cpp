// The way from a prepared request to an accepted response: whom to ask, in which order, and what the caller sees.
#include <cstring>
#include <optional>

#include "client/request/request_impl.h"
#include "client/transport/http_exchange.h"
#include "client/transport/ocsp_access.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/support/support_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

// The level from which on Response holds what the present attempt received.
constexpr unsigned long kAnswerWasRead = 5;

// The deepest of the attempts that gave no accepted answer. At equal levels the earlier one stays.
struct BestAttempt {
    unsigned long level = 0;
    std::int32_t status = 0;
    std::optional<CResponse> response;

    void keep(unsigned long reached, std::int32_t attemptStatus, CResponse const* received) {
        if (reached <= level) {
            return;
        }
        level = reached;
        status = attemptStatus;
        // Of a failed attempt the status is what the caller sees, never its response, which may not even be whole.
        if (attemptStatus == 0) {
            response.emplace(*received);
        }
    }
};

}  // namespace

CResponse const& CRequest::Impl::Send(bool verify) {
    Attempts.clear();
    CheckPolicies(false);
    if (Encoded.cbData() == 0) {
        MakeRequest(nullptr, CertsChainWithRoot, nullptr);
    }
    const bool knowsCertificate = !SRCertificates.empty() && SRCertificates.front();
    if (OCSPAddressSet || SRCertIDs.size() > 1 || !knowsCertificate) {
        return sendDirect(verify);
    }
    const ASN1::CAuthorityInfoAccessSyntax candidates = gatherCandidates();
    if (candidates.empty()) {
        ATL::AtlThrowImpl(status::kNoResponder);
    }
    return sendToCandidates(candidates, verify);
}

void CRequest::Impl::recordAttempt(std::int32_t outcome) {
    const std::uint32_t lastError = GetLastError();
    Attempt& attempt = Attempts.emplace_back();
    attempt.address = HTTPParams.OCSPAddress;
    attempt.status = outcome;
    attempt.level = Level;
    // Below level 3 the status is still that of the exchange before.
    const bool answered = Level >= 3 && HTTPParams.HTTPStatus != kHttpNoAnswer;
    attempt.httpStatus = answered ? HTTPParams.HTTPStatus : 0;
    attempt.lastError = attempt.httpStatus == 0 ? lastError : 0;
}

std::int32_t CRequest::Impl::askHandlers(bool verify) {
    std::int32_t refusal = 0;
    try {
        refusal = verify ? VerifyingHandler.OnResponse(*Response) : 0;
        if (refusal == 0 && ResponseHandler != nullptr) {
            refusal = ResponseHandler->OnResponse(*Response);
        }
    } catch (ATL::CAtlException const& failure) {
        recordAttempt(failure.status());
        throw;
    }
    recordAttempt(refusal);
    return refusal;
}

// One attempt; whatever it throws reaches the caller unchanged.
CResponse const& CRequest::Impl::sendDirect(bool verify) {
    try {
        SendOCSPRequest();
    } catch (ATL::CAtlException const& failure) {
        recordAttempt(failure.status());
        throw;
    }
    if (const std::int32_t refusal = askHandlers(verify); refusal != 0) {
        ATL::AtlThrowImpl(ATL2::convertLastError(static_cast<std::uint32_t>(refusal)));
    }
    return *Response;
}

// The status of one attempt: 0, or the negative status it failed with.
std::int32_t CRequest::Impl::attempt() {
    // "%S" is what the trace service takes for wide text; as a printf format it is an extension.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    TALLOW_TRACE("Send", "Sending request to \"%S\"...\n", HTTPParams.OCSPAddress.c_str());
#pragma GCC diagnostic pop
    try {
        SendOCSPRequest();
    } catch (ATL::CAtlException const& failure) {
        TALLOW_TRACE("Send", "Error occurred: 0x%X. Level: %lu\n", static_cast<unsigned int>(failure.status()), Level);
        if (failure.status() < 0) {
            return failure.status();
        }
        // A status that is not negative is no failure: the walk goes on as after success. But only with an answer of
        // this attempt: below, Response is what an earlier attempt left, or was not read to its end.
        return Level >= kAnswerWasRead ? 0 : status::kFail;
    } catch (...) {
        TALLOW_TRACE("Send", "Unknown error occurred. Level: %lu\n", Level);
        return status::kFail;
    }
    return 0;
}

CResponse const& CRequest::Impl::sendToCandidates(ASN1::CAuthorityInfoAccessSyntax const& candidates, bool verify) {
    BestAttempt best;
    std::int32_t refusal = 0;
    for (ASN1::CAccessDescription const& candidate : candidates) {
        refusal = 0;
        if (std::strcmp(candidate.get_accessMethod(), kOidAccessMethodOcsp) != 0) {
            continue;
        }
        wchar_t const* address = candidate.get_accessLocation().get_uniformResourceIdentifier();
        HTTPParams.OCSPAddress = address == nullptr ? L"" : address;
        const std::int32_t failure = attempt();
        if (failure != 0) {
            recordAttempt(failure);
        } else {
            // What the handlers throw leaves at once: a certificate proven revoked is not asked about elsewhere.
            refusal = askHandlers(verify);
            if (refusal == 0) {
                return *Response;
            }
            if (refusal == status::kHandlerRevoked) {
                ATL::AtlThrowImpl(refusal);
            }
        }
        best.keep(Level, failure, Response.get());
    }
    if (best.status < 0) {
        ATL::AtlThrowImpl(best.status);
    }
    if (refusal != 0) {
        ATL::AtlThrowImpl(refusal);
    }
    // The last candidate failed or was none, and the deepest answer was refused by a handler earlier: it is the best
    // answer at hand, and the caller gets it without an exception.
    if (best.response) {
        *Response = *best.response;
        return *Response;
    }
    ATL::AtlThrowImpl(status::kNoResponder);
}

}  // namespace Orvane::PKI::OCSP::Client
