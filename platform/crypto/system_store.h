// System stores: folders of certificate and CRL files. See CertOpenStore for what a store shows.
#pragma once

#include <string>
#include <vector>

#include "platform/crypto/store.h"
#include "platform/crypto/store_folder.h"

namespace tallow::platform {

enum class StoreView { kUser, kMachine };  // kUser: the user's folder, then the machine's

// The files that a store of the name shows; `exists` says whether there is a folder, or a bundle, at all.
std::vector<StoreFile> systemStoreFiles(const std::string& name, StoreView storeView, bool& exists);

// The file of the system's trusted certificates; empty while the settings are broken.
std::string systemBundle();

// A store filled from the folders of the name, empty with the last error set on failure. With `mustExist`, a store
// without any folder is a failure.
StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist);

}  // namespace tallow::platform
