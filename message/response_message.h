// The envelope of an OCSP response (RFC 6960, 4.2.1).
//
//   OCSPResponse  ::= SEQUENCE { responseStatus ENUMERATED, responseBytes [0] EXPLICIT ResponseBytes OPTIONAL }
//   ResponseBytes ::= SEQUENCE { responseType OBJECT IDENTIFIER, response OCTET STRING }
#pragma once

#include <cstdint>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::PKI::OCSP {

class TALLOW_EXPORT CResponseMessage {
public:
    CResponseMessage();
    ~CResponseMessage();
    CResponseMessage(const CResponseMessage&) = default;
    CResponseMessage(CResponseMessage&&) noexcept = default;
    CResponseMessage& operator=(const CResponseMessage&) = default;
    CResponseMessage& operator=(CResponseMessage&&) noexcept = default;

    /// Replaces the content by a DER OCSPResponse. A malformed BasicOCSPResponse inside fails it too. Throws kAsn1Error
    /// or kAsn1Memory, as CBasicResponse::decode does, and leaves the old content.
    void decode(const CBlob& data);

    /// The same for a caller that decodes get_response() itself: with status 0, what is inside is not looked
    /// at, so that it is not decoded twice. CBasicResponse::decode refuses what decode would have refused.
    void decodeEnvelope(const CBlob& data);

    /// The OCSPResponseStatus number as on the wire, 0 for successful.
    std::uint32_t get_responseStatus() const { return responseStatus_; }
    /// Dotted text; empty when responseBytes is absent. Valid until the object changes.
    const char* get_responseType() const { return responseType_.c_str(); }
    /// The content of the response OCTET STRING; empty when responseBytes is absent.
    const CBlob& get_response() const { return response_; }
    /// How many octets followed the OCSPResponse in what decode was given; they are not looked at.
    unsigned long get_trailingSize() const { return trailingSize_; }

private:
    void decodeWith(const CBlob& data, std::uint16_t flags);

    std::uint32_t responseStatus_ = 0;
    CStringProxy responseType_{""};
    CBlob response_;
    unsigned long trailingSize_ = 0;
};

}  // namespace Orvane::PKI::OCSP
