// Work without the administrator's policy, on one thread. Private to the library.
#pragma once

namespace Orvane::PKI::OCSP::Client {

/// While it is alive, every policy key that this thread reads counts as absent, and requests and responses made on the
/// thread bind policies that hold only defaults. With `isWanted` false policy counts again: scopes nest, and the
/// innermost decides.
class WithoutPolicy {
public:
    explicit WithoutPolicy(bool isWanted = true) noexcept;
    ~WithoutPolicy();
    WithoutPolicy(const WithoutPolicy&) = delete;
    WithoutPolicy& operator=(const WithoutPolicy&) = delete;

private:
    bool before_;
};

/// Whether this thread works without policy.
[[nodiscard]] bool isPolicyIgnored() noexcept;

}  // namespace Orvane::PKI::OCSP::Client
