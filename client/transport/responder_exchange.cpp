#include "client/transport/responder_exchange.h"

#include <cstring>

#include "client/request/request_impl.h"
#include "client/shared/ocsp_access.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

ResponderExchange::ResponderExchange(CRequest& request) : request_(request), check_(request.impl_->downloads()) {
    CRequest::Impl& impl = *request_.impl_;
    impl.Attempts.clear();
    impl.IsCacheOff = true;
    impl.CheckPolicies(false);  // an imported request is not built, which would check it
    static_cast<void>(encoded());
    impl.Check = &check_;
}

ResponderExchange::~ResponderExchange() {
    request_.impl_->Check = nullptr;
}

std::vector<ResponderExchange::Candidate> ResponderExchange::candidates(std::vector<Candidate>& skipped) const {
    const CRequest::Impl& impl = *request_.impl_;
    std::vector<Candidate> found;
    if (impl.SRCertificates.empty() || !impl.SRCertificates.front()) {
        return found;
    }
    const CRequest::Impl::Candidates gathered = impl.gatherCandidates();
    std::size_t index = 0;
    std::uint32_t numOwn = 0;
    const std::size_t numOfPolicy = impl.Policy->DefaultOCSPURL.empty() ? 0 : 1;  // it comes last
    for (const ASN1::CAccessDescription& candidate : gathered.list) {
        const bool isOwn = index++ < gathered.numOwn;
        const wchar_t* const address = candidate.get_accessLocation().get_uniformResourceIdentifier();
        if (std::strcmp(candidate.get_accessMethod(), kOidAccessMethodOcsp) != 0 || address == nullptr) {
            continue;
        }
        numOwn += isOwn ? 1 : 0;
        (isOwn && numOwn > check_.maxResponders() ? skipped : found)
            .push_back({address, !isOwn, !isOwn && index + numOfPolicy > gathered.list.size()});
    }
    return found;
}

const CBlob& ResponderExchange::encoded() {
    CRequest::Impl& impl = *request_.impl_;
    if (impl.Encoded.cbData() == 0) {
        impl.CheckPolicies(false);
        impl.MakeRequest(nullptr, CRequest::CertsChainWithRoot, nullptr);
    }
    return impl.Encoded;
}

CBlob ResponderExchange::ask(const Candidate& candidate) {
    static_cast<void>(encoded());
    CRequest::Impl& impl = *request_.impl_;
    impl.HTTPParams.OCSPAddress = candidate.address;
    impl.AddressIsNamed = candidate.isNamed;
    CBlob body = impl.askForBodyRecorded();
    impl.ResponseBytes = body;
    // What the caller does with the answer belongs to the verification, until it says otherwise.
    impl.Level = AttemptStage::kVerification;
    return body;
}

void ResponderExchange::end(std::int32_t outcome) {
    request_.impl_->recordAttempt(outcome);
}

const CBlob& ResponderExchange::nonceOf(const CRequest& request) {
    return request.impl_->Nonce;
}

}  // namespace Orvane::PKI::OCSP::Client
