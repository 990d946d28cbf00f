// System stores: directories of certificate and CRL files. CertOpenStore describes what a store shows. In a check with
// CRYPTO_CHECK_NO_STORES no directory is looked at, as if there were none.
//
// Chains use a reading of a store again for 100 ms: listing the directories and looking at each file would otherwise
// take longer than a verdict on a response. No cheaper way notices every change: the times of a directory do not show a
// file that is edited in place, and notifications of the kernel (inotify) miss changes on network file systems and
// behind links. 100 ms is too short for a person to notice, and long enough that reading hundreds of files costs less
// than a hundredth of the time.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/crypto/certificates/store.h"
#include "platform/crypto/certificates/store_folder.h"

namespace tallow::platform {

enum class StoreView { kUser, kMachine };  // kUser: the user's directory, then the machine's

// One reading of the store of a name. Any thread may use it.
class SystemStore {
public:
    explicit SystemStore(StoreFiles files);

    const StoreFiles& files() const noexcept { return files_; }
    // Each adds certificates to `found` in the order of the files: those with this DER as their subject; all.
    void named(ByteView subject, std::vector<CertificateRef>& found) const;
    void all(std::vector<CertificateRef>& found) const;

private:
    StoreFiles files_;
    CertificateList ofFolders_;  // those that are in no bundle; a bundle comes after all other files
};

// The store as it was at most 100 ms ago. It is read now if the settings or the effective user changed since, if
// something could not be read, or if openSystemStore found it changed.
std::shared_ptr<const SystemStore> recentSystemStore(const std::string& name, StoreView storeView);

// The files in the user's directory, or those in the machine's, read now.
StoreFiles systemStoreFolder(const std::string& name, StoreView storeView);

// The last error for the errno value of a directory that cannot be read.
DWORD lastErrorOf(int systemError);

// Whether this may be the name of a store: as a file name it must not lead out of the directory of the stores.
bool isStoreName(const std::string& name);

// The file of the system's trusted certificates; empty while the settings are broken.
std::string systemBundle();

// A store filled from the directories of that name, read now: what it shows counts for chains from now on. Empty with
// the last error set on failure: an existing directory that cannot be read, and with `mustExist` a store without a
// directory.
StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist);

}  // namespace tallow::platform
