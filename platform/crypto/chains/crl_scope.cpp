#include "platform/crypto/chains/crl_scope.h"

#include <strings.h>

#include <algorithm>
#include <string_view>

#include "platform/crypto/base/decode_whole.h"
#include "platform/crypto/base/openssl_handles.h"

namespace tallow::platform {

namespace {

constexpr int kMaxPoints = 32;  // each is compared with each CRL; certificates in use have one to three
constexpr int kFirstReason = 1;
constexpr int kLastReason = 8;

using AccessPtr = std::unique_ptr<AUTHORITY_INFO_ACCESS, OpenSslFree<AUTHORITY_INFO_ACCESS_free>>;

ReasonMask maskOf(const ASN1_BIT_STRING* flags) {
    ReasonMask mask = 0;
    for (int reason = kFirstReason; reason <= kLastReason; ++reason) {
        mask |= ASN1_BIT_STRING_get_bit(flags, reason) != 0 ? 1U << reason : 0;
    }
    return mask;
}

bool beginsWith(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && ::strncasecmp(text.data(), word.data(), word.size()) == 0;
}

// Http or https, without a user name or password: an address from a certificate is public, and must not make this
// machine log in anywhere.
bool isFetchable(std::string_view address) {
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (beginsWith(address, scheme)) {
            const std::string_view rest = address.substr(scheme.size());
            const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
            const bool isPlain =
                std::all_of(address.begin(), address.end(), [](char c) { return c > ' ' && c < 0x7F; });
            return isPlain && authority.find_first_of("@\\") == std::string_view::npos;
        }
    }
    return false;
}

void addAddress(const GENERAL_NAME* name, std::vector<std::string>& addresses) {
    if (name->type != GEN_URI || addresses.size() >= kMaxCrlAddresses) {
        return;
    }
    const ASN1_IA5STRING* const uri = name->d.uniformResourceIdentifier;
    std::string text(reinterpret_cast<const char*>(ASN1_STRING_get0_data(uri)),
                     static_cast<std::size_t>(ASN1_STRING_length(uri)));
    if (isFetchable(text) && std::find(addresses.begin(), addresses.end(), text) == addresses.end()) {
        addresses.push_back(std::move(text));
    }
}

const X509_NAME* firstDirectoryName(const GENERAL_NAMES* names) {
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
        if (const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names, i); name->type == GEN_DIRNAME) {
            return name->d.directoryName;
        }
    }
    return nullptr;
}

bool haveCommonName(const GENERAL_NAMES* left, const GENERAL_NAMES* right) {
    for (int i = 0; i < sk_GENERAL_NAME_num(left); ++i) {
        for (int k = 0; k < sk_GENERAL_NAME_num(right); ++k) {
            if (GENERAL_NAME_cmp(sk_GENERAL_NAME_value(left, i), sk_GENERAL_NAME_value(right, k)) == 0) {
                return true;
            }
        }
    }
    return false;
}

constexpr int kFullName = 0;  // DIST_POINT_NAME::type; else a relative name, completed in `dpname`

bool hasName(const DIST_POINT_NAME& point, const X509_NAME* name) {
    return point.type == kFullName ? containsName(point.name.fullname, name)
                                   : point.dpname != nullptr && X509_NAME_cmp(point.dpname, name) == 0;
}

bool haveCommonName(const DIST_POINT_NAME& left, const DIST_POINT_NAME& right) {
    if (left.type == kFullName && right.type == kFullName) {
        return haveCommonName(left.name.fullname, right.name.fullname);
    }
    const bool isLeftFull = left.type == kFullName;
    const X509_NAME* const relative = isLeftFull ? right.dpname : left.dpname;
    return relative != nullptr && hasName(isLeftFull ? left : right, relative);
}

}  // namespace

CrlSubject::CrlSubject(const Certificate& certificate) : certificate_(certificate) {
    const ByteView reversed = view(certificate.info().SerialNumber);
    serialOctets_.assign(reversed.rbegin(), reversed.rend());
    serial_ = integerContent(serialOctets_);
    isCa_ = (X509_get_extension_flags(certificate.x509()) & EXFLAG_CA) != 0;
    points_ = readPoints(NID_crl_distribution_points);
    deltaPoints_ = readPoints(NID_freshest_crl);
}

