#include "checker/rules/issuer_rules.h"

#include <algorithm>

#include "checker/rules/chain.h"
#include "checker/text/algorithm_text.h"
#include "handles/cert_store.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::rules {

namespace {

// Each costs a signature check, and the certificates may come from the sender of the one to check.
constexpr int kMostIssuersTried = 64;

// The second element of the chain, or the certificate itself when it is self-signed.
ATL2::CCertContext secondOf(const CERT_SIMPLE_CHAIN& chain) {
    const CERT_CHAIN_ELEMENT& end = *chain.rgpElement[0];
    const bool isSelfSigned = (end.TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED) != 0;
    if (chain.cElement == 1 && !isSelfSigned) {
        return {};
    }
    return ATL2::CCertContext::duplicate(chain.rgpElement[chain.cElement > 1 ? 1 : 0]->pCertContext);
}

}  // namespace

std::optional<Rejection> rejectIssuer(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer) {
    const CERT_NAME_BLOB& name = issuer->pCertInfo->Subject;
    const CERT_NAME_BLOB& wanted = certificate->pCertInfo->Issuer;
    if (!std::equal(name.pbData, name.pbData + name.cbData, wanted.pbData, wanted.pbData + wanted.cbData)) {
        return Rejection{status::kIssuerMismatch, Rule::kIssuer};
    }
    if (CryptVerifyCertificateSignatureEx(0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT,
                                          const_cast<_CERT_CONTEXT*>(certificate), CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT,
                                          const_cast<_CERT_CONTEXT*>(issuer), 0, nullptr) != 0) {
        return std::nullopt;
    }
    const std::int32_t code = ATL2::convertLastError(GetLastError());
    if (code == status::kBadSignature) {
        return Rejection{status::kIssuerMismatch, Rule::kIssuer,
                         "the issuer given has the right name, but another key; supply the one that signed"};
    }
    if (const std::string problem = text::algorithmProblem(certificate->pCertInfo->SignatureAlgorithm.pszObjId);
        code == status::kBadAlgorithm && !problem.empty()) {
        return Rejection{code, Rule::kIssuer, "the signature of the certificate cannot be verified: " + problem};
    }
    return Rejection{code == status::kOk ? status::kFail : code, Rule::kIssuer,
                     "the signature of the certificate (algorithm " +
                         std::string(certificate->pCertInfo->SignatureAlgorithm.pszObjId) +
                         ") cannot be verified with the key of its issuer, so the issuer is not proven; have the "
                         "certificate renewed"};
}

ATL2::CCertContext issuerIn(void* store, const _CERT_CONTEXT* certificate) {
    ATL2::CCertContext candidate;
    for (int numTried = 0; numTried < kMostIssuersTried; ++numTried) {
        // The search frees the previous context, so each step passes it on.
        candidate.reset(CertFindCertificateInStore(store, X509_ASN_ENCODING, 0, CERT_FIND_ISSUER_OF, certificate,
                                                   candidate.detach()));
        if (!candidate) {
            break;
        }
        if (!rejectIssuer(certificate, candidate.get())) {
            return candidate;
        }
    }
    return {};
}

ATL2::CCertContext findIssuer(void* store, const _CERT_CONTEXT* certificate) {
    for (const char* name : {"CA", "ROOT"}) {
        ATL2::CCertStore system;
        if (system.Open(CERT_STORE_PROV_SYSTEM_A, 0, CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG, name) ==
            status::kOk) {
            if (ATL2::CCertContext issuer = issuerIn(system.get(), certificate)) {
                return issuer;
            }
        }
    }
    const ATL2::CCertChainContext chain = buildChain(certificate, store, CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE);
    ATL2::CCertContext issuer = chain->cChain == 0 ? ATL2::CCertContext() : secondOf(*chain->rgpChain[0]);
    return issuer && !rejectIssuer(certificate, issuer.get()) ? issuer : ATL2::CCertContext();
}

}  // namespace tallow::rules
