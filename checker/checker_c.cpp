#include "checker/checker_c.h"

#include <algorithm>
#include <limits>

#include "checker/asking.h"
#include "checker/checker_c_impl.h"
#include "checker/judge.h"
#include "handles/fork_safe_lock.h"
#include "handles/status.h"

namespace {

using tallow::BadInput;
using tallow::Checker;
using tallow::Input;
using tallow::Options;
using tallow::Time;
using tallow::Verdict;

struct Failure {
    std::int32_t status = -1;
    std::string text;  // in one line
};

// The exception that is being handled. Lets std::bad_alloc pass.
Failure caughtFailure() {
    const tallow::rules::Rejection rejection = tallow::caughtRejection(tallow::rules::Rule::kPolicy);
    return {rejection.code, reasonOf(rejection)};
}

// What `make` returns, released to the caller; null when memory is exhausted.
template <typename Make>
auto orNull(Make make) noexcept -> decltype(make().release()) {
    try {
        return make().release();
    } catch (...) {
        return nullptr;
    }
}

Input inputOf(const void* octets, std::size_t size) {
    if (octets == nullptr && size != 0) {
        throw BadInput(status::kInvalidArgument, "a null pointer was passed with a size other than 0; pass the octets");
    }
    return {static_cast<const std::uint8_t*>(octets), size};
}

std::string textOf(const char* text, const char* what) {
    if (text == nullptr) {
        throw BadInput(status::kInvalidArgument, std::string(what) + " is null; pass a text");
    }
    return text;
}

// Notes the exception that is being handled; the first one stays.
std::int32_t noteFailure(tallow_checker& checker) noexcept {
    Failure failure{status::kOutOfMemory, {}};
    try {
        failure = caughtFailure();
    } catch (...) {
        // A text would need memory too.
    }
    if (checker.status == status::kOk) {
        checker.status = failure.status;
        checker.problem = std::move(failure.text);
    }
    return failure.status;
}

// The same for an object that is returned: the status and the cause of a Verdict, ReceivedRequest or tallow_question.
template <typename Result>
void putFailure(Result& result) {
    Failure failure = caughtFailure();
    result.status = failure.status;
    result.cause = std::move(failure.text);
}

template <typename Change>
std::int32_t change(tallow_checker* checker, Change apply) noexcept {
    if (checker == nullptr) {
        return status::kInvalidArgument;
    }
    const tallow::ForkSafeLock lock(checker->mutex);
    try {
        if (checker->built) {
            throw BadInput(status::kInvalidArgument,
                           "a setting cannot change after the first check; make a new checker for it");
        }
        apply(*checker);
        return status::kOk;
    } catch (...) {
        return noteFailure(*checker);
    }
}

// Tries the options, so that the setter fails and not the first check.
template <typename Set>
std::int32_t changeOption(tallow_checker* checker, Set set) noexcept {
    return change(checker, [&](tallow_checker& changed) {
        Options options = changed.options;
        set(options);
        (void)Checker(tallow::Trust(), options);
        changed.options = std::move(options);
    });
}

// The checker as it was set up. Throws when there is none, or a setter failed.
const Checker& builtOf(const tallow_checker* checker) {
    if (checker == nullptr) {
        throw BadInput(status::kInvalidArgument,
                       "there is no checker: null was passed; did tallow_checker_new run out of memory?");
    }
    const tallow::ForkSafeLock lock(checker->mutex);
    if (checker->status != status::kOk) {
        throw BadInput(checker->status, "setting up the checker failed: " +
                                            (checker->problem.empty() ? std::string(tallow_status_text(checker->status))
                                                                      : checker->problem));
    }
    if (!checker->built) {
        checker->built.emplace(checker->trust, checker->options);
    }
    return *checker->built;
}

// Runs a check. What is thrown before it begins becomes its verdict.
template <typename Run>
tallow_verdict* verdictOf(Run run) noexcept {
    return orNull([&] {
        auto result = std::make_unique<tallow_verdict>();
        try {
            result->verdict = run();
        } catch (...) {
            putFailure(result->verdict);
        }
        result->why = result->verdict.why();
        return result;
    });
}

// Of a stored response that was held against one certificate.
Verdict onlyOne(std::vector<Verdict> verdicts) {
    return std::move(verdicts.at(0));
}

Time timeOf(std::int64_t seconds) {
    constexpr std::int64_t kFarthest = std::chrono::duration_cast<std::chrono::seconds>(Time::duration::max()).count();
    if (seconds > kFarthest || seconds < -kFarthest) {
        throw BadInput(status::kInvalidArgument, "the time is not in seconds since 1970; convert it");
    }
    return Time(std::chrono::seconds(seconds));
}

// The C function in the form of the facade.
tallow::Exchange exchangeOf(tallow_exchange exchange, void* user) {
    return [exchange, user](const std::string& url, const tallow::Bytes& body,
                            std::chrono::steady_clock::time_point deadline) -> std::optional<tallow::Bytes> {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        tallow_body answer;
        try {
            if (exchange(user, url.c_str(), body.data(), body.size(), std::max<std::int64_t>(0, left), &answer) &&
                !answer.isRefused) {
                return std::move(answer.octets);
            }
        } catch (...) {
            // Thrown by a function of another language: no answer.
        }
        return std::nullopt;
    };
}

template <typename Make>
tallow_checker* newChecker(Make makeTrust) noexcept {
    return orNull([&] {
        auto checker = std::make_unique<tallow_checker>();
        checker->trust = makeTrust();
        return checker;
    });
}

}  // namespace

