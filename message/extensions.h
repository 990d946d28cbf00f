// The extensions of OCSP messages as typed values (RFC 6960, section 4.4, and the arc 1.2.643.2.2.47).
//
//   CExtNonce nonce;
//   nonce.put_nonce(octets);                              // the DER of an OCTET STRING
//   ASN1::CExtensions list;
//   list.insert(ASN1::CExtension(nonce, false));          // false: not critical
//   request.put_requestExtensions(&list);
//
// Each class derives from ASN1::CExtValue and keeps its value current: every setter encodes at once. The default
// constructor sets only the identifier. The constructor from a CBlob takes the content of extnValue, decodes it, and
// throws kAsn1Error for malformed bytes. All throw kAsn1Memory when memory is exhausted.
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

/// The response type of BasicOCSPResponse (section 4.2.1): the only one that this library reads. It is not an
/// extension, but appears in the acceptable responses.
inline constexpr char kOidBasicResponse[] = "1.3.6.1.5.5.7.48.1.1";
/// The identifiers of the extensions below, in dotted decimal: nonce (in requests and responses), CRL reference (in
/// single responses), acceptable responses (in requests), archive cutoff (in single responses), service locator (in
/// single requests).
inline constexpr char kOidNonce[] = "1.3.6.1.5.5.7.48.1.2";
inline constexpr char kOidCrlReference[] = "1.3.6.1.5.5.7.48.1.3";
inline constexpr char kOidAcceptableResponses[] = "1.3.6.1.5.5.7.48.1.4";
inline constexpr char kOidArchiveCutoff[] = "1.3.6.1.5.5.7.48.1.6";
inline constexpr char kOidServiceLocator[] = "1.3.6.1.5.5.7.48.1.7";
/// Identifiers outside RFC 6960; responders that do not know them ignore them unless they are critical.
inline constexpr char kOidCrlLocator[] = "1.2.643.2.2.47.2";
inline constexpr char kOidHistoricalRequest[] = "1.2.643.2.2.47.5";

/// Binds a response to a request (RFC 6960, section 4.4.1; lengths in RFC 9654):
///
///   Nonce ::= OCTET STRING
///
/// The content of extnValue is taken and returned unchanged, whatever it is: some responders return octets without the
/// inner OCTET STRING, and comparing the whole content is correct for both. Neither length nor encoding is checked.
class TALLOW_EXPORT CExtNonce : public ASN1::CExtValue {
public:
    CExtNonce();
    explicit CExtNonce(const CBlob& extnValue);

    /// The content of extnValue, normally tag 04, length and 1 to 128 octets. Empty until set. Valid until the object
    /// changes.
    const CBlob& get_nonce() const { return get_value(); }
    void put_nonce(const CBlob& nonce);
};

/// The response types that the client understands (RFC 6960, section 4.4.3):
///
///   AcceptableResponses ::= SEQUENCE OF OBJECT IDENTIFIER
class TALLOW_EXPORT CExtAcceptableResponses : public ASN1::CExtValue {
public:
    CExtAcceptableResponses();
    explicit CExtAcceptableResponses(const CBlob& extnValue);

    /// Dotted decimal identifiers in wire order; empty until set. The reference lives until the object changes.
    const CStringList& get_acceptableResponses() const { return responses_; }
    /// Copies the list. Throws kInvalidArgument for a text that is not dotted decimal; the object is then unchanged.
    void put_acceptableResponses(const CStringList& responses);

private:
    CStringList responses_;
};

/// Where the responder of a certificate is found (RFC 6960, section 4.4.6), for a server that forwards requests:
///
///   ServiceLocator ::= SEQUENCE {
///       issuer  Name,
///       locator AuthorityInfoAccessSyntax OPTIONAL }
///
/// RFC 6960 shows the locator without OPTIONAL in one of its modules; it is optional here, so that both forms can be
/// read.
class TALLOW_EXPORT CExtServiceLocator : public ASN1::CExtValue {
public:
    CExtServiceLocator();
    explicit CExtServiceLocator(const CBlob& extnValue);
    CExtServiceLocator(const CExtServiceLocator&);
    CExtServiceLocator& operator=(const CExtServiceLocator&);

