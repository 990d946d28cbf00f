// How policy is read, once per process: the switch between one policy for the process and one for each object, the
// other process-wide policy flags, and the binding of an object to its policy.
#pragma once

#include <memory>

#include "export.h"

/// 1 when the setting LegacyPolicyReading asks for a policy per object, else 0. The first call in the process reads the
/// setting; a failure to read it means 0 for the rest of the process. Any thread may call.
extern "C" TALLOW_EXPORT int IsLegacyPolicyReading() noexcept;

namespace Orvane::PKI::OCSP::Client {

/// False when the setting IssuerPropAIADisabled forbids to ask responders named in the issuer certificate's properties.
/// Read once per process; true when it cannot be read. Any thread may call.
[[nodiscard]] bool IssuerPropAIAEnabled() noexcept;

/// What a request or a response keeps of its policy: a pointer to the process's object, or an object of its own when
/// policy reading is legacy. It is not copied with the object that holds it: each binds its own.
template <class Policy>
class PolicyBinding {
public:
    PolicyBinding() noexcept = default;
    PolicyBinding(const PolicyBinding&) = delete;
    PolicyBinding& operator=(const PolicyBinding&) = delete;

    /// Binds anew; in legacy mode the settings are read anew too. Throws 0x8007045A when the process has no policy
    /// object, and in legacy mode what the policy's constructor throws, with no policy bound then.
    void bind();

    [[nodiscard]] const Policy* get() const noexcept { return policy_; }
    const Policy* operator->() const noexcept { return policy_; }
    const Policy& operator*() const noexcept { return *policy_; }

private:
    std::unique_ptr<const Policy> own_;
    const Policy* policy_ = nullptr;
};

}  // namespace Orvane::PKI::OCSP::Client
