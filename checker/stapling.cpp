#include "checker/stapling.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>

#include "checker/input.h"

namespace tallow {

namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<std::int64_t>;

constexpr Seconds kFirstDelay = 30s;
constexpr Seconds kLongestDelay = 1h;
constexpr Seconds kWithoutNextUpdate = 1h;  // such a response may change at any time
constexpr std::chrono::days kLongestWithoutNextUpdate(7);

// False when `stop` was requested before.
bool sleepUntil(Time end, const std::stop_token& stop) {
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any wakeUp;
    while (!stop.stop_requested() && std::chrono::system_clock::now() < end) {
        // In steps, since the clock of the machine may be set meanwhile.
        const auto step = std::min<Time::duration>(end - std::chrono::system_clock::now(), 60s);
        wakeUp.wait_for(lock, stop, step, [] { return false; });
    }
    return !stop.stop_requested();
}

Time halfOf(const Verdict& verdict, Time now) {
    if (!verdict.nextUpdate) {
        return now + kWithoutNextUpdate;
    }
    return now + std::clamp<Time::duration>((*verdict.nextUpdate - now) / 2, 1s, 24h * 7);
}

}  // namespace

void keepStapled(const Checker& checker, Input certificate, Input issuer, const std::stop_token& stop,
                 const std::function<void(const Bytes& staple, const Verdict& last)>& use) {
    static_cast<void>(certificatesIn(certificate, "the certificate"));  // these will not become usable
    if (!issuer.bytes.empty()) {
        static_cast<void>(certificatesIn(issuer, "the issuer"));
    }
    bool isTold = false;     // `use` knows that there is no response
    bool isServing = false;  // it has one
    Time expiry;             // its end
    Seconds delay = kFirstDelay;
    while (!stop.stop_requested()) {
        const Verdict verdict = checker.fetchStaple(certificate, issuer);
        const Time now = std::chrono::system_clock::now();
        Time next = now + delay;
        if (verdict.answer == Answer::kGood) {
            use(verdict.response, verdict);
            isServing = true;
            isTold = false;
            expiry = verdict.nextUpdate.value_or(*verdict.thisUpdate + kLongestWithoutNextUpdate);
            delay = kFirstDelay;
            next = halfOf(verdict, now);
        } else {
            const bool mustEnd = isServing && (verdict.answer != Answer::kUnproven || expiry <= now);
            if (mustEnd || (!isServing && !isTold)) {
                use({}, verdict);
                isServing = false;
                isTold = true;
            }
            delay = std::min(delay * 2, kLongestDelay);
            next = isServing ? std::min(next, expiry) : next;
        }
        if (!sleepUntil(next, stop)) {
            return;
        }
    }
}

}  // namespace tallow
