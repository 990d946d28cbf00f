// The certificates with which an archived signature was verified (RFC 5126, section 6.3.3).
//
//   CCertificateValues values;
//   values.emplace_back(signerDer);
//   values.emplace_back(issuerDer);
//   CBlob der = values.encode();
//
// That a certificate is in the list does not make it trusted: build its chain.
#pragma once

#include <list>

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The DER of one certificate (RFC 5280, section 4.1). Copies are deep and throw std::bad_alloc.
class TALLOW_EXPORT CCertificateValue {
public:
    /// Holds nothing, and cannot be encoded.
    CCertificateValue();
    /// Copies the bytes unchanged; encode() finds out whether they are a certificate.
    explicit CCertificateValue(const CBlob& certificate);

    /// The bytes; empty in a new object. Valid until the object changes.
    const CBlob& get_certificate() const { return certificate_; }

    /// The DER of the certificate, encoded again: for bytes that are DER the same as get_certificate(). Throws:
    /// - kAsn1Error: the bytes are not a certificate.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the certificate are ignored. A certificate that is not DER is held in DER
    /// afterwards, and its signature may not verify any more. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not a certificate.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal octets.
    bool operator==(const CCertificateValue& other) const { return certificate_ == other.certificate_; }

private:
    CBlob certificate_;
};

/// Certificates in wire order:
///
///   CertificateValues ::= SEQUENCE OF Certificate
class TALLOW_EXPORT CCertificateValues : public std::list<CCertificateValue> {
public:
    using std::list<CCertificateValue>::list;

    /// The DER of the list; an empty SEQUENCE when there are none. Failures as for CCertificateValue::encode.
    CBlob encode() const;

    /// Replaces the whole content; the certificates are held as decode() of one holds it. Throws, with the list
    /// unchanged:
    /// - kAsn1Error: `data` is empty or not a list of certificates.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
