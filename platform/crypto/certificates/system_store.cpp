#include "platform/crypto/certificates/system_store.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/base/service_call.h"
#include "platform/support/never_destroyed.h"
#include "platform/support/settings_table.h"

namespace tallow::platform {

namespace {

constexpr const char* kRootStore = "ROOT";
constexpr const char* kCaStore = "CA";

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

StoreFiles filesOf(const std::string& name, StoreView storeView) {
    StoreFiles found;
    if (storeView == StoreView::kUser) {
        addFolderOf(name, StoreView::kUser, found);
    }
    addFolderOf(name, StoreView::kMachine, found);
    if (name == kRootStore && flagOf(setting::system_roots, false)) {
        addBundle(systemBundle(), found);
    }
    return found;
}

// ---- Readings that chains use again --------------------------------------------------------------------------------

// What a reading depends on besides the files.
struct Circumstances {
    std::chrono::steady_clock::time_point time;
    unsigned long settings = 0;
    uid_t user = 0;             // whose files are trusted
    std::uint32_t process = 0;  // a child may change its root directory
    std::string folders;        // the user's, which the environment may name

    static Circumstances ofNow() {
        StoreFiles ignored;
        return {std::chrono::steady_clock::now(), settingsVersion(), ::geteuid(), ForkGate::generation(),
                storesOf(StoreView::kUser, ignored)};
    }

    // Whether a reading that was begun under these circumstances may be used now.
    bool permitUse(const Circumstances& now) const {
        constexpr std::chrono::milliseconds kLongest{100};
        return now.time - time < kLongest && now.settings == settings && now.user == user && now.process == process &&
               now.folders == folders;
    }
};

struct Reading {
    Circumstances when;
    std::shared_ptr<const SystemStore> store;
};

struct Readings {
    std::mutex mutex;
    std::map<std::pair<std::string, StoreView>, Reading> stores;
};

Readings& readings() {
    static NeverDestroyed<Readings> instance;
    return *instance;
}

// Reads a store now, and keeps the reading for chains if it is complete and none begun later is kept.
std::shared_ptr<const SystemStore> readStore(const std::string& name, StoreView storeView) {
    const Circumstances begun = Circumstances::ofNow();
    auto store = std::make_shared<const SystemStore>(filesOf(name, storeView));
    if (store->files().isFinal() && (name == kRootStore || name == kCaStore)) {
        const std::scoped_lock lock(readings().mutex);
        Reading& kept = readings().stores[{name, storeView}];
        if (kept.store == nullptr || kept.when.time < begun.time) {
            kept = {begun, store};
        }
    }
    return store;
}

// The next chains read the store again.
void forgetReadings(const std::string& name) {
    const std::scoped_lock lock(readings().mutex);
    std::erase_if(readings().stores, [&](const auto& entry) { return entry.first.first == name; });
}

}  // namespace

SystemStore::SystemStore(StoreFiles files) : files_(std::move(files)) {
    for (const StoreFile& file : files_.files) {
        for (const CertificateRef& certificate : file.content->certificates) {
            ofFolders_.add(certificate);
        }
    }
}

void SystemStore::named(ByteView subject, std::vector<CertificateRef>& found) const {
    ofFolders_.named(subject, found);
    for (const StoreFile& file : files_.files) {
        if (file.content->bundle != nullptr) {
            file.content->bundle->named(subject, found);
        }
    }
}

void SystemStore::all(std::vector<CertificateRef>& found) const {
    for (const StoreFile& file : files_.files) {
        file.content->addCertificates(found);
    }
}

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

std::shared_ptr<const SystemStore> recentSystemStore(const std::string& name, StoreView storeView) {
    if (isForbidden(CRYPTO_CHECK_NO_STORES)) {
        return std::make_shared<const SystemStore>(StoreFiles());
    }
    const Circumstances now = Circumstances::ofNow();
    {
        const std::scoped_lock lock(readings().mutex);
        const auto found = readings().stores.find({name, storeView});
        if (found != readings().stores.end() && found->second.when.permitUse(now)) {
            return found->second.store;
        }
    }
    return readStore(name, storeView);
}

StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist) {
    const bool isEmpty = isForbidden(CRYPTO_CHECK_NO_STORES);
    forgetReadings(name);
    const std::shared_ptr<const SystemStore> reading =
        isEmpty ? std::make_shared<const SystemStore>(StoreFiles()) : readStore(name, storeView);
    const StoreFiles& found = reading->files();
    if (found.systemError != 0 || (!found.exists && mustExist)) {
        SetLastError(found.systemError != 0 ? lastErrorOf(found.systemError) : ERROR_FILE_NOT_FOUND);
        return {};
    }
    StoreRef store = makeMemoryStore();
    std::vector<CertificateRef> certificates;
    reading->all(certificates);
    for (const CertificateRef& certificate : certificates) {
        store->add(*certificate, CERT_STORE_ADD_USE_EXISTING, nullptr);
    }
    for (const StoreFile& file : found.files) {
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
