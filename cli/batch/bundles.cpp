#include "cli/batch/bundles.h"

#include <algorithm>
#include <exception>
#include <new>

#include "checker/text/safe_text.h"
#include "cli/batch/responder_hosts.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "client/request/request.h"
#include "handles/cert_context.h"
#include "handles/certificate_in.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;

constexpr std::size_t kMostNoted = 10000;

struct Asked {
    std::string certificates;  // with the others of its file
    Bytes issuer;
};

// Each identifier is made by a separate request: an issuer that was found would be used for the next certificate too.
void add(CRequest& request, unsigned long index, const BatchItem& item, const Asked& asked, const std::string& hash) {
    const StoreContent own = certificatesAndCrlsIn(item.label, item.certificate);
    const ATL2::CCertContext issuer = ATL2::certificateIn(asked.issuer.data(), asked.issuer.size());
    if (!issuer) {
        throw InputError(item.label, "its issuer was not found");
    }
    CRequest single;
    single.put_SRCertIDFromCert(own.certificates.front().get(), issuer.get(), 0, hash.empty() ? nullptr : hash.c_str());
    if (index > 0) {
        request.AddSingleRequest();
    }
    request.put_SRCertID(single.get_SRCertID(0), index);
}

Bytes encoded(CRequest& request) {
    unsigned long size = 0;
    request.Export(nullptr, &size);
    Bytes bytes(size);
    request.Export(bytes.data(), &size);
    bytes.resize(size);
    return bytes;
}

}  // namespace

void Bundles::learn(const std::string& group, const Verdict& verdict) {
    if (verdict.answer == Answer::kUnproven || verdict.responder.empty()) {
        return;
    }
    const auto accepted = std::find_if(verdict.attempts.begin(), verdict.attempts.end(),
                                       [](const Attempt& attempt) { return attempt.status == 0; });
    const std::scoped_lock lock(mutex_);
    if (responders_.size() < kMostNoted && verdict.responder.size() <= kLongestUrl &&
        accepted != verdict.attempts.end()) {
        responders_.try_emplace(group, Responder{verdict.responder, accepted->source});
    }
}

Bundles::Responder Bundles::responderFor(const std::string& group) {
    const std::scoped_lock lock(mutex_);
    const auto found = responders_.find(group);
    return found == responders_.end() || refusing_.count(hostOf(found->second.url)) != 0 ? Responder() : found->second;
}

// Whether this is the first time for the host.
bool Bundles::refuse(const std::string& url) {
    const std::scoped_lock lock(mutex_);
    return refusing_.size() >= kMostNoted || refusing_.insert(hostOf(url)).second;
}

std::vector<std::optional<Verdict>> Bundles::ask(const Checker& checker, const std::vector<BatchItem>& items,
                                                 const std::string& named, std::string& notice) {
    std::vector<std::optional<Verdict>> verdicts(items.size());
    const Responder responder = responderFor(items.front().group);
    const std::string& url = responder.url;
    if (url.empty()) {
        return verdicts;
    }
    std::string cause;
    std::size_t numProven = 0;
    try {
        std::vector<Asked> asked;
        CRequest request;
        for (const BatchItem& item : items) {
            std::string certificates = item.others ? item.certificate + *item.others : item.certificate;
            Bytes issuer = checker.issuerOf(certificates, item.issuer);
            asked.push_back({std::move(certificates), std::move(issuer)});
            add(request, static_cast<unsigned long>(asked.size()) - 1, item, asked.back(), hashOid_);
        }
        request.put_UseNonce(true);
        const Bytes bytes = encoded(request);
        const Sent sent = checker.send(bytes, named.empty() ? url : named, responder.source);
        cause = sent.cause.empty() ? "its response proves none of the certificates" : sent.cause;
        for (std::size_t i = 0; i < items.size() && sent.status == 0; ++i) {
            Stored stored;
            stored.certificate.emplace(asked[i].certificates);
            stored.issuer.emplace(asked[i].issuer);
            stored.request.emplace(bytes);
            Verdict verdict = std::move(checker.verify(sent.answer, stored).front());
            if (verdict.answer == Answer::kUnproven || verdict.freshness != Freshness::kNonceMatched) {
                continue;
            }
            verdict.responder = url;
            verdict.attempts = sent.attempts;
            if (!verdict.attempts.empty()) {
                verdict.attempts.back().reached = Step::kProven;
            }
            verdicts[i] = std::move(verdict);
            ++numProven;
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {  // a certificate that cannot be asked about; its own check says why
        return verdicts;
    }
    if (numProven == 0 && refuse(url)) {
        notice = "tallow: " + text::safeLine(text::withoutLogin(url)) +
                 " does not answer requests for several certificates, and is asked for one at a time: " +
                 text::safeLine(cause) + '\n';
    }
    return verdicts;
}

}  // namespace tallow::cli
