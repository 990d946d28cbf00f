// Owner of a certificate context of the Crypto service. Which factory to use depends on who frees the handle:
//
//   auto made = ATL2::CCertContext::adopt(CertCreateCertificateContext(encoding, der, size));   // ours to free
//   auto signer = ATL2::CCertContext::duplicate(given);                                         // stays the caller's
//   if (const std::int32_t status = signer.DetachFromStore(); status < 0) ATL::AtlThrowImpl(status);
#pragma once

#include <cstdint>

#include "export.h"
#include "handles/string.h"

// The platform's record; platform/crypto/crypto_service.h defines it.
struct _CERT_CONTEXT;

namespace ATL2 {

/// Holds one reference to a certificate, null when empty. A copy takes another reference, a move transfers it and
/// leaves the source empty. The operations return their status, 0 or a negative number (handles/status.h); they throw
/// only what is named. The bytes and properties are shared by all references: what one sets, all see.
class TALLOW_EXPORT CCertContext {
public:
    constexpr CCertContext() noexcept = default;
    /// Takes over the caller's reference; null gives an empty object.
    [[nodiscard]] static CCertContext adopt(const _CERT_CONTEXT* context) noexcept { return CCertContext(context); }
    /// Takes another reference; the caller keeps the one passed in. Null gives an empty object.
    [[nodiscard]] static CCertContext duplicate(const _CERT_CONTEXT* context) noexcept;
    CCertContext(const CCertContext& other) noexcept;
    CCertContext(CCertContext&& other) noexcept : context_(other.detach()) {}
    CCertContext& operator=(const CCertContext& other) noexcept;
    CCertContext& operator=(CCertContext&& other) noexcept;
    ~CCertContext() { reset(); }

    /// The handle, which stays this object's; null when empty. Valid until the object is changed or destroyed. Use
    /// operator-> only on an object that is not empty.
    [[nodiscard]] const _CERT_CONTEXT* get() const noexcept { return context_; }
    const _CERT_CONTEXT* operator->() const noexcept { return context_; }
    /// Whether a certificate is held.
    explicit operator bool() const noexcept { return context_ != nullptr; }
    /// Releases the present reference and takes over `context`, or nothing for null.
    void reset(const _CERT_CONTEXT* context = nullptr) noexcept;
    /// Returns the handle and leaves this object empty; the caller must free it with CertFreeCertificateContext.
    [[nodiscard]] const _CERT_CONTEXT* detach() noexcept;
    void swap(CCertContext& other) noexcept;

    /// Makes the certificate independent of the store it came from: a new context with the same bytes and the same
    /// properties, except those that the service derives again or that mean nothing on a copy (thumbprints and the
    /// like). Returns 0x80004005 for an empty object, otherwise the converted last error of the step that failed; the
    /// object then keeps its old context. Throws 0x8007000E when memory for a property is exhausted, with the same
    /// state.
    [[nodiscard]] std::int32_t DetachFromStore();
    /// Reads the property `id` (a CERT_..._PROP_ID) into `value` as octets, `value.GetLength()` of them. Those of
    /// property 2 contain pointers into themselves, which are valid until `value` changes.
    ///
    /// Returns 0x80004005 for an empty object, or the converted last error, 0x80092004 when the certificate does not
    /// have the property; the content of `value` is then undefined. Throws 0x80070057 for a size that the string cannot
    /// hold, and 0x8007000E when memory is exhausted.
    [[nodiscard]] std::int32_t GetProperty(unsigned int id, ATL::CStringA& value) const;
    /// Reads the key provider information (property 2, a CRYPT_KEY_PROV_INFO whose pointers refer into the octets:
    /// valid until `value` changes); one call of the service is enough for up to 512 octets. Fails as GetProperty;
    /// `value` is then empty.
    [[nodiscard]] std::int32_t GetKeyProvInfo(ATL::CStringA& value) const;

private:
    explicit CCertContext(const _CERT_CONTEXT* context) noexcept : context_(context) {}

    const _CERT_CONTEXT* context_ = nullptr;
};

}  // namespace ATL2
