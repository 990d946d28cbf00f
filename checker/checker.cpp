#include "checker/checker.h"

#include <algorithm>
#include <new>

#include "checker/asking.h"
#include "checker/call.h"
#include "checker/chain_text.h"
#include "checker/input.h"
#include "checker/judge.h"
#include "checker/policy_reason.h"
#include "checker/question_impl.h"
#include "checker/rules/chain_rules.h"
#include "checker/rules/issuer_rules.h"
#include "checker/subject.h"
#include "checker/text/algorithm_text.h"
#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
#include "checker/text/status_text.h"
#include "checker/text/times.h"
#include "checker/trust_impl.h"
#include "handles/exception.h"
#include "handles/lasting_default.h"
#include "handles/status.h"

namespace tallow {

namespace {

using rules::Rejection;
using rules::Rule;

// What a check throws becomes the verdict. `run` is passed the rule that a failure belongs to, and changes it.
template <typename Run>
void fill(Verdict& verdict, Run run) {
    Rule rule = Rule::kPolicy;
    try {
        run(rule);
    } catch (...) {
        reject(verdict, caughtRejection(rule));
    }
    if (verdict.answer == Answer::kUnproven) {
        nameBrokenSettings(verdict.cause);
    }
}

// Evidence belongs to every verdict, also to one that fails.
class EvidenceFor {
public:
    EvidenceFor(Call& call, Verdict& verdict) : call_(call), verdict_(verdict) {}
    ~EvidenceFor() { verdict_.evidence = call_.takeEvidence(); }
    EvidenceFor(const EvidenceFor&) = delete;
    EvidenceFor& operator=(const EvidenceFor&) = delete;

private:
    Call& call_;
    Verdict& verdict_;
};

CertificateToCheck readTarget(Call& call, Input certificate, Input issuer, Verdict& verdict, Rule& rule) {
    rule = Rule::kCertificate;
    CertificateToCheck target = readCertificate(call, certificate, verdict);
    rule = Rule::kIssuer;
    findIssuer(call, target, issuer);
    return target;
}

}  // namespace

void verifyChain(Call& call, const CertificateToCheck& target, Verdict& verdict) {
    if (!call.checker().options.verifyChain || verdict.answer == Answer::kUnproven) {
        return;
    }
    call.startChain();
    std::optional<Rejection> rejection = rejectionOf(Rule::kChain, [&]() -> std::optional<Rejection> {
        if (target.id) {
            return Rejection{status::kInvalidArgument, Rule::kChain,
                             "the chain cannot be validated, since only the identifier of the certificate is known; "
                             "pass the certificate"};
        }
        return rules::rejectChain(target.certificate.get(), call.store(), call.now());
    });
    call.evidence().certificateChain = linksOf(call);
    verdict.isChainValid = !rejection;
    if (!rejection) {
        return;
    }
    rejection = explainChain(call, *rejection, nullptr);
    if (verdict.answer == Answer::kRevoked) {
        verdict.cause = rules::nameOf(rejection->rule) + (": " + reasonOf(*rejection));
        return;
    }
    verdict.unverified = std::move(verdict.response);
    verdict.response.clear();
    reject(verdict, *rejection);
}

void limitTo(Verdict& verdict, Time when) {
    if (verdict.answer == Answer::kUnproven) {
        const std::string time = text::iso8601(when);
        const bool isNamed = verdict.cause.find(time) != std::string::npos;
        verdict.cause += " (not proven at that time" + (isNamed ? ")" : ", " + time + ")");
    }
}

namespace {

// Examines an answer that the caller passed.
void examine(Call& call, const CertificateToCheck& target, const NonceRule& nonce, Input answer, Verdict& verdict) {
    Examination examination(call, nonce);
    std::optional<Rejection> rejection = examination.prove(blobOf(answer));
    if (!rejection) {
        rejection = rejectionOf(Rule::kEntry, [&] { return examination.answer(target.subject(), verdict); });
    }
    if (rejection) {
        reject(verdict, *rejection);
        verdict.unverified = Bytes(answer.bytes.begin(), answer.bytes.end());
        return;
    }
    verdict.response = Bytes(answer.bytes.begin(), answer.bytes.end());
    verifyChain(call, target, verdict);
}

void requireUsable(const Options& options) {
    if (options.timeout && options.timeout->count() <= 0) {
        throw BadInput(status::kInvalidArgument, "the timeout is 0 or less; use a positive one");
    }
    if (options.proxyUser.find(':') != std::string::npos) {
        throw BadInput(status::kInvalidArgument, "the name at the proxy contains a colon, which no login may have");
    }
    if (options.clockSkew.count() < 0 || (options.maxAge && options.maxAge->count() <= 0)) {
        throw BadInput(status::kInvalidArgument, "clockSkew is negative, or maxAge is 0 or less; use positive times");
    }
    constexpr std::chrono::hours kLongest{24 * 366 * 100};
    if (options.clockSkew > kLongest || (options.maxAge && *options.maxAge > kLongest)) {
        throw BadInput(status::kInvalidArgument, "clockSkew or maxAge is more than 100 years; use shorter times");
    }
    if (!options.hashOid.empty()) {
        std::string oid = options.hashOid;
        if (CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid.data(), CRYPT_HASH_ALG_OID_GROUP_ID) == nullptr) {
            throw BadInput(status::kBadAlgorithm, "hashOid " + text::safeLine(options.hashOid) +
                                                      " names no hash that is known here; use 2.16.840.1.101.3.4.2.1 "
                                                      "(SHA-256) or leave it empty");
        }
        if (const std::string missing = text::missingEngine(oid); !missing.empty()) {
            throw BadInput(status::kBadAlgorithm, missing);
        }
    }
}

// What setting up a question throws, in the terms of the facade.
template <typename Run>
auto orBadInput(Run run) {
    try {
        return run();
    } catch (const ATL::CAtlException& failure) {
        throw BadInput(failure.status(), text::statusText(failure.status()));
    }
}

const LastingDefault<Bytes> kNoRequest;
const LastingDefault<std::vector<std::string>> kNoResponders;

}  // namespace

