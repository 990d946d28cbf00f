#include "client/shared/issuer_by_chain.h"

#include "client/shared/chain_building.h"

namespace Orvane::PKI::OCSP::Client {

ATL2::CCertContext issuerByChain(const _CERT_CONTEXT* cert) {
    const ATL2::CCertContext leaf = ATL2::CCertContext::duplicate(cert);
    const ATL2::CCertChainContext chain = buildChain(leaf.get(), {.flags = CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE});
    if (chain->cChain == 0) {
        return {};
    }
    const CERT_SIMPLE_CHAIN& simple = *chain->rgpChain[0];
    if (simple.cElement >= 2) {
        const bool issued = (simple.rgpElement[0]->TrustStatus.dwErrorStatus & CERT_TRUST_IS_NOT_SIGNATURE_VALID) == 0;
        return issued ? ATL2::CCertContext::duplicate(simple.rgpElement[1]->pCertContext) : ATL2::CCertContext();
    }
    const bool selfSigned =
        simple.cElement == 1 && (simple.rgpElement[0]->TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED) != 0;
    return selfSigned ? leaf : ATL2::CCertContext();
}

}  // namespace Orvane::PKI::OCSP::Client
