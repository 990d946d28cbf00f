// Revocation of single certificates, by CRLs.
#include "platform/crypto/base/limits.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/chains/crl_status.h"

namespace tallow::platform {

namespace {

struct Check {
    const CERT_REVOCATION_PARA* parameters;  // may be null
    EvaluationTime time;
    bool useNetwork;
};

HCERTCHAINENGINE engineFor(const CERT_REVOCATION_PARA* parameters) {
    return parameters != nullptr && parameters->pChainPara != nullptr ? parameters->pChainPara->hChainEngine : nullptr;
}

void addCrls(HCERTSTORE handle, ChainSources& sources) {
    if (const Store* const store = Store::of(handle)) {
        const std::vector<CrlRef> more = store->crls();
        sources.crls.insert(sources.crls.end(), more.begin(), more.end());
        sources.crlsIncomplete |= store->mayLackCrl();
    }
}

ChainSources sourcesFor(const CERT_REVOCATION_PARA* parameters) {
    ChainSources sources = chainSources(engineFor(parameters), nullptr);
    for (DWORD i = 0; parameters != nullptr && i < parameters->cCertStore; ++i) {
        if (const Store* const store = Store::of(parameters->rgCertStore[i])) {
            const std::vector<CertificateRef> more = store->certificates();
            sources.others.insert(sources.others.begin(), more.begin(), more.end());
            addCrls(parameters->rgCertStore[i], sources);
        }
    }
    if (parameters != nullptr) {
        addCrls(parameters->hCrlStore, sources);
    }
    return sources;
}

// The certificate, its issuer (given or found), and the path from there, to a trusted root or not.
Path pathFor(const CertificateRef& certificate, const CertificateRef& issuer, const ChainSources& sources,
             const FILETIME& when, SignatureLedger& ledger) {
    if (sameBytes(view(certificate->info().Subject), view(certificate->info().Issuer)) &&
        ledger.verifies(*certificate, *certificate)) {
        Path path;
        path.elements = {certificate, certificate};  // only its own key can have signed a CRL about it
        return path;
    }
    if (!issuer) {
        return findPath(certificate, sources, when, {}, ledger);
    }
    Path path = findPath(issuer, sources, when, {}, ledger);
    path.elements.insert(path.elements.begin(), certificate);
    return path;
}

CrlRules rulesFor(const Check& check, const Path& path, SignatureLedger& ledger) {
    const CERT_REVOCATION_PARA* const parameters = check.parameters;
    const bool useNetwork = check.useNetwork && isProven(path, ledger);
    if (parameters == nullptr) {
        return crlRules(check.time, useNetwork, nullptr, 0);
    }
    return crlRules(check.time, useNetwork, parameters->pftCacheResync,
                    parameters->fCheckFreshnessTime != FALSE ? parameters->dwFreshnessTime : 0);
}

long timeoutMsFor(const CERT_REVOCATION_PARA* parameters) {
    return parameters != nullptr && parameters->dwUrlRetrievalTimeout != 0
               ? static_cast<long>(parameters->dwUrlRetrievalTimeout)
               : chainLimits().fetchTimeoutMs;
}

// 0, or the last error of the check.
DWORD checkOne(const CertificateRef& certificate, const CertificateRef& issuer, const Check& check,
               CERT_REVOCATION_STATUS& status) {
    const ChainSources sources = sourcesFor(check.parameters);
    SignatureLedger ledger;
    const Path path = pathFor(certificate, issuer, sources, check.time.when, ledger);
    if (path.elements.size() == 1 || !ledger.verifies(*path.elements[0], *path.elements[1])) {
        return CRYPT_E_NO_REVOCATION_CHECK;
    }
    const CrlRules rules = rulesFor(check, path, ledger);
    FetchAllowance allowance(chainLimits().maxFetches, timeoutMsFor(check.parameters));
    const RevocationStatus result = CrlCheck(sources, rules, allowance, ledger).statusOf(path, 0);
    if (result.state == RevocationState::kRevoked) {
        status.dwReason = result.reason;
        return CRYPT_E_REVOKED;
    }
    if (result.state == RevocationState::kGood) {
        return 0;
    }
    // If the certificate names an address for its CRL, the CRL exists and could not be reached.
    return CrlSubject(*certificate).addresses().empty() ? CRYPT_E_NO_REVOCATION_CHECK : CRYPT_E_REVOCATION_OFFLINE;
}

bool isUsable(const CERT_REVOCATION_PARA* parameters) {
    return parameters == nullptr || (parameters->cbSize == sizeof(CERT_REVOCATION_PARA) &&
                                     (parameters->cCertStore == 0 || parameters->rgCertStore != nullptr));
}

// The issuer that the caller names: for the first certificate in the parameters, for the others of a chain the next.
CertificateRef namedIssuer(DWORD index, DWORD count, void* const* contexts, DWORD flags,
                           const CERT_REVOCATION_PARA* parameters) {
    if ((flags & CERT_VERIFY_REV_CHAIN_FLAG) != 0 && index + 1 < count) {
        return CertificateRef::share(static_cast<PCCERT_CONTEXT>(contexts[index + 1]));
    }
    const bool isLastOrOnly = index + 1 == count;
    return parameters != nullptr && isLastOrOnly ? CertificateRef::share(parameters->pIssuerCert) : CertificateRef();
}

}  // namespace

}  // namespace tallow::platform

using namespace tallow::platform;

BOOL CertVerifyRevocation(DWORD dwEncodingType, DWORD dwRevType, DWORD cContext, void* rgpvContext[], DWORD dwFlags,
                          CERT_REVOCATION_PARA* pRevPara, CERT_REVOCATION_STATUS* pRevStatus) {
    return serviceCall(FALSE, [&] {
        if ((dwEncodingType & X509_ASN_ENCODING) == 0 || dwRevType != CERT_CONTEXT_REVOCATION_TYPE || cContext == 0 ||
            rgpvContext == nullptr || pRevStatus == nullptr || pRevStatus->cbSize != sizeof(CERT_REVOCATION_STATUS) ||
            !isUsable(pRevPara)) {
            return fail(E_INVALIDARG);
        }
        const FILETIME* const time = pRevPara != nullptr ? pRevPara->pftCurrentTime : nullptr;
        const Check check{pRevPara, evaluationTime(time), (dwFlags & CERT_VERIFY_CACHE_ONLY_BASED_REVOCATION) == 0};
        *pRevStatus = {};
        pRevStatus->cbSize = sizeof(CERT_REVOCATION_STATUS);
        for (DWORD i = 0; i < cContext; ++i) {
            const CertificateRef certificate = CertificateRef::share(static_cast<PCCERT_CONTEXT>(rgpvContext[i]));
            if (!certificate) {
                return fail(E_INVALIDARG);
            }
            pRevStatus->dwError =
                checkOne(certificate, namedIssuer(i, cContext, rgpvContext, dwFlags, pRevPara), check, *pRevStatus);
            if (pRevStatus->dwError != 0) {
                pRevStatus->dwIndex = i;
                return fail(pRevStatus->dwError);
            }
        }
        return TRUE;
    });
}