tallow_checker* tallow_checker_new() {
    return newChecker([] { return tallow::Trust(); });
}

tallow_checker* tallow_checker_new_system() {
    return newChecker([] { return tallow::Trust::system(); });
}

void tallow_checker_free(tallow_checker* checker) {
    delete checker;
}

const char* tallow_checker_problem(const tallow_checker* checker) {
    if (checker == nullptr) {
        return "";
    }
    const tallow::ForkSafeLock lock(checker->mutex);
    const bool isTextMissing = checker->status != status::kOk && checker->problem.empty();
    return isTextMissing ? tallow_status_text(checker->status) : checker->problem.c_str();
}

void tallow_checker_clear_problem(tallow_checker* checker) {
    if (checker == nullptr) {
        return;
    }
    const tallow::ForkSafeLock lock(checker->mutex);
    checker->status = status::kOk;
    checker->problem.clear();
}

std::int32_t tallow_checker_add_roots(tallow_checker* checker, const void* certificates, std::size_t size) {
    return change(checker, [&](tallow_checker& changed) { changed.trust.addRoots(inputOf(certificates, size)); });
}

std::int32_t tallow_checker_add_system_roots(tallow_checker* checker) {
    return change(checker, [](tallow_checker& changed) { changed.trust.addSystemRoots(); });
}

std::int32_t tallow_checker_add_certificates(tallow_checker* checker, const void* certificates, std::size_t size) {
    return change(checker,
                  [&](tallow_checker& changed) { changed.trust.addCertificates(inputOf(certificates, size)); });
}

std::int32_t tallow_checker_add_crls(tallow_checker* checker, const void* crls, std::size_t size) {
    return change(checker, [&](tallow_checker& changed) { changed.trust.addCrls(inputOf(crls, size)); });
}

std::int32_t tallow_checker_set_timeout_ms(tallow_checker* checker, std::int64_t milliseconds) {
    return changeOption(checker, [&](Options& options) { options.timeout = std::chrono::milliseconds(milliseconds); });
}

std::int32_t tallow_checker_add_responder(tallow_checker* checker, const char* url) {
    return changeOption(
        checker, [&](Options& options) { options.responders.push_back(textOf(url, "the responder's address")); });
}

std::int32_t tallow_checker_set_nonce(tallow_checker* checker, std::int32_t nonce) {
    return changeOption(checker, [&](Options& options) {
        switch (nonce) {
            case TALLOW_NONCE_DEFAULT:
                options.nonce.reset();
                return;
            case TALLOW_NONCE_REQUIRE:
                options.nonce = tallow::Nonce::kRequire;
                return;
            case TALLOW_NONCE_TRY:
                options.nonce = tallow::Nonce::kTry;
                return;
            case TALLOW_NONCE_OFF:
                options.nonce = tallow::Nonce::kOff;
                return;
            default:
                throw BadInput(status::kInvalidArgument, "the nonce option is not one of enum tallow_nonce");
        }
    });
}

std::int32_t tallow_checker_set_max_age_seconds(tallow_checker* checker, std::int64_t seconds) {
    return changeOption(checker, [&](Options& options) { options.maxAge = std::chrono::seconds(seconds); });
}

std::int32_t tallow_checker_set_clock_skew_seconds(tallow_checker* checker, std::int64_t seconds) {
    return changeOption(checker, [&](Options& options) { options.clockSkew = std::chrono::seconds(seconds); });
}

std::int32_t tallow_checker_set_downloads(tallow_checker* checker, bool isOn) {
    return changeOption(checker, [&](Options& options) { options.downloads = isOn; });
}

std::int32_t tallow_checker_set_proxy(tallow_checker* checker, const char* url) {
    return changeOption(checker, [&](Options& options) { options.proxy = url == nullptr ? "" : url; });
}

std::int32_t tallow_checker_set_hash(tallow_checker* checker, const char* oid) {
    return changeOption(checker, [&](Options& options) { options.hashOid = oid == nullptr ? "" : oid; });
}

std::int32_t tallow_checker_set_cache(tallow_checker* checker, bool isOn) {
    return changeOption(checker, [&](Options& options) { options.useCache = isOn; });
}

std::int32_t tallow_checker_set_verify_chain(tallow_checker* checker, bool isOn) {
    return changeOption(checker, [&](Options& options) { options.verifyChain = isOn; });
}

std::int32_t tallow_checker_set_policy(tallow_checker* checker, bool isOn) {
    return changeOption(checker, [&](Options& options) { options.policy = isOn; });
}

