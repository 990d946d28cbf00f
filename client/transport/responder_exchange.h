// Exchanges with one responder at a time, for a caller that examines the answers itself. Private to the library.
//
//   ResponderExchange exchange(request);
//   for (const auto& candidate : exchange.candidates()) {
//       const CBlob answer = exchange.ask(candidate);      // throws when there is none
//       if (exchange.mustRepeat(statusOf(answer))) ...     // it was an old one from the cache: ask again
//   }
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/request/request.h"
#include "client/shared/network_check.h"
#include "foundation/blob.h"

namespace Orvane::PKI::OCSP::Client {

class ResponderExchange {
public:
    struct Candidate {
        std::wstring address;
        bool isNamed = false;  // the caller or the administrator chose it, not a certificate
    };

    /// Begins the network rules of the request, which must outlive the object. Throws what building the request throws,
    /// and what policy says against it.
    explicit ResponderExchange(CRequest& request);
    ~ResponderExchange();
    ResponderExchange(const ResponderExchange&) = delete;
    ResponderExchange& operator=(const ResponderExchange&) = delete;

    /// The responders of the first certificate asked about, those that it names itself first: never more of these than
    /// one check may ask. `skipped` receives the others.
    [[nodiscard]] std::vector<Candidate> candidates(std::vector<Candidate>& skipped) const;

    /// The body of a response with HTTP status 200. Throws as CRequest::Send does before it decodes a response; the
    /// attempt is recorded then.
    [[nodiscard]] CBlob ask(const Candidate& candidate);

    /// The request in DER, built if something changed.
    [[nodiscard]] const CBlob& encoded();

    /// Records the attempt that `ask` ended, with the caller's verdict on the answer, and removes a refused answer from
    /// the cache. True when the answer came from the cache and the responder is to be asked again, past the cache.
    [[nodiscard]] bool mustRepeat(std::int32_t outcome);

    /// The nonce of a request in the form that CResponse::VerifyNonce takes; empty when it has none. The request must
    /// have been built or imported.
    [[nodiscard]] static const CBlob& nonceOf(const CRequest& request);

private:
    CRequest& request_;
    NetworkCheck check_;
};

}  // namespace Orvane::PKI::OCSP::Client
