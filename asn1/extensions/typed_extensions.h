// Extensions of CRL entries and certificates whose value is available decoded (RFC 5280, section 5.3; RFC 3280,
// sections 5.3.2 and 4.2.1.4, for hold instruction and key usage period).
//
//   CExtCRLReason reason(kReasonSuperseded);
//   list.insert(CExtension(reason, false));                       // get_value() is 0A 01 04
//   CExtCRLReason again(list.find(reason.get_oid())->get_extnValue());
//
// All behave alike:
// - X() sets the identifier and leaves value and member empty.
// - X(member) sets the member and encodes it.
// - X(CBlob) takes the content of extnValue and decodes it; it throws kAsn1Error when that does not fit the type, and
//   for a time or a general name what is noted below.
// - Each setter copies and encodes at once, so that get_value() is always the encoding of what the getters return. A
//   setter that throws has set the member and left the value as it was.
//
// References and pointers from getters live until the object changes. Memory that is exhausted shows as kAsn1Memory
// while encoding and decoding, and as std::bad_alloc in plain copies.
#pragma once

#include "asn1/codec/owned_ptr.h"
#include "asn1/extensions/crl_reason.h"
#include "asn1/extensions/extensions.h"
#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// reasonCode, 2.5.29.21, of CRL entries (RFC 5280, section 5.3.1):
///
///   reasonCode ::= { CRLReason }
///
/// A number above 10 throws kAsn1Error, read or written. Not critical.
class TALLOW_EXPORT CExtCRLReason : public CExtValue {
public:
    /// Without an argument the value is empty although get_reason returns kReasonUnspecified: call put_reason before
    /// the extension is used.
    CExtCRLReason();
    explicit CExtCRLReason(CrlReason reason);
    explicit CExtCRLReason(const CBlob& value);

    /// kReasonUnspecified until set; that value should be expressed by leaving the extension out (RFC 5280, section
    /// 5.3.1). The setter throws kAsn1Error for a number above 10.
    CrlReason get_reason() const { return reason_; }
    void put_reason(CrlReason reason);

private:
    void encode();
    void decode();

    CrlReason reason_ = kReasonUnspecified;
};

/// holdInstructionCode, 2.5.29.23, of CRL entries (RFC 3280, section 5.3.2): what to do with a certificate on hold.
///
///   holdInstructionCode ::= OBJECT IDENTIFIER
///
/// RFC 5280 no longer contains it; it is read for old CRLs. Not critical.
class TALLOW_EXPORT CExtHoldInstructionCode : public CExtValue {
public:
    /// An empty code, one in dotted decimal text, which throws as put_code, or one that was read.
    CExtHoldInstructionCode();
    explicit CExtHoldInstructionCode(const char* code);
    explicit CExtHoldInstructionCode(const CBlob& value);

    /// Dotted decimal text, never null, empty until set. The setter throws kInvalidArgument for a text that is not
    /// dotted decimal, null and the empty text included.
    const char* get_code() const { return code_.c_str(); }
    void put_code(const char* code);

private:
    void encode();
    void decode();

    CStringProxy code_;
};

/// invalidityDate, 2.5.29.24, of CRL entries (RFC 5280, section 5.3.2): since when the key is suspected or known to be
/// invalid, usually earlier than the revocation.
///
///   InvalidityDate ::= GeneralizedTime
///
/// Fractions of a second are cut off in the encoding. Not critical.
class TALLOW_EXPORT CExtInvalidityDate : public CExtValue {
public:
    /// X(CBlob) reads the time as CDateTime does, and throws as its constructor: 0x8007076D or 0x80004005. A time zone
    /// other than Z is not recognised.
    CExtInvalidityDate();
    explicit CExtInvalidityDate(const CDateTime& invalidityDate);
    explicit CExtInvalidityDate(const CBlob& value);

    /// In UTC; 1970-01-01 until set. The setter throws what CDateTime::getSystemTime throws for a time that the
    /// platform cannot convert.
    const CDateTime& get_invalidityDate() const { return invalidityDate_; }
    void put_invalidityDate(const CDateTime& invalidityDate);

private:
    void encode();
    void decode();

    CDateTime invalidityDate_;
};

/// certificateIssuer, 2.5.29.29, of CRL entries (RFC 5280, section 5.3.3): the issuer of the entry's certificate, in
/// CRLs that cover several issuers.
///
///   CertificateIssuer ::= GeneralNames
///
/// Always critical. X(CBlob) throws kInvalidArgument for a general name of a kind without support.
class TALLOW_EXPORT CExtCertificateIssuer : public CExtValue {
public:
    /// No names, copies of the given ones, or those that were read.
    CExtCertificateIssuer();
    explicit CExtCertificateIssuer(const CGeneralNames& issuer);
    explicit CExtCertificateIssuer(const CBlob& value);

    /// Empty until set; an empty list is encoded as an empty SEQUENCE. The setter throws what CGeneralNames::encode
    /// throws.
    const CGeneralNames& get_issuer() const { return issuer_; }
    void put_issuer(const CGeneralNames& issuer);

private:
    void encode();
    void decode();

    CGeneralNames issuer_;
};

/// privateKeyUsagePeriod, 2.5.29.16, of certificates (RFC 3280, section 4.2.1.4): when the private key may sign, a
/// shorter time than the certificate is valid.
///
///   PrivateKeyUsagePeriod ::= SEQUENCE {
///       notBefore [0] GeneralizedTime OPTIONAL,
///       notAfter  [1] GeneralizedTime OPTIONAL }
class TALLOW_EXPORT CExtPrivateKeyUsagePeriod : public CExtValue {
public:
    /// Copies; null omits the time. With both null the value is an empty SEQUENCE.
    CExtPrivateKeyUsagePeriod(const CDateTime* notBefore, const CDateTime* notAfter);
    /// Decodes, and encodes the value again from the times read, so that fractions of a second are gone from it too.
    /// Throws for a malformed time as the constructor of CDateTime.
    explicit CExtPrivateKeyUsagePeriod(const CBlob& value);

    /// In UTC; null when absent. Owned by the object and valid until it is changed. The setters copy; null removes. The
    /// other time stays as it is.
    const CDateTime* get_notBefore() const { return notBefore_.get(); }
    const CDateTime* get_notAfter() const { return notAfter_.get(); }
    void put_notBefore(const CDateTime* notBefore);
    void put_notAfter(const CDateTime* notAfter);

private:
    void encode();
    void decode();

    copied_ptr<CDateTime> notBefore_;
    copied_ptr<CDateTime> notAfter_;
};

}  // namespace Orvane::ASN1
