#include "checker/judge.h"

#include <algorithm>
#include <new>

#include "checker/attempt_text.h"
#include "checker/chain_text.h"
#include "checker/input.h"
#include "checker/rules/issuer_rules.h"
#include "checker/rules/response_form.h"
#include "checker/rules/response_proof.h"
#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
#include "checker/text/times.h"
#include "client/policy/policy_binding.h"
#include "client/policy/policy_settings.h"
#include "client/policy/refusal.h"
#include "client/policy/request_policy.h"
#include "client/policy/response_policy.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/support/support_service.h"

namespace tallow {

namespace {

using Orvane::CDateTime;
using Orvane::CDateTimeSpan;
using Orvane::PKI::OCSP::CCertID;
using Orvane::PKI::OCSP::CCertStatus;
using rules::Rejection;
using rules::Rule;

namespace client = Orvane::PKI::OCSP::Client;

CDateTimeSpan spanOf(std::chrono::milliseconds time) {
    constexpr std::uint64_t kTicksPerMs = 10000;
    return CDateTimeSpan::fromTicks(static_cast<std::uint64_t>(std::max<std::int64_t>(0, time.count())) * kTicksPerMs);
}

// `time` before `date`; the first time there is when that is earlier.
CDateTime before(const CDateTime& date, std::chrono::milliseconds time) {
    const CDateTimeSpan span = spanOf(time);
    return span.ticks() < date.ticks() ? date - span : CDateTime::fromTicks(0);
}

// ResponseAccuracy as the administrator set it; nothing when it is absent, off or out of range.
std::optional<std::chrono::milliseconds> accuracyOfPolicy() {
    client::settings::Number setting = client::settings::ResponseAccuracy;
    setting.byDefault.reset();
    const std::optional<long> value = client::readNumber(setting);
    return value && *value > 0 ? std::optional(std::chrono::milliseconds(*value)) : std::nullopt;
}

// The earliest thisUpdate of the policy; says which settings give none.
CDateTime oldestOf(const client::CResponsePolicy& policy, const CDateTime& now) {
    try {
        return client::thisUpdateLimit(policy.ThisUpdateAccuracy, policy.ThisUpdateAccuracyUnits, now);
    } catch (const ATL::CAtlException& failure) {
        throw BadInput(failure.status(), std::to_string(static_cast<long>(policy.ThisUpdateAccuracyUnits)) +
                                             " intervals of \"" +
                                             text::safeLine(text::utf8(policy.ThisUpdateAccuracy.value())) +
                                             "\" are no time that can be computed with; correct " +
                                             client::keyWithPlace(client::settings::ThisUpdateAccuracy.name) +
                                             " (one of s n h d w m y) or " +
                                             client::keyWithPlace(client::settings::ThisUpdateAccuracyUnits.name));
    }
}

Answer answerOf(CCertStatus::Type status) {
    switch (status) {
        case CCertStatus::kGood:
            return Answer::kGood;
        case CCertStatus::kRevoked:
            return Answer::kRevoked;
        default:
            return Answer::kUnknown;
    }
}

bool hasSameKeyAndName(const _CERT_CONTEXT* left, const _CERT_CONTEXT* right) {
    const auto isEqual = [](const BYTE* a, DWORD sizeA, const BYTE* b, DWORD sizeB) {
        return std::equal(a, a + sizeA, b, b + sizeB);
    };
    const CERT_INFO& a = *left->pCertInfo;
    const CERT_INFO& b = *right->pCertInfo;
    const CRYPT_BIT_BLOB& keyA = a.SubjectPublicKeyInfo.PublicKey;
    const CRYPT_BIT_BLOB& keyB = b.SubjectPublicKeyInfo.PublicKey;
    return isEqual(a.Subject.pbData, a.Subject.cbData, b.Subject.pbData, b.Subject.cbData) &&
           isEqual(keyA.pbData, keyA.cbData, keyB.pbData, keyB.cbData);
}

// Whether the identifier in an entry names this certificate as the issuer. Not when its hash is unknown.
bool isIssuerIn(const CCertID& entry, const _CERT_CONTEXT* certificate) {
    try {
        const Orvane::CBlob encoding(certificate->pbCertEncoded, certificate->cbCertEncoded);
        const Orvane::ASN1::CAlgorithmIdentifierEx algorithm(entry.get_hashAlgorithm().get_algorithm());
        const CCertID own(algorithm, encoding, encoding);  // for its two hashes
        return own.get_issuerNameHash() == entry.get_issuerNameHash() &&
               own.get_issuerKeyHash() == entry.get_issuerKeyHash();
    } catch (const ATL::CAtlException&) {
        return false;
    }
}

// Of a signer that passed: it is the issuer, listed, or a delegate. What is not listed is a delegate also when the
// signature that shows it cannot be verified once more.
Authority authorityOf(const _CERT_CONTEXT* signer, const _CERT_CONTEXT* issuer, const CCertID& entry, bool hasPolicy) {
    if (issuer != nullptr ? hasSameKeyAndName(signer, issuer) : isIssuerIn(entry, signer)) {
        return Authority::kIssuer;
    }
    const bool isListed = hasPolicy && client::IsOCSPAuthorized(signer) != 0;
    const bool isDelegate = !isListed || (issuer != nullptr && !rules::rejectIssuer(signer, issuer));
    return isDelegate ? Authority::kDelegate : Authority::kPolicy;
}

// Of a signer whose chain is valid: it answers for another CA.
std::string notAuthorised(const _CERT_CONTEXT* signer, const _CERT_CONTEXT* issuer) {
    const std::string wanted = issuer == nullptr ? "of the certificate" : text::safeLine(text::subjectOf(issuer));
    const std::string given = text::safeLine(text::issuerNameOf(signer));
    const bool isSameName = issuer != nullptr && given == wanted;
    return "the signer is not authorised: " + text::certificateNamed(signer) + " was issued by " +
           (isSameName ? "another CA of the same name, " + given : given) + ", not by the issuer " + wanted +
           (isSameName ? " that issued the certificate" : "") + "; ask the operator of the responder";
}

}  // namespace

Step stepOf(Rule rule) {
    switch (rule) {
        case Rule::kPolicy:
        case Rule::kCertificate:
        case Rule::kIssuer:
        case Rule::kRequest:
            return Step::kInput;
        case Rule::kForm:
        case Rule::kStatus:
            return Step::kDecoding;
        case Rule::kNonce:
            return Step::kNonce;
        case Rule::kFindSigner:
        case Rule::kSignature:
            return Step::kSignature;
        case Rule::kSigner:
            return Step::kSigner;
        case Rule::kEntry:
            return Step::kEntry;
        case Rule::kChain:
            break;
    }
    return Step::kChain;
}

Rejection caughtRejection(Rule rule) {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const BadInput& failure) {
        return {failure.status(), rule, failure.what()};
    } catch (const ATL::CAtlException& failure) {
        // A service that fails without a reason throws 0.
        return {failure.status() != status::kOk ? failure.status() : status::kFail, rule};
    } catch (const std::exception& failure) {
        return {status::kFail, rule, failure.what()};
    } catch (...) {
        return {status::kFail, rule};
    }
}

