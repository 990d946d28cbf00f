// How the process's policy objects are made and bound, alike for requests and responses. Private to this folder.
#pragma once

#include <pthread.h>

#include <memory>
#include <utility>

#include "client/policy/policy_reading.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

/// Holds the one policy object of the process from its first use until the library is unloaded. There is one attempt to
/// make it: if that fails, every later use fails too.
template <class Policy>
class PolicyHolder {
public:
    [[nodiscard]] static const Policy* shared() noexcept {
        return pthread_once(&oncePolicySingleton_, SetPolicySingleton) == 0 ? singleton_.get() : nullptr;
    }

private:
    static void SetPolicySingleton() noexcept {
        try {
            singleton_ = std::make_unique<const Policy>();
        } catch (...) {
            // Stays null; whoever asks for the policy reports it.
        }
    }

    static inline pthread_once_t oncePolicySingleton_ = PTHREAD_ONCE_INIT;
    static inline constinit std::unique_ptr<const Policy> singleton_;
};

template <class Policy>
void PolicyBinding<Policy>::bind() {
    policy_ = nullptr;
    if (IsLegacyPolicyReading() != 0) {
        own_.reset();
        own_ = std::make_unique<const Policy>();
        policy_ = own_.get();
        return;
    }
    policy_ = PolicyHolder<Policy>::shared();
    if (policy_ == nullptr) {
        ATL::AtlThrowImpl(status::kNoPolicy);
    }
}

}  // namespace Orvane::PKI::OCSP::Client