    /// The issuer of the certificate as a DER Name; empty until set. A name that was read is encoded again from its
    /// values, so that a name in BER comes back as DER.
    const CBlob& get_issuer() const { return issuer_; }
    /// Copies the name. Throws kAsn1Error when it is not a DER Name; get_issuer then returns it all the same, and the
    /// value of the extension is unchanged.
    void put_issuer(const CBlob& name);
    /// The authority information access of the certificate; null when absent. Valid until the object changes.
    const ASN1::CAuthorityInfoAccessSyntax* get_locator() const { return locator_ ? &*locator_ : nullptr; }
    /// Copies; null removes. Before the issuer is set, the value of the extension stays empty: the setters may be
    /// called in either order. Throws kInvalidArgument for a location that cannot be encoded; the locator is then set,
    /// and the value of the extension is unchanged.
    void put_locator(const ASN1::CAuthorityInfoAccessSyntax* locator);

private:
    void encodeValue();

    CBlob issuer_;
    std::optional<ASN1::CAuthorityInfoAccessSyntax> locator_;
};

/// The CRL distribution points of the certificate, for a responder that uses them to find its data. The value is a
/// CRLDistPointsSyntax (RFC 5280, section 4.2.1.13), as in the certificate's own extension.
class TALLOW_EXPORT CExtCRLLocator : public ASN1::CExtValue {
public:
    CExtCRLLocator();
    explicit CExtCRLLocator(const CBlob& extnValue);
    CExtCRLLocator(const CExtCRLLocator&);
    CExtCRLLocator& operator=(const CExtCRLLocator&);

    /// Empty until set; valid until the object changes. The setter copies, and throws what CCRLDistPointsSyntax::encode
    /// throws; the object is then unchanged.
    const ASN1::CCRLDistPointsSyntax& get_locator() const { return locator_; }
    void put_locator(const ASN1::CCRLDistPointsSyntax& locator);

private:
    ASN1::CCRLDistPointsSyntax locator_;
};

/// The content of CExtHistoricalRequest and CExtCrlID, in which every member is optional:
///
///   CrlID ::= SEQUENCE {
///       crlUrl  [0] EXPLICIT IA5String OPTIONAL,
///       crlNum  [1] EXPLICIT INTEGER OPTIONAL,
///       crlTime [2] EXPLICIT GeneralizedTime OPTIONAL }
///
/// Decoding throws kAsn1Error for a crlTime that is not in UTC ("Z") or does not exist.
class TALLOW_EXPORT CExtCrlIDBase : public ASN1::CExtValue {
public:
    /// Each getter returns null when the member is absent; the pointer is valid until the object changes. crlUrl is the
    /// address of the CRL; a NUL octet in it reads as "%00", so that it cannot hide what follows. crlNum is the CRL
    /// number; a number that does not fit 32 bits counts as absent, and its octets remain in get_value() until a setter
    /// encodes the value again without it. crlTime is the thisUpdate of the CRL, or the time that is asked about.
    const char* get_crlUrl() const { return crlUrl_ ? crlUrl_->c_str() : nullptr; }
    const int* get_crlNum() const { return crlNum_ ? &*crlNum_ : nullptr; }
    const CDateTime* get_crlTime() const { return crlTime_ ? &*crlTime_ : nullptr; }
    /// Each setter copies; null removes the member, and the value is encoded again at once. The octets of the address
    /// are written as an IA5String without a test: one outside ASCII is written as it is.
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

/// In a single request: asks for the status at the time crlTime instead of now. In a single response: marks the entry
/// as the status at that time. A response to an ordinary request that contains it does not describe the present.
class TALLOW_EXPORT CExtHistoricalRequest : public CExtCrlIDBase {
public:
    CExtHistoricalRequest();
    explicit CExtHistoricalRequest(const CBlob& extnValue);
};

/// In a single response: the CRL on which the status is based (RFC 6960, section 4.4.2). Information for auditors; it
/// proves nothing beyond the response itself.
class TALLOW_EXPORT CExtCrlID : public CExtCrlIDBase {
public:
    CExtCrlID();
    explicit CExtCrlID(const CBlob& extnValue);
};

/// In a single response: the time back to which the responder keeps revocation data (RFC 6960, section 4.4.4):
///
///   ArchiveCutoff ::= GeneralizedTime
///
/// A "good" status of a certificate that expired before this time says nothing. Decoding throws kAsn1Error for a time
/// that is not in UTC ("Z") or does not exist.
class TALLOW_EXPORT CExtArchiveCutoff : public ASN1::CExtValue {
public:
    CExtArchiveCutoff();
    explicit CExtArchiveCutoff(const CBlob& extnValue);

    /// 1970-01-01 until set. The setter encodes whole seconds: a fraction is returned by get_archiveCutoff but is not
    /// in the value.
    const CDateTime& get_archiveCutoff() const { return archiveCutoff_; }
    void put_archiveCutoff(const CDateTime& time);

private:
    CDateTime archiveCutoff_{0, 0};
};

}  // namespace Orvane::PKI::OCSP
