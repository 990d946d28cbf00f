#include "platform/crypto/certificates/store.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <unordered_set>

#include "platform/crypto/base/service_call.h"

namespace tallow::platform {

namespace {

size_t hashOf(ByteView bytes) {
    return std::hash<std::string_view>{}({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

bool sameBytes(ByteView left, ByteView right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}

}  // namespace

void Store::dropReference() noexcept {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        const std::unique_ptr<Store> last(this);
    }
}

// ---- StoreRef ------------------------------------------------------------------------------------------------------

StoreRef::StoreRef(const StoreRef& other) noexcept : store_(other.store_) {
    if (store_ != nullptr) {
        store_->addReference();
    }
}

StoreRef& StoreRef::operator=(StoreRef other) noexcept {
    std::swap(store_, other.store_);
    return *this;
}

StoreRef::~StoreRef() {
    if (store_ != nullptr) {
        store_->dropReference();
    }
}

StoreRef StoreRef::adopt(Store* store) noexcept {
    StoreRef reference;
    reference.store_ = store;
    return reference;
}

StoreRef StoreRef::share(HCERTSTORE handle) noexcept {
    Store* const store = Store::of(handle);
    if (store != nullptr) {
        store->addReference();
    }
    return adopt(store);
}

Store* StoreRef::release() noexcept {
    return std::exchange(store_, nullptr);
}

// ---- Memory store --------------------------------------------------------------------------------------------------

namespace {

class MemoryStore final : public Store {
public:
    std::vector<CertificateRef> certificates() const override {
        const std::scoped_lock lock(mutex_);
        return certificates_;
    }

    std::vector<CrlRef> crls() const override {
        const std::scoped_lock lock(mutex_);
        return crls_;
    }

    bool mayLackCrl() const override { return lacksCrl_; }
    void noteMissingCrl() override { lacksCrl_ = true; }

    CertificateRef after(const Certificate* previous) const override {
        const std::scoped_lock lock(mutex_);
        size_t position = 0;
        if (previous != nullptr) {
            const auto found = positions_.find(previous);
            position = found == positions_.end() ? certificates_.size() : found->second + 1;
        }
        return position < certificates_.size() ? certificates_[position] : CertificateRef();
    }

    DWORD add(const Certificate& certificate, DWORD disposition, CertificateRef* added) override;
    DWORD add(CrlRef crl, DWORD disposition) override;
    DWORD addMember(Store& /*member*/, DWORD /*priority*/) override { return E_INVALIDARG; }
    bool contains(const Store& other) const override { return &other == this; }
    bool holds(const Certificate* certificate) const override {
        const std::scoped_lock lock(mutex_);
        return positions_.count(certificate) != 0;
    }
    void appendLeaves(std::vector<StoreRef>& leaves) override { leaves.push_back(StoreRef::share(handle())); }

private:
    CertificateRef find(const Certificate& certificate, size_t hash) const;
    void append(const CertificateRef& certificate, size_t hash);

    mutable std::mutex mutex_;
    std::vector<CertificateRef> certificates_;
    std::unordered_multimap<size_t, size_t> byHash_;  // hash of the encoding, position
    std::unordered_map<const Certificate*, size_t> positions_;
    std::vector<CrlRef> crls_;
    std::atomic<bool> lacksCrl_{false};
};

// All three or none: a certificate that cannot be found again would end every enumeration.
void MemoryStore::append(const CertificateRef& certificate, size_t hash) {
    const size_t position = certificates_.size();
    const auto byHash = byHash_.emplace(hash, position);
    try {
        positions_.emplace(certificate.get(), position);
        certificates_.push_back(certificate);
    } catch (...) {
        positions_.erase(certificate.get());
        byHash_.erase(byHash);
        throw;
    }
}

CertificateRef MemoryStore::find(const Certificate& certificate, size_t hash) const {
    const auto [first, last] = byHash_.equal_range(hash);
    for (auto candidate = first; candidate != last; ++candidate) {
        if (sameBytes(certificates_[candidate->second]->der(), certificate.der())) {
            return certificates_[candidate->second];
        }
    }
    return {};
}

DWORD MemoryStore::add(const Certificate& certificate, DWORD disposition, CertificateRef* added) {
    const size_t hash = hashOf(certificate.der());
    const std::scoped_lock lock(mutex_);
    CertificateRef stored = disposition == CERT_STORE_ADD_ALWAYS ? CertificateRef() : find(certificate, hash);
    if (stored && disposition == CERT_STORE_ADD_NEW) {
        return CRYPT_E_EXISTS;
    }
    if (!stored) {
        stored = Certificate::copy(certificate, handle());
        append(stored, hash);
    } else if (disposition == CERT_STORE_ADD_REPLACE_EXISTING) {
        stored->replaceProperties(certificate);
    } else {
        stored->addMissingProperties(certificate);
    }
    if (added != nullptr) {
        *added = std::move(stored);
    }
    return 0;
}

DWORD MemoryStore::add(CrlRef crl, DWORD disposition) {
    const std::scoped_lock lock(mutex_);
    const bool present =
        std::any_of(crls_.begin(), crls_.end(), [&](const CrlRef& held) { return held->der == crl->der; });
    if (present && disposition == CERT_STORE_ADD_NEW) {
        return CRYPT_E_EXISTS;
    }
    if (!present) {
        crls_.push_back(std::move(crl));
    }
    return 0;
}

// ---- Collection ----------------------------------------------------------------------------------------------------

class Collection final : public Store {
public:
    std::vector<CertificateRef> certificates() const override { return joined(&Store::certificates); }
    std::vector<CrlRef> crls() const override { return joined(&Store::crls); }

    bool mayLackCrl() const override {
        const std::vector<StoreRef> all = leaves();
        return std::any_of(all.begin(), all.end(), [](const StoreRef& leaf) { return leaf->mayLackCrl(); });
    }
    void noteMissingCrl() override {
        for (const StoreRef& leaf : leaves()) {
            leaf->noteMissingCrl();
        }
    }

    CertificateRef after(const Certificate* previous) const override;

    DWORD add(const Certificate& certificate, DWORD disposition, CertificateRef* added) override {
        const StoreRef member = first();
        return member ? member->add(certificate, disposition, added) : ERROR_ACCESS_DENIED;
    }
    DWORD add(CrlRef crl, DWORD disposition) override {
        const StoreRef member = first();
        return member ? member->add(std::move(crl), disposition) : ERROR_ACCESS_DENIED;
    }

    DWORD addMember(Store& member, DWORD priority) override;
    bool contains(const Store& other) const override {
        if (&other == this) {
            return true;
        }
        const std::vector<Member> members = snapshot();
        return std::any_of(members.begin(), members.end(),
                           [&](const Member& member) { return member.store->contains(other); });
    }
    bool holds(const Certificate* certificate) const override {
        const std::vector<StoreRef> all = leaves();
        return std::any_of(all.begin(), all.end(), [&](const StoreRef& leaf) { return leaf->holds(certificate); });
    }
    void appendLeaves(std::vector<StoreRef>& leaves) override {
        for (const Member& member : snapshot()) {
            member.store->appendLeaves(leaves);
        }
    }

private:
    struct Member {
        StoreRef store;
        DWORD priority;
    };

    std::vector<Member> snapshot() const {
        const std::scoped_lock lock(mutex_);
        return members_;
    }
    StoreRef first() const {
        const std::scoped_lock lock(mutex_);
        return members_.empty() ? StoreRef() : members_.front().store;
    }
    std::vector<StoreRef> leaves() const;

    // The lists of all memory stores below, in order.
    template <typename List>
    List joined(List (Store::*listOf)() const) const {
        List all;
        for (const StoreRef& leaf : leaves()) {
            const List some = (leaf.get()->*listOf)();
            all.insert(all.end(), some.begin(), some.end());
        }
        return all;
    }

    mutable std::mutex mutex_;
    std::vector<Member> members_;  // by descending priority
};

// The memory stores below, each once. An enumeration continues after the certificate it returned last, so a store that
// is a member twice would make it run in circles.
std::vector<StoreRef> Collection::leaves() const {
    std::vector<StoreRef> all;
    for (const Member& member : snapshot()) {
        member.store->appendLeaves(all);
    }
    std::unordered_set<const Store*> seen;
    std::erase_if(all, [&](const StoreRef& leaf) { return !seen.insert(leaf.get()).second; });
    return all;
}

CertificateRef Collection::after(const Certificate* previous) const {
    const std::vector<StoreRef> all = leaves();
    auto leaf = all.begin();
    if (previous != nullptr) {
        leaf = std::find_if(all.begin(), all.end(), [&](const StoreRef& store) { return store->holds(previous); });
    }
    for (; leaf != all.end(); ++leaf, previous = nullptr) {
        if (CertificateRef found = (*leaf)->after(previous)) {
            return found;
        }
    }
    return {};
}

DWORD Collection::addMember(Store& member, DWORD priority) {
    if (member.contains(*this)) {
        return E_INVALIDARG;
    }
    const std::scoped_lock lock(mutex_);
    const auto place = std::find_if(members_.begin(), members_.end(),
                                    [priority](const Member& held) { return held.priority < priority; });
    members_.insert(place, {StoreRef::share(member.handle()), priority});
    return 0;
}

}  // namespace

StoreRef makeMemoryStore() {
    return StoreRef::adopt(std::make_unique<MemoryStore>().release());
}

StoreRef makeCollection() {
    return StoreRef::adopt(std::make_unique<Collection>().release());
}

}  // namespace tallow::platform
