// The signed response of a responder, and what is read from it (RFC 6960, section 4.2.1).
//
//   CBasicResponse response;
//   response.decode(message.get_response());       // the content of CResponseMessage
//   if (response.get_trailingSize() != 0 || !response.verify(signerDer)) ...
//   for (const CSingleResponse& entry : response.get_responses()) ...
//
// A response that decodes proves nothing. The caller finds the signer, checks that it is authorised, and checks times,
// nonce and critical extensions; CVerifyingResponseHandler does all of this.
#pragma once

#include <cstdint>
#include <memory>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/extensions/extensions.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "message/responder_id.h"
#include "message/single_response.h"

namespace Orvane::PKI::OCSP {

/// A decoded basic response:
///
///   BasicOCSPResponse ::= SEQUENCE {
///       tbsResponseData    ResponseData,
///       signatureAlgorithm AlgorithmIdentifier,
///       signature          BIT STRING,
///       certs              [0] EXPLICIT SEQUENCE OF Certificate OPTIONAL }
///
///   ResponseData ::= SEQUENCE {
///       version            [0] EXPLICIT Version DEFAULT v1,
///       responderID        ResponderID,
///       producedAt         GeneralizedTime,
///       responses          SEQUENCE OF SingleResponse,
///       responseExtensions [1] EXPLICIT Extensions OPTIONAL }
///
/// Decoding checks only the encoding: verify() checks the signature, and the caller checks times, nonce and responder.
/// Copies are deep. Pointers and references from getters live until the object is changed, moved from or destroyed.
/// There are no setters: a response is only read.
class TALLOW_EXPORT CBasicResponse {
public:
    /// An object without content: no entries, no certificates, producedAt at 1970-01-01, an empty responder name. All
    /// constructors that allocate throw kAsn1Memory when memory is exhausted. After a move the source may only be
    /// assigned to or destroyed.
    CBasicResponse();
    CBasicResponse(const CBasicResponse&);
    CBasicResponse(CBasicResponse&&) noexcept;
    CBasicResponse& operator=(const CBasicResponse&);
    CBasicResponse& operator=(CBasicResponse&&) noexcept;
    ~CBasicResponse();

    /// Replaces the content by a BasicOCSPResponse in DER. The bytes are kept as received, because the signature is
    /// checked over them and not over a new encoding; the responder's name and the certificates are kept byte for byte,
    /// too.
    ///
    /// Throws kAsn1Error for malformed or empty input and for a time that is not in UTC ("Z") or does not exist, and
    /// kAsn1Memory when memory is exhausted or the records would need more of it than 64 times the size of `data` plus
    /// 1 MiB. The object then keeps its old content. Octets after the response are no failure: see get_trailingSize.
    void decode(const CBlob& data);
    /// The same, and takes the bytes over instead of copying them. On failure they stay with `data`.
    void decode(CBlob&& data);

    /// The version field: 0, which means v1, also when the field is absent. RFC 6960 defines no other version.
    std::uint32_t get_version() const;
    /// The number of octets that followed the BasicOCSPResponse in the input of decode. They are neither signed nor
    /// read; callers that need a complete response require 0.
    unsigned long get_trailingSize() const;

    /// The entries in wire order. Several may name the same certificate, and a response may contain entries that were
    /// not requested; the caller selects with CCertID.
    const CSingleResponseList& get_responses() const;
    /// The extensions of the whole response in wire order, such as the nonce; null when absent.
    const ASN1::CExtensions* get_responseExtensions() const;
    /// The certificates that came with the response, each one whole DER certificate, byte for byte; null when the field
    /// is absent. They are not covered by the signature and are candidates for the signer, nothing more.
    const CBlobList* get_certs() const;
    /// The time at which the responder signed the response, in UTC. It is not the age of the status: that is thisUpdate
    /// of each entry.
    const CDateTime& get_producedAt() const;
    /// The responder as it names itself, by Name or key hash. Proves nothing before verify() with the matching
    /// certificate.
    const CResponderID& get_responderID() const;
    /// The signature algorithm that the response states. It is not covered by the signature; verify() decides whether
    /// it is accepted.
    const ASN1::CAlgorithmIdentifier& get_signatureAlgorithm() const;

    /// Verifies the signature over tbsResponseData with the public key of `certificate` (one whole DER certificate).
    /// Returns true when it matches; false when it does not, or when the key of the certificate cannot be used. Throws
    /// the converted last error when the check cannot be made: the bytes are not a certificate, or the algorithm is
    /// unknown or refused. Does not check whether the certificate is valid, trusted or authorised to sign for the
    /// issuer (section 4.2.2.2).
    [[nodiscard]] bool verify(const CBlob& certificate) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace Orvane::PKI::OCSP
