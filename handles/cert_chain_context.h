// Owner of a certificate chain of the Crypto service.
//
//   ATL2::CCertChainContext chain;
//   if (!CertGetCertificateChain(..., chain.put())) ATL2::throwLastErrorOrFail();
//   const DWORD errors = chain->TrustStatus.dwErrorStatus;
//
// A chain that was built is not a chain that is trusted: compare `errors`, or ask CertVerifyCertificateChainPolicy.
#pragma once

#include "export.h"

// The platform's record; platform/crypto/crypto_service.h defines it.
struct _CERT_CHAIN_CONTEXT;

namespace ATL2 {

/// Holds one chain, null when empty, and frees it when destroyed. Moved, not copied; no member throws. The certificates
/// in the chain belong to it: duplicate one that is to outlive the object (CCertContext::duplicate).
class TALLOW_EXPORT CCertChainContext {
public:
    constexpr CCertChainContext() noexcept = default;
    /// Takes ownership of `chain`, which nothing else may free; null gives an empty object.
    explicit CCertChainContext(const _CERT_CHAIN_CONTEXT* chain) noexcept : chain_(chain) {}
    /// A move leaves `other` empty; a move assignment frees the present chain first.
    CCertChainContext(CCertChainContext&& other) noexcept;
    CCertChainContext& operator=(CCertChainContext&& other) noexcept;
    CCertChainContext(const CCertChainContext&) = delete;
    CCertChainContext& operator=(const CCertChainContext&) = delete;
    ~CCertChainContext() { reset(); }

    /// The chain, which stays this object's; null when empty. Valid until the object is changed or destroyed. Use
    /// operator-> only on an object that is not empty.
    [[nodiscard]] const _CERT_CHAIN_CONTEXT* get() const noexcept { return chain_; }
    const _CERT_CHAIN_CONTEXT* operator->() const noexcept { return chain_; }
    /// Whether a chain is held.
    explicit operator bool() const noexcept { return chain_ != nullptr; }
    /// Frees the present chain and returns the place for a service call to write a new one into. The place belongs to
    /// this object and is valid as long as it. When the call fails, the object stays empty.
    [[nodiscard]] const _CERT_CHAIN_CONTEXT** put() noexcept;
    /// Frees the present chain and takes ownership of `chain`, which must not be the present one. Without an argument
    /// the object is empty afterward.
    void reset(const _CERT_CHAIN_CONTEXT* chain = nullptr) noexcept;

private:
    const _CERT_CHAIN_CONTEXT* chain_ = nullptr;
};

}  // namespace ATL2
