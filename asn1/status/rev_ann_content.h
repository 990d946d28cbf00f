// The announcement that a certificate is going to be revoked (RFC 4210, section 5.3.14):
//
//   RevAnnContent ::= SEQUENCE { status PKIStatus, certId CertId, willBeRevokedAt GeneralizedTime,
//                                badSinceDate GeneralizedTime, crlDetails Extensions OPTIONAL }
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

/// One announcement. Times go out in whole seconds, parts are cut off; a time zone in a time that is read is passed
/// over. Copies are deep.
class TALLOW_EXPORT CRevAnnContent {
public:
    /// Status 0, an empty certId, which cannot be encoded, both times CDateTime(0, 0), no crlDetails.
    CRevAnnContent();
    CRevAnnContent(const PKIStatusEnum& status, const CCertId& certId, const CDateTime& willBeRevokedAt,
                   const CDateTime& badSinceDate);
    CRevAnnContent(const CRevAnnContent& other);
    CRevAnnContent& operator=(const CRevAnnContent& other);
    ~CRevAnnContent();

    PKIStatusEnum get_status() const;
    void put_status(const PKIStatusEnum& status);

    const CCertId& get_certId() const;
    void put_certId(const CCertId& certId);

    const CDateTime& get_willBeRevokedAt() const;
    void put_willBeRevokedAt(const CDateTime& willBeRevokedAt);

    const CDateTime& get_badSinceDate() const;
    void put_badSinceDate(const CDateTime& badSinceDate);

    /// Null when absent; owned by the object and valid until it is changed or destroyed. The setter copies, and null
    /// removes.
    const CExtensions* get_crlDetails() const;
    void put_crlDetails(const CExtensions* crlDetails);

    /// The DER of the announcement. Empty crlDetails are left out, as absent ones. Throws as CCertId::encode and
    /// CExtension::encode. The form of times has four digits for the year: of one above 9999 the last four go out.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not of the type, InvalidArgument for a general name of a
    /// kind without support, and for a malformed time what the constructor of CDateTime throws; the object is then
    /// unchanged.
    void decode(const CBlob& data);

private:
    copied_ptr<CRevAnnContentImpl> impl_;
};

}  // namespace Orvane::ASN1
