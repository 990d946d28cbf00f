// What CRequest::Send calls after each response.
#pragma once

#include <cstdint>

#include "export.h"

namespace Orvane::PKI::OCSP::Client {

class CResponse;

/// Implement it to accept or refuse each response that CRequest::Send receives.
///
///   struct OnlyFresh : IResponseHandler {
///       std::int32_t OnResponse(const CResponse& response) override {
///           return response.get_SRNextUpdate(0) != nullptr ? 0 : kMyRefusal;
///       }
///   };
///   request.put_ResponseHandler(&handler);  // must outlive Send
///   request.Send(true);
class TALLOW_EXPORT IResponseHandler {
public:
    virtual ~IResponseHandler();

    /// Runs on the thread that called Send. Returns 0 to accept the response, any other status to refuse it. After a
    /// refusal Send asks the next responder, except after kHandlerRevoked (0x800B010C), which ends the search. With no
    /// responder left, Send throws the status (that of the only responder converted like a last error), or returns the
    /// refused response in the case described there. `response` belongs to the request and is valid until the call
    /// returns. Exceptions leave Send.
    [[nodiscard]] virtual std::int32_t OnResponse(const CResponse& response) = 0;
};

}  // namespace Orvane::PKI::OCSP::Client
