// Owner of a certificate store of the Crypto service. Copies share the store; the last one closes it.
//
//   ATL2::CCertStore collection, memory;
//   int status = collection.Open(CERT_STORE_PROV_COLLECTION, 0, 0, nullptr);
//   if (status == 0) status = memory.AttachWeak(given);
//   if (status == 0) status = collection.AddStoreToCollection(memory, 0, 0);   // memory lives as long as collection
//
// Certificates found in a store are freed by their own handles and may outlive the store's owner.
#pragma once

#include <cstdint>
#include <list>
#include <memory>

#include "export.h"

namespace ATL2 {

/// Closes the store in a cell, if there is one, and frees the cell. An implementation detail of CCertStore.
class TALLOW_EXPORT CCertStoreDeleter {
public:
    /// With `checking` the service reports whether the store is still in use; the library never requests that.
    explicit CCertStoreDeleter(bool checking) noexcept : checking_(checking) {}
    void operator()(void** cell) const noexcept;

private:
    bool checking_;
};

/// The same for the cell of a store that was attached.
class CCertStoreNonCheckingDeleter : public CCertStoreDeleter {
public:
    using CCertStoreDeleter::CCertStoreDeleter;
};

/// A shared store handle. Copies share one cell with the raw handle, null while no store is open; a store opened
/// through one copy is open in all. The operations return their status, 0 or a negative number, and do not throw.
///
/// Copies may be used and destroyed on different threads only if none of them opens, attaches or adds meanwhile.
class TALLOW_EXPORT CCertStore {
public:
    /// No store open. Throws std::bad_alloc.
    CCertStore();
    CCertStore(const CCertStore& other) = default;
    CCertStore& operator=(const CCertStore& other) = default;
    /// Closes the store if no other copy shares it; a collection is closed before its members.
    ~CCertStore();

    /// The store handle (HCERTSTORE), which stays this object's; null when no store is open.
    [[nodiscard]] void* get() const noexcept { return Store ? *Store : nullptr; }
    /// Whether a store is open.
    explicit operator bool() const noexcept { return get() != nullptr; }

    /// Opens a store with CertOpenStore into the cell, which all copies share. `provider` is one of CERT_STORE_PROV_*,
    /// `parameter` is what that provider takes (a blob, a store name, null) and need not outlive the call; `encoding`
    /// and `flags` go to the service as they are.
    ///
    /// Returns 0x80004005 if a store is open already, and the converted last error if the service fails; nothing is
    /// open then.
    [[nodiscard]] std::int32_t Open(const char* provider, unsigned int encoding, unsigned int flags,
                                    const void* parameter) noexcept;
    /// Shares an existing store (an HCERTSTORE). This object takes another reference, so the store stays open as long
    /// as this object; the caller's handle stays the caller's, who must close it. Other copies of this object are not
    /// affected: they keep the old cell.
    ///
    /// Returns 0x80004005 if a store is open in this object, 0x80070057 for null, the converted last error if the
    /// service fails, 0x8007000E when memory is exhausted; the object is then unchanged.
    [[nodiscard]] std::int32_t AttachWeak(void* handle) noexcept;
    /// Adds `child` to the collection that is open in this object and keeps it alive as long as this object; copies of
    /// this object that exist already do not. Of several stores, the one with the higher `priority` is searched first;
    /// `updateFlags` go to the service as they are.
    ///
    /// Returns 0x80004005 if no store is open here, the converted last error if the service fails, and 0x8007000E when
    /// memory is exhausted: the service then has the child, but this object does not keep it alive.
    [[nodiscard]] std::int32_t AddStoreToCollection(const CCertStore& child, unsigned int updateFlags,
                                                    unsigned int priority) noexcept;
    /// Returns to the state of a new object. The store closes when no copy shares it. Throws std::bad_alloc.
    void Destroy();

private:
    std::shared_ptr<void*> Store;
    std::list<CCertStore> Children;
};

}  // namespace ATL2
