// The envelope of an OCSP response (RFC 6960, section 4.2.1): the status of the exchange and, if successful, the signed
// response.
//
//   CResponseMessage message;
//   message.decodeEnvelope(body);
//   if (message.get_responseStatus() != 0) ...           // unsigned: proves nothing
//   if (std::strcmp(message.get_responseType(), kOidBasicResponse) == 0) basic.decode(message.get_response());
#pragma once

#include <cstdint>
#include <utility>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::PKI::OCSP {

/// The envelope as a value:
///
///   OCSPResponse ::= SEQUENCE {
///       responseStatus OCSPResponseStatus,
///       responseBytes  [0] EXPLICIT ResponseBytes OPTIONAL }
///
///   OCSPResponseStatus ::= ENUMERATED {
///       successful       (0),
///       malformedRequest (1),
///       internalError    (2),
///       tryLater         (3),      -- (4) is not used
///       sigRequired      (5),
///       unauthorized     (6) }
///
///   ResponseBytes ::= SEQUENCE {
///       responseType OBJECT IDENTIFIER,
///       response     OCTET STRING }
///
/// Nothing in it is signed except the content of `response`: anyone on the path can send any status. Copies are deep.
class TALLOW_EXPORT CResponseMessage {
public:
    /// An empty object: status 0, but no response type and no response. Check get_response, not only the status.
    CResponseMessage();
    ~CResponseMessage();
    CResponseMessage(const CResponseMessage&) = default;
    CResponseMessage(CResponseMessage&&) noexcept = default;
    CResponseMessage& operator=(const CResponseMessage&) = default;
    CResponseMessage& operator=(CResponseMessage&&) noexcept = default;

    /// Replaces the content by a DER OCSPResponse. A malformed BasicOCSPResponse inside is a failure, too. Throws
    /// kAsn1Error for malformed or empty input, and kAsn1Memory when memory is exhausted or the records would need more
    /// of it than 64 times the size of `data` plus 1 MiB. The object then keeps its old content.
    void decode(const CBlob& data);

    /// The same for a caller that decodes get_response() itself: with status 0 the response is not read here, so that
    /// it is not decoded twice. CBasicResponse::decode rejects what decode would have rejected.
    void decodeEnvelope(const CBlob& data);

    /// The OCSPResponseStatus as the number on the wire; 0 for successful.
    std::uint32_t get_responseStatus() const { return responseStatus_; }
    /// Dotted decimal text, kOidBasicResponse in practice; never null, empty when responseBytes is absent. Valid until
    /// the object changes.
    const char* get_responseType() const { return responseType_.c_str(); }
    /// The content of the response OCTET STRING, the input of CBasicResponse::decode; empty when responseBytes is
    /// absent. A successful status without a response is possible and proves nothing. Valid until the object changes.
    const CBlob& get_response() const& { return response_; }
    /// The same, handed over: for a message of megabytes that is not needed any more.
    CBlob get_response() && { return std::move(response_); }
    /// The number of octets that followed the OCSPResponse in the input of decode; they are not read.
    unsigned long get_trailingSize() const { return trailingSize_; }

private:
    void decodeWith(const CBlob& data, std::uint16_t flags);

    std::uint32_t responseStatus_ = 0;
    CStringProxy responseType_{""};
    CBlob response_;
    unsigned long trailingSize_ = 0;
};

}  // namespace Orvane::PKI::OCSP
