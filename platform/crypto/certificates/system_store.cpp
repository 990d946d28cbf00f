#include "platform/crypto/certificates/system_store.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/base/service_call.h"
#include "platform/support/settings_table.h"

namespace tallow::platform {

namespace {

constexpr const char* kRootStore = "ROOT";

void tell(StoreFiles& found, const std::string& path, const char* reason, bool mayBeCrl) {
    TALLOW_CRYPTO_TRACE("%s: %s\n", path.c_str(), reason);
    found.problems.push_back({path, reason, mayBeCrl});
}

// The default directory of the user's stores. A set-user-ID program ignores its caller's environment. The home of
// another user, which sudo may leave in place, is rejected: that user would choose the roots.
std::string defaultUserStores(StoreFiles& found) {
    const char* const data = secure_getenv("XDG_DATA_HOME");
    const char* const home = secure_getenv("HOME");
    const bool hasData = data != nullptr && *data == '/';
    const char* const base = hasData ? data : home;
    struct stat status {};
    if (base == nullptr || *base != '/' || ::stat(base, &status) != 0) {
        return {};
    }
    if (status.st_uid != ::geteuid()) {
        tell(found, base, "belongs to another user; its stores are ignored", false);
        return {};
    }
    return std::string(base) + (hasData ? "" : "/.local/share") + "/tallow/stores";
}

std::string storesOf(StoreView storeView, StoreFiles& found) {
    if (storeView == StoreView::kMachine) {
        return textOf(setting::machine_stores);
    }
    TextValue stores = textValueOf(setting::user_stores);
    return stores.source == TextValue::Source::kDefault ? defaultUserStores(found) : std::move(stores.text);
}

void addFolderOf(const std::string& name, StoreView storeView, StoreFiles& found) {
    const std::string stores = storesOf(storeView, found);
    SUPPORT_SETTINGS_ERROR error{};
    if (!stores.empty()) {
        addStoreFolder(stores + '/' + name, name == kRootStore ? StoreKind::kRoots : StoreKind::kSigned, found);
    } else if (support_settings_error(&error) != 0) {
        tell(found, name, "cannot be found while the settings are broken", true);
    }
}

}  // namespace

DWORD lastErrorOf(int systemError) {
    switch (systemError) {
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case ENOMEM:
            return E_OUTOFMEMORY;
        default:
            return ERROR_ACCESS_DENIED;
    }
}

bool isStoreName(const std::string& name) {
    return !name.empty() && name.front() != '.' && name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

std::string systemBundle() {
    return textOf(setting::system_bundle);
}

StoreFiles systemStoreFolder(const std::string& name, StoreView storeView) {
    StoreFiles found;
    if (!isForbidden(CRYPTO_CHECK_NO_STORES)) {
        addFolderOf(name, storeView, found);
    }
    return found;
}

StoreFiles systemStoreFiles(const std::string& name, StoreView storeView) {
    StoreFiles found;
    if (isForbidden(CRYPTO_CHECK_NO_STORES)) {
        return found;
    }
    if (storeView == StoreView::kUser) {
        addFolderOf(name, StoreView::kUser, found);
    }
    addFolderOf(name, StoreView::kMachine, found);
    if (name == kRootStore && flagOf(setting::system_roots, false)) {
        addBundle(systemBundle(), found);
    }
    return found;
}

StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist) {
    const StoreFiles found = systemStoreFiles(name, storeView);
    if (found.systemError != 0 || (!found.exists && mustExist)) {
        SetLastError(found.systemError != 0 ? lastErrorOf(found.systemError) : ERROR_FILE_NOT_FOUND);
        return {};
    }
    StoreRef store = makeMemoryStore();
    for (const StoreFile& file : found.files) {
        for (const CertificateRef& certificate : file.content->certificates) {
            store->add(*certificate, CERT_STORE_ADD_USE_EXISTING, nullptr);
        }
        for (const CrlRef& crl : file.content->crls) {
            store->add(crl, CERT_STORE_ADD_USE_EXISTING);
        }
    }
    if (found.mayLackCrl()) {
        store->noteMissingCrl();
    }
    return store;
}

}  // namespace tallow::platform
