// How a request or a response gets its policy: from the process's one object, made at the first use, or in legacy mode
// from an object that it owns. Private to the library.
//
//   PolicyBinding<CRequestPolicy> policy;
//   policy.bind();
//   if (policy->UseNonceByDefault) ...
#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>
#include <utility>

#include "client/policy/policy_reading.h"
#include "client/policy/request_policy.h"
#include "client/policy/response_policy.h"
#include "client/policy/settings_scope.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

/// Holds the one policy object of the process from its first use. It is never destroyed: other threads may use it while
/// the process ends. There is one attempt to make it: if that fails, every later use fails too.
template <class Policy>
class PolicyHolder {
public:
    [[nodiscard]] static const Policy* shared() noexcept {
        return pthread_once(&oncePolicySingleton_, SetPolicySingleton) == 0 ? singleton_ : nullptr;
    }

    /// One that holds only defaults. Threads that come first may each make one. Waiting for each other, as for a static
    /// local object, would hang a child that is forked meanwhile.
    [[nodiscard]] static const Policy* defaults() {
        const Policy* kept = defaults_.load(std::memory_order_acquire);
        if (kept == nullptr) {
            auto made = std::make_unique<const Policy>();
            if (defaults_.compare_exchange_strong(kept, made.get(), std::memory_order_acq_rel)) {
                kept = made.release();
            }
        }
        return kept;
    }

private:
    static void SetPolicySingleton() noexcept {
        try {
            singleton_ = new const Policy;
        } catch (...) {
            // Stays null; each use of the policy reports the failure.
        }
    }

    static inline pthread_once_t oncePolicySingleton_ = PTHREAD_ONCE_INIT;
    static inline constinit const Policy* singleton_ = nullptr;
    static inline constinit std::atomic<const Policy*> defaults_{nullptr};
};

/// What a request or a response keeps of its policy: a pointer to the process's object, or an object that it owns when
/// policy reading is legacy. It is not copied with the object that holds it: each binds its own.
template <class Policy>
class PolicyBinding {
public:
    PolicyBinding() noexcept = default;
    PolicyBinding(const PolicyBinding&) = delete;
    PolicyBinding& operator=(const PolicyBinding&) = delete;

    /// Binds anew; in legacy mode the settings are read anew too. On a thread that works without policy it binds one
    /// that holds only defaults. Throws 0x8007045A when the process has no policy object, and in legacy mode what the
    /// policy's constructor throws, with no policy bound then.
    void bind();

    [[nodiscard]] const Policy* get() const noexcept { return policy_; }
    /// Throws 0x8007045A when no policy is bound: an object that failed to bind never applies a stale policy.
    const Policy* operator->() const { return &**this; }
    const Policy& operator*() const {
        if (policy_ == nullptr) {
            ATL::AtlThrowImpl(status::kNoPolicy);
        }
        return *policy_;
    }

private:
    std::unique_ptr<const Policy> own_;
    const Policy* policy_ = nullptr;
};

template <class Policy>
void PolicyBinding<Policy>::bind() {
    policy_ = nullptr;
    if (isPolicyIgnored()) {
        policy_ = PolicyHolder<Policy>::defaults();
        return;
    }
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

/// The process's policies, made at the first call; null when they could not be made, then and for ever. The library
/// owns them.
[[nodiscard]] const CRequestPolicy* sharedRequestPolicy() noexcept;
[[nodiscard]] const CResponsePolicy* sharedResponsePolicy() noexcept;

extern template class PolicyBinding<CRequestPolicy>;
extern template class PolicyBinding<CResponsePolicy>;

}  // namespace Orvane::PKI::OCSP::Client
