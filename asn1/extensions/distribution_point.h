// CRL distribution points (RFC 5280, section 4.2.1.13):
//
//   CRLDistPointsSyntax   ::= SEQUENCE SIZE (1..MAX) OF DistributionPoint
//   DistributionPoint     ::= SEQUENCE { distributionPoint [0] DistributionPointName OPTIONAL,
//                                        reasons           [1] ReasonFlags OPTIONAL,
//                                        cRLIssuer         [2] GeneralNames OPTIONAL }
//   DistributionPointName ::= CHOICE   { fullName                [0] GeneralNames,
//                                        nameRelativeToCRLIssuer [1] RelativeDistinguishedName }
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

/// Where the CRL is to be had. Only fullName can be held: a decoded nameRelativeToCRLIssuer gives type 0. Copies are
/// deep.
class TALLOW_EXPORT CDistributionPointName {
public:
    /// Holds nothing: type 0.
    CDistributionPointName();
    explicit CDistributionPointName(const CGeneralNames& fullName);
    CDistributionPointName(const CDistributionPointName& other);
    CDistributionPointName(CDistributionPointName&& other) noexcept;
    CDistributionPointName& operator=(const CDistributionPointName& other);
    CDistributionPointName& operator=(CDistributionPointName&& other) noexcept;
    ~CDistributionPointName();

    /// Forgets the value held; the object is as after the default constructor.
    void clear();

    /// 0 when nothing is held, 1 for fullName.
    unsigned int get_type() const;

    /// Null unless fullName is held; valid until the object is changed or destroyed.
    const CGeneralNames* get_fullName() const;
    void put_fullName(const CGeneralNames& fullName);

    /// The DER of the choice. Throws Asn1Error when nothing is held.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is not of the type.
    void decode(const CBlob& data);

    bool operator==(const CDistributionPointName& other) const;

private:
    std::unique_ptr<CDistributionPointNameImpl> impl_;
};

/// One distribution point. One pointer wide, so that lists stay small. Copies are deep.
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

    /// Null when absent; owned by the object and valid until it is changed or destroyed.
    const CDistributionPointName* get_distributionPoint() const;
    const CReasonFlags* get_reasons() const;
    const CGeneralNames* get_cRLIssuer() const;

    /// Copy; null removes.
    void put_distributionPoint(const CDistributionPointName* distributionPoint);
    void put_reasons(const CReasonFlags* reasons);
    void put_cRLIssuer(const CGeneralNames* cRLIssuer);

    /// The DER of the distribution point. An empty cRLIssuer is omitted like an absent one. Throws Asn1Error for a name
    /// that holds nothing, and InvalidArgument for a general name that cannot be encoded.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not of the type, and InvalidArgument for a general name of
    /// a kind without support; the object is then unchanged.
    void decode(const CBlob& data);

    bool operator==(const CDistributionPoint& other) const;

private:
    CDistributionPointImpl& impl();

    std::unique_ptr<CDistributionPointImpl> impl_;
};

/// Distribution points in wire order.
class TALLOW_EXPORT CCRLDistPointsSyntax : public std::list<CDistributionPoint> {
public:
    CBlob encode() const;

    /// Replaces the whole content; failures as for CDistributionPoint::decode.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
