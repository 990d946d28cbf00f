#include "checker/rules/chain.h"

#include "handles/last_error.h"

namespace tallow::rules {

ATL2::CCertChainContext buildChain(const _CERT_CONTEXT* certificate, void* store, DWORD flags) {
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    ATL2::CCertChainContext chain;
    if (!CertGetCertificateChain(nullptr, certificate, nullptr, store, &parameters, flags, nullptr, chain.put())) {
        ATL2::throwLastErrorOrFail();
    }
    return chain;
}

}  // namespace tallow::rules
