#include "client/shared/chain_building.h"

#include "client/shared/certificate_access.h"
#include "foundation/trace.h"
#include "handles/cert_context.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

void throwIfFailed(std::int32_t result) {
    if (result != 0) {
        ATL::AtlThrowImpl(result);
    }
}

}  // namespace

ATL2::CCertChainContext buildChain(const _CERT_CONTEXT* cert, const ChainOptions& options) {
    const ATL2::CCertContext own = ATL2::CCertContext::duplicate(cert);
    if (!own) {
        ATL::AtlThrowImpl(status::kFail);
    }
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    parameters.pftCacheResync = options.cacheResync;
    ATL2::CCertChainContext chain;
    if (!CertGetCertificateChain(options.engine, own.get(), nullptr, options.additional, &parameters, options.flags,
                                 nullptr, chain.put())) {
        ATL2::throwLastErrorOrFail();
    }
    return chain;
}

std::int32_t policyVerdict(BOOL judged, DWORD lastError, const CERT_CHAIN_POLICY_STATUS& policyStatus) {
    if (!judged) {
        TALLOW_TRACE("VerifyCertificate", "CertVerifyCertificateChainPolicy failed: 0x%X\n", lastError);
        // A service that fails without a last error must not be thrown as status 0, success.
        ATL::AtlThrowImpl(lastError == 0 ? status::kFail : ATL2::convertLastError(lastError));
    }
    if (policyStatus.dwError != 0) {
        TALLOW_TRACE("VerifyCertificate", "CertVerifyCertificateChainPolicy returned status.dwError = 0x%X\n",
                     policyStatus.dwError);
    }
    return static_cast<std::int32_t>(policyStatus.dwError);
}

bool isProof(const ATL2::CCertChainContext& chain) {
    return chain->cChain != 0 && chain->rgpChain[0]->cElement != 0;
}

ATL2::CCertStore collectStores(const ATL2::CCertStore& own, void** stores, unsigned long count) {
    ATL2::CCertStore collection;
    throwIfFailed(collection.Open(CERT_STORE_PROV_COLLECTION, 0, 0, nullptr));
    throwIfFailed(collection.AddStoreToCollection(own, 0, 0));
    for (unsigned long i = 0; i < count; ++i) {
        if (stores[i] != nullptr) {
            ATL2::CCertStore store;
            throwIfFailed(store.AttachWeak(stores[i]));
            throwIfFailed(collection.AddStoreToCollection(store, 0, 0));
        }
    }
    return collection;
}

void addCertificate(const ATL2::CCertStore& store, const _CERT_CONTEXT* cert) {
    if (!store) {
        ATL::AtlThrowImpl(status::kFail);
    }
    if (!CertAddCertificateContextToStore(store.get(), cert, CERT_STORE_ADD_USE_EXISTING, nullptr)) {
        ATL2::throwLastErrorOrFail();
    }
}

void addCertificates(const ATL2::CCertStore& store, const CBlobList* certs) {
    if (certs == nullptr) {
        return;
    }
    for (const CBlob& encoded : *certs) {
        const ATL2::CCertContext cert = ATL2::CCertContext::adopt(
            CertCreateCertificateContext(kCertificateEncoding, encoded.pbData(), encoded.cbData()));
        if (!cert) {
            ATL2::throwLastErrorOrFail();
        }
        addCertificate(store, cert.get());
    }
}

}  // namespace Orvane::PKI::OCSP::Client
