// A whole OCSP request (RFC 6960, section 4.1.1). CRequest in client/request builds one from certificates and policy;
// this class is for callers that compose or examine the message themselves.
//
//   CSingleRequestList list;
//   list.emplace_back(CReqCert(CCertID(sha1, leafDer, issuerDer)));
//   CRequestMessage request;
//   request.put_requestList(std::move(list));
//   CBlob der = request.encode();                  // the body of the HTTP POST
#pragma once

#include <memory>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/extensions/extensions.h"
#include "export.h"
#include "foundation/blob.h"
#include "message/single_request.h"

namespace Orvane::PKI::OCSP {

/// The request as a value:
///
///   OCSPRequest ::= SEQUENCE {
///       tbsRequest        TBSRequest,
///       optionalSignature [0] EXPLICIT Signature OPTIONAL }
///
///   TBSRequest ::= SEQUENCE {
///       version           [0] EXPLICIT Version DEFAULT v1,
///       requestorName     [1] EXPLICIT GeneralName OPTIONAL,
///       requestList       SEQUENCE OF Request,
///       requestExtensions [2] EXPLICIT Extensions OPTIONAL }
///
///   Signature ::= SEQUENCE {
///       signatureAlgorithm AlgorithmIdentifier,
///       signature          BIT STRING,
///       certs              [0] EXPLICIT SEQUENCE OF Certificate OPTIONAL }
///
/// To build: put_requestList, put_requestExtensions, for a signed request put_requestorName and then sign; last encode.
/// To read: decode, then the getters. Copies are deep. Pointers and references from getters live until the object
/// changes.
class TALLOW_EXPORT CRequestMessage {
public:
    /// An empty, unsigned request without the version field. Throws kAsn1Memory when memory is exhausted.
    CRequestMessage();
    /// With `writeVersion` true, the version field is written even though it holds its default, v1, for the few
    /// responders that require it; false gives plain DER, which omits the default. decode replaces this choice by what
    /// it finds.
    explicit CRequestMessage(bool writeVersion);
    CRequestMessage(const CRequestMessage&);
    CRequestMessage& operator=(const CRequestMessage&);
    ~CRequestMessage();

    /// Replaces the content by a DER OCSPRequest. Octets after it are ignored. Throws kAsn1Error for malformed or empty
    /// input, and kAsn1Memory when memory is exhausted or the records would need more of it than 64 times the size of
    /// `data` plus 1 MiB. The object then keeps its old content. A signature is not checked: call verify.
    void decode(const CBlob& data);
    /// The whole DER OCSPRequest, as a new blob. After decode or sign it returns the very bytes that were read or
    /// signed, until a setter changes the content. Throws kAsn1Error for content that has no encoding: a hash algorithm
    /// that is not dotted decimal text, a serial number without octets, a requestor name that is not a Name. Throws
    /// kInvalidArgument for an extension identifier that is not dotted decimal text.
    CBlob encode() const;

    /// The requested certificates in wire order; empty until set. The setters replace the whole list, by copy or by
    /// move, and drop a signature.
    const CSingleRequestList& get_requestList() const;
    void put_requestList(const CSingleRequestList& list);
    void put_requestList(CSingleRequestList&& list);

    /// The extensions of the whole request, such as the nonce; null when absent, an empty list when the message has a
    /// list without an entry.
    const ASN1::CExtensions* get_requestExtensions() const;
    /// Copies; null removes the field. Drops a signature. RFC 5280 requires at least one entry, so pass null instead of
    /// an empty list, which is written as an empty SEQUENCE.
    void put_requestExtensions(const ASN1::CExtensions* extensions);

    /// The DER Name inside requestorName's directoryName. A name that was read is encoded again from its values, so
    /// that one in BER comes back as DER. When requestorName is absent or of another kind: null for an unsigned
    /// request, an empty blob for a signed one. It identifies the signer only after verify() with a certificate of that
    /// subject.
    const CBlob* get_requestorName() const;
    /// Copies the DER Name; null removes the field. Drops a signature. The name is checked when the message is encoded.
    void put_requestorName(const CBlob* name);

    /// The algorithm of the signature; null for an unsigned request, so this is also the test for a signed one.
    const ASN1::CAlgorithmIdentifier* get_signatureAlgorithm() const;
    /// The certificates that came with the signature, each one whole DER certificate, byte for byte; null when the
    /// field is absent. They are not covered by the signature.
    const CBlobList* get_signatureCerts() const;

    /// Signs the TBSRequest with the private key `keySpec` (AT_SIGNATURE or AT_KEYEXCHANGE) of the provider handle
    /// `hProv`, which stays the caller's and is not used after the call. `certs` are whole DER certificates, written in
    /// this order; null or an empty list omits the field. Call it after all setters: every setter drops the signature.
    ///
    /// Throws the converted last error when the key cannot sign with `signatureAlgorithm`, and what encode throws. The
    /// request is then what it was before, a previous signature included.
    void sign(unsigned long long hProv, unsigned int keySpec, const ASN1::CAlgorithmIdentifierEx& signatureAlgorithm,
              const CBlobList* certs);

    /// Verifies the signature with the public key of `certificate` (one whole DER certificate). Returns true when it
    /// matches; false when it does not, when the key cannot be used, when the BIT STRING does not end with a whole
    /// octet, and for an unsigned request. Throws the converted last error when the check cannot be made: the bytes are
    /// not a certificate (also for an unsigned request), or the algorithm is unknown or refused. Does not check the
    /// certificate itself.
    [[nodiscard]] bool verify(const CBlob& certificate) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace Orvane::PKI::OCSP
