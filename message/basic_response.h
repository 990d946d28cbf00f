// The signed response of a responder (RFC 6960, 4.2.1).
//
//   BasicOCSPResponse ::= SEQUENCE { tbsResponseData ResponseData, signatureAlgorithm AlgorithmIdentifier,
//                                    signature BIT STRING, certs [0] EXPLICIT SEQUENCE OF Certificate OPTIONAL }
//   ResponseData ::= SEQUENCE { version [0] EXPLICIT INTEGER OPTIONAL, responderID ResponderID,
//                               producedAt GeneralizedTime, responses SEQUENCE OF SingleResponse,
//                               responseExtensions [1] EXPLICIT Extensions OPTIONAL }
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

/// A decoded basic response. Decoding checks only the encoding: the signature is checked by verify(), and times, nonce
/// and responder by the caller. Copies are deep. Pointers and references from getters live until the object changes.
class TALLOW_EXPORT CBasicResponse {
public:
    CBasicResponse();
    CBasicResponse(const CBasicResponse&);
    CBasicResponse(CBasicResponse&&) noexcept;
    CBasicResponse& operator=(const CBasicResponse&);
    CBasicResponse& operator=(CBasicResponse&&) noexcept;
    ~CBasicResponse();

    /// Replaces the content by a DER BasicOCSPResponse and keeps the bytes as they came, since the signature is checked
    /// over them and not over a new encoding. Throws kAsn1Error for malformed input, for a time that is not in UTC
    /// ("Z") or does not exist, and kAsn1Memory when memory is exhausted or the records would take more of it than 64
    /// times the size of `data` and 1 MiB; the object keeps its old content then.
    void decode(const CBlob& data);

    /// The version field; 0, v1, also when it is absent. RFC 6960 has no other.
    std::uint32_t get_version() const;
    /// How many octets followed the BasicOCSPResponse in what decode was given. They are not signed and not looked
    /// at; callers that need a complete response require 0.
    unsigned long get_trailingSize() const;

    /// The entries in wire order; several may name the same certificate.
    const CSingleResponseList& get_responses() const;
    /// Null when absent; wire order.
    const ASN1::CExtensions* get_responseExtensions() const;
    /// The DER certificates carried, byte for byte; null when absent.
    const CBlobList* get_certs() const;
    /// When the responder signed the response, in UTC.
    const CDateTime& get_producedAt() const;
    /// The responder as it names itself, by Name or key hash. Proves nothing before verify().
    const CResponderID& get_responderID() const;
    /// The algorithm that the response names, accepted or not: verify() decides.
    const ASN1::CAlgorithmIdentifier& get_signatureAlgorithm() const;

    /// True when the signature over tbsResponseData verifies with the public key of the DER `certificate`; false when
    /// it does not. Throws the converted last error when the check cannot be made: the bytes are no certificate, the
    /// algorithm is not known or refused.
    [[nodiscard]] bool verify(const CBlob& certificate) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace Orvane::PKI::OCSP
