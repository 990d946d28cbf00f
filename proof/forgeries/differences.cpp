#include "proof/forgeries/differences.h"

#include <algorithm>
#include <optional>

namespace proof {

namespace {

// What OpenSSL does not check, by the model's violation, in the order in which a difference is named.
struct Ignored {
    Violation violation;
    const char* rule;
};
constexpr Ignored kIgnoredByOpenSsl[] = {
    {Violation::kRevocation, "OpenSSL looks at no CRL of the signer's chain unless it is told to"},
    {Violation::kDatesWhenProduced, "OpenSSL does not compare producedAt with the validity of certificates"},
    {Violation::kSignerKeyUsage, "OpenSSL does not look at keyUsage of a signer"},
    {Violation::kWeakHash, "OpenSSL accepts signatures made with SHA-1"},
    {Violation::kCriticalExtension, "OpenSSL leaves critical extensions of a response to the caller"},
    {Violation::kForm, "OpenSSL ignores the version of a response and octets after it"},
    {Violation::kIssuerOfLeaf, "OpenSSL does not ask whether the issuer signed the certificate"},
};
constexpr const char* kOneSigner = "OpenSSL tries only the first certificate with the responder's name";
constexpr const char* kForeignEntry = "OpenSSL refuses entries about other issuers or with unknown hashes";
constexpr const char* kFirstEntry = "OpenSSL judges by the first entry with the same hash, and by its two dates";
constexpr const char* kNonceOnOneSide = "OpenSSL accepts a nonce that only the request or the response has";

bool isIgnored(const Description& d, Violation violation) {
    if (violation == Violation::kNonce) {
        return !d.requestHasNonce || d.nonce == Nonce::kAbsent;
    }
    return violation == Violation::kEntry || violation == Violation::kImpossibleDates ||
           std::any_of(std::begin(kIgnoredByOpenSsl), std::end(kIgnoredByOpenSsl),
                       [violation](const Ignored& row) { return row.violation == violation; });
}

// The signers that a caller supplies come before those in the response.
bool meetsImpostor(const Description& d) {
    // With depth 0 the root is the issuer and signs; with depth 1 the CA above is the root, which is only trusted.
    const bool isSupplied = d.signer == SignerKind::kIssuer || (d.signer == SignerKind::kAbove && d.depth != 1);
    return d.carried == Carried::kImpostorFirst && d.idKind == IdKind::kName && !isSupplied;
}

// OpenSSL looks for one issuer that all entries name, with hashes that it knows.
bool hasForeignEntry(const Description& d) {
    return std::any_of(d.entries.begin(), d.entries.end(), [](const Entry& entry) {
        return entry.about == Subject::kOtherName || entry.about == Subject::kOtherKey || entry.hash == Hash::kUnknown;
    });
}

}  // namespace

Expectation expectedOfOpenSsl(const Description& d, const Judgement& judgement) {
    const bool isRefused = std::any_of(judgement.violations.begin(), judgement.violations.end(),
                                       [&d](Violation violation) { return !isIgnored(d, violation); });
    Expectation expectation;
    if (!isRefused && !meetsImpostor(d) && !hasForeignEntry(d)) {
        expectation.answer = firstEntry(d);
    }
    if (expectation.answer == judgement.answer) {
        return expectation;
    }
    if (meetsImpostor(d)) {
        expectation.rule = kOneSigner;
        return expectation;
    }
    if (hasForeignEntry(d)) {
        expectation.rule = kForeignEntry;
        return expectation;
    }
    for (const Ignored& row : kIgnoredByOpenSsl) {
        if (judgement.violations.count(row.violation) != 0) {
            expectation.rule = row.rule;
            return expectation;
        }
    }
    expectation.rule = judgement.violations.count(Violation::kNonce) != 0 ? kNonceOnOneSide : kFirstEntry;
    return expectation;
}

bool expectedOfGnuTls(const Description& d, const Judgement& judgement) {
    // It takes the first certificate in the response that the responder id names, before the trusted ones.
    if (d.carried == Carried::kImpostorFirst && d.idKind == IdKind::kName) {
        return false;
    }
    // It reads nothing that octets follow, and finds a signer that only the caller has by its name, not by its key.
    if (d.hasTrailing || (d.carried == Carried::kNone && d.idKind == IdKind::kKey)) {
        return false;
    }
    for (const Violation violation :
         {Violation::kResponseStatus, Violation::kSignerNotFound, Violation::kSignature, Violation::kAuthority}) {
        if (judgement.violations.count(violation) != 0) {
            return false;
        }
    }
    if (d.signer == SignerKind::kIssuer) {
        return true;
    }
    // It validates the delegate's certificate with the issuer as the anchor, which it examines too; but an anchor that
    // signed itself need not say that it is a CA.
    const auto isNow = [](Dates dates) { return dates != Dates::kExpired && dates != Dates::kNotYetValid; };
    const Authority& issuer = issuerOf(d);
    return !d.delegate.isForged && !d.delegate.hasUnknownCritical && isNow(d.delegate.dates) &&
           (issuer.isCa || d.depth == 0) && !issuer.hasUnknownCritical && issuer.maySignCertificates &&
           isNow(issuer.dates);
}

}  // namespace proof
