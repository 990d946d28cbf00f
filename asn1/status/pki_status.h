// The status part of PKI management messages and time-stamp responses (RFC 4210, section 5.2.3, RFC 3161, section
// 2.4.2).
//
//   CPKIStatusInfo info(kStatusRejection);
//   info.decode(der);
//   if (info.get_pkiStatus() > kStatusGrantedWithMods) report(info.get_failureInfo(), info.get_statusString());
#pragma once

#include "asn1/status/pki_free_text.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The wire number of PKIStatus, unchanged:
///
///   PKIStatus ::= INTEGER {
///       accepted               (0),
///       grantedWithMods        (1),
///       rejection              (2),
///       waiting                (3),
///       revocationWarning      (4),
///       revocationNotification (5),
///       keyUpdateWarning       (6) }
///
/// Only the first two mean success. A decoded number outside the list is kept, so a switch needs a default.
enum PKIStatusEnum : int {
    kStatusAccepted = 0,
    kStatusGrantedWithMods = 1,
    kStatusRejection = 2,
    kStatusWaiting = 3,
    kStatusRevocationWarning = 4,
    kStatusRevocationNotification = 5,
    kStatusKeyUpdateWarning = 6
};

/// Reasons of a failure:
///
///   PKIFailureInfo ::= BIT STRING {
///       badAlg          (0),
///       badMessageCheck (1),
///       badRequest      (2),
///       ... }
///
/// Bit n of the value is bit n of the BIT STRING; bits above 31 of a decoded one are dropped.
class TALLOW_EXPORT CPKIFailureInfo {
public:
    /// The set whose bits are given, 1 << n for bit n; 0 is the empty set.
    explicit CPKIFailureInfo(unsigned int value) : value_(value) {}

    /// All bits combined.
    unsigned int get_value() const { return value_; }
    void put_value(unsigned int value) { value_ = value; }

    /// By bit number, 0 to 31; a larger number throws kInvalidArgument.
    bool get_bit(unsigned int n) const;
    void put_bit(unsigned int n, bool on);

    /// The DER of the BIT STRING, which ends at the last bit that is set. Throws:
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the BIT STRING are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not a BIT STRING.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    bool operator==(const CPKIFailureInfo& other) const { return value_ == other.value_; }

private:
    unsigned int value_;
};

/// Status, texts for people, and reasons of a failure:
///
///   PKIStatusInfo ::= SEQUENCE {
///       status       PKIStatus,
///       statusString PKIFreeText OPTIONAL,
///       failInfo     PKIFailureInfo OPTIONAL }
///
/// Copies are deep; references from getters live until the object changes, and setters copy.
class TALLOW_EXPORT CPKIStatusInfo {
public:
    /// No failure bits and no texts.
    explicit CPKIStatusInfo(PKIStatusEnum status);

    /// The status as given or read. Unless the message is signed and the signature was verified, anyone can have sent
    /// it.
    PKIStatusEnum get_pkiStatus() const { return status_; }
    void put_pkiStatus(PKIStatusEnum status);

    /// The value is 0 when the field is absent.
    const CPKIFailureInfo& get_failureInfo() const { return failureInfo_; }
    void put_failureInfo(const CPKIFailureInfo& failureInfo);

    /// Empty when the field is absent.
    const CPKIFreeText& get_statusString() const { return statusString_; }
    void put_statusString(const CPKIFreeText& statusString);

    /// The DER of the status. Failure bits of 0 and an empty list of texts are omitted. Throws:
    /// - kAsn1Error: a text contains a character that has no UTF-8 form.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after it are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kBadUtf8: a text is not UTF-8.
    /// - kInvalidArgument: the language tag of a text does not end.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

private:
    PKIStatusEnum status_;
    CPKIFailureInfo failureInfo_;
    CPKIFreeText statusString_;
};

}  // namespace Orvane::ASN1