void reject(Verdict& verdict, const Rejection& rejection) {
    verdict.answer = Answer::kUnproven;
    verdict.status = rejection.code;
    verdict.reached = stepOf(rejection.rule);
    verdict.cause = rules::nameOf(rejection.rule) + (": " + reasonOf(rejection));
}

std::int32_t statusOf(Answer answer) {
    switch (answer) {
        case Answer::kGood:
            return status::kOk;
        case Answer::kRevoked:
            return status::kCertificateRevoked;
        case Answer::kUnknown:
            return status::kCertificateUnknown;
        case Answer::kUnproven:
            break;
    }
    return status::kFail;
}

// Responders that sign in advance return no nonce. Who requires one?
std::string Examination::withoutNonce() const {
    if (!nonce_.isLive) {
        return "the response has no nonce, but the request has one; verify it without the request if it was signed in "
               "advance";
    }
    client::PolicyBinding<client::CRequestPolicy> policy;
    policy.bind();
    return "the response has no nonce, although one is required" +
           (policy->RequireNonce ? ": " + client::keyWithPlace(client::settings::RequireNonce.name) +
                                       " is true; use a responder that returns nonces"
                                 : "; accept it by its dates if the responder signs in advance");
}

std::optional<Rejection> Examination::rejectNonce() {
    reached_ = Step::kNonce;
    if (!nonce_.sent || nonce_.sent->cbData() == 0) {
        freshness_ = Freshness::kNonceNotSent;
        // A nonce that the request does not have belongs to the answer to another one.
        return nonce_.sent && response_.get_HasNonce()
                   ? std::optional(Rejection{status::kNonceMismatch, Rule::kNonce,
                                             "the response has a nonce, although the request has none: it belongs to "
                                             "another request; ask again"})
                   : std::nullopt;
    }
    if (response_.VerifyNonce(nonce_.sent->pbData(), nonce_.sent->cbData())) {
        freshness_ = Freshness::kNonceMatched;
        return std::nullopt;
    }
    if (response_.get_HasNonce()) {
        return Rejection{status::kNonceMismatch, Rule::kNonce,
                         "the response has another nonce than the request, as with a replay; ask again"};
    }
    freshness_ = Freshness::kNonceNotReturned;
    return nonce_.isRequired ? std::optional(Rejection{status::kNonceMismatch, Rule::kNonce, withoutNonce()})
                             : std::nullopt;
}

