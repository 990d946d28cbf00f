#include "proof/environment/paths.h"

#include <cstdlib>
#include <memory>

#include "checker/checker.h"
#include "checker/checker_c.h"
#include "client/flat/ocsp_client.h"
#include "client/flat/verifying_response_handler.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "platform/support/support_service.h"

namespace proof {

namespace {

using namespace Orvane::PKI::OCSP::Client;

// Longer than an exchange takes on a busy machine, and shorter than the time for a case.
constexpr std::chrono::seconds kLimit{20};

PathResult resultOf(const tallow::Verdict& verdict) {
    switch (verdict.answer) {
        case tallow::Answer::kGood:
            return {Answer::kGood, ""};
        case tallow::Answer::kRevoked:
            return {Answer::kRevoked, ""};
        case tallow::Answer::kUnknown:
            return {Answer::kUnknown, ""};
        case tallow::Answer::kUnproven:
            break;
    }
    return {Answer::kNone, verdict.why()};
}

tallow::Trust trustOf(const Scene& scene, bool hasCrls = true) {
    tallow::Trust trust;
    trust.addRoots(scene.root.certificate);
    if (hasCrls) {
        trust.addCrls(scene.rootCrl).addCrls(scene.caCrl);
    }
    return trust;
}

tallow::Options optionsOf(const Scene& scene) {
    return {.timeout = kLimit, .responders = {scene.responderUrl()}, .downloads = false};
}

PathResult checked(const Scene& scene, const Identity& subject) {
    const tallow::Checker checker(trustOf(scene), optionsOf(scene));
    return resultOf(checker.check(subject.certificate, scene.ca.certificate));
}

// Good when all are as they should be.
PathResult checkedSeveral(const Scene& scene) {
    const tallow::Checker checker(trustOf(scene), optionsOf(scene));
    const std::pair<const Identity*, Answer> expected[] = {{&scene.good, Answer::kGood},
                                                           {&scene.revoked, Answer::kRevoked}};
    const std::vector<tallow::Verdict> verdicts =
        checker.check(std::vector<tallow::Input>{scene.good.certificate, scene.revoked.certificate},
                      tallow::Input(scene.ca.certificate));
    PathResult all{Answer::kGood, ""};
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const PathResult one = resultOf(verdicts.at(i));
        if (one.answer != expected[i].second) {
            all = {one.answer == Answer::kNone ? Answer::kNone : Answer::kUnknown, one.text};
        }
    }
    return all;
}

PathResult stapled(const Scene& scene) {
    const tallow::Checker checker(trustOf(scene), optionsOf(scene));
    return resultOf(checker.fetchStaple(scene.good.certificate, scene.ca.certificate));
}

PathResult askedAndJudged(const Scene& scene) {
    const tallow::Checker checker(trustOf(scene), optionsOf(scene));
    const tallow::Question question = checker.ask(scene.good.certificate, scene.ca.certificate);
    return resultOf(checker.judge(question, scene.goodResponse));
}

PathResult foundIssuer(const Scene& scene) {
    const tallow::Checker checker(trustOf(scene).addCertificates(scene.ca.certificate), optionsOf(scene));
    const Bytes found = checker.issuerOf(scene.good.certificate);
    return found.empty()                   ? PathResult{Answer::kNone, "no issuer"}
           : found == scene.ca.certificate ? PathResult{Answer::kDone, ""}
                                           : PathResult{Answer::kUnknown, "another certificate"};
}

// Issuer and CRLs come from the addresses in the certificates, and go through the cache.
PathResult checkedOnline(const Scene& scene, const Machine& machine) {
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return {Answer::kNone, "settings"};
    }
    const tallow::Checker checker(trustOf(scene, false), {.timeout = kLimit, .useCache = true});
    return resultOf(checker.check(scene.online.certificate));
}

// Trust and policy are those of the machine.
PathResult checkedBySystem(const Scene& scene, const Machine& machine) {
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return {Answer::kNone, "settings"};
    }
    const tallow::Checker checker(tallow::Trust::system(), optionsOf(scene));
    return resultOf(checker.check(scene.good.certificate, scene.ca.certificate));
}

PathResult verified(const Scene& scene, const Identity& subject, const Bytes& response) {
    const tallow::Checker checker(trustOf(scene), optionsOf(scene));
    return resultOf(
        checker.verify(response, {.certificate = subject.certificate, .issuer = scene.ca.certificate}).front());
}

PathResult provedBefore(const Scene& scene) {
    const tallow::Checker checker(trustOf(scene), optionsOf(scene));
    const auto when = std::chrono::time_point_cast<tallow::Time::duration>(std::chrono::system_clock::now());
    return resultOf(checker.provedAt(when - std::chrono::seconds(10), scene.good.certificate, scene.ca.certificate,
                                     scene.goodResponse));
}

