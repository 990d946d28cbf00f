#include "platform/crypto/system_store.h"

#include <cstdlib>

#include "platform/crypto/service_call.h"

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

void addFolder(std::vector<StoreFile>& files, const std::string& folder, bool& exists) {
    bool folderExists = false;
    for (StoreFile& file : readStoreFolder(folder, folderExists)) {
        files.push_back(std::move(file));
    }
    exists |= folderExists;
}

void addSystemRoots(std::vector<StoreFile>& files, bool& exists) {
    if (!settingFlag("\\crypto\\system_roots", true)) {
        return;
    }
    StoreFile bundle = readBundle(systemBundle());
    if (bundle.exists()) {
        exists = true;
        files.push_back(std::move(bundle));
    }
}

}  // namespace

std::string systemBundle() {
    return settingText("\\crypto\\system_bundle", kDefaultSystemBundle);
}

std::vector<StoreFile> systemStoreFiles(const std::string& name, StoreView storeView, bool& exists) {
    std::vector<StoreFile> files;
    exists = false;
    if (storeView == StoreView::kUser) {
        addFolder(files, folderOf(settingText("\\crypto\\user_stores", defaultUserStores()), name), exists);
    }
    addFolder(files, folderOf(settingText("\\crypto\\machine_stores", kDefaultMachineStores), name), exists);
    if (name == kRootStore) {
        addSystemRoots(files, exists);
    }
    return files;
}

StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist) {
    bool exists = false;
    std::vector<StoreFile> const files = systemStoreFiles(name, storeView, exists);
    if (!exists && mustExist) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return {};
    }
    StoreRef store = makeMemoryStore();
    for (const StoreFile& file : files) {
        file.addTo(*store.get());
    }
    return store;
}

}  // namespace tallow::platform
