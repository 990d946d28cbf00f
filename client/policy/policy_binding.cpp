#include "client/policy/policy_binding.h"

namespace Orvane::PKI::OCSP::Client {

const CRequestPolicy* sharedRequestPolicy() noexcept {
    return PolicyHolder<CRequestPolicy>::shared();
}

const CResponsePolicy* sharedResponsePolicy() noexcept {
    return PolicyHolder<CResponsePolicy>::shared();
}

template class PolicyBinding<CRequestPolicy>;
template class PolicyBinding<CResponsePolicy>;

}  // namespace Orvane::PKI::OCSP::Client
