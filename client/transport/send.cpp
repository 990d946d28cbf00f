// From a prepared request to an accepted response: which responders are asked, in which order, and what the caller
// sees.
#include <cstring>
#include <optional>

#include "client/request/request_impl.h"
#include "client/response/response.h"
#include "client/shared/ocsp_access.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

// The deepest of the attempts without an accepted answer. At equal stages the earlier one stays.
class BestAttempt {
public:
    bool isReached() const { return stage_ != AttemptStage::kNotAsked; }

    // `failure` 0: the answer was refused, and `received` is kept. Of a failed attempt the caller sees the status,
    // never the response, which may not even be complete.
    void keep(AttemptStage reached, std::int32_t failure, const CResponse* received) {
        if (reached <= stage_) {
            return;
        }
        stage_ = reached;
        failure_ = failure;
        if (failure == 0) {
            refused_.emplace(*received);
        }
    }

    // What the caller sees after a walk in which no answer was accepted. When the last candidate failed or was no
    // responder, and the deepest answer was refused earlier, the caller gets that answer without an exception: it is
    // the best answer available.
    const CResponse& responseOrThrow(std::int32_t lastRefusal) const {
        if (failure_ < 0) {
            ATL::AtlThrowImpl(failure_);
        }
        if (lastRefusal != 0) {
            ATL::AtlThrowImpl(lastRefusal);
        }
        if (!refused_) {
            ATL::AtlThrowImpl(status::kNoResponder);
        }
        return *refused_;
    }

private:
    AttemptStage stage_ = AttemptStage::kNotAsked;
    std::int32_t failure_ = 0;
    std::optional<CResponse> refused_;
};

// Makes a check the current one of the request, and restores the one before at the end: a handler may send with the
// same request again.
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

template <typename Ask>
std::int32_t CRequest::Impl::askPastCache(Ask ask) {
    WireOnly = false;
    try {
        const std::int32_t outcome = ask();
        if (!forgetRefusedAnswer(outcome)) {
            return outcome;
        }
    } catch (const ATL::CAtlException& failure) {
        if (!forgetRefusedAnswer(failure.status())) {
            throw;
        }
    }
    WireOnly = true;
    return ask();
}

// One attempt; its exceptions reach the caller unchanged.
const CResponse& CRequest::Impl::sendDirect(bool verify) {
    const std::int32_t refusal = askPastCache([&] {
        attemptDirectly();
        return askHandlers(verify);
    });
    if (refusal != 0) {
        ATL::AtlThrowImpl(ATL2::convertLastError(static_cast<std::uint32_t>(refusal)));
    }
    return *Response;
}

CRequest::Impl::Outcome CRequest::Impl::askCandidate(const wchar_t* address, bool isOwn, bool verify) {
    HTTPParams.OCSPAddress = address;
    AddressIsNamed = !isOwn;
    Outcome outcome;
    askPastCache([&] {
        outcome = {.failure = attempt()};
        if (outcome.failure != 0) {
            recordAttempt(outcome.failure);
            return outcome.failure;
        }
        // What the handlers throw ends the walk: a certificate proven revoked is not asked about elsewhere.
        outcome.refusal = askHandlers(verify);
        return outcome.refusal;
    });
    return outcome;
}

const CResponse& CRequest::Impl::sendToCandidates(const Candidates& candidates, bool verify) {
    BestAttempt best;
    std::int32_t lastRefusal = 0;
    std::size_t index = 0;
    std::uint32_t numAskedOwn = 0;
    for (const ASN1::CAccessDescription& candidate : candidates.list) {
        const bool isOwn = index++ < candidates.numOwn;
        if (std::strcmp(candidate.get_accessMethod(), kOidAccessMethodOcsp) != 0) {
            lastRefusal = 0;
            continue;
        }
        const wchar_t* location = candidate.get_accessLocation().get_uniformResourceIdentifier();
        const wchar_t* address = location == nullptr ? L"" : location;
        if ((isOwn && numAskedOwn >= Check->maxResponders()) || (best.isReached() && isCheckOver())) {
            recordSkipped(address);
            continue;
        }
        numAskedOwn += isOwn ? 1 : 0;
        const Outcome outcome = askCandidate(address, isOwn, verify);
        lastRefusal = outcome.refusal;
        if (outcome.failure == 0 && lastRefusal == 0) {
            return *Response;
        }
        if (lastRefusal == status::kHandlerRevoked) {
            ATL::AtlThrowImpl(lastRefusal);
        }
        best.keep(Level, outcome.failure, Response.get());
    }
    *Response = best.responseOrThrow(lastRefusal);
    return *Response;
}

}  // namespace Orvane::PKI::OCSP::Client
