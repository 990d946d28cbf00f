// Chains: what to build one from, the search for the path, the verifier's run over it, and the record for the caller.
#include <algorithm>
#include <memory>
#include <optional>

#include "platform/crypto/chain_verifier.h"
#include "platform/crypto/issuer_download.h"
#include "platform/crypto/service_call.h"

namespace tallow::platform {

namespace {

// What the caller holds: the chain context and all that it points to, in one block.
struct ChainRecord : CERT_CHAIN_CONTEXT {
    CERT_SIMPLE_CHAIN simple{};
    PCERT_SIMPLE_CHAIN simplePointer = nullptr;
    std::vector<CertificateRef> certificates;
    std::vector<CERT_CHAIN_ELEMENT> elements;
    std::vector<CERT_REVOCATION_INFO> revocations;
    std::vector<PCERT_CHAIN_ELEMENT> elementPointers;

    ChainRecord() : CERT_CHAIN_CONTEXT{} {}
};

DWORD revocationResult(const ElementVerdict& verdict) {
    if ((verdict.error & CERT_TRUST_IS_REVOKED) != 0) {
        return CRYPT_E_REVOKED;
    }
    return (verdict.error & CERT_TRUST_REVOCATION_STATUS_UNKNOWN) != 0 ? CRYPT_E_NO_REVOCATION_CHECK : 0;
}

void fillElements(ChainRecord& record, const Path& path, const ChainVerdict& verdict) {
    const std::size_t count = path.elements.size();
    // The caller's own context comes first. The others may be records that the whole process shares, so the caller
    // gets contexts of its own, and may set properties of them.
    record.certificates.push_back(path.elements[0]);
    for (std::size_t i = 1; i < count; ++i) {
        record.certificates.push_back(Certificate::copy(*path.elements[i], nullptr));
    }
    record.elements.resize(count);
    record.revocations.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        CERT_CHAIN_ELEMENT& element = record.elements[i];
        element.cbSize = sizeof element;
        element.pCertContext = record.certificates[i]->context();
        element.TrustStatus = {verdict.elements[i].error, verdict.elements[i].info};
        if (verdict.elements[i].revocationChecked) {
            record.revocations[i].cbSize = sizeof(CERT_REVOCATION_INFO);
            record.revocations[i].dwRevocationResult = revocationResult(verdict.elements[i]);
            element.pRevocationInfo = &record.revocations[i];
        }
        record.elementPointers.push_back(&element);
    }
}

std::unique_ptr<ChainRecord> makeRecord(const Path& path, const ChainVerdict& verdict, DWORD flags) {
    auto record = std::make_unique<ChainRecord>();
    fillElements(*record, path, verdict);
    record->simple.cbSize = sizeof record->simple;
    record->simple.TrustStatus = {verdict.error, CERT_TRUST_HAS_PREFERRED_ISSUER};
    record->simple.cElement = static_cast<DWORD>(record->elements.size());
    record->simple.rgpElement = record->elementPointers.data();
    record->simplePointer = &record->simple;
    record->cbSize = sizeof(CERT_CHAIN_CONTEXT);
    record->TrustStatus = record->simple.TrustStatus;
    record->cChain = 1;
    record->rgpChain = &record->simplePointer;
    record->dwCreateFlags = flags;
    return record;
}

RevocationScope scopeOf(DWORD flags) {
    if ((flags & (CERT_CHAIN_REVOCATION_CHECK_CHAIN | CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT)) != 0) {
        return RevocationScope::kChain;
    }
    return (flags & CERT_CHAIN_REVOCATION_CHECK_END_CERT) != 0 ? RevocationScope::kEndCertificate
                                                               : RevocationScope::kNone;
}

long fetchTimeoutMs(HCERTCHAINENGINE engine, const CERT_CHAIN_PARA& parameters) {
    if (parameters.dwUrlRetrievalTimeout != 0) {
        return static_cast<long>(parameters.dwUrlRetrievalTimeout);
    }
    const ChainEngine* const record = engineOf(engine);
    return record != nullptr && record->fetchTimeoutMs != 0 ? record->fetchTimeoutMs : chainLimits().fetchTimeoutMs;
}

// Whether the path is one that a CRL can matter for. Until then its certificates may be anybody's, and the addresses in
// them are not asked.
bool isProven(const Path& path, SignatureLedger& ledger) {
    bool proven = path.anchored;
    for (std::size_t i = 0; proven && i + 1 < path.elements.size(); ++i) {
        proven = ledger.verifies(*path.elements[i], *path.elements[i + 1]);
    }
    return proven;
}

// The CRL that could not be read may be the one that revokes.
void denyRevocationStatus(ChainVerdict& verdict) {
    for (ElementVerdict& element : verdict.elements) {
        if (element.revocationChecked && (element.error & CERT_TRUST_IS_REVOKED) == 0) {
            element.error |= CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;
            verdict.error |= element.error;
        }
    }
}

std::unique_ptr<ChainRecord> buildChain(HCERTCHAINENGINE engine, const CertificateRef& end, const FILETIME& when,
                                        HCERTSTORE additional, const CERT_CHAIN_PARA& parameters, DWORD flags) {
    const ChainSources sources = chainSources(engine, additional);
    SignatureLedger ledger;
    FetchAllowance allowance(chainLimits().maxFetches, fetchTimeoutMs(engine, parameters));
    IssuerDownload download((flags & CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL) == 0, allowance);
    const IssuerFetchers fetchers = {[&](const Certificate& subject) { return download.cachedIssuersOf(subject); },
                                     [&](const Certificate& subject) { return download.fetchedIssuersOf(subject); }};
    const Path path = findPath(end, sources, when, fetchers, ledger);

    CrlRules rules;
    rules.when = when;
    rules.useNetwork = (flags & (CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY)) == 0 &&
                       isProven(path, ledger);
    rules.resync = parameters.pftCacheResync;
    rules.maxAgeSeconds = parameters.fCheckRevocationFreshnessTime != FALSE ? parameters.dwRevocationFreshnessTime : 0;
    CrlSource crls(sources.crls, rules, allowance, ledger);
    ChainVerdict verdict = verifyPath(path, when, scopeOf(flags), &crls, ledger);
    if (sources.crlsIncomplete) {
        denyRevocationStatus(verdict);
    }
    return makeRecord(path, verdict, flags);
}

}  // namespace

}  // namespace tallow::platform

using namespace tallow::platform;

BOOL CertGetCertificateChain(HCERTCHAINENGINE hChainEngine, PCCERT_CONTEXT pCertContext, FILETIME* pTime,
                             HCERTSTORE hAdditionalStore, PCERT_CHAIN_PARA pChainPara, DWORD dwFlags, void*,
                             PCCERT_CHAIN_CONTEXT* ppChainContext) {
    return serviceCall(FALSE, [&] {
        if (pCertContext == nullptr || pChainPara == nullptr || pChainPara->cbSize != sizeof(CERT_CHAIN_PARA) ||
            ppChainContext == nullptr) {
            return fail(E_INVALIDARG);
        }
        FILETIME now{};
        GetSystemTimeAsFileTime(&now);
        *ppChainContext = buildChain(hChainEngine, CertificateRef::share(pCertContext), pTime != nullptr ? *pTime : now,
                                     hAdditionalStore, *pChainPara, dwFlags)
                              .release();
        return TRUE;
    });
}

void CertFreeCertificateChain(PCCERT_CHAIN_CONTEXT pChainContext) {
    const std::unique_ptr<const ChainRecord> record(static_cast<const ChainRecord*>(pChainContext));
}
