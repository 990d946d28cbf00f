// CRL distribution points: where the CRLs for a certificate are published (RFC 5280, section 4.2.1.13).
//
//   CCRLDistPointsSyntax points;
//   points.decode(extnValue);
//   const CDistributionPointName* name = points.front().get_distributionPoint();
//   if (name != nullptr && name->get_fullName() != nullptr) ...
#pragma once

#include <list>
#include <memory>

#include "asn1/extensions/reason_flags.h"
#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

class CDistributionPointNameImpl;
class CDistributionPointImpl;

/// The place of publication:
///
///   DistributionPointName ::= CHOICE {
///       fullName                [0] GeneralNames,
///       nameRelativeToCRLIssuer [1] RelativeDistinguishedName }
///
/// Only fullName can be held: a decoded nameRelativeToCRLIssuer gives type 0 and is lost. Copies are deep.
class TALLOW_EXPORT CDistributionPointName {
public:
    /// Holds nothing: type 0.
    CDistributionPointName();
    /// Holds a copy of the names.
    explicit CDistributionPointName(const CGeneralNames& fullName);
    CDistributionPointName(const CDistributionPointName& other);
    CDistributionPointName(CDistributionPointName&& other) noexcept;
    CDistributionPointName& operator=(const CDistributionPointName& other);
    CDistributionPointName& operator=(CDistributionPointName&& other) noexcept;
    ~CDistributionPointName();

    /// Removes the value; the object is as after the default constructor.
    void clear();

    /// 0 when nothing is held, 1 for fullName.
    unsigned int get_type() const;

    /// All names lead to the same CRL. They come from the certificate and are not trusted: check scheme and host before
    /// connecting. Null unless fullName is held; valid until the object is changed or destroyed. The setter copies.
    const CGeneralNames* get_fullName() const;
    void put_fullName(const CGeneralNames& fullName);

    /// The DER of the choice. Throws:
    /// - kAsn1Error: nothing is held.
    /// - kAsn1Error, kInvalidArgument: as CGeneralName::encode, for one of the names.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the choice are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: it contains a general name of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal names by the lenient rule of CGeneralName, or nothing held in both.
    bool operator==(const CDistributionPointName& other) const;

private:
    std::unique_ptr<CDistributionPointNameImpl> impl_;
};

/// One distribution point:
///
///   DistributionPoint ::= SEQUENCE {
///       distributionPoint [0] DistributionPointName OPTIONAL,
///       reasons           [1] ReasonFlags OPTIONAL,
///       cRLIssuer         [2] GeneralNames OPTIONAL }
///
/// One pointer wide, so that lists stay small. Copies are deep; an object that was moved from has no members and may be
/// used again.
class TALLOW_EXPORT CDistributionPoint {
public:
    /// All three members absent.
    CDistributionPoint();
    CDistributionPoint(const CDistributionPoint& other);
    CDistributionPoint(CDistributionPoint&& other) noexcept;
    CDistributionPoint& operator=(const CDistributionPoint& other);
    CDistributionPoint& operator=(CDistributionPoint&& other) noexcept;
    ~CDistributionPoint();

    /// Removes all three members.
    void clear();

    /// Each returns null when absent; the pointer is owned by the object and valid until it is changed or destroyed.
    /// Without reasons, the CRL covers all of them; without cRLIssuer, the issuer of the certificate signs the CRL.
    const CDistributionPointName* get_distributionPoint() const;
    const CReasonFlags* get_reasons() const;
    const CGeneralNames* get_cRLIssuer() const;

    /// Each copies; null removes. The argument may be what the getter returned.
    void put_distributionPoint(const CDistributionPointName* distributionPoint);
    void put_reasons(const CReasonFlags* reasons);
    void put_cRLIssuer(const CGeneralNames* cRLIssuer);

    /// The DER of the distribution point. An empty cRLIssuer is omitted like an absent one, and reasons above bit 15
    /// are not written. A point with no member is encoded, although RFC 5280 requires distributionPoint or cRLIssuer.
    /// Throws:
    /// - kAsn1Error: the name holds nothing.
    /// - kAsn1Error, kInvalidArgument: as CGeneralName::encode, for one of the names.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the distribution point are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: it contains a general name of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Each member equal or absent in both; general names by the lenient rule of CGeneralName.
    bool operator==(const CDistributionPoint& other) const;

private:
    CDistributionPointImpl& impl();

    std::unique_ptr<CDistributionPointImpl> impl_;
};

/// Distribution points in wire order:
///
///   CRLDistributionPoints ::= SEQUENCE SIZE (1..MAX) OF DistributionPoint
///
/// The minimum is not enforced: an empty list is read and written as an empty SEQUENCE.
class TALLOW_EXPORT CCRLDistPointsSyntax : public std::list<CDistributionPoint> {
public:
    /// The DER of the list; failures as for CDistributionPoint::encode.
    CBlob encode() const;

    /// Replaces the whole content; failures as for CDistributionPoint::decode.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
