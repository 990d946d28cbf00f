#include "checker/rules/entry_rules.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "asn1/extensions/typed_extensions.h"
#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
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
    // A date beside the clock: "2026-11-25T14:00:00Z is 3 days 4 h ahead of our clock 2026-11-22T10:00:00Z".
    std::string compared(const CDateTime& date) const;
    const char* remedyForAge() const {
        return clock_.isStored ? "; ask the responder again" : "; ask its operator for a current one";
    }
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

std::string Entry::compared(const CDateTime& date) const {
    return text::iso8601(&date) + " is " + text::between(date, clock_.now) +
           (date < clock_.now ? " before "
            : clock_.isPast   ? " after "
                              : " ahead of ") +
           (clock_.isPast ? "the time asked about, " : "our clock ") + text::iso8601(&clock_.now);
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
    const CDateTime thisUpdate = response_.get_SRThisUpdate(index_);
    if (thisUpdate < notAfter) {
        return std::nullopt;
    }
    return rejected(status::kCertExpired, text::certificateNamed(subject_.certificate) + " expired on " +
                                              text::iso8601(&notAfter) + ", " + text::between(notAfter, thisUpdate) +
                                              " before thisUpdate " + text::iso8601(&thisUpdate) + "; have it renewed");
}

std::optional<Rejection> Entry::rejectAge() const {
    if (clock_.isTooOld) {
        const std::string limit =
            text::between(CDateTime::fromTicks(0), CDateTime::fromTicks(clock_.tolerance.ticks()));
        return rejected(status::kNotCurrent,
                        "producedAt " + compared(response_.get_ProducedAt()) + ", more than the " + limit +
                            " that the setting ResponseAccuracy allows without a nonce; use a responder that returns "
                            "nonces");
    }
    if (answersHistory()) {
        return std::nullopt;
    }
    const CDateTime* nextUpdate = response_.get_SRNextUpdate(index_);
    if (nextUpdate != nullptr && *nextUpdate <= clock_.now) {
        return rejected(status::kNotCurrent, (clock_.isPast ? "" : "the response expired: ") +
                                                 ("nextUpdate " + compared(*nextUpdate)) +
                                                 (clock_.isPast ? "; use a response of that time" : remedyForAge()));
    }
    const CDateTime thisUpdate = response_.get_SRThisUpdate(index_);
    const bool isOlderThanAll = clock_.oldestOfAll && thisUpdate < *clock_.oldestOfAll;
    if (isOlderThanAll || (nextUpdate == nullptr && thisUpdate < clock_.oldest)) {
        const CDateTime& oldest = isOlderThanAll ? *clock_.oldestOfAll : clock_.oldest;
        return rejected(status::kThisUpdateTooOld,
                        "thisUpdate " + compared(thisUpdate) + ", more than the " + text::between(oldest, clock_.now) +
                            (isOlderThanAll ? " that it may be old; allow a greater age"
                                            : " that are accepted without nextUpdate (setting ThisUpdateAccuracy)" +
                                                  std::string(remedyForAge())));
    }
    return std::nullopt;
}

std::optional<Rejection> Entry::rejectFuture() const {
    const CDateTime latest = clock_.now + clock_.tolerance;
    const CDateTime producedAt = response_.get_ProducedAt();
    const CDateTime thisUpdate = response_.get_SRThisUpdate(index_);
    for (const auto& [name, time] : {std::pair("producedAt ", &producedAt), std::pair("thisUpdate ", &thisUpdate)}) {
        if (*time > latest) {
            return rejected(
                status::kNotCurrent,
                name + compared(*time) + (clock_.isPast ? "; use a response of that time" : "; check our clock"));
        }
    }
    if (thisUpdate > producedAt + clock_.tolerance) {
        return rejected(status::kNotCurrent, "thisUpdate " + text::iso8601(&thisUpdate) + " is " +
                                                 text::between(thisUpdate, producedAt) + " later than producedAt " +
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

std::string hexOf(const CBlob& serial) {
    return serial.writeToHexString(0).c_str();
}

Rejection notAnswered(const CResponse& response, const Subject& subject, bool isStored) {
    const unsigned long count = response.get_SRNumber();
    std::string found = count == 0 ? "it has none" : "it has " + std::to_string(count);
    if (count != 0) {
        found += count == 1 ? ", about serial number " : ", the first about serial number ";
        found += hexOf(response.get_SRCertID(0).get_serialNumber());
        // Its hashes differ then.
        found +=
            response.get_SRCertID(0).get_serialNumber() == subject.id.get_serialNumber() ? " of another issuer" : "";
    }
    return {status::kNotAnswered, Rule::kEntry,
            "the response has no entry about serial number " + hexOf(subject.id.get_serialNumber()) +
                (subject.issuer == nullptr ? std::string()
                                           : " of the issuer " + text::safeLine(text::subjectOf(subject.issuer))) +
                " (" + found + "); " +
                (isStored ? "use the response about this certificate" : "ask another responder")};
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
    const auto found = rows_.find(keyOf(serial));
    return found == rows_.end() ? none_ : found->second;
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
        return notAnswered(response, subject, clock.isStored);
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
