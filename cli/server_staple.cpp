#include "cli/server_staple.h"

#include "client/response/response.h"
#include "foundation/date_time.h"
#include "handles/cert_context.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

using Orvane::CDateTime;
using Orvane::PKI::OCSP::Client::CResponse;

// Whether nextUpdate of an entry has passed. The signature was verified before.
bool hasExpired(const Bytes& answer) {
    try {
        CResponse response;
        response.Import(answer.data(), answer.size(), nullptr);
        const CDateTime now = CDateTime::Now();
        for (unsigned long i = 0; i < response.get_SRNumber(); ++i) {
            const CDateTime* const nextUpdate = response.get_SRNextUpdate(i);
            if (nextUpdate != nullptr && *nextUpdate <= now) {
                return true;
            }
        }
    } catch (const ATL::CAtlException&) {
        return false;
    }
    return false;
}

const char* stateOf(const Verdict& verdict, const Bytes& answer) {
    switch (verdict.answer) {
        case Answer::kGood:
            return "good";
        case Answer::kRevoked:
            return "revoked";
        case Answer::kUnknown:
            return "unknown";
        case Answer::kUnproven:
            break;
    }
    if (verdict.reached != Step::kEntry) {
        return "not proven";
    }
    if (verdict.status == status::kNotAnswered) {
        return "wrong certificate";
    }
    const bool isExpired =
        verdict.status == status::kThisUpdateTooOld || (verdict.status == status::kNotCurrent && hasExpired(answer));
    return isExpired ? "expired" : "not proven";
}

std::string textOf(const Verdict& verdict) {
    switch (verdict.answer) {
        case Answer::kGood:
            return {};
        case Answer::kRevoked:
            return "the stapled response says that the certificate is revoked; replace the certificate, and if it is "
                   "good again, update the stapled response";
        case Answer::kUnknown:
            return "the stapled response says that the responder does not know the certificate; check from which "
                   "responder the server gets it";
        case Answer::kUnproven:
            break;
    }
    // What helps is to renew it on the server, unless its signer cannot be trusted here.
    return verdict.reached == Step::kSigner
               ? verdict.cause
               : verdict.cause.substr(0, verdict.cause.rfind("; ")) + "; update the stapled response on the server";
}

}  // namespace

Staple stapleOf(const CheckOptions& options, const RunInputs& inputs, const ServerCertificates& sent,
                const Verdict& verdict) {
    Staple staple;
    staple.isRequired = sent.requiresStaple;
    if (sent.staple.empty()) {
        staple.state = "missing";
        staple.text = staple.isRequired ? "the server sent no stapled response, although its certificate requires one; "
                                          "enable OCSP stapling on the server"
                                        : "the server sent no stapled response";
        return staple;
    }
    Stored stored;
    stored.certificate = Input(sent.chain.front().der);
    const Bytes& found = verdict.evidence.issuerCertificate;
    if (const Input issuer = found.empty() ? inputs.issuerOf(sent.chain.front().der) : Input(found);
        !issuer.bytes.empty()) {
        stored.issuer = issuer;
    }
    const Checker checker(inputs.trust(), {.maxAge = options.maxAge, .useCache = true});
    const Verdict judged = checker.verify(sent.staple, stored).front();
    staple.state = stateOf(judged, sent.staple);
    staple.text = textOf(judged);
    if (judged.answer != Answer::kUnproven) {
        staple.nextUpdate = judged.nextUpdate;
    }
    return staple;
}

}  // namespace tallow::cli
