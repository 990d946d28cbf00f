#include "platform/crypto/crl_source.h"

#include <openssl/x509v3.h>

#include <limits>
#include <memory>

#include "platform/crypto/limits.h"
#include "platform/crypto/url_cache.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kMaxAddresses = 4;
constexpr std::size_t kMaxLocalCrls = 8;                    // of one issuer
constexpr long kAnyAge = std::numeric_limits<long>::max();  // nextUpdate says how long a CRL counts

struct PointsFree {
    void operator()(CRL_DIST_POINTS* points) const noexcept { CRL_DIST_POINTS_free(points); }
};
struct AccessFree {
    void operator()(AUTHORITY_INFO_ACCESS* access) const noexcept { AUTHORITY_INFO_ACCESS_free(access); }
};
struct ScopeFree {
    void operator()(ISSUING_DIST_POINT* scope) const noexcept { ISSUING_DIST_POINT_free(scope); }
};

void addAddress(const GENERAL_NAME* name, std::vector<std::string>& addresses) {
    if (name->type != GEN_URI || addresses.size() >= kMaxAddresses) {
        return;
    }
    const ASN1_IA5STRING* const uri = name->d.uniformResourceIdentifier;
    std::string text(reinterpret_cast<const char*>(ASN1_STRING_get0_data(uri)),
                     static_cast<std::size_t>(ASN1_STRING_length(uri)));
    const bool isHttp = text.starts_with("http://") || text.starts_with("https://");
    if (isHttp && text.find('\0') == std::string::npos) {
        addresses.push_back(std::move(text));
    }
}

// Whether `time` is not after the limit.
bool isBy(const ASN1_TIME* time, long long seconds) {
    std::time_t limit = seconds;
    return X509_cmp_time(time, &limit) < 0;
}

// Whether the CRL says of itself that it speaks about some of its issuer's certificates only.
bool isPartial(const Crl& crl) {
    return X509_CRL_get_ext_by_NID(crl.crl.get(), NID_issuing_distribution_point, -1) >= 0;
}

// Whether it says which ones in a form that can be read. OpenSSL takes a CRL that says it wrongly for one about all.
bool isScopeReadable(const Crl& crl) {
    const std::unique_ptr<ISSUING_DIST_POINT, ScopeFree> scope(static_cast<ISSUING_DIST_POINT*>(
        X509_CRL_get_ext_d2i(crl.crl.get(), NID_issuing_distribution_point, nullptr, nullptr)));
    return scope != nullptr || !isPartial(crl);
}

}  // namespace

long long secondsSince1970(const FILETIME& time) noexcept {
    constexpr long long kSecondsFrom1601To1970 = 11644473600LL;
    const auto ticks = static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return static_cast<long long>(ticks / 10000000ULL) - kSecondsFrom1601To1970;
}

std::vector<std::string> distributionPoints(const Certificate& certificate) {
    const std::unique_ptr<CRL_DIST_POINTS, PointsFree> points(static_cast<CRL_DIST_POINTS*>(
        X509_get_ext_d2i(certificate.x509(), NID_crl_distribution_points, nullptr, nullptr)));
    std::vector<std::string> addresses;
    for (int i = 0; points && i < sk_DIST_POINT_num(points.get()); ++i) {
        const DIST_POINT* const point = sk_DIST_POINT_value(points.get(), i);
        // A CRL of another issuer would need a chain of its own; such points are passed over.
        if (point->CRLissuer != nullptr || point->distpoint == nullptr || point->distpoint->type != 0) {
            continue;
        }
        const GENERAL_NAMES* const names = point->distpoint->name.fullname;
        for (int k = 0; k < sk_GENERAL_NAME_num(names); ++k) {
            addAddress(sk_GENERAL_NAME_value(names, k), addresses);
        }
    }
    return addresses;
}

