#include "handles/cert_chain_context.h"

#include <utility>

#include "platform/crypto/crypto_service.h"

namespace ATL2 {

CCertChainContext::CCertChainContext(CCertChainContext&& other) noexcept
    : chain_(std::exchange(other.chain_, nullptr)) {}

CCertChainContext& CCertChainContext::operator=(CCertChainContext&& other) noexcept {
    if (this != &other) {
        reset(std::exchange(other.chain_, nullptr));
    }
    return *this;
}

const _CERT_CHAIN_CONTEXT** CCertChainContext::put() noexcept {
    reset();
    return &chain_;
}

void CCertChainContext::reset(const _CERT_CHAIN_CONTEXT* chain) noexcept {
    if (chain_ != nullptr) {
        CertFreeCertificateChain(chain_);
    }
    chain_ = chain;
}

}  // namespace ATL2