PathResult received(const Scene& scene) {
    const tallow::ReceivedRequest request =
        tallow::Checker(trustOf(scene).addCertificates(scene.ca.certificate), optionsOf(scene))
            .receive(scene.signedRequest);
    return {request.signer == tallow::ReceivedRequest::Signer::kProven ? Answer::kGood : Answer::kNone, request.cause};
}

PathResult sent(const Scene& scene) {
    const tallow::Sent answer =
        tallow::Checker(trustOf(scene), optionsOf(scene)).send(scene.goodRequest, scene.responderUrl());
    return {answer.status == 0 ? Answer::kDone : Answer::kNone, answer.cause};
}

template <typename Object>
using Owner = std::unique_ptr<Object, void (*)(Object*)>;

Owner<tallow_checker> checkerInC(const Scene& scene) {
    Owner<tallow_checker> checker(tallow_checker_new(), tallow_checker_free);
    tallow_checker* const raw = checker.get();
    tallow_checker_add_roots(raw, scene.root.certificate.data(), scene.root.certificate.size());
    for (const Bytes* const crl : {&scene.rootCrl, &scene.caCrl}) {
        tallow_checker_add_crls(raw, crl->data(), crl->size());
    }
    tallow_checker_add_responder(raw, scene.responderUrl().c_str());
    tallow_checker_set_downloads(raw, false);
    tallow_checker_set_timeout_ms(raw, kLimit.count() * 1000);
    return checker;
}

PathResult checkedInC(const Scene& scene) {
    const Owner<tallow_checker> checker = checkerInC(scene);
    const Bytes& subject = scene.good.certificate;
    const Bytes& issuer = scene.ca.certificate;
    const Owner<tallow_verdict> verdict(
        tallow_check(checker.get(), subject.data(), subject.size(), issuer.data(), issuer.size()), tallow_verdict_free);
    return {tallow_verdict_is_good(verdict.get()) ? Answer::kGood : Answer::kNone, tallow_verdict_why(verdict.get())};
}

PathResult verifiedEntriesInC(const Scene& scene) {
    const Owner<tallow_checker> checker = checkerInC(scene);
    const Bytes& issuer = scene.ca.certificate;
    const Owner<tallow_verdict_list> list(
        tallow_verify_entries(checker.get(), issuer.data(), issuer.size(), scene.revokedResponse.data(),
                              scene.revokedResponse.size()),
        tallow_verdict_list_free);
    const tallow_verdict* const first = tallow_verdict_list_at(list.get(), 0);
    const bool isRevoked = tallow_verdict_answer(first) == TALLOW_REVOKED;
    return {tallow_verdict_is_good(first) ? Answer::kGood
            : isRevoked                   ? Answer::kRevoked
                                          : Answer::kNone,
            tallow_verdict_why(first)};
}

using Context = std::unique_ptr<const _CERT_CONTEXT, void (*)(const _CERT_CONTEXT*)>;

Context contextOf(const Bytes& der) {
    return {CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())),
            [](const _CERT_CONTEXT* context) { CertFreeCertificateContext(context); }};
}

// The classes: a request, its exchange and the verdict about the response.
PathResult askedByClasses(const Scene& scene, const Machine& machine, const Identity& subject, unsigned int flags) {
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return {Answer::kNone, "settings"};
    }
    const Context certificate = contextOf(subject.certificate);
    const Context issuer = contextOf(scene.ca.certificate);
    if (!certificate || !issuer) {
        return {Answer::kNone, "certificate"};
    }
    CRequest request(certificate.get(), issuer.get());
    request.put_Flags(flags);
    request.put_UseNonce(flags == 0);
    const CResponse& response = request.Send(true);
    if (!request.get_Proven()) {
        return {Answer::kNone, "refused"};
    }
    using Orvane::PKI::OCSP::CCertStatus;
    switch (response.get_SRStatus(0)) {
        case CCertStatus::kGood:
            return {Answer::kGood, ""};
        case CCertStatus::kRevoked:
            return {Answer::kRevoked, ""};
        default:
            return {Answer::kUnknown, ""};
    }
}

PathResult signedByClasses(const Scene& scene, const Machine& machine) {
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return {Answer::kNone, "settings"};
    }
    const Context certificate = contextOf(scene.good.certificate);
    const Context issuer = contextOf(scene.ca.certificate);
    const Context signer = contextOf(scene.requestor.certificate);
    if (!certificate || !issuer || !signer ||
        crypto_set_key_uri(signer.get(), scene.files().file("requestor.key").c_str()) == 0) {
        return {Answer::kNone, "certificates"};
    }
    CRequest request(certificate.get(), issuer.get());
    request.Sign(signer.get(), CRequest::CertsChainNoRoot, L"");
    unsigned long size = 0;
    request.Export(nullptr, &size);
    Bytes exported(size);
    request.Export(exported.data(), &size);
    return {exported.size() > 500 ? Answer::kDone : Answer::kNone, ""};
}

