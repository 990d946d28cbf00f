#include "client/response/issuer_by_chain.h"

#include "handles/cert_chain_context.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

ATL2::CCertContext issuerByChain(_CERT_CONTEXT const* cert) {
    const ATL2::CCertContext leaf = ATL2::CCertContext::duplicate(cert);
    if (!leaf) {
        ATL::AtlThrowImpl(status::kFail);
    }
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    ATL2::CCertChainContext chain;
    if (!CertGetCertificateChain(nullptr, leaf.get(), nullptr, nullptr, &parameters,
                                 CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE, nullptr, chain.put())) {
        ATL::AtlThrowLastWin32();
    }
    if (chain->cChain == 0) {
        return {};
    }
    CERT_SIMPLE_CHAIN const& simple = *chain->rgpChain[0];
    if (simple.cElement >= 2) {
        const bool issued = (simple.rgpElement[0]->TrustStatus.dwErrorStatus & CERT_TRUST_IS_NOT_SIGNATURE_VALID) == 0;
        return issued ? ATL2::CCertContext::duplicate(simple.rgpElement[1]->pCertContext) : ATL2::CCertContext();
    }
    const bool selfSigned =
        simple.cElement == 1 && (simple.rgpElement[0]->TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED) != 0;
    return selfSigned ? leaf : ATL2::CCertContext();
}

}  // namespace Orvane::PKI::OCSP::Client
