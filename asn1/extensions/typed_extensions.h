// Extensions whose value is shown decoded: reason code, hold instruction, invalidity date, certificate issuer (RFC
// 5280, sections 5.3 and, for the hold instruction, RFC 3280, section 5.3.2) and private key usage period (RFC 3280,
// section 4.2.1.4).
//
// All behave alike. X() sets the identifier and leaves value and member empty. X(member) sets the member and encodes
// it. X(CBlob) takes the content of extnValue and decodes it, and throws Asn1Error when it does not fit the type. Each
// setter encodes at once, so that get_value() is always the encoding of what the getters show. A setter that throws
// has set the member and left the value as it was.
#pragma once

#include <memory>

#include "asn1/extensions/crl_reason.h"
#include "asn1/extensions/extensions.h"
#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// reasonCode, 2.5.29.21: CRLReason. Encoding a reason above 10 throws Asn1Error.
class TALLOW_EXPORT CExtCRLReason : public CExtValue {
public:
    CExtCRLReason();
    explicit CExtCRLReason(CrlReason reason);
    explicit CExtCRLReason(const CBlob& value);

    CrlReason get_reason() const { return reason_; }
    void put_reason(CrlReason reason);

private:
    void encode();
    void decode();

    CrlReason reason_ = kReasonUnspecified;
};

/// holdInstructionCode, 2.5.29.23: OBJECT IDENTIFIER, shown as dotted decimal text. A text that is none throws
/// InvalidArgument.
class TALLOW_EXPORT CExtHoldInstructionCode : public CExtValue {
public:
    CExtHoldInstructionCode();
    explicit CExtHoldInstructionCode(const char* code);
    explicit CExtHoldInstructionCode(const CBlob& value);

    const char* get_code() const { return code_.c_str(); }
    void put_code(const char* code);

private:
    void encode();
    void decode();

    CStringProxy code_;
};

/// invalidityDate, 2.5.29.24: GeneralizedTime. Parts of a second are cut off in the encoding.
class TALLOW_EXPORT CExtInvalidityDate : public CExtValue {
public:
    CExtInvalidityDate();
    explicit CExtInvalidityDate(const CDateTime& invalidityDate);
    explicit CExtInvalidityDate(const CBlob& value);

    const CDateTime& get_invalidityDate() const { return invalidityDate_; }
    void put_invalidityDate(const CDateTime& invalidityDate);

private:
    void encode();
    void decode();

    CDateTime invalidityDate_;
};

/// certificateIssuer, 2.5.29.29: GeneralNames.
class TALLOW_EXPORT CExtCertificateIssuer : public CExtValue {
public:
    CExtCertificateIssuer();
    explicit CExtCertificateIssuer(const CGeneralNames& issuer);
    explicit CExtCertificateIssuer(const CBlob& value);

    const CGeneralNames& get_issuer() const { return issuer_; }
    void put_issuer(const CGeneralNames& issuer);

private:
    void encode();
    void decode();

    CGeneralNames issuer_;
};

/// privateKeyUsagePeriod, 2.5.29.16:
///
///   PrivateKeyUsagePeriod ::= SEQUENCE { notBefore [0] GeneralizedTime OPTIONAL,
///                                        notAfter  [1] GeneralizedTime OPTIONAL }
class TALLOW_EXPORT CExtPrivateKeyUsagePeriod : public CExtValue {
public:
    /// Null leaves the time out. From a blob, the value is encoded afresh from the times read, so that parts of a
    /// second are gone from it too.
    CExtPrivateKeyUsagePeriod(const CDateTime* notBefore, const CDateTime* notAfter);
    explicit CExtPrivateKeyUsagePeriod(const CBlob& value);
    CExtPrivateKeyUsagePeriod(const CExtPrivateKeyUsagePeriod& other);
    CExtPrivateKeyUsagePeriod& operator=(const CExtPrivateKeyUsagePeriod& other);

    /// Null when absent; owned by the object and valid until it is changed. The setters copy, and null removes.
    const CDateTime* get_notBefore() const { return notBefore_.get(); }
    const CDateTime* get_notAfter() const { return notAfter_.get(); }
    void put_notBefore(const CDateTime* notBefore);
    void put_notAfter(const CDateTime* notAfter);

private:
    void encode();
    void decode();

    std::unique_ptr<CDateTime> notBefore_;
    std::unique_ptr<CDateTime> notAfter_;
};

}  // namespace Orvane::ASN1
