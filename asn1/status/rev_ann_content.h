// The announcement that a certificate is going to be revoked (RFC 4210, section 5.3.14).
//
//   CRevAnnContent announcement;
//   announcement.decode(der);
//   report(announcement.get_certId(), announcement.get_willBeRevokedAt());
//
// It is a notice: whether a certificate is revoked is for CRLs and OCSP responses to say.
#pragma once

#include "asn1/codec/owned_ptr.h"
#include "asn1/extensions/extensions.h"
#include "asn1/status/cert_id.h"
#include "asn1/status/pki_status.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"

namespace Orvane::ASN1 {

struct CRevAnnContentImpl;

/// One announcement:
///
///   RevAnnContent ::= SEQUENCE {
///       status          PKIStatus,
///       certId          CertId,
///       willBeRevokedAt GeneralizedTime,
///       badSinceDate    GeneralizedTime,
///       crlDetails      Extensions OPTIONAL }
///
/// Times are encoded in whole seconds; fractions are cut off. A time zone in a time that is read is ignored: the fields
/// count as UTC. Copies are deep; references and pointers from getters live until the object changes, and setters copy.
class TALLOW_EXPORT CRevAnnContent {
public:
    /// Status 0, an empty certId, which cannot be encoded, both times 1970-01-01, no crlDetails.
    CRevAnnContent();
    /// Copies of the arguments, no crlDetails. Nothing is checked: badSinceDate may be the later time.
    CRevAnnContent(const PKIStatusEnum& status, const CCertId& certId, const CDateTime& willBeRevokedAt,
                   const CDateTime& badSinceDate);
    CRevAnnContent(const CRevAnnContent& other);
    CRevAnnContent& operator=(const CRevAnnContent& other);
    CRevAnnContent& operator=(CRevAnnContent&& other) noexcept;
    ~CRevAnnContent();

    /// The number on the wire; one outside the enumeration is kept.
    PKIStatusEnum get_status() const;
    void put_status(const PKIStatusEnum& status);

    /// The certificate that will be revoked.
    const CCertId& get_certId() const;
    void put_certId(const CCertId& certId);

    /// When the certificate will be revoked, and since when its key is suspected to be invalid, both in UTC.
    const CDateTime& get_willBeRevokedAt() const;
    void put_willBeRevokedAt(const CDateTime& willBeRevokedAt);

    const CDateTime& get_badSinceDate() const;             ///< as above
    void put_badSinceDate(const CDateTime& badSinceDate);  ///< as above

    /// Extensions for the CRL entry; null when absent. The setter copies; null removes.
    const CExtensions* get_crlDetails() const;
    void put_crlDetails(const CExtensions* crlDetails);

    /// The DER of the announcement. Empty crlDetails are omitted like absent ones. Years have four digits: of a year
    /// above 9999 the last four are written. Throws:
    /// - kAsn1Error, kInvalidArgument: as CCertId::encode and CExtension::encode.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after it are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: it contains a general name of a kind without support.
    /// - 0x8007076D, 0x80004005: a time is malformed or does not exist (the constructor of CDateTime).
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

private:
    copied_ptr<CRevAnnContentImpl> impl_;
};

}  // namespace Orvane::ASN1
