#include "cli/deadlines.h"

#include <algorithm>

#include "cli/evidence_text.h"
#include "foundation/date_time.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

std::optional<Seconds> expiryOf(Input der) {
    return expiryOf(ATL2::CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.bytes.data(), static_cast<DWORD>(der.bytes.size()))));
}

std::optional<Seconds> expiryOf(const ATL2::CCertContext& certificate) {
    constexpr std::int64_t kTicksPerSecond = 10'000'000;
    constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;  // on the scale of CDateTime
    if (!certificate) {
        return std::nullopt;
    }
    const std::uint64_t ticks = Orvane::CDateTime(certificate->pCertInfo->NotAfter).ticks();
    return Seconds(std::chrono::seconds(static_cast<std::int64_t>(ticks) / kTicksPerSecond - kSecondsTo1970));
}

Deadlines deadlinesOf(const CheckResult& result) {
    Deadlines deadlines;
    deadlines.certificate = result.expiry;
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

}  // namespace tallow::cli
