// The stores of the machine that a test has set up.
#pragma once

#include "platform/crypto/crypto_service.h"

namespace testkit {

/// Makes changed files of the stores count at once: chains use a reading again for a short time, but not one from
/// before a store was opened.
inline void showStoreChanges() {
    for (const char* const name : {"ROOT", "CA"}) {
        CertCloseStore(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, name), 0);
    }
}

}  // namespace testkit