DistributionPointsPtr CrlSubject::readPoints(int nid) {
    if (X509_get_ext_by_NID(certificate_.x509(), nid, -1) < 0) {
        return nullptr;
    }
    DistributionPointsPtr points(
        static_cast<CRL_DIST_POINTS*>(X509_get_ext_d2i(certificate_.x509(), nid, nullptr, nullptr)));
    if (points == nullptr) {
        throwIfOutOfMemory();
    }
    if (sk_DIST_POINT_num(points.get()) > kMaxPoints) {
        points.reset();
    }
    for (int i = 0; points && i < sk_DIST_POINT_num(points.get()); ++i) {
        const DIST_POINT* const point = sk_DIST_POINT_value(points.get(), i);
        const X509_NAME* const named = firstDirectoryName(point->CRLissuer);
        const X509_NAME* const base = named != nullptr ? named : issuer();
        if (!isShort(point->CRLissuer) || !completePointName(point->distpoint, base)) {
            points.reset();
        }
    }
    readable_ = readable_ && points != nullptr;
    return points;
}

const X509_NAME* CrlSubject::issuer() const {
    return X509_get_issuer_name(certificate_.x509());
}

bool CrlSubject::namesCrlIssuer(const X509_NAME* name) const {
    for (int i = 0; i < sk_DIST_POINT_num(points_.get()); ++i) {
        if (containsName(sk_DIST_POINT_value(points_.get(), i)->CRLissuer, name)) {
            return true;
        }
    }
    return false;
}

// Step b: whether the distribution point refers to this CRL.
bool CrlSubject::isCovered(const DIST_POINT& point, const Crl& crl) const {
    const ISSUING_DIST_POINT* const scope = crl.scope.get();
    const bool isIndirect = scope != nullptr && scope->indirectCRL > 0;
    const bool isRightIssuer = point.CRLissuer != nullptr
                                   ? isIndirect && containsName(point.CRLissuer, crl.issuer.get())
                                   : X509_NAME_cmp(crl.issuer.get(), issuer()) == 0;
    if (!isRightIssuer || (point.CRLissuer == nullptr && point.distpoint == nullptr)) {
        return false;
    }
    if (scope == nullptr || scope->distpoint == nullptr) {
        return true;
    }
    if (point.distpoint != nullptr) {
        return haveCommonName(*scope->distpoint, *point.distpoint);
    }
    return scope->distpoint->type == kFullName
               ? haveCommonName(scope->distpoint->name.fullname, point.CRLissuer)
               : scope->distpoint->dpname != nullptr && containsName(point.CRLissuer, scope->distpoint->dpname);
}

// CRLs of the certificate's own issuer need not be named in it.
bool CrlSubject::isCoveredByIssuer(const Crl& crl) const {
    const DIST_POINT_NAME* const point = crl.scope != nullptr ? crl.scope->distpoint : nullptr;
    return X509_NAME_cmp(crl.issuer.get(), issuer()) == 0 && (point == nullptr || hasName(*point, issuer()));
}

ReasonMask CrlSubject::reasonsCoveredBy(const Crl& crl) const {
    const ISSUING_DIST_POINT* const scope = crl.scope.get();
    ReasonMask ofCrl = kAllReasons;
    if (scope != nullptr) {
        if (scope->onlyattr > 0 || (scope->onlyuser > 0 && isCa_) || (scope->onlyCA > 0 && !isCa_)) {
            return 0;
        }
        ofCrl = scope->onlysomereasons != nullptr ? maskOf(scope->onlysomereasons) : kAllReasons;
    }
    ReasonMask covered = isCoveredByIssuer(crl) ? ofCrl : 0;
    for (int i = 0; i < sk_DIST_POINT_num(points_.get()); ++i) {
        const DIST_POINT* const point = sk_DIST_POINT_value(points_.get(), i);
        if (isCovered(*point, crl)) {
            covered |= ofCrl & (point->reasons != nullptr ? maskOf(point->reasons) : kAllReasons);
        }
    }
    return covered;
}

std::vector<std::string> CrlSubject::addresses() const {
    return addressesIn(points_.get());
}

std::vector<std::string> CrlSubject::deltaAddresses() const {
    return addressesIn(deltaPoints_.get());
}

std::vector<std::string> addressesIn(const CRL_DIST_POINTS* points) {
    std::vector<std::string> addresses;
    for (int i = 0; i < sk_DIST_POINT_num(points); ++i) {
        const DIST_POINT_NAME* const name = sk_DIST_POINT_value(points, i)->distpoint;
        if (name == nullptr || name->type != kFullName) {
            continue;
        }
        for (int k = 0; k < sk_GENERAL_NAME_num(name->name.fullname); ++k) {
            addAddress(sk_GENERAL_NAME_value(name->name.fullname, k), addresses);
        }
    }
    return addresses;
}

std::vector<std::string> issuerAddresses(const Certificate& certificate) {
    const AccessPtr access(
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

}  // namespace tallow::platform
