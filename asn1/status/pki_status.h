// The status part of PKI management messages and time-stamp responses (RFC 4210, section 5.2.3, RFC 3161, section
// 2.4.2):
//
//   PKIStatusInfo  ::= SEQUENCE { status PKIStatus, statusString PKIFreeText OPTIONAL,
//                                 failInfo PKIFailureInfo OPTIONAL }
//   PKIFailureInfo ::= BIT STRING { badAlg (0), badMessageCheck (1), badRequest (2), ... }
#pragma once

#include "asn1/status/pki_free_text.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The wire number of PKIStatus, unchanged.
enum PKIStatusEnum : int {
    kStatusAccepted = 0,
    kStatusGrantedWithMods = 1,
    kStatusRejection = 2,
    kStatusWaiting = 3,
    kStatusRevocationWarning = 4,
    kStatusRevocationNotification = 5,
    kStatusKeyUpdateWarning = 6
};

/// Reasons of a failure. Bit n of the value is bit n of the BIT STRING; bits above 31 of a decoded one are dropped.
class TALLOW_EXPORT CPKIFailureInfo {
public:
    explicit CPKIFailureInfo(unsigned int value) : value_(value) {}

    unsigned int get_value() const { return value_; }
    void put_value(unsigned int value) { value_ = value; }

    /// By bit number; one of 32 or above throws InvalidArgument.
    bool get_bit(unsigned int n) const;
    void put_bit(unsigned int n, bool on);

    /// The DER of the BIT STRING, which ends at the last bit that is set.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is no BIT STRING.
    void decode(const CBlob& data);

    bool operator==(const CPKIFailureInfo& other) const { return value_ == other.value_; }

private:
    unsigned int value_;
};

/// Status, reasons of a failure, and texts for people. Copies are deep.
class TALLOW_EXPORT CPKIStatusInfo {
public:
    /// No failure bits and no text.
    explicit CPKIStatusInfo(PKIStatusEnum status);

    PKIStatusEnum get_pkiStatus() const { return status_; }
    void put_pkiStatus(PKIStatusEnum status);

    /// 0 when absent.
    const CPKIFailureInfo& get_failureInfo() const { return failureInfo_; }
    void put_failureInfo(const CPKIFailureInfo& failureInfo);

    /// Empty when absent.
    const CPKIFreeText& get_statusString() const { return statusString_; }
    void put_statusString(const CPKIFreeText& statusString);

    /// The DER of the status. No failure bits and no texts are left out as absent. Throws Asn1Error for a text with a
    /// character that has no UTF-8 form.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not of the type, BadUtf8 for a text that is not UTF-8, and
    /// InvalidArgument for a text whose language tag does not end; the object is then unchanged.
    void decode(const CBlob& data);

private:
    PKIStatusEnum status_;
    CPKIFailureInfo failureInfo_;
    CPKIFreeText statusString_;
};

}  // namespace Orvane::ASN1
