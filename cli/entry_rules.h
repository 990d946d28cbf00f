// The status of one certificate according to a verified response: all of its entries, compared with the clock.
#pragma once

#include <variant>

#include "cli/rejection.h"
#include "client/response/response.h"
#include "foundation/date_time.h"
#include "message/cert_id.h"
#include "message/cert_status.h"

namespace tallow::cli {

/// The times that entries are compared with.
struct RuleClock {
    Orvane::CDateTime now;
    Orvane::CDateTime oldest;         // the earliest thisUpdate that is accepted
    Orvane::CDateTimeSpan tolerance;  // how far the clock of a responder may be ahead
};

/// The current time, with ThisUpdateAccuracy and ResponseAccuracy of the policy. A ResponseAccuracy that switches the
/// library's own check off, or that is out of range, gives the default tolerance of 180 s. Throws what the policy
/// throws.
RuleClock clockOfPolicy();

/// The certificate that is asked about.
struct Question {
    Orvane::PKI::OCSP::CCertID id;
    const _CERT_CONTEXT* certificate = nullptr;  // null when only the identifier is known
    const _CERT_CONTEXT* issuer = nullptr;       // null when it is not known
    bool wantsHistory = false;                   // the request asked for an earlier state
};

/// The question about this certificate. Throws what CCertID throws.
Question questionAbout(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer);

/// Whether the identifier, whatever its hash algorithm, certainly names the certificate of the question.
bool isAbout(const Question& question, const Orvane::PKI::OCSP::CCertID& id);

struct Finding {
    Orvane::PKI::OCSP::CCertStatus::Type status = Orvane::PKI::OCSP::CCertStatus::kUnknown;
    unsigned long entry = 0;  // the index of the entry with this status
};

/// Examines every entry about the certificate, whatever its hash algorithm. The strictest status counts: revoked, then
/// unknown, then good.
///
/// Good and unknown count when all these entries pass: the signer may answer for them, they are current, and their
/// times contradict neither the clock nor producedAt. Revoked counts when the signer may answer; a single entry must
/// also be current. nextUpdate and the age limit apply to an entry unless history was requested and the entry is marked
/// as historical.
///
/// An entry with the same serial number and an unknown hash algorithm never hides another one; unless it says good, the
/// certificate is not good.
///
/// proveResponse must have passed. Throws what reading the response throws.
std::variant<Finding, Rejection> findingOn(const Orvane::PKI::OCSP::Client::CResponse& response,
                                           const Question& question, const RuleClock& clock);

}  // namespace tallow::cli
