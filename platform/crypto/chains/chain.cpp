// Chains: collects the sources, searches for paths, verifies them, and fills the record for the caller.
#include <algorithm>
#include <memory>
#include <numeric>
#include <optional>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/chains/chain_verifier.h"
#include "platform/crypto/chains/issuer_download.h"

namespace tallow::platform {

namespace {

constexpr int kMaxPaths = 8;  // verified in one call
// Octets of the paths verified in one call; reaching it ends the search for a better path. A path usually has a few
// kilobytes, and names and policies of dozens of times that size are expensive to verify.
constexpr std::size_t kMaxJudgedOctets = 256 * 1024;

// The chain context for the caller with everything that it points to, in one block.
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

// The check that leaves out the root is that of a requestor's certificate, which the sender of a request chooses:
// its addresses are not asked.
bool mayAskAddresses(DWORD flags) {
    return (flags & (CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT)) == 0;
}

struct JudgedPath {
    Path path;
    ChainVerdict verdict;
};

// Faults, worst first. Of two paths, the one without the first fault in which they differ is better.
constexpr DWORD kUnproven =
    CERT_TRUST_IS_PARTIAL_CHAIN | CERT_TRUST_IS_NOT_SIGNATURE_VALID | CERT_TRUST_IS_UNTRUSTED_ROOT;
constexpr DWORD kFaults[] = {
    CERT_TRUST_IS_PARTIAL_CHAIN,
    CERT_TRUST_IS_NOT_SIGNATURE_VALID,
    CERT_TRUST_IS_UNTRUSTED_ROOT,
    ~(kUnproven | CERT_TRUST_IS_REVOKED | CERT_TRUST_IS_NOT_TIME_VALID | kUnknownRevocation),
    CERT_TRUST_IS_REVOKED,
    CERT_TRUST_IS_NOT_TIME_VALID,
};

// Whether a trusted path shows that the end certificate is revoked: no other path changes that.
bool isEndRevoked(const ChainVerdict& verdict) {
    return (verdict.elements[0].error & CERT_TRUST_IS_REVOKED) != 0 && (verdict.error & kUnproven) == 0;
}

bool isBetter(const ChainVerdict& one, const ChainVerdict& other) {
    if (isEndRevoked(one) != isEndRevoked(other)) {
        return isEndRevoked(one);
    }
    for (const DWORD fault : kFaults) {
        if (((one.error ^ other.error) & fault) != 0 && ((one.error & fault) == 0) != ((other.error & fault) == 0)) {
            return (one.error & fault) == 0;
        }
    }
    return (one.error & kUnknownRevocation) == 0 && (other.error & kUnknownRevocation) != 0;
}

// Whether no other path can be better.
bool isDecided(const ChainVerdict& verdict) {
    constexpr DWORD kOfEnd = CERT_TRUST_IS_NOT_TIME_VALID | CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT;
    const bool isOnlyRevoked = isEndRevoked(verdict) && (verdict.error & ~CERT_TRUST_IS_REVOKED) == 0;
    return verdict.error == 0 || isOnlyRevoked ||
           ((verdict.elements[0].error & kOfEnd) != 0 && (verdict.error & kUnproven) == 0);
}

std::size_t octetsOf(const Path& path) {
    return std::accumulate(path.elements.begin(), path.elements.end(), std::size_t{0},
                           [](std::size_t sum, const CertificateRef& element) { return sum + element->der().size(); });
}

// The first path without a fault, else the best of those tried.
template <typename Judge>
JudgedPath bestPath(PathSearch& search, Judge judge) {
    JudgedPath best;
    bool mayDownload = true;
    std::size_t judgedOctets = 0;
    for (int tried = 0; tried < kMaxPaths && judgedOctets < kMaxJudgedOctets; ++tried) {
        std::optional<Path> path = search.next(mayDownload);
        if (!path) {
            break;
        }
        // Anyone can make paths to their own root that are expensive to verify, and none of them proves anything.
        if (tried > 0 && !path->anchored) {
            continue;
        }
        judgedOctets += octetsOf(*path);
        ChainVerdict verdict = judge(*path);
        if (tried == 0 || isBetter(verdict, best.verdict)) {
            best = {std::move(*path), std::move(verdict)};
        }
        if (isDecided(best.verdict)) {
            break;
        }
        // If only a CRL is missing, another issuer is not worth a download.
        mayDownload = (best.verdict.error & ~kUnknownRevocation) != 0;
    }
    return best;
}

std::unique_ptr<ChainRecord> buildChain(HCERTCHAINENGINE engine, const CertificateRef& end, const EvaluationTime& time,
                                        HCERTSTORE additional, const CERT_CHAIN_PARA& parameters, DWORD flags) {
    const ChainSources sources = chainSources(engine, additional);
    SignatureLedger ledger;
    FetchAllowance allowance(chainLimits().maxFetches, fetchTimeoutMs(engine, parameters));
    IssuerDownload download(mayAskAddresses(flags), allowance);
    const IssuerFetchers fetchers = {[&](const Certificate& subject, std::size_t index, auto& found) {
                                         return download.cached(subject, index, found);
                                     },
                                     [&](const Certificate& subject, std::size_t index, auto& found) {
                                         return download.fetched(subject, index, found);
                                     }};
    PathSearch search(end, sources, time.when, fetchers, ledger);
    const RevocationScope scope = scopeOf(flags);
    constexpr DWORD kCacheOnly = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY;
    const DWORD maxAge = parameters.fCheckRevocationFreshnessTime != FALSE ? parameters.dwRevocationFreshnessTime : 0;
    const auto judge = [&](const Path& path) {
        if (scope == RevocationScope::kNone) {
            return verifyPath(path, time.when, scope, nullptr, ledger);
        }
        const CrlRules rules =
            crlRules(time, (flags & kCacheOnly) == 0 && isProven(path, ledger), parameters.pftCacheResync, maxAge);
        CrlCheck crls(sources, rules, allowance, ledger);
        return verifyPath(path, time.when, scope, &crls, ledger);
    };
    const JudgedPath best = bestPath(search, judge);
    if ((best.verdict.error & ~kUnknownRevocation) == 0) {
        download.keep(best.path.elements);
    }
    return makeRecord(best.path, best.verdict, flags);
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
        *ppChainContext = buildChain(hChainEngine, CertificateRef::share(pCertContext), evaluationTime(pTime),
                                     hAdditionalStore, *pChainPara, dwFlags)
                              .release();
        if (isNoted()) {
            CRYPTO_NOTE note{};
            note.dwKind = CRYPTO_NOTE_CHAIN;
            note.pChain = *ppChainContext;
            tell(note);
        }
        return TRUE;
    });
}

void CertFreeCertificateChain(PCCERT_CHAIN_CONTEXT pChainContext) {
    const std::unique_ptr<const ChainRecord> record(static_cast<const ChainRecord*>(pChainContext));
}
