#include "cli/batch/recorded_options.h"

#include <algorithm>
#include <new>
#include <set>
#include <string_view>

#include "cli/fingerprint.h"
#include "cli/settings_table.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

// Those that responses are proven with.
constexpr const char* kStores[] = {"ROOT", "CA", "AddressBook"};

// By their hashes: stores may be large, and the order of their files means nothing.
using Hashes = std::set<std::string>;

void add(Hashes& hashes, std::string_view kind, const BYTE* octets, DWORD size) {
    Fingerprint one;
    one.add(kind);
    one.add({reinterpret_cast<const char*>(octets), size});
    hashes.insert(one.text());
}

// An exception must not pass through the service.
struct Crls {
    Hashes& hashes;
    bool isMemoryExhausted = false;
};

void takeCrl(const CRYPTO_STORE_ITEM* item, void* context) {
    auto& crls = *static_cast<Crls*>(context);
    try {
        if (item->dwKind == CRYPTO_STORE_ITEM_CRL) {
            add(crls.hashes, "CRL", item->pbEncoded, item->cbEncoded);
        }
    } catch (const std::bad_alloc&) {
        crls.isMemoryExhausted = true;
    }
}

// The service has no enumeration of CRLs but that of the directories, and ROOT also shows the system's bundle.
Hashes contentOf(const char* name) {
    Hashes hashes;
    ATL2::CCertStore store;
    if (store.Open(CERT_STORE_PROV_SYSTEM_A, 0, CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG, name) ==
        status::kOk) {
        ATL2::CCertContext certificate;
        while (const _CERT_CONTEXT* next = CertEnumCertificatesInStore(store.get(), certificate.detach())) {
            certificate.reset(next);
            add(hashes, "certificate", next->pbCertEncoded, next->cbCertEncoded);
        }
    }
    Crls crls{hashes};
    for (const DWORD place : {CERT_SYSTEM_STORE_CURRENT_USER, CERT_SYSTEM_STORE_LOCAL_MACHINE}) {
        static_cast<void>(crypto_list_store(name, place, takeCrl, &crls));
    }
    if (crls.isMemoryExhausted) {
        throw std::bad_alloc();
    }
    return hashes;
}

bool mayChange(const Setting& setting) {
    const std::string_view name = setting.name;
    return std::string_view(setting.table) == "trace" || name.ends_with("_timeout_ms") || name == "connection_idle_ms";
}

}  // namespace

std::string recordedOptions(const CheckOptions& options, const RunInputs& inputs) {
    Fingerprint all;
    for (const std::string& part : {options.batch.list, inputs.fingerprint(), inputs.hashOid(), options.url,
                                    std::to_string(options.nonce ? static_cast<int>(*options.nonce) : -1),
                                    std::to_string(options.maxAge ? options.maxAge->count() : -1),
                                    std::string(options.verifyChain ? "chain" : "")}) {
        all.add(part);
    }
    for (const Setting& setting : allSettings()) {
        if (!mayChange(setting)) {
            all.add(setting.table);
            all.add(setting.name);
            all.add(valueOf(setting).toml);
        }
    }
    for (const char* const name : kStores) {
        all.add(name);
        for (const std::string& hash : contentOf(name)) {
            all.add(hash);
        }
    }
    return all.text();
}

}  // namespace tallow::cli
