// Exchanges with one responder at a time, for a caller that examines the answers itself. Private to the library. The
// cache of responses is not used: what is asked is asked now.
//
//   ResponderExchange exchange(request);
//   for (const auto& candidate : exchange.candidates()) {
//       const CBlob answer = exchange.ask(candidate);  // throws when there is none
//       exchange.end(statusOf(answer));
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
        bool isNamed = false;     // the caller or the administrator chose it, not a certificate
        bool isOfPolicy = false;  // it is the setting DefaultOCSPURL
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

    /// How many responders of one certificate may be asked.
    [[nodiscard]] std::uint32_t maxResponders() const { return check_.maxResponders(); }

    /// Records the attempt that `ask` ended, with the caller's verdict on the answer.
    void end(std::int32_t outcome);

    /// The nonce of a request in the form that CResponse::VerifyNonce takes; empty when it has none. The request must
    /// have been built or imported.
    [[nodiscard]] static const CBlob& nonceOf(const CRequest& request);

private:
    CRequest& request_;
    NetworkCheck check_;
};

}  // namespace Orvane::PKI::OCSP::Client
