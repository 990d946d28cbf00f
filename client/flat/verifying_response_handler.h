// The library's own response handler: every check that a response must pass, in the proper order.
#pragma once

#include "client/flat/response_handler.h"
#include "export.h"

namespace Orvane::PKI::OCSP::Client {

class CRequest;

/// Verifies the signature, the responder's certificate and each single response that `request` asked for. It does not
/// check nonce, producedAt and the age of thisUpdate: CResponse::Import with the request compares the nonces, and
/// CRequest::Send compares the times with the clock. So for a response from elsewhere:
///
///   response.Import(bytes, size, &request);                     // throws kNonceMismatch
///   CVerifyingResponseHandler handler(request, nullptr, 0);
///   if (handler.OnResponse(response) == 0) ...                  // throws kCertificateRevoked
class TALLOW_EXPORT CVerifyingResponseHandler : public IResponseHandler {
public:
    /// Keeps the three values without copying. `request` and the `count` store handles in `stores` (extra certificates
    /// for chains; may be null with count 0) remain the caller's and must outlive the handler.
    CVerifyingResponseHandler(CRequest& request, void** stores, unsigned long count);
    ~CVerifyingResponseHandler() override;

    /// Returns 0 when every asked certificate is proven good. Otherwise, in the order of the checks: kNotSuccessful
    /// (response status), what CResponse::Verify, VerifyCertificate and VerifySR return, kNotAnswered for a certificate
    /// without an entry, kCertificateUnknown. **Throws** kCertificateRevoked for a revoked certificate, so that a walk
    /// over responders ends there: a caller needs both a catch and a check of the result. What the response operations
    /// throw passes through. Entries that were not asked for are not examined.
    [[nodiscard]] std::int32_t OnResponse(const CResponse& response) override;

private:
    CRequest& request_;
    void** stores_;
    unsigned long storeCount_;
};

}  // namespace Orvane::PKI::OCSP::Client
