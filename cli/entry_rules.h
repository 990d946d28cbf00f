// What a proven response says about one certificate, by all of its entries and by the clock. The rules are functions of
// a response, a question and a clock.
#pragma once

#include <variant>

#include "cli/rejection.h"
#include "client/response/response.h"
#include "foundation/date_time.h"
#include "message/cert_id.h"
#include "message/cert_status.h"

namespace tallow::cli {

/// What times are compared with.
struct RuleClock {
    Orvane::CDateTime now;
    Orvane::CDateTime oldest;         // the earliest thisUpdate that is accepted
    Orvane::CDateTimeSpan tolerance;  // how far the clock of a responder may be ahead of ours
};

/// The present, with ThisUpdateAccuracy and ResponseAccuracy of the policy. A ResponseAccuracy that switches the
/// library's own check off, or that is out of range, gives the default tolerance of 180 s. Throws what the policy
/// throws.
RuleClock clockOfPolicy();

/// What was asked about one certificate.
struct Question {
    Orvane::PKI::OCSP::CCertID id;
    const _CERT_CONTEXT* certificate = nullptr;  // null when only the identifier is known
    const _CERT_CONTEXT* issuer = nullptr;       // null when it is not known
    bool wantsHistory = false;                   // the request asked for an earlier state
};

/// The question about this certificate. Throws what CCertID throws.
Question questionAbout(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer);

/// Whether the identifier, with whatever hash algorithm, certainly names the certificate of the question.
bool isAbout(const Question& question, const Orvane::PKI::OCSP::CCertID& id);

struct Finding {
    Orvane::PKI::OCSP::CCertStatus::Type status = Orvane::PKI::OCSP::CCertStatus::kUnknown;
    unsigned long entry = 0;  // the one that says so
};

/// Looks at every entry about the certificate, whatever its hash algorithm. The strictest status counts: revoked, then
/// unknown, then good.
///
/// Good and unknown count when all these entries pass: the signer may answer for them, they are current, and their
/// times contradict neither the clock nor producedAt. Revoked counts when the signer may answer, and, for an entry that
/// is alone, when it is current. An entry is held against nextUpdate and the age limit unless history was asked for and
/// the entry says that it answers that.
///
/// An entry with the same serial number whose hash algorithm cannot be computed never hides another one; unless it says
/// good, it keeps the certificate from being good.
///
/// proveResponse must have passed. Throws what reading the response throws.
std::variant<Finding, Rejection> findingOn(const Orvane::PKI::OCSP::Client::CResponse& response,
                                           const Question& question, const RuleClock& clock);

}  // namespace tallow::cli
