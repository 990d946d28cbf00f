// The library's own response handler: every check that a response must pass, in the proper order.
#pragma once

#include "client/flat/response_handler.h"
#include "export.h"

namespace Orvane::PKI::OCSP::Client {

class CRequest;

/// Verifies the signature, the responder's certificate and each single response that `request` asked for. It leaves
/// these checks to others:
/// - the nonce: CResponse::Import compares it when it is given the request. After Import(bytes, size, nullptr) a
///   replayed response passes here.
/// - producedAt and the age of thisUpdate: CRequest::Send compares them with the clock.
/// - nextUpdate: compared here for a response that Send received, **and not for an imported one**, which can pass years
///   after nextUpdate.
///
/// So the dates of a response from elsewhere are the caller's to check, or the checker's (checker/checker.h):
///
///   try {
///       response.Import(bytes, size, &request);  // throws kNonceMismatch
///       CVerifyingResponseHandler handler(request, nullptr, 0);
///       isGood = handler.OnResponse(response) == 0;
///   } catch (const ATL::CAtlException& failure) {
///       isRevoked = failure.status() == status::kCertificateRevoked;  // thrown, like the failures that prove nothing
///   }
class TALLOW_EXPORT CVerifyingResponseHandler : public IResponseHandler {
public:
    /// Keeps the three values without copying. `request` and the `count` store handles in `stores` (extra certificates
    /// for chains; may be null with count 0) remain the caller's and must outlive the handler.
    CVerifyingResponseHandler(CRequest& request, void** stores, unsigned long count);
    ~CVerifyingResponseHandler() override;

    /// Returns 0 when every asked certificate is proven good. Otherwise, in the order of the checks: kNotSuccessful
    /// (response status), what CResponse::Verify, VerifyCertificate and VerifySR return, kNotAnswered for a certificate
    /// without an entry, kCertificateUnknown. **Throws** kCertificateRevoked for a revoked certificate, so that a walk
    /// over responders ends there. What the response operations throw passes through as the same type, so a caller
    /// compares the status of what it catches: to treat every exception as a failure of the network overlooks a
    /// revocation. Entries that were not asked for are not examined.
    [[nodiscard]] std::int32_t OnResponse(const CResponse& response) override;

private:
    CRequest& request_;
    void** stores_;
    unsigned long storeCount_;
};

}  // namespace Orvane::PKI::OCSP::Client
