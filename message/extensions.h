// The extensions of OCSP messages as typed values (RFC 6960, 4.4, and the arc 1.2.643.2.2.47).
//
// Each derives from ASN1::CExtValue and keeps its value current: every setter encodes at once. The default constructor
// sets the OID alone; the one from a CBlob takes the content of extnValue and decodes it, throwing kAsn1Error for
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

/// The nonce (RFC 6960, 4.4.1). The content of extnValue is taken and handed back as it stands, whatever it is: the
/// OCTET STRING that RFC 6960 puts inside is the business of whoever makes the nonce.
class TALLOW_EXPORT CExtNonce : public ASN1::CExtValue {
public:
    CExtNonce();
    explicit CExtNonce(CBlob const& extnValue);

    CBlob const& get_nonce() const { return get_value(); }
    void put_nonce(CBlob const& nonce);
};

/// The response types that the client understands (RFC 6960, 4.4.3), as dotted OID texts.
class TALLOW_EXPORT CExtAcceptableResponses : public ASN1::CExtValue {
public:
    CExtAcceptableResponses();
    explicit CExtAcceptableResponses(CBlob const& extnValue);

    CStringList const& get_acceptableResponses() const { return responses_; }
    /// Throws kInvalidArgument for a text that is no OID.
    void put_acceptableResponses(CStringList const& responses);

private:
    CStringList responses_;
};

/// Where the responder of a certificate is (RFC 6960, 4.4.6), for a server that routes requests.
class TALLOW_EXPORT CExtServiceLocator : public ASN1::CExtValue {
public:
    CExtServiceLocator();
    explicit CExtServiceLocator(CBlob const& extnValue);
    CExtServiceLocator(CExtServiceLocator const&);
    CExtServiceLocator& operator=(CExtServiceLocator const&);

    /// A DER Name; empty until put. One that was read is encoded anew from its values.
    CBlob const& get_issuer() const { return issuer_; }
    void put_issuer(CBlob const& name);
    /// Null when absent.
    ASN1::CAuthorityInfoAccessSyntax const* get_locator() const { return locator_ ? &*locator_ : nullptr; }
    /// Copies; null removes.
    void put_locator(ASN1::CAuthorityInfoAccessSyntax const* locator);

private:
    void encodeValue();

    CBlob issuer_;
    std::optional<ASN1::CAuthorityInfoAccessSyntax> locator_;
};

/// The CRL distribution points of the certificate, for a responder that answers from them.
class TALLOW_EXPORT CExtCRLLocator : public ASN1::CExtValue {
public:
    CExtCRLLocator();
    explicit CExtCRLLocator(CBlob const& extnValue);
    CExtCRLLocator(CExtCRLLocator const&);
    CExtCRLLocator& operator=(CExtCRLLocator const&);

    ASN1::CCRLDistPointsSyntax const& get_locator() const { return locator_; }
    void put_locator(ASN1::CCRLDistPointsSyntax const& locator);

private:
    ASN1::CCRLDistPointsSyntax locator_;
};

/// What CrlID carries, all of it optional: SEQUENCE { crlUrl [0] IA5String OPTIONAL, crlNum [1] INTEGER OPTIONAL,
/// crlTime [2] GeneralizedTime OPTIONAL }, each explicitly tagged. Decoding throws kAsn1Error for a crlTime that is not
/// in UTC ("Z") or does not exist.
class TALLOW_EXPORT CExtCrlIDBase : public ASN1::CExtValue {
public:
    /// Each null when absent; valid until the object changes. A NUL in the address shows as "%00". A number that does
    /// not fit 32 bits counts as absent; get_value has its octets, until a setter encodes the value anew without it.
    const char* get_crlUrl() const { return crlUrl_ ? crlUrl_->c_str() : nullptr; }
    int const* get_crlNum() const { return crlNum_ ? &*crlNum_ : nullptr; }
    CDateTime const* get_crlTime() const { return crlTime_ ? &*crlTime_ : nullptr; }
    /// Each copies; null removes.
    void put_crlUrl(const char* url);
    void put_crlNum(int const* number);
    void put_crlTime(CDateTime const* time);

protected:
    explicit CExtCrlIDBase(const char* oid);
    CExtCrlIDBase(const char* oid, CBlob const& extnValue);

private:
    void encodeValue();
    CBlob encoded() const;
    void decodeValue();
    template <class Record>
    void take(Record const& record);

    std::optional<CStringProxy> crlUrl_;
    std::optional<int> crlNum_;
    std::optional<CDateTime> crlTime_;
};

/// Asks about the state at an earlier time, and marks an answer about it.
class TALLOW_EXPORT CExtHistoricalRequest : public CExtCrlIDBase {
public:
    CExtHistoricalRequest();
    explicit CExtHistoricalRequest(CBlob const& extnValue);
};

/// The CRL on which an answer rests (RFC 6960, 4.4.2).
class TALLOW_EXPORT CExtCrlID : public CExtCrlIDBase {
public:
    CExtCrlID();
    explicit CExtCrlID(CBlob const& extnValue);
};

/// How far back a responder keeps revocation data (RFC 6960, 4.4.4). Decoding throws kAsn1Error for a time that is not
/// in UTC ("Z") or does not exist.
class TALLOW_EXPORT CExtArchiveCutoff : public ASN1::CExtValue {
public:
    CExtArchiveCutoff();
    explicit CExtArchiveCutoff(CBlob const& extnValue);

    CDateTime const& get_archiveCutoff() const { return archiveCutoff_; }
    void put_archiveCutoff(CDateTime const& time);

private:
    CDateTime archiveCutoff_{0, 0};
};

}  // namespace Orvane::PKI::OCSP