std::optional<Rejection> Examination::read(const Orvane::CBlob& bytes) {
    reached_ = Step::kDecoding;
    if (std::optional<Rejection> rejection = rejectionOf(Rule::kForm, [&]() -> std::optional<Rejection> {
            response_.Import(bytes.pbData(), bytes.cbData(), nullptr);
            isDecoded_ = response_.get_Status() == 0;
            return rules::rejectForm(bytes);
        })) {
        return rejection;
    }
    if (const std::uint32_t refused = response_.get_Status(); refused != 0) {
        refusal_ = refused;
        return Rejection{status::kNotSuccessful, Rule::kStatus, refusalText(refused)};
    }
    return rejectionOf(Rule::kNonce, [this] { return rejectNonce(); });
}

std::optional<Rejection> Examination::prove(const Orvane::CBlob& bytes) {
    if (std::optional<Rejection> rejection = read(bytes)) {
        return rejection;
    }
    void* stores[] = {call_.store()};
    call_.startChain();
    rules::Proof proof = rules::proveSigner(response_, stores);
    signer_ = proof.signer;
    reached_ = proof.rejection ? stepOf(proof.rejection->rule) : Step::kSigner;
    if (!proof.rejection || proof.rejection->rule == Rule::kSigner) {
        call_.keepSignerChain(linksOf(call_), proof.rejection ? Step::kSigner : Step::kEntry);
    }
    if (proof.rejection) {
        const CDateTime producedAt = response_.get_ProducedAt();
        return proof.rejection->rule == Rule::kSigner ? explainChain(call_, *proof.rejection, &producedAt)
                                                      : std::move(*proof.rejection);
    }
    return rejectionOf(Rule::kEntry, [this]() -> std::optional<Rejection> {
        entries_ = rules::EntryTable(response_);
        return std::nullopt;
    });
}

