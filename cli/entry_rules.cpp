#include "cli/entry_rules.h"

#include <cstring>
#include <optional>
#include <vector>

#include "cli/certificate_text.h"
#include "client/policy/request_policy.h"
#include "client/policy/response_policy.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using Orvane::CDateTimeSpan;
using Orvane::PKI::OCSP::CCertID;
using Orvane::PKI::OCSP::CCertStatus;
using Orvane::PKI::OCSP::Client::CRequestPolicy;
using Orvane::PKI::OCSP::Client::CResponse;
using Orvane::PKI::OCSP::Client::thisUpdateLimit;

constexpr const char* kStep = "entry";

CBlob encodingOf(const _CERT_CONTEXT* certificate) {
    return {certificate->pbCertEncoded, certificate->cbCertEncoded};
}

// ---- Which entries are about the certificate ------------------------------------------------------------------------

enum class Relation {
    kOther,    // another certificate
    kPerhaps,  // the same serial number, and hashes that cannot be compared
    kExact,
};

Relation relationOf(const Question& question, const CCertID& entry) {
    if (!(question.id.get_serialNumber() == entry.get_serialNumber())) {
        return Relation::kOther;
    }
    const char* algorithm = entry.get_hashAlgorithm().get_algorithm();
    if (std::strcmp(algorithm, question.id.get_hashAlgorithm().get_algorithm()) == 0) {
        return namesSameCertificate(question.id, entry) ? Relation::kExact : Relation::kOther;
    }
    if (question.issuer == nullptr) {
        return Relation::kPerhaps;
    }
    try {
        const CBlob issuer = encodingOf(question.issuer);
        const CCertID named(Orvane::ASN1::CAlgorithmIdentifierEx(algorithm), issuer, issuer);  // for its two hashes
        const bool isSame = named.get_issuerNameHash() == entry.get_issuerNameHash() &&
                            named.get_issuerKeyHash() == entry.get_issuerKeyHash();
        return isSame ? Relation::kExact : Relation::kOther;
    } catch (const ATL::CAtlException&) {
        return Relation::kPerhaps;
    }
}

// ---- Rules for one entry --------------------------------------------------------------------------------------------

class Entry {
public:
    Entry(const CResponse& response, unsigned long index, const Question& question, const RuleClock& clock)
        : response_(response), index_(index), question_(question), clock_(clock) {}

    CCertStatus::Type status() const { return response_.get_SRStatus(index_); }
    unsigned long index() const { return index_; }

    /// The signer may not answer for it, or the entry cannot be understood.
    std::optional<Rejection> rejectAuthority() const;
    /// It is about a certificate that had expired.
    std::optional<Rejection> rejectExpiry() const;
    /// It is about another time.
    std::optional<Rejection> rejectAge() const;
    /// Its times are in the future.
    std::optional<Rejection> rejectFuture() const;
    Rejection rejected(std::int32_t code, const std::string& text) const;

private:
    bool answersHistory() const {
        return question_.wantsHistory && response_.get_SRHistoricalRequest(index_) != nullptr;
    }

    const CResponse& response_;
    unsigned long index_;
    const Question& question_;
    const RuleClock& clock_;
};

Rejection Entry::rejected(std::int32_t code, const std::string& text) const {
    const bool isOneOfMany = response_.get_SRNumber() > 1;
    return {code, kStep, (isOneOfMany ? "number " + std::to_string(index_ + 1) + ": " : "") + text};
}

std::optional<Rejection> Entry::rejectAuthority() const {
    // The library compares nextUpdate with the clock only for a response that has just arrived; rejectAge always does,
    // and rejectExpiry reports the date.
    if (const std::int32_t verdict = response_.VerifySR(index_, nullptr, nullptr);
        verdict != status::kOk && verdict != status::kNotCurrent &&
        !(verdict == status::kCertExpired && question_.certificate != nullptr)) {
        return Rejection{verdict, kStep};
    }
    return std::nullopt;
}

std::optional<Rejection> Entry::rejectExpiry() const {
    if (question_.certificate == nullptr) {
        return std::nullopt;
    }
    const CDateTime notAfter(question_.certificate->pCertInfo->NotAfter);
    if (response_.get_SRThisUpdate(index_) < notAfter) {
        return std::nullopt;
    }
    return rejected(status::kCertExpired,
                    "the certificate expired on " + iso8601(&notAfter) + ", before thisUpdate; have it renewed");
}

std::optional<Rejection> Entry::rejectAge() const {
    if (answersHistory()) {
        return std::nullopt;
    }
    const CDateTime* nextUpdate = response_.get_SRNextUpdate(index_);
    // The library compares with a later clock, may find the entry expired, and then examines nothing else.
    const bool isOver = response_.VerifySR(index_, nullptr, nullptr) == status::kNotCurrent;
    if (nextUpdate != nullptr && (isOver || *nextUpdate <= clock_.now)) {
        return rejected(status::kNotCurrent, "nextUpdate " + iso8601(nextUpdate) +
                                                 " has passed; check the clock, then ask the responder anew");
    }
    const CDateTime thisUpdate = response_.get_SRThisUpdate(index_);
    if (thisUpdate < clock_.oldest) {
        return rejected(status::kThisUpdateTooOld, "thisUpdate " + iso8601(&thisUpdate) +
                                                       " is older than policy allows; check the clock, then ask the "
                                                       "responder anew");
    }
    return std::nullopt;
}

