// The extensions of OCSP messages as typed values (RFC 6960, 4.4, and the arc 1.2.643.2.2.47).
//
// Each derives from ASN1::CExtValue and keeps its value current: every setter encodes at once. The default constructor
// sets only the OID; the one from a CBlob takes the content of extnValue and decodes it, throwing kAsn1Error for
// malformed bytes.
#pragma once

#include <optional>

#include "asn1/extensions/access_description.h"
#include "asn1/extensions/distribution_point.h"
#include "asn1/extensions/extensions.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "foundation/string_proxy.h"

namespace Orvane::PKI::OCSP {

inline constexpr char kOidBasicResponse[] = "1.3.6.1.5.5.7.48.1.1";
inline constexpr char kOidNonce[] = "1.3.6.1.5.5.7.48.1.2";
inline constexpr char kOidCrlReference[] = "1.3.6.1.5.5.7.48.1.3";
inline constexpr char kOidAcceptableResponses[] = "1.3.6.1.5.5.7.48.1.4";
inline constexpr char kOidArchiveCutoff[] = "1.3.6.1.5.5.7.48.1.6";
inline constexpr char kOidServiceLocator[] = "1.3.6.1.5.5.7.48.1.7";
inline constexpr char kOidCrlLocator[] = "1.2.643.2.2.47.2";
inline constexpr char kOidHistoricalRequest[] = "1.2.643.2.2.47.5";

/// The nonce (RFC 6960, 4.4.1). The content of extnValue is taken and handed back as it is, whatever it is: the
/// OCTET STRING that RFC 6960 puts inside is left to the caller.
class TALLOW_EXPORT CExtNonce : public ASN1::CExtValue {
public:
    CExtNonce();
    explicit CExtNonce(const CBlob& extnValue);

    const CBlob& get_nonce() const { return get_value(); }
    void put_nonce(const CBlob& nonce);
};

/// The response types that the client understands (RFC 6960, 4.4.3), as dotted OID texts.
class TALLOW_EXPORT CExtAcceptableResponses : public ASN1::CExtValue {
public:
    CExtAcceptableResponses();
    explicit CExtAcceptableResponses(const CBlob& extnValue);

    const CStringList& get_acceptableResponses() const { return responses_; }
    /// Throws kInvalidArgument for a text that is no OID.
    void put_acceptableResponses(const CStringList& responses);

private:
    CStringList responses_;
};

/// Where the responder of a certificate is (RFC 6960, 4.4.6), for a server that routes requests.
class TALLOW_EXPORT CExtServiceLocator : public ASN1::CExtValue {
public:
    CExtServiceLocator();
    explicit CExtServiceLocator(const CBlob& extnValue);
    CExtServiceLocator(const CExtServiceLocator&);
    CExtServiceLocator& operator=(const CExtServiceLocator&);

    /// A DER Name; empty until put. One that was read is encoded again from its values.
    const CBlob& get_issuer() const { return issuer_; }
    void put_issuer(const CBlob& name);
    /// Null when absent.
    const ASN1::CAuthorityInfoAccessSyntax* get_locator() const { return locator_ ? &*locator_ : nullptr; }
    /// Copies; null removes.
    void put_locator(const ASN1::CAuthorityInfoAccessSyntax* locator);

private:
    void encodeValue();

    CBlob issuer_;
    std::optional<ASN1::CAuthorityInfoAccessSyntax> locator_;
};

/// The CRL distribution points of the certificate, for a responder that answers from them.
class TALLOW_EXPORT CExtCRLLocator : public ASN1::CExtValue {
public:
    CExtCRLLocator();
    explicit CExtCRLLocator(const CBlob& extnValue);
    CExtCRLLocator(const CExtCRLLocator&);
    CExtCRLLocator& operator=(const CExtCRLLocator&);

    const ASN1::CCRLDistPointsSyntax& get_locator() const { return locator_; }
    void put_locator(const ASN1::CCRLDistPointsSyntax& locator);

private:
    ASN1::CCRLDistPointsSyntax locator_;
};

/// What CrlID carries, all of it optional: SEQUENCE { crlUrl [0] IA5String OPTIONAL, crlNum [1] INTEGER OPTIONAL,
/// crlTime [2] GeneralizedTime OPTIONAL }, each explicitly tagged. Decoding throws kAsn1Error for a crlTime that is not
/// in UTC ("Z") or does not exist.
class TALLOW_EXPORT CExtCrlIDBase : public ASN1::CExtValue {
public:
    /// Each null when absent; valid until the object changes. A NUL in the address shows as "%00". A number that does
    /// not fit 32 bits counts as absent; get_value has its octets, until a setter encodes the value again without it.
    const char* get_crlUrl() const { return crlUrl_ ? crlUrl_->c_str() : nullptr; }
    const int* get_crlNum() const { return crlNum_ ? &*crlNum_ : nullptr; }
    const CDateTime* get_crlTime() const { return crlTime_ ? &*crlTime_ : nullptr; }
    /// Each copies; null removes.
    void put_crlUrl(const char* url);
    void put_crlNum(const int* number);
    void put_crlTime(const CDateTime* time);

protected:
    explicit CExtCrlIDBase(const char* oid);
    CExtCrlIDBase(const char* oid, const CBlob& extnValue);

private:
    void encodeValue();
    CBlob encoded() const;
    void decodeValue();
    template <class Record>
    void take(const Record& record);

    std::optional<CStringProxy> crlUrl_;
    std::optional<int> crlNum_;
    std::optional<CDateTime> crlTime_;
};

/// Asks about the state at an earlier time, and marks an answer about it.
class TALLOW_EXPORT CExtHistoricalRequest : public CExtCrlIDBase {
public:
    CExtHistoricalRequest();
    explicit CExtHistoricalRequest(const CBlob& extnValue);
};

/// The CRL on which an answer is based (RFC 6960, 4.4.2).
class TALLOW_EXPORT CExtCrlID : public CExtCrlIDBase {
public:
    CExtCrlID();
    explicit CExtCrlID(const CBlob& extnValue);
};

/// How far back a responder keeps revocation data (RFC 6960, 4.4.4). Decoding throws kAsn1Error for a time that is not
/// in UTC ("Z") or does not exist.
class TALLOW_EXPORT CExtArchiveCutoff : public ASN1::CExtValue {
public:
    CExtArchiveCutoff();
    explicit CExtArchiveCutoff(const CBlob& extnValue);

    const CDateTime& get_archiveCutoff() const { return archiveCutoff_; }
    void put_archiveCutoff(const CDateTime& time);

private:
    CDateTime archiveCutoff_{0, 0};
};

}  // namespace Orvane::PKI::OCSP
