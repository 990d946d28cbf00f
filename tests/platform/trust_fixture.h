// A machine with the trust that a test chooses: stores, cache and settings in a temporary directory, and short forms of
// the chain calls.
#pragma once

#include <functional>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "tests/platform/certificate_fixture.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"
#include "tests/support/settings_file.h"
#include "tests/support/system_stores.h"

namespace testkit {

struct FreeChain {
    void operator()(PCCERT_CHAIN_CONTEXT chain) const { CertFreeCertificateChain(chain); }
};
using ChainPtr = std::unique_ptr<const CERT_CHAIN_CONTEXT, FreeChain>;

// A CA under `issuer` with these fields, named "changed ca" unless they have a name.
inline Identity caUnder(const Identity& issuer, CertificateSpec spec) {
    spec.commonName = spec.commonName == CertificateSpec().commonName ? "changed ca" : spec.commonName;
    spec.ca = true;
    return issue(issuer, spec);
}

// A CA under `issuer` with this name and key.
inline Identity caWithKey(const Identity& issuer, const char* name, const Key& key) {
    return caUnder(issuer, {.commonName = name, .key = key});
}

inline Identity leafUnder(const Identity& issuer) {
    return issue(issuer, {.commonName = "leaf"});
}

inline StorePtr storeOf(const std::vector<Identity>& certificates, const std::vector<Bytes>& crls = {}) {
    StorePtr store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    for (const Identity& identity : certificates) {
        CertAddCertificateContextToStore(store.get(), context(identity.certificate).get(), CERT_STORE_ADD_ALWAYS,
                                         nullptr);
    }
    for (const Bytes& crl : crls) {
        CertAddEncodedCRLToStore(store.get(), X509_ASN_ENCODING, crl.data(), static_cast<DWORD>(crl.size()),
                                 CERT_STORE_ADD_ALWAYS, nullptr);
    }
    return store;
}

// Now plus `seconds`.
inline FILETIME fileTime(long seconds) {
    FILETIME time{};
    GetSystemTimeAsFileTime(&time);
    const auto ticks = (static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime) +
                       static_cast<unsigned long long>(seconds * 10000000LL);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

struct ChainRequest {
    Identity end;
    std::vector<Identity> extra = {};  // the additional store
    std::vector<Bytes> crls = {};      // in the same store
    DWORD flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    std::optional<long> atSeconds = std::nullopt;  // the time of the chain, from now
    HCERTCHAINENGINE engine = nullptr;
    DWORD timeoutMs = 0;
    FILETIME* resync = nullptr;
};

inline ChainPtr chainFor(PCCERT_CONTEXT end, HCERTSTORE store, DWORD flags, CERT_CHAIN_PARA parameters = {},
                         HCERTCHAINENGINE engine = nullptr, FILETIME* time = nullptr) {
    parameters.cbSize = sizeof parameters;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    CertGetCertificateChain(engine, end, time, store, &parameters, flags, nullptr, &chain);
    return ChainPtr(chain);
}

inline ChainPtr chainOf(const ChainRequest& request) {
    CERT_CHAIN_PARA parameters{};
    parameters.dwUrlRetrievalTimeout = request.timeoutMs;
    parameters.pftCacheResync = request.resync;
    FILETIME time = fileTime(request.atSeconds.value_or(0));
    return chainFor(context(request.end.certificate).get(), storeOf(request.extra, request.crls).get(), request.flags,
                    parameters, request.engine, request.atSeconds ? &time : nullptr);
}

inline const CERT_SIMPLE_CHAIN& simple(const ChainPtr& chain) {
    return *chain->rgpChain[0];
}
inline DWORD errorOf(const ChainPtr& chain) {
    return simple(chain).TrustStatus.dwErrorStatus;
}
inline DWORD errorAt(const ChainPtr& chain, DWORD element) {
    return simple(chain).rgpElement[element]->TrustStatus.dwErrorStatus;
}

inline std::vector<DWORD> errorsOf(const ChainPtr& chain) {
    std::vector<DWORD> errors(chain == nullptr ? 0 : simple(chain).cElement);
    for (DWORD i = 0; i < errors.size(); ++i) {
        errors[i] = errorAt(chain, i);
    }
    return errors;
}
// All errors of the elements and `more`: what the whole chain must report.
inline DWORD allOf(const std::vector<DWORD>& errors, DWORD more = 0) {
    return std::reduce(errors.begin(), errors.end(), more, std::bit_or<DWORD>());
}

// Has its own settings and system stores; trusts only the given roots.
class TrustWorld {
public:
    explicit TrustWorld(const std::vector<Identity>& roots, const std::string& moreSettings = "") {
        use(moreSettings);
        for (std::size_t i = 0; i < roots.size(); ++i) {
            add("ROOT/" + std::to_string(i) + ".pem", roots[i]);
        }
    }
    ~TrustWorld() {
        crypto_forget_trusted_roots();
        support_settings_open(dir_.write("empty.toml", "").c_str());
    }
    TrustWorld(const TrustWorld&) = delete;
    TrustWorld& operator=(const TrustWorld&) = delete;

    // Puts settings for this machine into force, with `more` in their table [crypto].
    void use(const std::string& more) const {
        support_settings_open(dir_.write("settings.toml", machineSettings(dir_, more)).c_str());
    }

    // Puts a certificate into a system store: "CA/name.pem".
    void add(const std::string& file, const Identity& identity) const {
        dir_.write("machine/" + file, identity.certificatePem());
        showStoreChanges();
    }

    std::string file(const std::string& file) const { return dir_.file("machine/" + file); }

    // Creates or replaces a file atomically.
    void put(const std::string& file, const Bytes& content) const {
        const std::string part = dir_.write("part/" + file, content);
        const std::filesystem::path target = this->file(file);
        std::filesystem::create_directories(target.parent_path());
        std::filesystem::rename(part, target);
        showStoreChanges();
    }

private:
    TempDir dir_;
};

}  // namespace testkit
