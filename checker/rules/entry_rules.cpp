#include "checker/rules/entry_rules.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "asn1/extensions/typed_extensions.h"
#include "checker/text/certificate_text.h"
#include "checker/text/times.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::rules {

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using Orvane::PKI::OCSP::CCertID;
using Orvane::PKI::OCSP::CCertStatus;
using Orvane::PKI::OCSP::Client::CResponse;

CBlob encodingOf(const _CERT_CONTEXT* certificate) {
    return {certificate->pbCertEncoded, certificate->cbCertEncoded};
}

// ---- Which entries are about the certificate ------------------------------------------------------------------------

enum class Relation {
    kOther,    // another certificate
    kPerhaps,  // the same serial number, and hashes that cannot be compared
    kExact,
};

Relation relationOf(const Subject& subject, const CCertID& entry) {
    if (!(subject.id.get_serialNumber() == entry.get_serialNumber())) {
        return Relation::kOther;
    }
    const char* algorithm = entry.get_hashAlgorithm().get_algorithm();
    if (std::strcmp(algorithm, subject.id.get_hashAlgorithm().get_algorithm()) == 0) {
        return namesSameCertificate(subject.id, entry) ? Relation::kExact : Relation::kOther;
    }
    if (subject.issuer == nullptr) {
        return Relation::kPerhaps;
    }
    try {
        const CBlob issuer = encodingOf(subject.issuer);
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
    Entry(const CResponse& response, unsigned long index, const Subject& subject, const RuleClock& clock)
        : response_(response), index_(index), subject_(subject), clock_(clock) {}

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
        return subject_.wantsHistory && response_.get_SRHistoricalRequest(index_) != nullptr;
    }

    const CResponse& response_;
    unsigned long index_;
    const Subject& subject_;
    const RuleClock& clock_;
};

Rejection Entry::rejected(std::int32_t code, const std::string& text) const {
    const bool isOneOfMany = response_.get_SRNumber() > 1;
    return {code, Rule::kEntry, (isOneOfMany ? "number " + std::to_string(index_ + 1) + ": " : "") + text};
}

std::optional<Rejection> Entry::rejectAuthority() const {
    if (const std::int32_t verdict = response_.VerifySR(index_, nullptr, nullptr); verdict != status::kOk) {
        return Rejection{verdict, Rule::kEntry};
    }
    return std::nullopt;
}

std::optional<Rejection> Entry::rejectExpiry() const {
    if (subject_.certificate == nullptr) {
        return std::nullopt;
    }
    const CDateTime notAfter(subject_.certificate->pCertInfo->NotAfter);
    if (response_.get_SRThisUpdate(index_) < notAfter) {
        return std::nullopt;
    }
    return rejected(status::kCertExpired,
                    "the certificate expired on " + text::iso8601(&notAfter) + ", before thisUpdate; have it renewed");
}

std::optional<Rejection> Entry::rejectAge() const {
    if (clock_.isTooOld) {
        const CDateTime producedAt = response_.get_ProducedAt();
        return rejected(status::kNotCurrent, "producedAt " + text::iso8601(&producedAt) +
                                                 " is older than the setting ResponseAccuracy allows; check the clock, "
                                                 "or ask with a nonce");
    }
    if (answersHistory()) {
        return std::nullopt;
    }
    const CDateTime* nextUpdate = response_.get_SRNextUpdate(index_);
    if (nextUpdate != nullptr && *nextUpdate <= clock_.now) {
        return rejected(status::kNotCurrent,
                        "nextUpdate " + text::iso8601(nextUpdate) +
                            (clock_.isPast ? " was before that time; use a response of that time"
                                           : " has passed; check the clock, then ask the responder again"));
    }
    const CDateTime thisUpdate = response_.get_SRThisUpdate(index_);
    if ((nextUpdate == nullptr && thisUpdate < clock_.oldest) ||
        (clock_.oldestOfAll && thisUpdate < *clock_.oldestOfAll)) {
        return rejected(status::kThisUpdateTooOld, "thisUpdate " + text::iso8601(&thisUpdate) +
                                                       " is older than allowed; check the clock, then ask the "
                                                       "responder again");
    }
    return std::nullopt;
}

std::optional<Rejection> Entry::rejectFuture() const {
    const CDateTime latest = clock_.now + clock_.tolerance;
    const CDateTime producedAt = response_.get_ProducedAt();
    const CDateTime thisUpdate = response_.get_SRThisUpdate(index_);
    for (const auto& [name, time] : {std::pair("producedAt ", &producedAt), std::pair("thisUpdate ", &thisUpdate)}) {
        if (*time > latest) {
            return rejected(status::kNotCurrent,
                            name + text::iso8601(time) +
                                (clock_.isPast ? " is after that time; use a response of that time"
                                               : " is in the future; check our clock, then that of the responder"));
        }
    }
    if (thisUpdate > producedAt + clock_.tolerance) {
        return rejected(status::kNotCurrent, "thisUpdate " + text::iso8601(&thisUpdate) + " is later than producedAt " +
                                                 text::iso8601(&producedAt) + "; ask another responder");
    }
    return std::nullopt;
}

// ---- All entries together -------------------------------------------------------------------------------------------

