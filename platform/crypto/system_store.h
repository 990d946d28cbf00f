// System stores: folders of certificate and CRL files. See CertOpenStore for what a store shows.
#pragma once

#include <string>

#include "platform/crypto/store.h"

namespace tallow::platform {

enum class StoreView { kUser, kMachine };  // kUser: the user's folder, then the machine's

// A store filled from the folders of the name, empty with the last error set on failure. With `mustExist`, a store
// without any folder is a failure.
StoreRef openSystemStore(const std::string& name, StoreView storeView, bool mustExist);

}  // namespace tallow::platform