rules::RuleClock Examination::clock() const {
    client::PolicyBinding<client::CResponsePolicy> policy;
    policy.bind();
    const Options& options = call_.checker().options;
    const CDateTime now = call_.now();
    const std::optional<std::chrono::milliseconds> accuracy = accuracyOfPolicy();
    rules::RuleClock clock{
        .now = now,
        .oldest = oldestOf(*policy, now),
        .tolerance = spanOf(accuracy.value_or(options.clockSkew)),
        .oldestOfAll = std::nullopt,
        .isTooOld = false,
        .isStored = !nonce_.isLive,
        .isPast = call_.isPast(),
        .present = CDateTime::Now(),
    };
    if (options.maxAge) {
        clock.oldestOfAll = before(now, *options.maxAge);
    }
    // The administrator's window of producedAt counts for a fresh response that no nonce ties to the request.
    if (accuracy && nonce_.isLive && freshness_ != Freshness::kNonceMatched) {
        const CDateTime producedAt = response_.get_ProducedAt();
        clock.isTooOld = producedAt < before(now, *accuracy);
    }
    return clock;
}

std::optional<Rejection> Examination::rejectEntries(const client::CRequest& request) const {
    reached_ = Step::kEntry;
    const rules::RuleClock clock = this->clock();
    const rules::EntryTable table(response_);
    bool isAnswered = request.get_SRNumber() == 0;
    for (unsigned long i = 0; i < request.get_SRNumber(); ++i) {
        const rules::Subject subject{request.get_SRCertID(i), nullptr, nullptr,
                                     request.get_SRHistoricalRequest(i) != nullptr};
        isAnswered = isAnswered || !table.withSerial(subject.id.get_serialNumber()).empty();
        const unsigned long entry = response_.get_SRIndexByCertID(subject.id);
        if (entry == client::CResponse::kNoIndex) {
            continue;
        }
        if (std::optional<Rejection> rejection = rules::rejectTimes(response_, entry, subject, clock)) {
            return rejection;
        }
    }
    return isAnswered ? std::nullopt
                      : std::optional(Rejection{status::kNotAnswered, Rule::kEntry,
                                                "the response has no entry about any certificate of the request; check "
                                                "that the address is that of the responder of their issuer"});
}

std::optional<Rejection> Examination::answer(const rules::Subject& subject, Verdict& verdict) const {
    reached_ = Step::kEntry;
    std::variant<rules::Finding, Rejection> found = rules::findingOn(response_, entries_, subject, clock());
    if (auto* rejection = std::get_if<Rejection>(&found)) {
        if (rejection->code == status::kWrongUsage && rejection->text.empty()) {
            rejection->text = notAuthorised(signer_, subject.issuer);
        }
        return std::move(*rejection);
    }
    const rules::Finding& finding = std::get<rules::Finding>(found);
    if (call_.isPast() && finding.status != CCertStatus::kRevoked &&
        call_.now() > CDateTime::Now() + clock().tolerance) {
        return Rejection{status::kNotCurrent, Rule::kEntry, "the time asked about is in the future; ask again then"};
    }
    const auto optionalTime = [](const CDateTime* date) {
        return date == nullptr ? std::nullopt : std::optional(text::timeOf(*date));
    };
    const CDateTime producedAt = response_.get_ProducedAt();
    const CDateTime thisUpdate = response_.get_SRThisUpdate(finding.entry);
    verdict.producedAt = text::timeOf(producedAt);
    verdict.thisUpdate = text::timeOf(thisUpdate);
    verdict.nextUpdate = optionalTime(response_.get_SRNextUpdate(finding.entry));
    verdict.revokedAt = optionalTime(response_.get_SRRevTime(finding.entry));
    const Orvane::ASN1::CrlReason* const reason = response_.get_SRRevReason(finding.entry);
    verdict.reason = reason == nullptr ? std::nullopt : std::optional(static_cast<Reason>(*reason));
    verdict.freshness = freshness_;
    verdict.signer = text::subjectOf(signer_);
    verdict.signerCertificate = Bytes(signer_->pbCertEncoded, signer_->pbCertEncoded + signer_->cbCertEncoded);
    verdict.authority =
        authorityOf(signer_, subject.issuer, response_.get_SRCertID(finding.entry), call_.checker().hasPolicy);
    verdict.answer = answerOf(finding.status);
    verdict.status = statusOf(verdict.answer);
    verdict.reached = Step::kProven;
    verdict.cause.clear();
    return std::nullopt;
}

}  // namespace tallow