std::optional<Rejection> Entry::rejectFuture() const {
    const CDateTime latest = clock_.now + clock_.tolerance;
    const CDateTime producedAt = response_.get_ProducedAt();
    const CDateTime thisUpdate = response_.get_SRThisUpdate(index_);
    if (producedAt > latest) {
        return rejected(status::kNotCurrent, "producedAt " + iso8601(&producedAt) +
                                                 " is in the future; check our clock, then that of the responder");
    }
    if (thisUpdate > latest) {
        return rejected(status::kNotCurrent, "thisUpdate " + iso8601(&thisUpdate) +
                                                 " is in the future; check our clock, then that of the responder");
    }
    if (thisUpdate > producedAt + clock_.tolerance) {
        return rejected(status::kNotCurrent, "thisUpdate " + iso8601(&thisUpdate) + " is later than producedAt " +
                                                 iso8601(&producedAt) + "; ask another responder");
    }
    return std::nullopt;
}

// ---- All entries together -------------------------------------------------------------------------------------------

// Entries about the certificate, and those that may be about it.
struct Entries {
    std::vector<Entry> about;
    std::vector<Entry> undecided;
};

Entries entriesOn(const CResponse& response, const Question& question, const RuleClock& clock) {
    Entries entries;
    bool isAnswered = false;
    for (unsigned long i = 0; i < response.get_SRNumber(); ++i) {
        const Relation relation = relationOf(question, response.get_SRCertID(i));
        if (relation == Relation::kOther) {
            continue;
        }
        const Entry entry(response, i, question, clock);
        isAnswered = isAnswered || relation == Relation::kExact;
        // Without the issuer: a signer that may answer for both entries is usually the delegate of one CA, so that both
        // are about the same certificate.
        const bool isAbout = relation == Relation::kExact || (question.issuer == nullptr && !entry.rejectAuthority());
        (isAbout ? entries.about : entries.undecided).push_back(entry);
    }
    return isAnswered ? entries : Entries();
}

bool isRevoked(const Entry& entry, bool isAlone) {
    // Responders may drop expired certificates; one that says revoked has not. Among other entries even an old
    // "revoked" counts: the responder contradicts itself.
    return entry.status() == CCertStatus::kRevoked && !entry.rejectAuthority() && !(isAlone && entry.rejectAge());
}

std::optional<Rejection> rejectEntry(const Entry& entry) {
    for (const auto reject : {&Entry::rejectAuthority, &Entry::rejectExpiry, &Entry::rejectAge, &Entry::rejectFuture}) {
        if (std::optional<Rejection> rejection = (entry.*reject)()) {
            return rejection;
        }
    }
    return std::nullopt;
}

std::optional<Rejection> rejectUndecided(const Entry& entry) {
    if (entry.status() == CCertStatus::kGood) {
        return std::nullopt;
    }
    return entry.rejected(status::kBadAlgorithm,
                          "it has the serial number of the certificate and a hash algorithm that is not known, and "
                          "does not say good; ask another responder");
}

}  // namespace

Question questionAbout(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer) {
    constexpr const char* kSha1 = "1.3.14.3.2.26";
    const Orvane::ASN1::CAlgorithmIdentifierEx algorithm(kSha1);
    return {CCertID(algorithm, encodingOf(certificate), encodingOf(issuer)), certificate, issuer, false};
}

bool isAbout(const Question& question, const CCertID& id) {
    return relationOf(question, id) == Relation::kExact;
}

RuleClock clockOfPolicy() {
    constexpr long kDefaultAccuracyMs = 180000;
    constexpr long kLargestAccuracyMs = 429496;  // what the library can compute with
    constexpr unsigned kTicksPerMs = 10000;
    const CRequestPolicy policy;
    const long accuracy = policy.ResponseAccuracy;
    const bool isUsable = accuracy > 0 && accuracy <= kLargestAccuracyMs;
    const CDateTime now = CDateTime::Now();
    return {
        now, thisUpdateLimit(policy.ThisUpdateAccuracy, policy.ThisUpdateAccuracyUnits, now),
        CDateTimeSpan::fromTicks(static_cast<std::uint64_t>(isUsable ? accuracy : kDefaultAccuracyMs) * kTicksPerMs)};
}

std::variant<Finding, Rejection> findingOn(const CResponse& response, const Question& question,
                                           const RuleClock& clock) {
    const Entries entries = entriesOn(response, question, clock);
    if (entries.about.empty()) {
        return Rejection{status::kNotAnswered, kStep};
    }
    for (const Entry& entry : entries.about) {
        if (isRevoked(entry, entries.about.size() == 1)) {
            return Finding{CCertStatus::kRevoked, entry.index()};
        }
    }
    Finding strictest{CCertStatus::kGood, entries.about.front().index()};
    for (const Entry& entry : entries.about) {
        if (std::optional<Rejection> rejection = rejectEntry(entry)) {
            return *rejection;
        }
        if (strictest.status == CCertStatus::kGood && entry.status() != CCertStatus::kGood) {
            strictest = {entry.status(), entry.index()};
        }
    }
    for (const Entry& entry : entries.undecided) {
        if (std::optional<Rejection> rejection = rejectUndecided(entry)) {
            return *rejection;
        }
    }
    return strictest;
}

}  // namespace tallow::cli
