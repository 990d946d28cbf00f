// Owner of a certificate store of the Crypto service. Copies share the store; the last one closes it.
//
//   ATL2::CCertStore collection, memory;
//   collection.Open(CERT_STORE_PROV_COLLECTION, 0, 0, nullptr);
//   memory.AttachWeak(given);
//   collection.AddStoreToCollection(memory, 0, 0);   // memory now lives as long as collection
#pragma once

#include <cstdint>
#include <list>
#include <memory>

#include "export.h"

namespace ATL2 {

/// Closes the store in a cell, if there is one, and frees the cell.
class TALLOW_EXPORT CCertStoreDeleter {
public:
    /// `checking` asks the service to report whether the store is still in use; the library never asks.
    explicit CCertStoreDeleter(bool checking) noexcept : checking_(checking) {}
    void operator()(void** cell) const noexcept;

private:
    bool checking_;
};

/// The same for the cell of a store that was attached.
class TALLOW_EXPORT CCertStoreNonCheckingDeleter {
public:
    explicit CCertStoreNonCheckingDeleter(bool checking) noexcept : checking_(checking) {}
    void operator()(void** cell) const noexcept;

private:
    bool checking_;
};

/// The cell holds the raw store handle, null when no store is open; a new object has a cell with a null handle. The
/// operations return their status, 0 or a negative number, and do not throw. Copies may be destroyed on different
/// threads.
class TALLOW_EXPORT CCertStore {
public:
    /// Throws std::bad_alloc.
    CCertStore();
    CCertStore(const CCertStore& other) = default;
    CCertStore& operator=(const CCertStore& other) = default;
    /// A collection is closed before its members.
    ~CCertStore();

    /// The store handle, which stays this object's; null when no store is open.
    [[nodiscard]] void* get() const noexcept { return Store ? *Store : nullptr; }
    explicit operator bool() const noexcept { return get() != nullptr; }

    /// Opens a store with CertOpenStore into the cell, which all copies share. `provider` is one of CERT_STORE_PROV_*,
    /// `parameter` is what that provider takes. Returns 0x80004005 if a store is open already, and the converted last
    /// error if none could be opened.
    [[nodiscard]] std::int32_t Open(const char* provider, unsigned int encoding, unsigned int flags,
                                    const void* parameter) noexcept;
    /// Shares an existing store. This object takes its own reference, so the store stays open as long as it does;
    /// the caller's handle stays the caller's. Returns 0x80004005 if a store is open in this object, 0x80070057 for
    /// null, the last error if the service refuses, 0x8007000E when memory is exhausted.
    [[nodiscard]] std::int32_t AttachWeak(void* handle) noexcept;
    /// Adds `child` to the collection that is open in this object and keeps it alive as long as this object. Returns
    /// 0x80004005 if no store is open here, the last error if the service refuses, 0x8007000E when memory is exhausted.
    [[nodiscard]] std::int32_t AddStoreToCollection(const CCertStore& child, unsigned int updateFlags,
                                                    unsigned int priority) noexcept;
    /// Back to the state of a new object. The store closes when no copy holds it. Throws std::bad_alloc.
    void Destroy();

private:
    std::shared_ptr<void*> Store;
    std::list<CCertStore> Children;
};

}  // namespace ATL2
