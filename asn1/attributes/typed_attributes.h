// The signed attributes that every signature carries: signing time, content type and message digest (RFC 5652, sections
// 11.1 to 11.3). The references to the signer's certificate are in signing_certificate.h.
//
//   CAttrMessageDigest digest;
//   digest.put_messageDigest(hash);                               // get_value() is 04 20 ...
//   attributes.emplace_back(digest.get_oid()).add(digest);
//
// The value of the attribute is the encoding of the decoded member. X() sets the identifier and leaves both empty.
// X(member) sets the member and encodes it. X(CBlob) takes the DER of the attribute's value and decodes it, and throws
// what decode() throws. Each setter copies and encodes at once; when that throws, it has set the member and left the
// value as it was. decode(), for a value that was changed through value(), leaves the member as it was when it throws.
// References and pointers from getters live until the object changes.
#pragma once

#include "asn1/codec/owned_ptr.h"
#include "asn1/names/attr_value.h"
#include "asn1/text/time_choice.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// signingTime, 1.2.840.113549.1.9.5: UTCTime up to the year 2049, GeneralizedTime from 2050 on. Fractions of a second
/// are cut off in the encoding. The time is the signer's claim, not a proof.
///
///   SigningTime ::= Time
class TALLOW_EXPORT CAttrSigningTime : public CAttrValue {
public:
    /// Copies the time and encodes it. Throws kAsn1Error for a year that the form cannot express, such as one before
    /// 1950.
    explicit CAttrSigningTime(const CDateTime& time);
    /// From the DER of the Time; throws what decode() throws.
    explicit CAttrSigningTime(const CBlob& value);
    CAttrSigningTime(const CAttrSigningTime& other) = default;  // and no move, which would leave no time
    CAttrSigningTime& operator=(const CAttrSigningTime& other) = default;
    ~CAttrSigningTime() = default;

    /// In UTC. Valid until the object is assigned to or destroyed.
    const CDateTime& get_time() const { return *time_->get_time(); }
    /// Sets the time and encodes it; throws as the constructor.
    void put_time(const CDateTime& time);

    /// Makes the value the encoding of the member; the setters do that already. Throws what CTimeChoice::encode throws,
    /// with the value as it was.
    void encode();
    /// Reads the member from the value. Throws kAsn1Error when the value is not a Time, kInvalidArgument for a year
    /// before 1601, and kAsn1Memory.
    void decode();

private:
    copied_ptr<CTimeChoice> time_;
};

/// contentType, 1.2.840.113549.1.9.3: the type of the content that is signed.
///
///   ContentType ::= OBJECT IDENTIFIER
class TALLOW_EXPORT CAttrContentType : public CAttrValue {
public:
    CAttrContentType();
    /// From dotted decimal text, or from the DER of the OBJECT IDENTIFIER.
    explicit CAttrContentType(const char* contentType);
    explicit CAttrContentType(const CBlob& value);

    /// Dotted decimal text, never null; empty until set. The setter throws kInvalidArgument for a text that is not,
    /// null and the empty text included.
    const char* get_contentType() const { return contentType_.c_str(); }
    void put_contentType(const char* contentType);

    /// Makes the value the encoding of the member. Throws kInvalidArgument when the text is not dotted decimal.
    void encode();
    /// Reads the member from the value. Throws kAsn1Error when the value is not an OBJECT IDENTIFIER, and kAsn1Memory.
    void decode();

private:
    CStringProxy contentType_;
};

/// messageDigest, 1.2.840.113549.1.9.4: the digest of the content that is signed.
///
///   MessageDigest ::= OCTET STRING
class TALLOW_EXPORT CAttrMessageDigest : public CAttrValue {
public:
    /// Sets the identifier; digest and value are empty.
    CAttrMessageDigest();
    /// From the DER of the OCTET STRING. The digest itself is set by put_messageDigest.
    explicit CAttrMessageDigest(const CBlob& value);

    /// The octets of the digest, without tag and length; empty until set. The length is not compared with any
    /// algorithm.
    const CBlob& get_messageDigest() const { return messageDigest_; }
    void put_messageDigest(const CBlob& messageDigest);

    /// Makes the value the OCTET STRING of the digest; the setter does that already. Throws kAsn1Memory when memory is
    /// exhausted.
    void encode();
    /// Reads the member from the value. Throws kAsn1Error when the value is not a primitive OCTET STRING, and
    /// kAsn1Memory.
    void decode();

private:
    CBlob messageDigest_;
};

}  // namespace Orvane::ASN1