// Entries about the certificate, and those that may be about it.
struct Entries {
    std::vector<Entry> about;
    std::vector<Entry> undecided;
};

std::string keyOf(const CBlob& serial) {
    return {reinterpret_cast<const char*>(serial.pbData()), serial.cbData()};
}

Entries entriesOn(const CResponse& response, const EntryTable& table, const Subject& subject, const RuleClock& clock) {
    Entries entries;
    bool isAnswered = false;
    for (const auto& [i, id] : table.withSerial(subject.id.get_serialNumber())) {
        const Relation relation = relationOf(subject, id);
        if (relation == Relation::kOther) {
            continue;
        }
        const Entry entry(response, i, subject, clock);
        isAnswered = isAnswered || relation == Relation::kExact;
        // Without the issuer: a signer that may answer for both entries is usually the delegate of one CA, so that both
        // are about the same certificate.
        const bool isAbout = relation == Relation::kExact || (subject.issuer == nullptr && !entry.rejectAuthority());
        (isAbout ? entries.about : entries.undecided).push_back(entry);
    }
    return isAnswered ? entries : Entries();
}

// The key may have been in other hands at the time in question (invalidityDate, RFC 5280, section 5.3.2). A date that
// cannot be read may be any.
bool wasInvalidBefore(const CResponse& response, const Entry& entry, const RuleClock& clock) {
    const Orvane::ASN1::CExtensions* const extensions = response.get_SRAdditionalExtensions(entry.index());
    if (extensions == nullptr) {
        return false;
    }
    return std::any_of(extensions->begin(), extensions->end(), [&clock](const Orvane::ASN1::CExtension& extension) {
        if (std::strcmp(extension.get_extnID(), Orvane::ASN1::CExtInvalidityDate().get_oid()) != 0) {
            return false;
        }
        try {
            return Orvane::ASN1::CExtInvalidityDate(extension.get_extnValue()).get_invalidityDate() <= clock.now;
        } catch (const ATL::CAtlException&) {
            return true;
        }
    });
}

// The responder learned later that the certificate had been revoked, but only after the time in question.
bool isRevokedLater(const CResponse& response, const Entry& entry, const RuleClock& clock) {
    const CDateTime* const revoked = response.get_SRRevTime(entry.index());
    if (!clock.isPast || entry.status() != CCertStatus::kRevoked || revoked == nullptr) {
        return false;
    }
    // The responder's clock may be ahead, and then the revocation was earlier than it says.
    const CDateTime latest = clock.present + clock.tolerance;
    const CDateTime thisUpdate = response.get_SRThisUpdate(entry.index());
    const bool isClockWrong = thisUpdate > latest || response.get_ProducedAt() > latest;
    return !isClockWrong && *revoked > clock.now + clock.tolerance && thisUpdate >= *revoked &&
           !wasInvalidBefore(response, entry, clock);
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

EntryTable::EntryTable(const CResponse& response) {
    for (unsigned long i = 0; i < response.get_SRNumber(); ++i) {
        CCertID id = response.get_SRCertID(i);
        std::string key = keyOf(id.get_serialNumber());
        rows_[std::move(key)].emplace_back(i, std::move(id));
    }
}

const std::vector<EntryTable::Row>& EntryTable::withSerial(const CBlob& serial) const {
    static const std::vector<Row> none;
    const auto found = rows_.find(keyOf(serial));
    return found == rows_.end() ? none : found->second;
}

Subject subjectFor(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer) {
    constexpr const char* kSha1 = "1.3.14.3.2.26";
    const Orvane::ASN1::CAlgorithmIdentifierEx algorithm(kSha1);
    return {CCertID(algorithm, encodingOf(certificate), encodingOf(issuer)), certificate, issuer, false};
}

bool isAbout(const Subject& subject, const CCertID& id) {
    return relationOf(subject, id) == Relation::kExact;
}

std::optional<Rejection> rejectTimes(const CResponse& response, unsigned long entry, const Subject& subject,
                                     const RuleClock& clock) {
    const Entry examined(response, entry, subject, clock);
    const std::optional<Rejection> future = examined.rejectFuture();
    return future ? future : examined.rejectAge();
}

std::variant<Finding, Rejection> findingOn(const CResponse& response, const EntryTable& table, const Subject& subject,
                                           const RuleClock& clock) {
    const Entries entries = entriesOn(response, table, subject, clock);
    if (entries.about.empty()) {
        return Rejection{status::kNotAnswered, Rule::kEntry};
    }
    for (const Entry& entry : entries.about) {
        if (!isRevokedLater(response, entry, clock) && isRevoked(entry, entries.about.size() == 1)) {
            return Finding{CCertStatus::kRevoked, entry.index()};
        }
    }
    Finding strictest{CCertStatus::kGood, entries.about.front().index()};
    for (const Entry& entry : entries.about) {
        const bool isLater = isRevokedLater(response, entry, clock);
        if (std::optional<Rejection> rejection = isLater ? entry.rejectAuthority() : rejectEntry(entry)) {
            return *rejection;
        }
        if (isLater) {
            strictest.entry = strictest.status == CCertStatus::kGood ? entry.index() : strictest.entry;
            continue;
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

}  // namespace tallow::rules
