// System stores: directories of certificate and CRL files. CertOpenStore describes what a store shows. In a check with
// CRYPTO_CHECK_NO_STORES no directory is looked at, as if there were none.
#pragma once

#include <string>
#include <vector>

#include "platform/crypto/certificates/store.h"
#include "platform/crypto/certificates/store_folder.h"

namespace tallow::platform {

enum class StoreView { kUser, kMachine };  // kUser: the user's directory, then the machine's

// The files that a store of the name shows.
StoreFiles systemStoreFiles(const std::string& name, StoreView storeView);
// Only those of the user's directory, or only those of the machine's.
StoreFiles systemStoreFolder(const std::string& name, StoreView storeView);

// The last error for the errno value of a directory that cannot be read.
DWORD lastErrorOf(int systemError);

// Whether this may be the name of a store: as a file name it must not lead out of the directory of the stores.
bool isStoreName(const std::string& name);

// The file of the system's trusted certificates; empty while the settings are broken.
std::string systemBundle();

// A store filled from the directories of that name. Empty with the last error set on failure: an existing directory
// that cannot be read, and with `mustExist` a store without a directory.
StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist);

}  // namespace tallow::platform