std::vector<std::string> issuerAddresses(const Certificate& certificate) {
    const std::unique_ptr<AUTHORITY_INFO_ACCESS, AccessFree> access(
        static_cast<AUTHORITY_INFO_ACCESS*>(X509_get_ext_d2i(certificate.x509(), NID_info_access, nullptr, nullptr)));
    std::vector<std::string> addresses;
    for (int i = 0; access && i < sk_ACCESS_DESCRIPTION_num(access.get()); ++i) {
        const ACCESS_DESCRIPTION* const description = sk_ACCESS_DESCRIPTION_value(access.get(), i);
        if (OBJ_obj2nid(description->method) == NID_ad_ca_issuers) {
            addAddress(description->location, addresses);
        }
    }
    return addresses;
}

bool CrlSource::isAcceptable(const Crl& crl, const Certificate& issuer) {
    const X509_ALGOR* algorithm = nullptr;
    X509_CRL_get0_signature(crl.crl.get(), nullptr, &algorithm);
    // One without nextUpdate would count for ever, also after a newer one was issued.
    return X509_CRL_get0_nextUpdate(crl.crl.get()) != nullptr && isScopeReadable(crl) &&
           X509_NAME_cmp(X509_CRL_get_issuer(crl.crl.get()), X509_get_subject_name(issuer.x509())) == 0 &&
           !isWeakSignature(algorithm) && ledger_.verifies(crl, issuer);
}

bool CrlSource::isCurrent(const Crl& crl) const {
    const long long now = secondsSince1970(rules_.when);
    const ASN1_TIME* const issued = X509_CRL_get0_lastUpdate(crl.crl.get());
    const ASN1_TIME* const next = X509_CRL_get0_nextUpdate(crl.crl.get());
    if (rules_.maxAgeSeconds != 0 && isBy(issued, now - rules_.maxAgeSeconds)) {
        return false;
    }
    return isBy(issued, now) && !isBy(next, now);
}

bool CrlSource::offer(const CrlRef& crl, const Certificate& issuer, std::vector<CrlRef>& found) {
    if (!crl || !isAcceptable(*crl, issuer)) {
        return false;
    }
    const bool current = isCurrent(*crl);
    // The verifier knows nothing of an age limit, so what is too old by that is kept from it.
    if (current || rules_.maxAgeSeconds == 0) {
        found.push_back(crl);
    }
    return current;
}

bool CrlSource::offerCached(const std::string& url, const Certificate& issuer, std::vector<CrlRef>& found) {
    const std::optional<Bytes> cached = UrlCache().find(url, kAnyAge, rules_.resync);
    return cached && offer(Crl::parse(*cached), issuer, found);
}

bool CrlSource::offerFetched(const std::string& url, const Certificate& issuer, std::vector<CrlRef>& found) {
    const std::optional<Bytes> body = fetchObject(url, chainLimits().maxCrlSize, allowance_);
    if (!body) {
        return false;
    }
    const std::size_t before = found.size();
    const bool current = offer(Crl::parse(*body), issuer, found);
    if (found.size() > before) {  // verified: what a stranger put in the way is not kept
        UrlCache().keep(url, *body);
    }
    return current;
}

std::vector<CrlRef> CrlSource::crlsFor(const Certificate& certificate, const Certificate& issuer) {
    std::vector<CrlRef> found;
    bool current = false;
    for (const CrlRef& crl : local_) {
        if (found.size() < kMaxLocalCrls) {
            // The verifier decides whether a partial one covers the certificate; until then another is looked for.
            current = (offer(crl, issuer, found) && !isPartial(*crl)) || current;
        }
    }
    if (current) {
        return found;
    }
    const std::vector<std::string> addresses = distributionPoints(certificate);
    for (const std::string& url : addresses) {
        if (offerCached(url, issuer, found)) {
            return found;
        }
    }
    for (const std::string& url : addresses) {
        if (rules_.useNetwork && offerFetched(url, issuer, found)) {
            return found;
        }
    }
    return found;
}

}  // namespace tallow::platform
