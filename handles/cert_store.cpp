#include "handles/cert_store.h"

#include <new>
#include <utility>

#include "handles/crypto_handles.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace ATL2 {
namespace {

// The shared pointer runs the deleter itself when it cannot be set up.
template <class Deleter>
std::shared_ptr<void*> makeCell() {
    auto cell = std::make_unique<void*>(nullptr);
    return std::shared_ptr<void*>(cell.release(), Deleter(false));
}

}  // namespace

void CCertStoreDeleter::operator()(void** cell) const noexcept {
    const std::unique_ptr<void*> owner(cell);
    if (owner && *owner != nullptr) {
        CertCloseStore(*owner, checking_ ? CERT_CLOSE_STORE_CHECK_FLAG : 0);
    }
}

CCertStore::CCertStore() : Store(makeCell<CCertStoreDeleter>()) {}

CCertStore::~CCertStore() {
    Store.reset();
    Children.clear();
}

std::int32_t CCertStore::Open(const char* provider, unsigned int encoding, unsigned int flags,
                              const void* parameter) noexcept {
    if (*Store != nullptr) {
        return status::kFail;
    }
    *Store = CertOpenStore(provider, encoding, EmptyProv.get(), flags, parameter);
    return *Store != nullptr ? status::kOk : convertedLastErrorOrFail();
}

std::int32_t CCertStore::AttachWeak(void* handle) noexcept {
    if (*Store != nullptr) {
        return status::kFail;
    }
    if (handle == nullptr) {
        return status::kInvalidArgument;  // the service has nothing to look at and may leave an older last error
    }
    try {
        std::shared_ptr<void*> cell = makeCell<CCertStoreNonCheckingDeleter>();
        *cell = CertDuplicateStore(handle);
        if (*cell == nullptr) {
            return convertedLastErrorOrFail();
        }
        Store = std::move(cell);
    } catch (const std::bad_alloc&) {
        return status::kOutOfMemory;
    }
    return status::kOk;
}

std::int32_t CCertStore::AddStoreToCollection(const CCertStore& child, unsigned int updateFlags,
                                              unsigned int priority) noexcept {
    if (*Store == nullptr) {
        return status::kFail;
    }
    if (!CertAddStoreToCollection(*Store, child.get(), updateFlags, priority)) {
        return convertedLastErrorOrFail();
    }
    try {
        Children.push_back(child);
    } catch (const std::bad_alloc&) {
        return status::kOutOfMemory;
    } catch (...) {
        return status::kFail;
    }
    return status::kOk;
}

void CCertStore::Destroy() {
    *this = CCertStore();
}

}  // namespace ATL2
