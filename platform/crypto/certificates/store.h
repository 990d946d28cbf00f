// The stores of CertOpenStore: a memory store holds certificates and CRLs, a collection shows its members. A system
// store is a memory store filled from directories (system_store.h). Every member function may be called from any
// thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "platform/crypto/certificates/certificate.h"
#include "platform/crypto/certificates/crl.h"

namespace tallow::platform {

class StoreRef;

class Store {
public:
    // The store behind a handle; null for null.
    static Store* of(HCERTSTORE handle) noexcept { return static_cast<Store*>(handle); }
    HCERTSTORE handle() noexcept { return this; }

    void addReference() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void dropReference() noexcept;

    // All certificates in the store; for a collection, those of its members in order.
    virtual std::vector<CertificateRef> certificates() const = 0;
    virtual std::vector<CrlRef> crls() const = 0;
    // Whether a CRL may be missing because a file could not be read when the store was filled, and how to record that.
    virtual bool mayLackCrl() const = 0;
    virtual void noteMissingCrl() = 0;
    // The certificate after `previous` (null: the first); empty at the end.
    virtual CertificateRef after(const Certificate* previous) const = 0;

    // 0, or the last error to set. `added` receives the store's own context when not null.
    virtual DWORD add(const Certificate& certificate, DWORD disposition, CertificateRef* added) = 0;
    virtual DWORD add(CrlRef crl, DWORD disposition) = 0;
    // 0, or the last error to set.
    virtual DWORD addMember(Store& member, DWORD priority) = 0;
    // Whether `other` is this store or a member at any depth.
    virtual bool contains(const Store& other) const = 0;
    // Whether the store contains this context itself, not only an equal one.
    virtual bool holds(const Certificate* certificate) const = 0;
    // Appends the memory stores of this store in order; one may appear twice.
    virtual void appendLeaves(std::vector<StoreRef>& leaves) = 0;

    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    virtual ~Store() = default;  // only the last reference destroys it

protected:
    Store() = default;

private:
    std::atomic<unsigned int> references_{1};
};

// A counted reference to a store.
class StoreRef {
public:
    StoreRef() noexcept = default;
    StoreRef(const StoreRef& other) noexcept;
    StoreRef(StoreRef&& other) noexcept : store_(other.store_) { other.store_ = nullptr; }
    StoreRef& operator=(StoreRef other) noexcept;
    ~StoreRef();

    static StoreRef adopt(Store* store) noexcept;
    static StoreRef share(HCERTSTORE handle) noexcept;

    Store* get() const noexcept { return store_; }
    Store* operator->() const noexcept { return store_; }
    explicit operator bool() const noexcept { return store_ != nullptr; }
    Store* release() noexcept;

private:
    Store* store_ = nullptr;
};

StoreRef makeMemoryStore();
StoreRef makeCollection();

}  // namespace tallow::platform
