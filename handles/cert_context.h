// Owner of a certificate context of the Crypto service.
//
//   ATL2::CCertContext signer = ATL2::CCertContext::duplicate(given);
//   if (const std::int32_t status = signer.DetachFromStore(); status < 0) ATL::AtlThrowImpl(status);
#pragma once

#include <cstdint>

#include "export.h"
#include "handles/string.h"

// The platform's record; platform/crypto/crypto_service.h defines it.
struct _CERT_CONTEXT;

namespace ATL2 {

/// Holds one reference to a certificate, null when empty. A copy takes its own reference, a move hands it over.
/// The operations return their status, 0 or a negative number; they throw only what is named.
class TALLOW_EXPORT CCertContext {
public:
    constexpr CCertContext() noexcept = default;
    /// Takes over the caller's reference; null gives an empty object.
    [[nodiscard]] static CCertContext adopt(const _CERT_CONTEXT* context) noexcept { return CCertContext(context); }
    /// Takes its own reference; the caller keeps its own; null gives an empty object.
    [[nodiscard]] static CCertContext duplicate(const _CERT_CONTEXT* context) noexcept;
    CCertContext(const CCertContext& other) noexcept;
    CCertContext(CCertContext&& other) noexcept : context_(other.detach()) {}
    CCertContext& operator=(const CCertContext& other) noexcept;
    CCertContext& operator=(CCertContext&& other) noexcept;
    ~CCertContext() { reset(); }

    /// The handle held, which stays this object's; null when empty.
    [[nodiscard]] const _CERT_CONTEXT* get() const noexcept { return context_; }
    const _CERT_CONTEXT* operator->() const noexcept { return context_; }
    explicit operator bool() const noexcept { return context_ != nullptr; }
    /// Releases what is held and takes over `context`.
    void reset(const _CERT_CONTEXT* context = nullptr) noexcept;
    /// Gives the handle away; the caller must free it.
    [[nodiscard]] const _CERT_CONTEXT* detach() noexcept;
    void swap(CCertContext& other) noexcept;

    /// Makes the certificate independent of the store it came from: a new context with the same bytes and the same
    /// properties, but for those that the service derives again or that mean nothing on a copy (thumbprints and the
    /// like). Returns 0x80004005 on an empty object and otherwise the converted last error of the step that failed; the
    /// object then keeps its old context.
    [[nodiscard]] std::int32_t DetachFromStore();
    /// Reads property `id` into `value` as octets. Returns 0x80004005 on an empty object, or the converted last error;
    /// `value` is then without meaning. Throws 0x80070057 for a size that the string cannot hold.
    [[nodiscard]] std::int32_t GetProperty(unsigned int id, ATL::CStringA& value) const;
    /// Reads the key provider information (property 2); one reading does for up to 512 octets. Fails as GetProperty.
    [[nodiscard]] std::int32_t GetKeyProvInfo(ATL::CStringA& value) const;

private:
    explicit CCertContext(const _CERT_CONTEXT* context) noexcept : context_(context) {}

    const _CERT_CONTEXT* context_ = nullptr;
};

}  // namespace ATL2