Question::Question(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Question::Question(Question&&) noexcept = default;
Question& Question::operator=(Question&&) noexcept = default;
Question::~Question() = default;

// A question that was moved from asks nothing.
const Bytes& Question::request() const noexcept {
    return impl_ ? impl_->request : kNoRequest.value;
}

const std::vector<std::string>& Question::responders() const noexcept {
    return impl_ ? impl_->responders : kNoResponders.value;
}

Checker::Checker(const Trust& trust, Options options) {
    requireUsable(options);
    orBadInput([&] {
        auto impl = std::make_shared<CheckerData>();
        impl->isSystem = trust.impl_->isSystem;
        impl->hasPolicy = options.policy.value_or(impl->isSystem);
        impl->options = std::move(options);
        impl->roots = memoryStore();
        impl->others = memoryStore();
        for (const ATL2::CCertContext& root : trust.impl_->roots) {
            add(impl->roots, root);
            add(impl->others, root);
        }
        for (const ATL2::CCertContext& certificate : trust.impl_->certificates) {
            add(impl->others, certificate);
        }
        for (const Bytes& crl : trust.impl_->crls) {
            if (!CertAddEncodedCRLToStore(impl->others.get(), X509_ASN_ENCODING, crl.data(),
                                          static_cast<DWORD>(crl.size()), CERT_STORE_ADD_ALWAYS, nullptr)) {
                throw BadInput(status::kAsn1Error, "a CRL is malformed; pass CRLs in DER or PEM");
            }
        }
        data_ = std::move(impl);
    });
}

namespace {

std::string hashOidOf(const Orvane::PKI::OCSP::Client::CRequest& request) {
    return request.get_SRCertID(0).get_hashAlgorithm().get_algorithm();
}

// Roots name no responder, and a missing address is not the reason why there is none.
void explainRoot(const CertificateToCheck& target, Verdict& verdict) {
    if (verdict.status == status::kNoResponder && !target.id &&
        !rules::rejectIssuer(target.certificate.get(), target.certificate.get())) {
        verdict.cause = "choosing a responder: root certificates have no OCSP responder: " +
                        text::certificateNamed(target.certificate.get()) +
                        " is self-signed; check the certificates that it issued";
    }
}

// `read` is passed the call, the verdict and the rule that a failure belongs to, and returns what to check.
template <typename Read>
Verdict checkWhat(const CheckerData& checker, std::optional<Nonce> nonce, Read read) {
    Verdict verdict;
    fill(verdict, [&](Rule& rule) {
        Call call(checker, {});
        const EvidenceFor evidence(call, verdict);
        const CertificateToCheck target = read(call, verdict, rule);
        rule = Rule::kRequest;
        Asking(call, target, nonce.value_or(nonceOf(call)), verdict).run();
        call.evidence().hashOid = hashOidOf(call.request());
        explainRoot(target, verdict);
        verifyChain(call, target, verdict);
    });
    return verdict;
}

}  // namespace

Verdict checkCertificate(const CheckerData& checker, Input certificate, Input issuer, std::optional<Nonce> nonce) {
    return checkWhat(checker, nonce, [&](Call& call, Verdict& verdict, Rule& rule) {
        return readTarget(call, certificate, issuer, verdict, rule);
    });
}

Verdict Checker::checkIdentifier(const ReceivedRequest::Asked& identifier, Input issuer) const {
    return checkWhat(*data_, std::nullopt, [&](Call& call, Verdict& verdict, Rule& rule) {
        rule = Rule::kIssuer;
        return readIdentifier(call, identifier, issuer, verdict);
    });
}

Verdict Checker::check(Input certificate, Input issuer) const {
    return checkCertificate(*data_, certificate, issuer, std::nullopt);
}

Verdict Checker::fetchStaple(Input certificate, Input issuer) const {
    return checkCertificate(*data_, certificate, issuer, Nonce::kOff);
}

std::vector<Verdict> Checker::check(std::span<const Input> certificates, Input issuer) const {
    std::vector<Verdict> verdicts;
    verdicts.reserve(certificates.size());
    for (const Input& certificate : certificates) {
        verdicts.push_back(check(certificate, issuer));
    }
    return verdicts;
}

Question Checker::ask(Input certificate, Input issuer) const {
    return orBadInput([&] {
        auto question = std::make_unique<Question::Impl>();
        Call call(*data_, {});
        Verdict named;
        question->target = readCertificate(call, certificate, named);
        findIssuer(call, question->target, issuer);
        const Nonce nonce = nonceOf(call);
        fillRequest(call, question->target, nonce);
        using Orvane::PKI::OCSP::Client::ResponderExchange;
        ResponderExchange exchange = namingPolicy(call.request(), [&] { return ResponderExchange(call.request()); });
        question->request = bytesOf(exchange.encoded());
        question->hashOid = hashOidOf(call.request());
        question->nonce = {nonce == Nonce::kOff ? Orvane::CBlob() : ResponderExchange::nonceOf(call.request()),
                           nonce == Nonce::kRequire, true};
        question->responders = data_->options.responders;
        if (question->responders.empty()) {
            std::vector<ResponderExchange::Candidate> skipped;
            for (const auto& candidate : exchange.candidates(skipped)) {
                question->responders.push_back(text::utf8(candidate.address));
            }
        }
        return Question(std::move(question));
    });
}

Verdict Checker::judge(const Question& question, Input answer) const {
    Verdict verdict;
    if (!question.impl_) {
        reject(verdict, {status::kInvalidArgument, Rule::kRequest, "the question was moved from; use the new object"});
        return verdict;
    }
    name(verdict, question.impl_->target.certificate.get());
    verdict.request = question.impl_->request;
    fill(verdict, [&](Rule& rule) {
        Call call(*data_, {});
        const EvidenceFor evidence(call, verdict);
        rule = Rule::kForm;
        noteIssuer(call, question.impl_->target);
        call.evidence().hashOid = question.impl_->hashOid;
        call.add(question.impl_->target.issuer);
        for (const ATL2::CCertContext& above : question.impl_->target.above) {
            call.add(above);
        }
        examine(call, question.impl_->target, question.impl_->nonce, answer, verdict);
    });
    return verdict;
}

Verdict Checker::provedAt(Time when, Input certificate, Input issuer, Input answer) const {
    Verdict verdict;
    fill(verdict, [&](Rule& rule) {
        Call call(*data_, {.at = when, .isOffline = true});
        const EvidenceFor evidence(call, verdict);
        const CertificateToCheck target = readTarget(call, certificate, issuer, verdict, rule);
        rule = Rule::kForm;
        examine(call, target, {}, answer, verdict);
    });
    limitTo(verdict, when);
    return verdict;
}

Bytes Checker::issuerOf(Input certificate, Input issuer) const {
    return orBadInput([&]() -> Bytes {
        Call call(*data_, {});
        Verdict named;
        CertificateToCheck target = readCertificate(call, certificate, named);
        try {
            findIssuer(call, target, issuer);
            return encodingOf(target.issuer);
        } catch (const BadInput& failure) {
            if (failure.status() == status::kNoSigner && issuer.bytes.empty()) {
                return {};
            }
            throw;
        }
    });
}

}  // namespace tallow
