#include "cli/evidence_words.h"

#include "cli/evidence_text.h"

namespace tallow::cli {

std::string whereFound(IssuerSource source) {
    switch (source) {
        case IssuerSource::kGiven:
            return "named with --issuer";
        case IssuerSource::kTrust:
            return "among the certificates that were given";
        case IssuerSource::kStore:
            return "in a store";
        case IssuerSource::kDownloaded:
            return "downloaded from the address in the certificate";
        case IssuerSource::kNone:
            break;
    }
    return {};
}

std::string whoNamed(ResponderSource source) {
    switch (source) {
        case ResponderSource::kCaller:
            break;
        case ResponderSource::kCertificate:
            return "named by the certificate";
        case ResponderSource::kIssuerProperty:
            return "named by the side file of the issuer";
        case ResponderSource::kPolicy:
            return "named by the policy (DefaultOCSPURL)";
        case ResponderSource::kUntrusted:
            return "named by the job";
    }
    return "named with --url";
}

std::string whyAuthorised(Authority authority) {
    switch (authority) {
        case Authority::kIssuer:
            return "it issued the certificate";
        case Authority::kDelegate:
            return "the issuer named it as its responder";
        case Authority::kPolicy:
            return "the administrator named it (AuthorizedOCSPs)";
        case Authority::kNone:
            break;
    }
    return {};
}

namespace {

// ", HTTP 200, 12 ms"
std::string exchangeText(int httpStatus, std::chrono::milliseconds duration, bool isFromCache) {
    if (isFromCache) {
        return ", from the cache";
    }
    return (httpStatus == 0 ? "" : ", HTTP " + std::to_string(httpStatus)) + ", " + std::to_string(duration.count()) +
           " ms";
}

}  // namespace

std::string attemptText(const Attempt& attempt) {
    const std::string start = attempt.url + " (" + whoNamed(attempt.source) + "): ";
    if (attempt.isSkipped || attempt.isRedirect) {
        return start + attempt.reason;
    }
    return start + statusOf(attempt) + exchangeText(attempt.httpStatus, attempt.duration, attempt.isFromCache) +
           (attempt.reason.empty() ? "" : ": " + attempt.reason);
}

std::string downloadText(const Download& download) {
    const char* content = download.content == Download::Content::kCrl ? "CRL " : "issuer ";
    return content + download.url + ": " + (download.status == 0 ? "received" : "failed") +
           exchangeText(download.httpStatus, download.duration, download.isFromCache) +
           (download.reason.empty() ? "" : ": " + download.reason);
}

std::vector<std::string> uncheckedOf(const CheckResult& result) {
    const Verdict& verdict = result.verdict;
    std::vector<std::string> unchecked;
    if (result.chain.empty()) {
        unchecked.push_back(std::string("the certificate's own dates, chain and root") +
                            (verdict.attempts.empty() ? "" : " (--verify-chain)"));
    }
    unchecked.emplace_back("whether the certificate is meant for this host, person or purpose");
    if (verdict.freshness != Freshness::kNonceMatched) {
        unchecked.emplace_back("whether the responder has issued a newer response since then (no nonce matched)");
    }
    return unchecked;
}

}  // namespace tallow::cli
