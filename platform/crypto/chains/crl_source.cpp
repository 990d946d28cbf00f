#include "platform/crypto/chains/crl_source.h"

#include <algorithm>
#include <limits>

#include "platform/crypto/base/limits.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/chains/crl_memory.h"
#include "platform/crypto/chains/signature_ledger.h"
#include "platform/crypto/network/exchange_note.h"
#include "platform/crypto/network/url_cache.h"

namespace tallow::platform {

namespace {

constexpr long kAnyAge = std::numeric_limits<long>::max();  // offline, only nextUpdate limits the use of a CRL

DWORD lowerLimit(DWORD left, DWORD right) {
    return left == 0 || right == 0 ? std::max(left, right) : std::min(left, right);
}

bool isPem(ByteView content) {
    constexpr std::string_view kPem = "-----BEGIN";
    return content.size() > kPem.size() && std::equal(kPem.begin(), kPem.end(), content.begin());
}

}  // namespace

long long secondsSince1970(const FILETIME& time) noexcept {
    constexpr long long kSecondsFrom1601To1970 = 11644473600LL;
    const auto ticks = static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return static_cast<long long>(ticks / 10000000ULL) - kSecondsFrom1601To1970;
}

CrlRules crlRules(const EvaluationTime& time, bool useNetwork, const FILETIME* resync, DWORD maxAgeSeconds) {
    const ChainLimits limits = chainLimits();
    CrlRules rules;
    rules.when = time.when;
    rules.byDate = time.isOfCheck;
    rules.useNetwork = useNetwork;
    rules.resync = resync;
    rules.maxAgeSeconds = lowerLimit(maxAgeSeconds, static_cast<DWORD>(limits.maxCrlAgeSeconds));
    rules.cacheMaxAgeSeconds = useNetwork ? limits.crlCacheMaxAgeSeconds : kAnyAge;
    return rules;
}

bool CrlSource::isCurrent(const Crl& crl) const {
    const long long now = secondsSince1970(rules_.when);
    const bool isYoung = rules_.maxAgeSeconds == 0 || crl.thisUpdate >= now - rules_.maxAgeSeconds;
    return crl.thisUpdate <= now && crl.nextUpdate && *crl.nextUpdate > now && isYoung;
}

bool CrlSource::add(CrlRef crl, const std::string& url, const CrlSubject& subject, CrlCandidates& candidates) const {
    if (!crl) {
        return false;
    }
    const ReasonMask reasons = subject.reasonsCoveredBy(*crl);
    if (reasons == 0) {
        return false;
    }
    const long long when = secondsSince1970(rules_.when);
    const bool isLater = crl->thisUpdate != kMalformedTime && crl->thisUpdate > when;
    const bool isInTime = (isLater && rules_.byDate) || isCurrent(*crl);
    const char* const objection = crl->defect != nullptr                  ? crl->defect
                                  : !isInTime                             ? "it is not current"
                                  : isWeakSignature(crl->algorithm.get()) ? "its signature algorithm is weak"
                                                                          : nullptr;
    if (objection != nullptr) {
        TALLOW_CRYPTO_TRACE("A CRL about the certificate is not used: %s\n", objection);
    }
    if (isLater && !rules_.byDate) {
        fromTheFuture_ = std::move(crl);
        return false;  // the call is about an earlier time
    }
    const std::optional<int> reason =
        crl->reasonFor(subject.issuer(), subject.serial(), rules_.byDate ? when : kMalformedTime);
    candidates.push_back({std::move(crl), url, reasons, reason, objection == nullptr, isLater});
    return objection == nullptr;
}

void CrlSource::addLocal(const CrlSubject& subject, CrlCandidates& candidates) const {
    for (const CrlRef& crl : local_) {
        add(crl, {}, subject, candidates);
    }
}

bool CrlSource::addCached(const std::string& url, const CrlSubject& subject, CrlCandidates& candidates) const {
    const RememberedCrl known = crlMemory().recall(url);
    // Others may write a shared cache: its entries have the limits of downloads.
    std::optional<CachedAnswer> cached =
        UrlCache::ofSettings(rules_.useNetwork, CacheContent::kDownloads)
            ->findChanged(url, rules_.cacheMaxAgeSeconds, rules_.resync,
                          {known.crl ? ByteView(known.crl->der) : ByteView(), known.stamp}, chainLimits().maxCrlSize);
    if (!cached) {
        return false;
    }
    noteCached(CRYPTO_NOTE_FOR_CRL, url);
    CrlRef crl = cached->answer ? Crl::parse(std::move(*cached->answer)) : known.crl;
    if (crl != known.crl || cached->stamp != known.stamp) {
        crlMemory().remember(url, {crl, cached->stamp});
    }
    return add(std::move(crl), {}, subject, candidates);
}

bool CrlSource::addFetched(const std::string& url, const CrlSubject& subject, CrlCandidates& candidates) {
    std::optional<Bytes> body =
        rules_.useNetwork ? fetchObject(url, chainLimits().maxCrlSize, allowance_, CRYPTO_NOTE_FOR_CRL) : std::nullopt;
    if (!body) {
        return false;
    }
    const char* const objection =
        isPem(*body) ? "received in PEM, but a CRL is served in DER" : "received, but it is no CRL in DER";
    CrlRef crl = crlMemory().recall(url).crl;
    if (!crl || !std::ranges::equal(crl->der, *body)) {
        crl = Crl::parse(std::move(*body));
    }
    if (!crl) {
        noteSkipped(CRYPTO_NOTE_FOR_CRL, url, ERROR_INVALID_DATA, objection);
    }
    return add(std::move(crl), url, subject, candidates);
}

void CrlSource::keep(const CrlCandidate& candidate) const {
    if (!rules_.byDate) {
        UrlCache::ofSettings(rules_.useNetwork, CacheContent::kDownloads)
            ->keep(candidate.url, candidate.crl->der,
                   lifetimeUntil(candidate.crl->nextUpdate, rules_.cacheMaxAgeSeconds));
    }
    crlMemory().remember(candidate.url, {candidate.crl, {}});
}

}  // namespace tallow::platform
