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
    CResponseMessage(CResponseMessage const&) = default;
    CResponseMessage& operator=(CResponseMessage const&) = default;

    /// Replaces the content by a DER OCSPResponse. A malformed BasicOCSPResponse inside fails it too. Throws kAsn1Error
    /// or kAsn1Memory and leaves the old content.
    void decode(CBlob const& data);

    /// The OCSPResponseStatus number as on the wire, 0 for successful.
    std::uint32_t get_responseStatus() const { return responseStatus_; }
    /// Dotted text; empty when responseBytes is absent. Valid until the object changes.
    const char* get_responseType() const { return responseType_.c_str(); }
    /// The content of the response OCTET STRING; empty when responseBytes is absent.
    CBlob const& get_response() const { return response_; }

private:
    std::uint32_t responseStatus_ = 0;
    CStringProxy responseType_{""};
    CBlob response_;
};

}  // namespace Orvane::PKI::OCSP
