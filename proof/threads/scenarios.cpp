#include "proof/threads/scenarios.h"

#include <array>
#include <atomic>
#include <barrier>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <thread>

#include "checker/checker.h"
#include "checker/checker_c.h"
#include "checker/silent_responders.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"
#include "proof/environment/paths.h"
#include "proof/threads/on_threads.h"

namespace proof {

namespace {

constexpr int kThreads = 32;
constexpr int kRounds = 6;

PCCERT_CONTEXT contextOf(const Bytes& der) {
    return CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
}

// The first use of everything, on all threads at a time; then other paths, while the settings change all the time: each
// thread opens those of its own machine, which say the same.
int takePaths(const Scene& scene, unsigned seed) {
    const std::vector<Path> paths = makePaths(scene);
    const std::vector<Machine> machines = [&scene] {
        std::vector<Machine> made(kThreads);
        for (Machine& machine : made) {
            machine.settings = scene.makeMachine(machine.folder);
        }
        return made;
    }();
    std::vector<std::atomic<int>> answers(paths.size());
    for (auto& answer : answers) {
        answer = -1;
    }
    return onThreads(kThreads, [&](int thread) {
        std::minstd_rand random(seed * kThreads + static_cast<unsigned>(thread));
        int failures = 0;
        for (int round = 0; round < kRounds; ++round) {
            const std::size_t chosen = random() % paths.size();
            PathResult result;
            try {
                result = paths[chosen].run(machines[static_cast<std::size_t>(thread)]);
            } catch (...) {
                result.text = "an exception";
            }
            // Every run of a path has the same answer.
            int first = -1;
            const int answer = static_cast<int>(result.answer);
            if (!answers[chosen].compare_exchange_strong(first, answer) && first != answer) {
                failures += wrong(paths[chosen].name, result.text);
            }
        }
        return failures;
    });
}

// One Checker and one SilentResponders, as docs/threading.md recommends. The first responder refuses connections, which
// all threads note and look up.
int shareChecker(const Scene& scene, unsigned seed) {
    tallow::Trust trust;
    trust.addRoots(scene.root.certificate)
        .addCertificates(scene.ca.certificate)
        .addCrls(scene.rootCrl)
        .addCrls(scene.caCrl);
    const auto silent = std::make_shared<tallow::SilentResponders>();
    const tallow::Checker checker(trust, {.timeout = std::chrono::seconds(30),
                                          .responders = {"http://127.0.0.1:1/", scene.responderUrl()},
                                          .downloads = false,
                                          .silent = silent});
    return onThreads(kThreads, [&](int thread) {
        const std::string own = "http://127.0.0.1:" + std::to_string(2 + thread);
        silent->add(own, "refused");
        int failures = silent->reasonFor(own) ? 0 : wrong("silent responders", own);
        for (int round = 0; round < kRounds; ++round) {
            switch ((static_cast<unsigned>(thread + round) + seed) % 3) {
                case 0: {
                    const tallow::Verdict verdict = checker.check(scene.good.certificate);
                    failures += verdict.answer == tallow::Answer::kGood ? 0 : wrong("check", verdict.why());
                    break;
                }
                case 1: {
                    const tallow::Verdict verdict =
                        checker.verify(scene.revokedResponse, {.certificate = scene.revoked.certificate}).front();
                    failures += verdict.answer == tallow::Answer::kRevoked ? 0 : wrong("verify", verdict.why());
                    break;
                }
                default: {
                    const tallow::ReceivedRequest request = checker.receive(scene.signedRequest);
                    failures += request.status == 0 ? 0 : wrong("receive", request.cause);
                }
            }
        }
        return failures;
    });
}

// Contexts and a memory store that all threads read and fill; files of the machine's stores come and go. While they do,
// a CRL may be missing, so that nothing need be proven; afterwards everything must be.
int shareStores(const Scene& scene, unsigned) {
    Machine machine;
    machine.settings = scene.makeMachine(machine.folder);
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return wrong("settings", machine.settings);
    }
    const HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    const PCCERT_CONTEXT subject = contextOf(scene.good.certificate);
    const auto changeFiles = [&machine, &scene] {
        const std::string file = machine.folder.file("user/CA/more.pem");
        for (int round = 0; round < kRounds; ++round) {
            std::filesystem::rename(machine.folder.write("more.pem", scene.requestor.certificatePem()), file);
            std::filesystem::remove(file);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    };
    const auto chainAndCheck = [&](bool isChanging) {
        CertAddCertificateContextToStore(store, subject, CERT_STORE_ADD_ALWAYS, nullptr);
        CERT_CHAIN_PARA parameters{};
        parameters.cbSize = sizeof parameters;
        PCCERT_CHAIN_CONTEXT chain = nullptr;
        const DWORD flags = CERT_CHAIN_REVOCATION_CHECK_CHAIN | CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
        if (CertGetCertificateChain(nullptr, subject, nullptr, store, &parameters, flags, nullptr, &chain) == 0) {
            return wrong("chain", std::to_string(GetLastError()));
        }
        constexpr DWORD kUnknown = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;
        const DWORD error = chain->TrustStatus.dwErrorStatus;
        CertFreeCertificateChain(chain);
        PCCERT_CONTEXT found = nullptr;
        for (int i = 0; i < 8 && (found = CertEnumCertificatesInStore(store, found)) != nullptr; ++i) {
        }
        CertFreeCertificateContext(found);
        const tallow::Checker checker(tallow::Trust::system(),
                                      {.timeout = std::chrono::seconds(30), .responders = {scene.responderUrl()}});
        const tallow::Verdict verdict = checker.check(scene.good.certificate);
        const bool isRight =
            (error == 0 || (isChanging && error == kUnknown)) &&
            (verdict.answer == tallow::Answer::kGood || (isChanging && verdict.answer == tallow::Answer::kUnproven));
        return isRight ? 0 : wrong("chain and check", std::to_string(error) + ' ' + verdict.why());
    };
    std::atomic<bool> isChanging{true};
    std::barrier changed(kThreads);
    const int failures = onThreads(kThreads, [&](int thread) {
        int own = 0;
        if (thread == 0) {
            changeFiles();
            isChanging = false;
        }
        while (isChanging) {
            own += chainAndCheck(true);
        }
        changed.arrive_and_wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(150));  // a complete reading is used for 100 ms
        return own + chainAndCheck(false);
    });
    CertFreeCertificateContext(subject);
    CertCloseStore(store, 0);
    return failures;
}

// Values that several threads read and copy, and questions that one thread asks and the next one judges, with one
// checker of C++ and one of C.
int passQuestions(const Scene& scene, unsigned) {
    tallow::Trust trust;
    trust.addRoots(scene.root.certificate).addCrls(scene.rootCrl).addCrls(scene.caCrl);
    const tallow::Options options{.timeout = std::chrono::seconds(30), .downloads = false};
    const tallow::Checker checker(trust, options);
    const tallow::Verdict shared =
        checker.verify(scene.goodResponse, {.certificate = scene.good.certificate, .issuer = scene.ca.certificate})
            .front();
    tallow_checker* const inC = tallow_checker_new();
    tallow_checker_add_roots(inC, scene.root.certificate.data(), scene.root.certificate.size());
    tallow_checker_add_crls(inC, scene.rootCrl.data(), scene.rootCrl.size());
    tallow_checker_add_crls(inC, scene.caCrl.data(), scene.caCrl.size());
    const auto ofC = [&inC, &scene](auto* function, const auto&... first) {
        const Bytes& subject = scene.good.certificate;
        const Bytes& issuer = scene.ca.certificate;
        return function(inC, first..., subject.data(), subject.size(), issuer.data(), issuer.size());
    };
    std::vector<std::optional<tallow::Question>> questions(kThreads);
    std::vector<tallow_question*> questionsInC(kThreads);
    std::barrier asked(kThreads);
    const int failures = onThreads(kThreads, [&](int thread) {
        int own = 0;
        const tallow::Trust ownTrust = trust;
        const tallow::Options ownOptions = options;
        const tallow::Checker copy(ownTrust, ownOptions);
        const tallow::Verdict verdict(shared);
        own +=
            verdict.answer == tallow::Answer::kGood && verdict.why() == shared.why() ? 0 : wrong("copy", shared.why());
        const auto mine = static_cast<std::size_t>(thread);
        questions[mine] = (thread % 2 == 0 ? checker : copy).ask(scene.good.certificate, scene.ca.certificate);
        questionsInC[mine] = ofC(tallow_ask);
        asked.arrive_and_wait();
        const std::size_t other = (mine + 1) % kThreads;
        const tallow::Sent sent = checker.send(questions[other]->request(), scene.responderUrl());
        const tallow::Verdict judged = checker.judge(*questions[other], sent.answer);
        own += judged.answer == tallow::Answer::kGood ? 0 : wrong("judge", sent.cause + judged.why());

        std::size_t size = 0;
        const std::uint8_t* const octets = tallow_question_request(questionsInC[other], &size);
        const Bytes request(octets, octets + size);
        const Bytes answer = checker.send(request, scene.responderUrl()).answer;
        tallow_verdict* const inOther = tallow_judge(inC, questionsInC[other], answer.data(), answer.size());
        own += tallow_verdict_is_good(inOther) ? 0 : wrong("tallow_judge", tallow_verdict_why(inOther));
        tallow_verdict_free(inOther);
        tallow_question_free(questionsInC[other]);
        return own;
    });
    tallow_checker_free(inC);
    return failures;
}

// One chain engine, its chain, a certificate with its properties, and one provider with its list of algorithms; each
// thread has its own last error.
int shareEngine(const Scene& scene, unsigned) {
    HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    const HCERTSTORE roots = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    const PCCERT_CONTEXT root = contextOf(scene.root.certificate);
    const PCCERT_CONTEXT ca = contextOf(scene.ca.certificate);
    const PCCERT_CONTEXT subject = contextOf(scene.good.certificate);
    CertAddCertificateContextToStore(roots, root, CERT_STORE_ADD_ALWAYS, nullptr);
    CertAddCertificateContextToStore(store, ca, CERT_STORE_ADD_ALWAYS, nullptr);
    CERT_CHAIN_ENGINE_CONFIG config{};
    config.cbSize = sizeof config;
    config.cAdditionalStore = 1;
    config.rghAdditionalStore = &store;
    config.hExclusiveRoot = roots;
    HCERTCHAINENGINE engine = nullptr;
    HCRYPTPROV provider = 0;
    if (CertCreateCertificateChainEngine(&config, &engine) == 0 ||
        CryptAcquireContextA(&provider, nullptr, nullptr, 75, CRYPT_VERIFYCONTEXT) == 0) {
        return wrong("engine and provider", std::to_string(GetLastError()));
    }
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    const auto chainOf = [&](PCCERT_CHAIN_CONTEXT& chain) {
        return CertGetCertificateChain(engine, subject, nullptr, nullptr, &parameters,
                                       CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL, nullptr, &chain) != 0 &&
               chain->TrustStatus.dwErrorStatus == 0;
    };
    PCCERT_CHAIN_CONTEXT shared = nullptr;
    int failures = chainOf(shared) ? 0 : wrong("the first chain", std::to_string(GetLastError()));
    failures += onThreads(kThreads, [&](int thread) {
        int own = 0;
        for (int round = 0; round < kRounds; ++round) {
            PCCERT_CHAIN_CONTEXT chain = nullptr;
            own += chainOf(chain) ? 0 : wrong("a chain", std::to_string(GetLastError()));
            own += shared != nullptr && shared->rgpChain[0]->cElement == 3 ? 0 : wrong("the chain", "other elements");
            CertFreeCertificateChain(chain);
            std::array<BYTE, 16> random{};
            CryptContextAddRef(provider, nullptr, 0);
            own += CryptGenRandom(provider, random.size(), random.data()) != 0 ? 0 : wrong("random numbers", "none");
            CryptReleaseContext(provider, 0);
            DWORD size = random.size();
            CertGetCertificateContextProperty(subject, CERT_MD5_HASH_PROP_ID, random.data(), &size);
            std::array<BYTE, 64> algorithm{};
            size = algorithm.size();
            CryptGetProvParam(provider, PP_ENUMALGS, algorithm.data(), &size, CRYPT_FIRST);
            SetLastError(static_cast<DWORD>(1000 + thread));
            std::this_thread::yield();
            own += GetLastError() == static_cast<DWORD>(1000 + thread) ? 0 : wrong("last error", "of another thread");
        }
        return own;
    });
    CertFreeCertificateChain(shared);
    CryptReleaseContext(provider, 0);
    CertFreeCertificateChainEngine(engine);
    for (const PCCERT_CONTEXT context : {root, ca, subject}) {
        CertFreeCertificateContext(context);
    }
    CertCloseStore(roots, 0);
    CertCloseStore(store, 0);
    return failures;
}

}  // namespace

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> all = {
        {"paths of their own, changing settings", takePaths},
        {"one Checker", shareChecker},
        {"one store, changing files", shareStores},
        {"values and questions", passQuestions},
        {"one engine and provider", shareEngine},
        {"fork", forkAmongChecks},
        {"exit", exitAmongPaths},
        {"exit that waits for checks", exitThatWaitsForChecks},
        {"dlopen and dlclose", reloadLibrary},
    };
    return all;
}

}  // namespace proof
