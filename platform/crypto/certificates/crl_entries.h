// The list of revoked certificates in a CRL. Some lists have a million entries, so only the place of each entry is
// kept, four octets, in the order of the serial numbers. What an entry says is read again when it is asked for.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/crypto/certificates/crl_values.h"

namespace tallow::platform {

constexpr int kReasonRemoveFromCrl = 8;
constexpr int kReasonCertificateHold = 6;

struct CrlEntry {
    ByteView serial;                // as integerContent() gives it
    std::optional<long long> date;  // of the revocation, in seconds since 1970; empty when malformed
    std::uint8_t reason = 0;        // CRLReason; 0 when the entry has none
    ByteView issuer;                // GeneralNames of the certificate's issuer; empty: the issuer of the CRL
};

class CrlEntries {
public:
    // Reads the content of revokedCertificates, which must outlive the object and have less than 4 GiB. False when it
    // is malformed; other faults are put into `defect` unless it has one. Call once.
    bool read(ByteView content, const char*& defect);

    bool haveExtensions() const noexcept { return haveExtensions_; }
    // Whether one names its certificate's issuer.
    bool nameIssuers() const noexcept { return !issuers_.empty(); }

    // The most final of the entries with this serial number (as integerContent() gives it) that `fits` accepts:
    // removeFromCRL ranks lowest, then a hold. Empty when there is none.
    std::optional<CrlEntry> mostFinal(ByteView serial, const std::function<bool(const CrlEntry&)>& fits) const;

    // Octets that the object has allocated, and those of the content.
    std::size_t sizeAllocated() const noexcept;
    std::size_t sizeContent() const noexcept { return content_.size(); }

private:
    // An entry without certificateIssuer has that of the entry before it.
    struct IssuerFrom {
        std::uint32_t begin;  // of the first entry
        ByteView names;
    };

    void sort();
    ByteView serialAt(std::uint32_t begin) const;
    CrlEntry entryAt(std::uint32_t begin) const;

    ByteView content_;
    std::vector<std::uint32_t> begins_;  // of the entries, by serial number, then in the order of the list
    std::vector<IssuerFrom> issuers_;    // in the order of the list
    bool haveExtensions_ = false;
};

}  // namespace tallow::platform
