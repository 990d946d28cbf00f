// Which CRLs cover a certificate, and for which reasons of revocation (RFC 5280, 6.3.3 steps b and d).
#pragma once

#include <string>
#include <vector>

#include "platform/crypto/certificates/crl.h"

namespace tallow::platform {

// A set of reasons: bit n is bit n of ReasonFlags.
using ReasonMask = unsigned;
constexpr ReasonMask kAllReasons = 0x1FE;  // keyCompromise (1) to aACompromise (8)

constexpr std::size_t kMaxCrlAddresses = 4;  // contacted for the CRLs of one certificate

// The certificate to check, with its distribution points. The certificate must outlive the object.
class CrlSubject {
public:
    // `certificate.x509()` must not be null.
    explicit CrlSubject(const Certificate& certificate);

    // False when its distribution points cannot be read: its CRLs are then unknown.
    bool isReadable() const noexcept { return readable_; }

    // The reasons that a CRL of this issuer and scope covers for the certificate; 0 when it does not cover it.
    ReasonMask reasonsCoveredBy(const Crl& crl) const;

    const X509_NAME* issuer() const;
    ByteView serial() const noexcept { return serial_; }  // as integerContent() gives it
    // Whether a distribution point names this issuer of CRLs for the certificate.
    bool namesCrlIssuer(const X509_NAME* name) const;

    // Where its CRLs are, and where its delta CRLs are: at most kMaxCrlAddresses each.
    std::vector<std::string> addresses() const;
    std::vector<std::string> deltaAddresses() const;

private:
    DistributionPointsPtr readPoints(int nid);
    bool isCovered(const DIST_POINT& point, const Crl& crl) const;
    bool isCoveredByIssuer(const Crl& crl) const;

    const Certificate& certificate_;
    Bytes serialOctets_;
    ByteView serial_;
    bool isCa_ = false;
    bool readable_ = true;
    DistributionPointsPtr points_;       // null when absent
    DistributionPointsPtr deltaPoints_;  // likewise
};

// The http and https addresses in a list of distribution points, at most kMaxCrlAddresses.
std::vector<std::string> addressesIn(const CRL_DIST_POINTS* points);

// The addresses of a certificate's issuer certificate, likewise.
std::vector<std::string> issuerAddresses(const Certificate& certificate);

}  // namespace tallow::platform