std::int32_t tallow_checker_set_exchange(tallow_checker* checker, tallow_exchange exchange, void* user) {
    return changeOption(checker, [&](Options& options) {
        options.exchange = exchange == nullptr ? tallow::Exchange() : exchangeOf(exchange, user);
    });
}

bool tallow_body_append(tallow_body* body, const void* octets, std::size_t size) {
    if (body == nullptr) {
        return false;
    }
    try {
        const Input input = inputOf(octets, size);
        body->isRefused = body->isRefused || size > tallow::kLargestAnswer - body->octets.size();
        if (!body->isRefused) {
            body->octets.insert(body->octets.end(), input.bytes.begin(), input.bytes.end());
        }
    } catch (...) {
        body->isRefused = true;
    }
    return !body->isRefused;
}

tallow_verdict* tallow_check(const tallow_checker* checker, const void* certificate, std::size_t certificateSize,
                             const void* issuer, std::size_t issuerSize) {
    return verdictOf(
        [&] { return builtOf(checker).check(inputOf(certificate, certificateSize), inputOf(issuer, issuerSize)); });
}

tallow_verdict* tallow_fetch_staple(const tallow_checker* checker, const void* certificate, std::size_t certificateSize,
                                    const void* issuer, std::size_t issuerSize) {
    return verdictOf([&] {
        return builtOf(checker).fetchStaple(inputOf(certificate, certificateSize), inputOf(issuer, issuerSize));
    });
}

tallow_question* tallow_ask(const tallow_checker* checker, const void* certificate, std::size_t certificateSize,
                            const void* issuer, std::size_t issuerSize) {
    return orNull([&] {
        auto result = std::make_unique<tallow_question>();
        try {
            result->question = builtOf(checker).ask(inputOf(certificate, certificateSize), inputOf(issuer, issuerSize));
            result->status = status::kOk;
        } catch (...) {
            putFailure(*result);
        }
        return result;
    });
}

tallow_verdict* tallow_judge(const tallow_checker* checker, const tallow_question* question, const void* answer,
                             std::size_t answerSize) {
    return verdictOf([&] {
        if (question == nullptr) {
            throw BadInput(status::kInvalidArgument,
                           "there is no question: null was passed; did tallow_ask run out of memory?");
        }
        if (!question->question) {
            throw BadInput(question->status, question->cause);
        }
        return builtOf(checker).judge(*question->question, inputOf(answer, answerSize));
    });
}

tallow_verdict* tallow_verify(const tallow_checker* checker, const void* certificate, std::size_t certificateSize,
                              const void* issuer, std::size_t issuerSize, const void* response,
                              std::size_t responseSize) {
    return verdictOf([&] {
        return onlyOne(builtOf(checker).verify(
            inputOf(response, responseSize),
            {.certificate = inputOf(certificate, certificateSize), .issuer = inputOf(issuer, issuerSize)}));
    });
}

tallow_verdict* tallow_verify_with_request(const tallow_checker* checker, const void* certificate,
                                           std::size_t certificateSize, const void* issuer, std::size_t issuerSize,
                                           const void* request, std::size_t requestSize, const void* response,
                                           std::size_t responseSize) {
    return verdictOf([&] {
        return onlyOne(builtOf(checker).verify(inputOf(response, responseSize),
                                               {.certificate = inputOf(certificate, certificateSize),
                                                .issuer = inputOf(issuer, issuerSize),
                                                .request = inputOf(request, requestSize)}));
    });
}

tallow_verdict* tallow_proved_at(const tallow_checker* checker, std::int64_t when, const void* certificate,
                                 std::size_t certificateSize, const void* issuer, std::size_t issuerSize,
                                 const void* response, std::size_t responseSize) {
    return verdictOf([&] {
        return builtOf(checker).provedAt(timeOf(when), inputOf(certificate, certificateSize),
                                         inputOf(issuer, issuerSize), inputOf(response, responseSize));
    });
}

tallow_verdict_list* tallow_verify_entries(const tallow_checker* checker, const void* issuer, std::size_t issuerSize,
                                           const void* response, std::size_t responseSize) {
    return orNull([&] {
        auto list = std::make_unique<tallow_verdict_list>();
        try {
            tallow::Stored stored;
            if (const Input input = inputOf(issuer, issuerSize); !input.bytes.empty()) {
                stored.issuer = input;
            }
            for (Verdict& verdict : builtOf(checker).verify(inputOf(response, responseSize), stored)) {
                list->verdicts.push_back({std::move(verdict), {}});
            }
        } catch (...) {
            list->verdicts.assign(1, {});
            putFailure(list->verdicts.front().verdict);
        }
        for (tallow_verdict& verdict : list->verdicts) {
            verdict.why = verdict.verdict.why();
        }
        return list;
    });
}

tallow_received* tallow_receive(const tallow_checker* checker, const void* request, std::size_t requestSize) {
    return orNull([&] {
        auto result = std::make_unique<tallow_received>();
        try {
            result->request = builtOf(checker).receive(inputOf(request, requestSize));
        } catch (...) {
            putFailure(result->request);
        }
        return result;
    });
}
