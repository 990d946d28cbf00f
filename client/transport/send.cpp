// The way from a prepared request to an accepted response: whom to ask, in which order, and what the caller sees.
#include <cstring>
#include <optional>

#include "client/policy/address_text.h"
#include "client/request/request_impl.h"
#include "client/response/response.h"
#include "client/shared/ocsp_access.h"
#include "client/transport/http_exchange.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/support/support_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

// The level from which on Response holds what the present attempt received.
constexpr unsigned long kAnswerWasRead = 5;
// The level from which on an answer was received.
constexpr unsigned long kDecoding = 4;

// The deepest of the attempts that gave no accepted answer. At equal levels the earlier one stays.
struct BestAttempt {
    unsigned long level = 0;
    std::int32_t status = 0;
    std::optional<CResponse> response;

    void keep(unsigned long reached, std::int32_t attemptStatus, const CResponse* received) {
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

// Makes a check that of the request. A handler may send with the same request again: the check before comes back.
class CheckUnderWay {
public:
    CheckUnderWay(const NetworkCheck*& slot, const NetworkCheck& check) : slot_(slot), before_(slot) { slot = &check; }
    ~CheckUnderWay() { slot_ = before_; }
    CheckUnderWay(const CheckUnderWay&) = delete;
    CheckUnderWay& operator=(const CheckUnderWay&) = delete;

private:
    const NetworkCheck*& slot_;
    const NetworkCheck* before_;
};

}  // namespace

const CResponse& CRequest::Impl::Send(bool verify) {
    Attempts.clear();
    Proven = false;
    CheckPolicies(false);
    if (Encoded.cbData() == 0) {
        MakeRequest(nullptr, CertsChainWithRoot, nullptr);
    }
    const NetworkCheck check(downloads());
    const CheckUnderWay underWay(Check, check);
    const bool knowsCertificate = !SRCertificates.empty() && SRCertificates.front();
    if (OCSPAddressSet || SRCertIDs.size() > 1 || !knowsCertificate) {
        return sendDirect(verify);
    }
    const Candidates candidates = gatherCandidates();
    if (candidates.list.empty()) {
        ATL::AtlThrowImpl(status::kNoResponder);
    }
    return sendToCandidates(candidates, verify);
}

void CRequest::Impl::recordAttempt(std::int32_t outcome) {
    const bool wasHopRefused = Present.hopRefusal != 0;
    Attempt& attempt = Attempts.emplace_back();
    attempt.address = withoutCredentials(Present.hop.empty() ? HTTPParams.OCSPAddress : Present.hop);
    attempt.status = wasHopRefused ? Present.hopRefusal : outcome;
    attempt.level = wasHopRefused ? 1 : Level;
    // Below level 3 the status is still that of the exchange before.
    const bool answered = Level >= 3 && HTTPParams.HTTPStatus != kHttpNoAnswer;
    attempt.httpStatus = answered ? HTTPParams.HTTPStatus : 0;
    attempt.lastError = attempt.httpStatus == 0 ? Present.lastError : 0;
    attempt.fromCache = Present.fromCache;
    attempt.skippedDownloads = Check->skippedDownloads() - Present.skippedDownloads;
}

void CRequest::Impl::recordSkipped(const wchar_t* address) {
    Attempt& skipped = Attempts.emplace_back();
    skipped.kind = kSkipped;
    skipped.address = withoutCredentials(address);
    skipped.status = status::kNotAsked;
    TALLOW_TRACE("Send", "Not asked, the limits of one check were reached.\n");
}

std::int32_t CRequest::Impl::askHandlers(bool verify) {
    std::int32_t refusal = 0;
    try {
        refusal = verify ? VerifyingHandler.OnResponse(*Response) : 0;
        if (refusal == 0 && ResponseHandler != nullptr) {
            refusal = ResponseHandler->OnResponse(*Response);
        }
    } catch (const ATL::CAtlException& failure) {
        recordAttempt(failure.status());
        throw;
    } catch (...) {
        recordAttempt(status::kFail);
        throw;
    }
    recordAttempt(refusal);
    Proven = verify && refusal == 0;
    return refusal;
}

// Drops a refused answer from the cache, wherever it came from. "Revoked" is a verified answer and stays. A revocation
// status that could not be learnt says nothing against the answer, but a fresh one may have another signer.
bool CRequest::Impl::refutesCachedAnswer(std::int32_t outcome) const {
    if (outcome == status::kOk || Level < kDecoding || outcome == status::kCertificateRevoked ||
        outcome == status::kHandlerRevoked) {
        return false;
    }
    if (outcome != status::kNoRevocationCheck && outcome != status::kRevocationOffline) {
        forgetCachedAnswer(HTTPParams, Encoded);
    }
    return Present.fromCache && (Flags & kFlagCacheOnly) == 0;
}

template <typename Ask>
std::int32_t CRequest::Impl::askPastCache(Ask ask) {
    WireOnly = false;
    try {
        const std::int32_t outcome = ask();
        if (!refutesCachedAnswer(outcome)) {
            return outcome;
        }
    } catch (const ATL::CAtlException& failure) {
        if (!refutesCachedAnswer(failure.status())) {
            throw;
        }
    }
    WireOnly = true;
    return ask();
}

// One attempt; whatever it throws reaches the caller unchanged.
const CResponse& CRequest::Impl::sendDirect(bool verify) {
    const std::int32_t refusal = askPastCache([&] {
        try {
            SendOCSPRequest();
        } catch (const ATL::CAtlException& failure) {
            recordAttempt(failure.status());
            throw;
        } catch (...) {
            recordAttempt(status::kFail);
            throw;
        }
        return askHandlers(verify);
    });
    if (refusal != 0) {
        ATL::AtlThrowImpl(ATL2::convertLastError(static_cast<std::uint32_t>(refusal)));
    }
    return *Response;
}

// The status of one attempt: 0, or the negative status it failed with.
std::int32_t CRequest::Impl::attempt() {
    // "%S" is what the trace service takes for wide text; as a printf format it is an extension.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    TALLOW_TRACE("Send", "Sending request to \"%S\"...\n", withoutCredentials(HTTPParams.OCSPAddress).c_str());
#pragma GCC diagnostic pop
    try {
        SendOCSPRequest();
    } catch (const ATL::CAtlException& failure) {
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

const CResponse& CRequest::Impl::sendToCandidates(const Candidates& candidates, bool verify) {
    BestAttempt best;
    std::int32_t refusal = 0;
    std::size_t index = 0;
    std::uint32_t numAskedOwn = 0;
    for (const ASN1::CAccessDescription& candidate : candidates.list) {
        const bool isOwn = index++ < candidates.numOwn;
        if (std::strcmp(candidate.get_accessMethod(), kOidAccessMethodOcsp) != 0) {
            refusal = 0;
            continue;
        }
        const wchar_t* address = candidate.get_accessLocation().get_uniformResourceIdentifier();
        if ((isOwn && numAskedOwn >= Check->maxResponders()) || (best.level != 0 && isCheckOver())) {
            recordSkipped(address == nullptr ? L"" : address);
            continue;
        }
        HTTPParams.OCSPAddress = address == nullptr ? L"" : address;
        AddressIsNamed = !isOwn;
        numAskedOwn += isOwn ? 1 : 0;
        std::int32_t failure = 0;
        askPastCache([&] {
            refusal = 0;
            failure = attempt();
            if (failure != 0) {
                recordAttempt(failure);
                return failure;
            }
            // What the handlers throw leaves at once: a certificate proven revoked is not asked about elsewhere.
            refusal = askHandlers(verify);
            return refusal;
        });
        if (failure == 0 && refusal == 0) {
            return *Response;
        }
        if (refusal == status::kHandlerRevoked) {
            ATL::AtlThrowImpl(refusal);
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
