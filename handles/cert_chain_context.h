// Owner of a certificate chain of the Crypto service.
#pragma once

#include "export.h"

// The platform's record; platform/crypto/crypto_service.h defines it.
struct _CERT_CHAIN_CONTEXT;

namespace ATL2 {

/// Holds one chain, null when empty, and frees it when destroyed. Moved, not copied.
///
///   ATL2::CCertChainContext chain;
///   if (!CertGetCertificateChain(..., chain.put())) ATL::AtlThrowLastWin32();
class TALLOW_EXPORT CCertChainContext {
public:
    constexpr CCertChainContext() noexcept = default;
    /// Takes `chain` over.
    explicit CCertChainContext(const _CERT_CHAIN_CONTEXT* chain) noexcept : chain_(chain) {}
    CCertChainContext(CCertChainContext&& other) noexcept;
    CCertChainContext& operator=(CCertChainContext&& other) noexcept;
    CCertChainContext(const CCertChainContext&) = delete;
    CCertChainContext& operator=(const CCertChainContext&) = delete;
    ~CCertChainContext() { reset(); }

    [[nodiscard]] const _CERT_CHAIN_CONTEXT* get() const noexcept { return chain_; }
    const _CERT_CHAIN_CONTEXT* operator->() const noexcept { return chain_; }
    explicit operator bool() const noexcept { return chain_ != nullptr; }
    /// Frees what is held and gives the place for a service call to write a new chain into.
    [[nodiscard]] const _CERT_CHAIN_CONTEXT** put() noexcept;
    /// Frees what is held and takes `chain` over.
    void reset(const _CERT_CHAIN_CONTEXT* chain = nullptr) noexcept;

private:
    const _CERT_CHAIN_CONTEXT* chain_ = nullptr;
};

}  // namespace ATL2