PathResult verifiedRequestByClasses(const Scene& scene, const Machine& machine) {
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return {Answer::kNone, "settings"};
    }
    CRequest request;
    request.Import(scene.signedRequest.data(), scene.signedRequest.size());
    const _CERT_CONTEXT* const signer = request.FindSigner(nullptr, 0);
    if (signer == nullptr || request.Verify(signer, nullptr, true) != 0) {
        return {Answer::kNone, "signature"};
    }
    return {request.VerifyCertificate(signer, nullptr, 0) == 0 ? Answer::kGood : Answer::kNone, "certificate"};
}

// What the plain functions hand out.
struct Output {
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() { std::free(data); }
    unsigned char* data = nullptr;
    unsigned long size = 0;
};

PathResult sentByFunction(const Scene& scene, const Machine& machine) {
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return {Answer::kNone, "settings"};
    }
    Output response;
    const std::int32_t status =
        ocspSendRequest(scene.goodRequest.data(), scene.goodRequest.size(), &response.data, &response.size);
    if (status == 0 && response.size == 0) {
        return {Answer::kUnknown, "success without a response"};
    }
    return {status == 0 ? Answer::kDone : Answer::kNone, std::to_string(status)};
}

PathResult verifiedByFunction(const Machine& machine, const Identity& subject, const Bytes& response) {
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return {Answer::kNone, "settings"};
    }
    const Context certificate = contextOf(subject.certificate);
    const std::int32_t status = ocspVerifyResponse(certificate.get(), response.data(), response.size(), nullptr, 0);
    return {status == 0 ? Answer::kGood : Answer::kNone, std::to_string(status)};
}

}  // namespace

std::vector<Path> makePaths(const Scene& s) {
    using M = const Machine&;
    return {
        {"Checker::check, good", [&s](M) { return checked(s, s.good); }},
        {"Checker::check, revoked", [&s](M) { return checked(s, s.revoked); }, Answer::kRevoked},
        {"Checker::check, unknown", [&s](M) { return checked(s, s.unknown); }, Answer::kUnknown},
        {"Checker::check, several", [&s](M) { return checkedSeveral(s); }},
        {"Checker::fetchStaple", [&s](M) { return stapled(s); }},
        {"Checker::ask, judge", [&s](M) { return askedAndJudged(s); }},
        {"Checker::issuerOf", [&s](M) { return foundIssuer(s); }, Answer::kDone},
        {"Checker::check, downloads and cache", [&s](M m) { return checkedOnline(s, m); }},
        {"Checker::check, trust of the system", [&s](M m) { return checkedBySystem(s, m); }},
        {"Checker::verify, good", [&s](M) { return verified(s, s.good, s.goodResponse); }},
        {"Checker::verify, revoked", [&s](M) { return verified(s, s.revoked, s.revokedResponse); }, Answer::kRevoked},
        {"Checker::verify, response about another", [&s](M) { return verified(s, s.unknown, s.goodResponse); },
         Answer::kNone},
        {"Checker::provedAt", [&s](M) { return provedBefore(s); }},
        {"Checker::receive", [&s](M) { return received(s); }},
        {"Checker::send", [&s](M) { return sent(s); }, Answer::kDone},
        {"tallow_check", [&s](M) { return checkedInC(s); }},
        {"tallow_verify_entries", [&s](M) { return verifiedEntriesInC(s); }, Answer::kRevoked},
        {"CRequest::Send, good", [&s](M m) { return askedByClasses(s, m, s.good, 0); }},
        {"CRequest::Send, revoked", [&s](M m) { return askedByClasses(s, m, s.revoked, 0); }, Answer::kNone},
        {"CRequest::Send, cache", [&s](M m) { return askedByClasses(s, m, s.good, CRequest::kFlagAllowCache); }},
        {"CRequest::Sign", [&s](M m) { return signedByClasses(s, m); }, Answer::kDone},
        {"CRequest::Import, Verify", [&s](M m) { return verifiedRequestByClasses(s, m); }},
        {"ocspSendRequest", [&s](M m) { return sentByFunction(s, m); }, Answer::kDone},
        {"ocspVerifyResponse, good", [&s](M m) { return verifiedByFunction(m, s.good, s.goodResponse); }},
        {"ocspVerifyResponse, revoked", [&s](M m) { return verifiedByFunction(m, s.revoked, s.revokedResponse); },
         Answer::kNone},
    };
}

}  // namespace proof
