#include "platform/crypto/chains/chain_sources.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/base/service_call.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

// HCCE_LOCAL_MACHINE, the one engine that is a number.
constexpr std::uintptr_t kMachineEngine = 1;

struct RunRoots {
    std::mutex mutex;
    std::vector<CertificateRef> roots;
};

RunRoots& runRoots() {
    static NeverDestroyed<RunRoots> roots;
    return *roots;
}

template <typename Item>
void append(std::vector<Item>& target, std::vector<Item>&& items) {
    target.insert(target.end(), std::make_move_iterator(items.begin()), std::make_move_iterator(items.end()));
}

void addStore(ChainSources& sources, std::vector<CertificateRef>& certificates, const Store* store) {
    if (store != nullptr) {
        append(certificates, store->certificates());
        append(sources.crls, store->crls());
        sources.crlsIncomplete |= store->mayLackCrl();
    }
}

void addCrls(const SystemStore& store, ChainSources& sources) {
    for (const StoreFile& file : store.files().files) {
        sources.crls.insert(sources.crls.end(), file.content->crls.begin(), file.content->crls.end());
    }
    sources.crlsIncomplete |= store.files().mayLackCrl();
}

void addRoots(ChainSources& sources, const ChainEngine* engine, StoreView storeView) {
    if (engine != nullptr && engine->exclusiveRoots) {
        addStore(sources, sources.roots, engine->exclusiveRoots.get());
        return;
    }
    addStore(sources, sources.roots, Store::of(rootsOfCheck()));
    if (!isForbidden(CRYPTO_CHECK_NO_STORES)) {
        const std::lock_guard<std::mutex> lock(runRoots().mutex);
        sources.roots.insert(sources.roots.end(), runRoots().roots.begin(), runRoots().roots.end());
    }
    sources.rootStore = recentSystemStore("ROOT", storeView);
    addCrls(*sources.rootStore, sources);
}

}  // namespace

std::vector<CertificateRef> ChainSources::allRoots() const {
    std::vector<CertificateRef> all = roots;
    if (rootStore != nullptr) {
        rootStore->all(all);
    }
    return all;
}

std::vector<CertificateRef> ChainSources::rootsNamed(ByteView subject) const {
    std::vector<CertificateRef> named;
    std::copy_if(roots.begin(), roots.end(), std::back_inserter(named),
                 [&](const CertificateRef& root) { return std::ranges::equal(view(root->info().Subject), subject); });
    if (rootStore != nullptr) {
        rootStore->named(subject, named);
    }
    return named;
}

const ChainEngine* engineOf(HCERTCHAINENGINE handle) noexcept {
    return reinterpret_cast<std::uintptr_t>(handle) <= kMachineEngine ? nullptr : static_cast<ChainEngine*>(handle);
}

ChainSources chainSources(HCERTCHAINENGINE handle, HCERTSTORE additional) {
    const ChainEngine* const engine = engineOf(handle);
    const StoreView storeView =
        reinterpret_cast<std::uintptr_t>(handle) == kMachineEngine ? StoreView::kMachine : StoreView::kUser;
    ChainSources sources;
    addRoots(sources, engine, storeView);
    addStore(sources, sources.others, Store::of(additional));
    const std::size_t numHandedIn = sources.others.size();
    if (engine != nullptr) {
        for (const StoreRef& store : engine->additional) {
            addStore(sources, sources.others, store.get());
        }
    }
    const std::shared_ptr<const SystemStore> caStore = recentSystemStore("CA", storeView);
    caStore->all(sources.others);
    addCrls(*caStore, sources);
    sources.numLocal = sources.others.size() - numHandedIn;
    return sources;
}

}  // namespace tallow::platform

using namespace tallow::platform;

BOOL crypto_add_trusted_root(PCCERT_CONTEXT pCertContext) {
    return serviceCall(FALSE, [&] {
        CertificateRef root = CertificateRef::share(pCertContext);
        if (!root) {
            return fail(E_INVALIDARG);
        }
        const std::lock_guard<std::mutex> lock(runRoots().mutex);
        runRoots().roots.push_back(std::move(root));
        return TRUE;
    });
}

void crypto_forget_trusted_roots(void) {
    const ForkGate gate;
    const std::lock_guard<std::mutex> lock(runRoots().mutex);
    runRoots().roots.clear();
}

BOOL CertCreateCertificateChainEngine(CERT_CHAIN_ENGINE_CONFIG* pConfig, HCERTCHAINENGINE* phChainEngine) {
    return serviceCall(FALSE, [&] {
        if (pConfig == nullptr || phChainEngine == nullptr || pConfig->cbSize != sizeof(CERT_CHAIN_ENGINE_CONFIG) ||
            (pConfig->cAdditionalStore != 0 && pConfig->rghAdditionalStore == nullptr)) {
            return fail(E_INVALIDARG);
        }
        auto engine = std::make_unique<ChainEngine>();
        engine->exclusiveRoots = StoreRef::share(pConfig->hExclusiveRoot);
        for (DWORD i = 0; i < pConfig->cAdditionalStore; ++i) {
            engine->additional.push_back(StoreRef::share(pConfig->rghAdditionalStore[i]));
        }
        engine->fetchTimeoutMs = static_cast<long>(pConfig->dwUrlRetrievalTimeout);
        *phChainEngine = engine.release();
        return TRUE;
    });
}

void CertFreeCertificateChainEngine(HCERTCHAINENGINE hChainEngine) {
    const std::unique_ptr<const ChainEngine> engine(engineOf(hChainEngine));
}
