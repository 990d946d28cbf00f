#include "platform/crypto/system_store.h"

#include <cstdlib>

#include "platform/crypto/service_call.h"
#include "platform/crypto/store_folder.h"

namespace tallow::platform {

namespace {

constexpr const char* kDefaultMachineStores = "/etc/tallow/stores";
constexpr const char* kDefaultSystemBundle = "/etc/ssl/certs/ca-certificates.crt";
constexpr const char* kRootStore = "ROOT";

// The base directory of a user's data. A program that runs with another's rights takes none from its caller.
std::string defaultUserStores() {
    if (const char* const data = secure_getenv("XDG_DATA_HOME"); data != nullptr && *data == '/') {
        return std::string(data) + "/tallow/stores";
    }
    if (const char* const home = secure_getenv("HOME"); home != nullptr && *home == '/') {
        return std::string(home) + "/.local/share/tallow/stores";
    }
    return {};
}

std::string folderOf(const std::string& stores, const std::string& name) {
    return stores.empty() ? std::string() : stores + '/' + name;
}

bool addFolder(Store& store, const std::string& folder) {
    bool exists = false;
    for (const StoreFile& file : readStoreFolder(folder, exists)) {
        file.addTo(store);
    }
    return exists;
}

bool addSystemRoots(Store& store) {
    if (!settingFlag("\\crypto\\system_roots", true)) {
        return false;
    }
    StoreFile const bundle = readBundle(settingText("\\crypto\\system_bundle", kDefaultSystemBundle));
    bundle.addTo(store);
    return bundle.exists();
}

}  // namespace

StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist) {
    StoreRef store = makeMemoryStore();
    bool exists = false;
    if (storeView == StoreView::kUser) {
        exists = addFolder(*store.get(), folderOf(settingText("\\crypto\\user_stores", defaultUserStores()), name));
    }
    exists |= addFolder(*store.get(), folderOf(settingText("\\crypto\\machine_stores", kDefaultMachineStores), name));
    if (name == kRootStore) {
        exists |= addSystemRoots(*store.get());
    }
    if (!exists && mustExist) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return {};
    }
    return store;
}

}  // namespace tallow::platform
