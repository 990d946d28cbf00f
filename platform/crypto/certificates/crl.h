// A CRL: its bytes and its parsed fields (RFC 5280, section 5). Nothing here is trusted before the signature is
// verified (crl_signer.h). A CRL that can be read but breaks a rule of the standard is kept with its defect: it proves
// nothing, but shows that older CRLs are out of date.
#pragma once

#include <openssl/x509v3.h>

#include <memory>
#include <optional>
#include <vector>

#include "platform/crypto/base/known_signer.h"
#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/certificates/certificate.h"
#include "platform/crypto/certificates/crl_entries.h"
#include "platform/crypto/keys/signature.h"

namespace tallow::platform {

using GeneralNamesPtr = std::unique_ptr<GENERAL_NAMES, OpenSslFree<GENERAL_NAMES_free>>;
using X509NamePtr = std::unique_ptr<X509_NAME, OpenSslFree<X509_NAME_free>>;
using DistributionPointsPtr = std::unique_ptr<CRL_DIST_POINTS, OpenSslFree<CRL_DIST_POINTS_free>>;
using IssuingPointPtr = std::unique_ptr<ISSUING_DIST_POINT, OpenSslFree<ISSUING_DIST_POINT_free>>;
using KeyIdentifierPtr = std::unique_ptr<AUTHORITY_KEYID, OpenSslFree<AUTHORITY_KEYID_free>>;

// Immutable once made; safe for use from any thread. All views point into `der`.
struct Crl : std::enable_shared_from_this<Crl> {
    // Null when the bytes are not a CRL in DER. The second form keeps `der` itself, not a copy.
    static std::shared_ptr<const Crl> parse(ByteView der);
    static std::shared_ptr<const Crl> parse(Bytes&& der);

    // The reason of the entry for a certificate, by its issuer's name and its serial number (as integerContent() gives
    // it); empty when it is not listed. Of several entries the most final one counts: removeFromCRL ranks lowest, then
    // a hold. Entries with a revocation date after `latest` (seconds since 1970) are ignored; a malformed date is never
    // after it.
    std::optional<int> reasonFor(const X509_NAME* certificateIssuer, ByteView serial, long long latest) const;
    // The date of that entry, in seconds since 1970; empty when there is none, or it is malformed.
    std::optional<long long> dateFor(const X509_NAME* certificateIssuer, ByteView serial) const;
    bool isDelta() const noexcept { return baseNumber.has_value(); }
    SignedBytes signedBytes() const;

    // The most final entry for a certificate; empty when it is not listed.
    std::optional<CrlEntry> entryFor(const X509_NAME* certificateIssuer, ByteView serial, long long latest) const;

    // The most memory that the object can take, in octets. Parsed names need up to some 60 times their encoding.
    std::size_t maximumMemory() const noexcept;

    Bytes der;
    const char* defect = nullptr;  // why the CRL proves nothing; null when it has no defect
    ByteView tbs;
    ByteView signature;
    X509AlgorithmPtr algorithm;
    std::string algorithmOid;
    ByteView algorithmParameters;  // empty when absent
    X509NamePtr issuer;            // never null
    ByteView issuerDer;
    long long thisUpdate = 0;                 // seconds since 1970; kMalformedTime counts as newer than any other
    std::optional<long long> nextUpdate;      // likewise
    std::optional<ByteView> number;           // as integerContent() gives it
    std::optional<ByteView> baseNumber;       // of a delta CRL
    KeyIdentifierPtr authorityKeyIdentifier;  // null when absent
    IssuingPointPtr scope;                    // null when absent: all certificates of the issuer
    ByteView scopeDer;                        // empty when absent
    DistributionPointsPtr freshest;           // where its delta CRLs are; null when absent
    CrlEntries entries;
    mutable KnownSigner knownSigner;
};
using CrlRef = std::shared_ptr<const Crl>;

// Whether one of the directory names among `names` is `name`.
bool containsName(const GENERAL_NAMES* names, const X509_NAME* name);

// Whether there are at most 32 names, so that comparing two lists is cheap; null is short.
bool isShort(const GENERAL_NAMES* names);

// Prepares the name of a distribution point (null: none): one that is relative to `base` is completed. False when it
// cannot be, when a list of full names is empty, or when it is not short. Call once per name.
bool completePointName(DIST_POINT_NAME* name, const X509_NAME* base);

}  // namespace tallow::platform
