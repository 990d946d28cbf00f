#include "cli/deadlines.h"

#include <algorithm>

#include "cli/evidence_text.h"
#include "foundation/date_time.h"
#include "handles/certificate_in.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;  // on the scale of CDateTime

ATL2::CCertContext certificateIn(Input der) {
    return ATL2::certificateIn(der.bytes.data(), der.bytes.size());
}

Seconds secondsOf(const FILETIME& time) {
    return Seconds(std::chrono::seconds(static_cast<std::int64_t>(Orvane::CDateTime(time).ticks()) / kTicksPerSecond -
                                        kSecondsTo1970));
}

}  // namespace

std::optional<Seconds> startOf(Input der) {
    return startOf(certificateIn(der));
}

std::optional<Seconds> startOf(const ATL2::CCertContext& certificate) {
    return certificate ? std::optional(secondsOf(certificate->pCertInfo->NotBefore)) : std::nullopt;
}

std::optional<Seconds> expiryOf(Input der) {
    return expiryOf(certificateIn(der));
}

std::optional<Seconds> expiryOf(const ATL2::CCertContext& certificate) {
    return certificate ? std::optional(secondsOf(certificate->pCertInfo->NotAfter)) : std::nullopt;
}

Deadlines deadlinesOf(const CheckResult& result) {
    Deadlines deadlines;
    deadlines.certificate = result.expiry;
    if (result.staple && result.staple->nextUpdate) {
        deadlines.staple = std::chrono::floor<std::chrono::seconds>(*result.staple->nextUpdate);
    }
    const Verdict& verdict = result.verdict;
    if (!hasAnswer(verdict)) {
        return deadlines;
    }
    if (verdict.nextUpdate) {
        deadlines.nextUpdate = std::chrono::floor<std::chrono::seconds>(*verdict.nextUpdate);
    }
    deadlines.responder = expiryOf(verdict.signerCertificate);
    const auto accepted = std::find_if(verdict.attempts.begin(), verdict.attempts.end(),
                                       [](const Attempt& attempt) { return attempt.status == 0; });
    if (accepted != verdict.attempts.end()) {
        deadlines.responseTime = accepted->duration;
    }
    return deadlines;
}

std::string spanText(std::chrono::seconds span) {
    struct Unit {
        std::int64_t seconds;
        const char* name;
    };
    constexpr Unit kUnits[] = {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}};
    std::int64_t left = span.count();
    std::string text;
    for (const Unit* unit = std::begin(kUnits); unit != std::end(kUnits); ++unit) {
        if (left >= unit->seconds) {
            text = std::to_string(left / unit->seconds) + unit->name;
            left %= unit->seconds;
            if (++unit != std::end(kUnits) && left >= unit->seconds) {
                text += " " + std::to_string(left / unit->seconds) + unit->name;
            }
            break;
        }
    }
    return text.empty() ? "0 s" : text;
}

}  // namespace tallow::cli
