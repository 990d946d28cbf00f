// The report: whatever a certificate, a responder, a path or a failure contains, the page has the same markup as one
// with harmless texts, and no octet of it is a control character or changes the direction of text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "checker/text/safe_text.h"
#include "cli/report/report.h"

using namespace tallow;
using namespace tallow::cli;

namespace {

// Every text is there, and no two are equal, since equal ones are shown once.
class Texts {
public:
    explicit Texts(std::string text) : text_(std::move(text)) {}
    std::string next() { return text_ + std::to_string(number_++); }

private:
    std::string text_;
    int number_ = 0;
};

ChainLink linkOf(Texts& texts, Time time, std::uint8_t choice) {
    ChainLink link;
    link.subject = texts.next();
    link.issuer = texts.next();
    link.notAfter = time;
    link.revocation = static_cast<ChainLink::Revocation>(choice % 4);
    link.crlIssuer = texts.next();
    link.crlThisUpdate = time;
    link.fault = texts.next();
    return link;
}

CheckResult resultOf(Texts texts, const Bytes& octets, std::uint8_t choice) {
    const Time time{std::chrono::hours(std::int64_t{choice} * 24 * 300)};
    CheckResult result;
    for (std::string* field : {&result.file, &result.subject, &result.serial, &result.responder, &result.producedAt,
                               &result.revocationTime, &result.revocationReason, &result.nonce}) {
        *field = texts.next();
    }
    result.state = static_cast<CertificateState>(choice % 4);
    result.chain = choice % 3 == 0 ? "" : "invalid";
    result.error = CheckError{choice, texts.next()};
    result.unsaved = CheckError{choice, texts.next()};
    result.staple = Staple{texts.next(), texts.next(), choice % 2 == 0};
    result.start = std::chrono::floor<std::chrono::seconds>(time);
    result.expiry = *result.start + std::chrono::hours(std::int64_t{choice} * 100000 - 10000000);
    Verdict& verdict = result.verdict;
    verdict.answer = static_cast<Answer>(choice / 4 % 4);
    verdict.reached = static_cast<Step>(choice % 9);
    verdict.authority = static_cast<Authority>(choice % 4);
    verdict.responder = texts.next();
    verdict.signer = texts.next();
    verdict.request = verdict.signerCertificate = verdict.evidence.issuerCertificate = octets;
    verdict.thisUpdate = time;
    verdict.nextUpdate = choice % 5 == 0 ? Time::max() : time;
    Attempt& attempt = verdict.attempts.emplace_back();
    attempt.url = texts.next();
    attempt.status = choice % 2;
    attempt.reason = texts.next();
    verdict.evidence.issuer = texts.next();
    verdict.evidence.signerChain = {linkOf(texts, time, choice), linkOf(texts, time, choice)};
    verdict.evidence.certificateChain = {linkOf(texts, time, choice), linkOf(texts, time, choice)};
    Download& download = verdict.evidence.downloads.emplace_back();
    download.url = texts.next();
    download.status = choice % 2;
    download.reason = texts.next();
    return result;
}

std::string pageOf(const CheckResult& result) {
    Report report("");
    report.add(result, Seconds(std::chrono::seconds(1'800'000'000)));
    return report.page({{}, {}, 3, false, result.file});
}

// What is inside angle brackets.
std::string markupOf(const std::string& page) {
    std::string markup;
    bool isInside = false;
    for (const char c : page) {
        isInside = isInside || c == '<';
        if (isInside) {
            markup += c;
        }
        isInside = isInside && c != '>';
    }
    return markup;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 4096) {
        return 0;
    }
    const Bytes octets(data + 1, data + size);
    const std::string text(octets.begin(), octets.end());
    const std::string page = pageOf(resultOf(Texts(text), octets, data[0]));
    if (markupOf(page) != markupOf(pageOf(resultOf(Texts("harmless"), octets, data[0])))) {
        std::abort();
    }
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);) {
        if (text::safeLine(line) != line) {
            std::abort();
        }
    }
    return 0;
}
