// What CRequest::Send calls after each response.
#pragma once

#include <cstdint>

#include "export.h"

namespace Orvane::PKI::OCSP::Client {

class CResponse;

/// Implement it to judge responses while CRequest::Send walks the responders.
class TALLOW_EXPORT IResponseHandler {
public:
    virtual ~IResponseHandler();

    /// Runs on the thread that called Send. Returns 0 to accept the response, any other status to refuse it: Send then
    /// asks the next responder it knows, except for kHandlerRevoked (0x800B010C), which ends the search; with nobody
    /// else to ask it throws the status (of the only responder: converted like a last error), but see there for the
    /// case in which a refused response is returned all the same. `response` belongs to the request and lives until the
    /// call returns. What is thrown leaves Send.
    [[nodiscard]] virtual std::int32_t OnResponse(const CResponse& response) = 0;
};

}  // namespace Orvane::PKI::OCSP::Client
