#include "proof/threads/scenarios.h"

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <thread>

#include "checker/checker.h"
#include "checker/silent_responders.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"
#include "proof/environment/paths.h"

namespace proof {

namespace {

constexpr int kThreads = 32;
constexpr int kRounds = 6;

// Runs `work` on so many threads, which begin together, and counts the failures that it returns.
int onThreads(int number, const std::function<int(int thread)>& work) {
    std::atomic<int> failures{0};
    std::barrier start(number);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < number; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                failures += work(i);
            });
        }
    }
    return failures;
}

int wrong(const std::string& what, const std::string& text) {
    std::printf("threads: %s: %s\n", what.c_str(), text.c_str());
    std::fflush(stdout);
    return 1;
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

// One Checker and one SilentResponders, as docs/threading.md recommends.
int shareChecker(const Scene& scene, unsigned seed) {
    tallow::Trust trust;
    trust.addRoots(scene.root.certificate)
        .addCertificates(scene.ca.certificate)
        .addCrls(scene.rootCrl)
        .addCrls(scene.caCrl);
    const tallow::Checker checker(trust, {.timeout = std::chrono::seconds(30),
                                          .responders = {scene.responderUrl()},
                                          .downloads = false,
                                          .silent = std::make_shared<tallow::SilentResponders>()});
    return onThreads(kThreads, [&](int thread) {
        int failures = 0;
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

// Contexts and a memory store that all threads read and fill; files of the machine's stores come and go.
int shareStores(const Scene& scene, unsigned) {
    Machine machine;
    machine.settings = scene.makeMachine(machine.folder);
    if (support_settings_open(machine.settings.c_str()) != 0) {
        return wrong("settings", machine.settings);
    }
    const auto contextOf = [](const Bytes& der) {
        return CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
    };
    const HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    const PCCERT_CONTEXT subject = contextOf(scene.good.certificate);
    const int failures = onThreads(kThreads, [&](int thread) {
        int own = 0;
        for (int round = 0; round < kRounds; ++round) {
            if (thread == 0) {
                const std::string file = machine.folder.write("user/CA/more.pem", scene.requestor.certificatePem());
                std::filesystem::remove(file);
                continue;
            }
            CertAddCertificateContextToStore(store, subject, CERT_STORE_ADD_ALWAYS, nullptr);
            CERT_CHAIN_PARA parameters{};
            parameters.cbSize = sizeof parameters;
            PCCERT_CHAIN_CONTEXT chain = nullptr;
            const DWORD flags = CERT_CHAIN_REVOCATION_CHECK_CHAIN | CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
            if (CertGetCertificateChain(nullptr, subject, nullptr, store, &parameters, flags, nullptr, &chain) == 0) {
                own += wrong("chain", std::to_string(GetLastError()));
                continue;
            }
            if (chain->TrustStatus.dwErrorStatus != 0) {
                own += wrong("chain", std::to_string(chain->TrustStatus.dwErrorStatus));
            }
            CertFreeCertificateChain(chain);
            PCCERT_CONTEXT found = nullptr;
            for (int i = 0; i < 8 && (found = CertEnumCertificatesInStore(store, found)) != nullptr; ++i) {
            }
            CertFreeCertificateContext(found);
            const tallow::Checker checker(tallow::Trust::system(),
                                          {.timeout = std::chrono::seconds(30), .responders = {scene.responderUrl()}});
            const tallow::Verdict verdict = checker.check(scene.good.certificate);
            own += verdict.answer == tallow::Answer::kGood ? 0 : wrong("check", verdict.why());
        }
        return own;
    });
    CertFreeCertificateContext(subject);
    CertCloseStore(store, 0);
    return failures;
}

tallow::Verdict checkOnce(const Scene& scene, const tallow::Checker& checker) {
    return checker.check(scene.good.certificate, scene.ca.certificate);
}

tallow::Checker checkerOf(const Scene& scene) {
    tallow::Trust trust;
    trust.addRoots(scene.root.certificate).addCrls(scene.rootCrl).addCrls(scene.caCrl);
    return tallow::Checker(
        trust, {.timeout = std::chrono::seconds(30), .responders = {scene.responderUrl()}, .downloads = false});
}

// Children are forked while other threads check, and check themselves.
int forkAmongChecks(const Scene& scene, unsigned) {
    const tallow::Checker checker = checkerOf(scene);
    std::atomic<bool> isOver{false};
    return onThreads(9, [&](int thread) {
        int failures = 0;
        for (int round = 0; thread != 0 && !isOver; ++round) {
            const tallow::Verdict verdict = checkOnce(scene, checker);
            failures += verdict.answer == tallow::Answer::kGood ? 0 : wrong("check", verdict.why());
        }
        for (int round = 0; thread == 0 && round < 12; ++round) {
            const pid_t child = ::fork();
            if (child == 0) {
                ::alarm(40);
                ::_exit(checkOnce(scene, checker).answer == tallow::Answer::kGood ? 0 : 1);
            }
            int status = -1;
            ::waitpid(child, &status, 0);
            failures += status == 0 ? 0 : wrong("a child", "wait status " + std::to_string(status));
        }
        isOver = isOver || thread == 0;
        return failures;
    });
}

// The process ends by exit, with its destructors, while threads are in the middle of checks.
int exitAmongChecks(const Scene& scene, unsigned seed) {
    const tallow::Checker& checker = *new tallow::Checker(checkerOf(scene));  // never destroyed: it is in use
    for (int i = 0; i < 8; ++i) {
        std::thread([&scene, &checker] {
            for (;;) {
                static_cast<void>(checkOnce(scene, checker));
            }
        }).detach();
    }
    ::usleep(20000 + 7919 * (seed % 64));
    std::exit(0);
}

// The library is loaded, used and unloaded again and again, by a program that is not linked with it.
int reload(const Scene& scene, unsigned) {
    ::execl(RELOAD_PROGRAM, RELOAD_PROGRAM, TALLOW_LIBRARY, scene.files().path().c_str(),
            static_cast<const char*>(nullptr));
    return wrong(RELOAD_PROGRAM, "does not start");
}

}  // namespace

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> all = {
        {"paths of their own, changing settings", takePaths},
        {"one Checker", shareChecker},
        {"one store, changing files", shareStores},
        {"fork", forkAmongChecks},
        {"exit", exitAmongChecks},
        {"dlopen and dlclose", reload},
    };
    return all;
}

}  // namespace proof
