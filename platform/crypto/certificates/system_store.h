// System stores: folders of certificate and CRL files. See CertOpenStore for what a store shows.
#pragma once

#include <string>
#include <vector>

#include "platform/crypto/certificates/store.h"
#include "platform/crypto/certificates/store_folder.h"

namespace tallow::platform {

enum class StoreView { kUser, kMachine };  // kUser: the user's folder, then the machine's

// The files that a store of the name shows.
StoreFiles systemStoreFiles(const std::string& name, StoreView storeView);
// Those of the user's directory alone, or of the machine's.
StoreFiles systemStoreFolder(const std::string& name, StoreView storeView);

// The last error for the errno value of a directory that cannot be read.
DWORD lastErrorOf(int systemError);

// Whether the name is one of a store: it becomes a directory's and must not lead out of that of the stores.
bool isStoreName(const std::string& name);

// The file of the system's trusted certificates; empty while the settings are broken.
std::string systemBundle();

// A store filled from the folders of the name, empty with the last error set on failure. With `mustExist`, a store
// without any folder is a failure, and so is a folder that is there and cannot be read.
StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist);

}  // namespace tallow::platform
