// The status of one certificate according to a verified response: all of its entries, compared with the clock.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "checker/rules/rejection.h"
#include "client/response/response.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "message/cert_id.h"
#include "message/cert_status.h"

namespace tallow::rules {

/// The times that entries are compared with.
struct RuleClock {
    Orvane::CDateTime now;                         // or the past time that the verdict is about
    Orvane::CDateTime oldest;                      // the earliest thisUpdate that is accepted without nextUpdate
    Orvane::CDateTimeSpan tolerance;               // how far the clock of a responder may be ahead
    std::optional<Orvane::CDateTime> oldestOfAll;  // the earliest thisUpdate that is accepted at all
    bool isTooOld = false;      // the response is older than the administrator allows for one that was just asked for
    bool isStored = false;      // the response was not asked for now
    bool isPast = false;        // `now` is a past time: a certificate that was revoked after it was not revoked then
    Orvane::CDateTime present;  // the current time, also when `now` is a past one
};

/// The certificate that is asked about.
struct Subject {
    Orvane::PKI::OCSP::CCertID id;
    const _CERT_CONTEXT* certificate = nullptr;  // null when only the identifier is known
    const _CERT_CONTEXT* issuer = nullptr;       // null when it is not known
    bool wantsHistory = false;                   // the request asked for an earlier state
};

/// The subject for this certificate. Throws what CCertID throws.
Subject subjectFor(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer);

/// Whether the identifier, whatever its hash algorithm, certainly names the subject.
bool isAbout(const Subject& subject, const Orvane::PKI::OCSP::CCertID& id);

/// The identifiers of a response by serial number, so that each certificate is compared only with entries that may be
/// about it: a response may have thousands.
class EntryTable {
public:
    EntryTable() = default;
    /// Throws what reading the response throws.
    explicit EntryTable(const Orvane::PKI::OCSP::Client::CResponse& response);

    using Row = std::pair<unsigned long, Orvane::PKI::OCSP::CCertID>;  // index and identifier
    /// In the order of the response.
    const std::vector<Row>& withSerial(const Orvane::CBlob& serial) const;

private:
    std::map<std::string, std::vector<Row>, std::less<>> rows_;
    std::vector<Row> none_;  // the result for other numbers; no static object: a child of fork could wait for it
};

struct Finding {
    Orvane::PKI::OCSP::CCertStatus::Type status = Orvane::PKI::OCSP::CCertStatus::kUnknown;
    unsigned long entry = 0;  // the index of the entry with this status
};

/// Whether the times of this entry contradict the clock. Says nothing about who signed it.
std::optional<Rejection> rejectTimes(const Orvane::PKI::OCSP::Client::CResponse& response, unsigned long entry,
                                     const Subject& subject, const RuleClock& clock);

/// Examines every entry about the certificate, whatever its hash algorithm. The strictest status counts: revoked, then
/// unknown, then good.
///
/// Good and unknown count when all these entries pass: the signer may answer for them, they are current, and their
/// times contradict neither the clock nor producedAt. Revoked counts when the signer may answer; a single entry must
/// also be current. nextUpdate and the age limits apply to an entry unless history was requested and the entry is
/// marked as historical.
///
/// With a past clock, an entry that says "revoked", at a time after the clock and known only after it, counts as good,
/// unless its invalidityDate is not after the clock. It does not when the times of the response are in the future, or
/// the time of revocation is after the clock by no more than the tolerance: the responder's clock may be ahead.
///
/// An entry with the same serial number and an unknown hash algorithm never hides another one; unless it says good, the
/// certificate is not good.
///
/// `table` is that of the response. proveSigner must have passed. Throws what reading the response throws.
std::variant<Finding, Rejection> findingOn(const Orvane::PKI::OCSP::Client::CResponse& response,
                                           const EntryTable& table, const Subject& subject, const RuleClock& clock);

}  // namespace tallow::rules
