// Received requests: intact, and signed by whom?
#include <string_view>

#include "checker/call.h"
#include "checker/chain_text.h"
#include "checker/input.h"
#include "checker/judge.h"
#include "checker/text/algorithm_text.h"
#include "checker/text/certificate_text.h"
#include "checker/text/status_text.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow {

namespace {

using Orvane::PKI::OCSP::CCertID;
using Orvane::PKI::OCSP::Client::CRequest;

constexpr const char* kReading = "reading the request";

class ReceivedCheck {
public:
    ReceivedCheck(Call& call, ReceivedRequest& result) : call_(call), result_(result) {}

    void run(Input bytes);
    const char* step() const { return step_; }

private:
    const _CERT_CONTEXT* findSigner();
    bool passes(std::int32_t verdict);
    void listAsked();

    Call& call_;
    ReceivedRequest& result_;
    CRequest request_;
    const char* step_ = kReading;
};

// What is wrong with the signature algorithm, when that is the reason of the failure.
std::string algorithmCause(const ReceivedRequest& result, std::int32_t code) {
    return code == status::kBadAlgorithm && !result.signatureAlgorithm.empty()
               ? text::algorithmProblem(result.signatureAlgorithm)
               : std::string();
}

void fail(ReceivedRequest& result, const char* step, std::int32_t code) {
    const std::string cause = algorithmCause(result, code);
    result.status = code;
    result.cause = step + (": " + (cause.empty() ? text::statusText(code) : cause));
}

// False, with the result written, for a failure status.
bool ReceivedCheck::passes(std::int32_t verdict) {
    if (verdict != status::kOk) {
        fail(result_, step_, verdict);
        result_.signer = ReceivedRequest::Signer::kInvalid;
    }
    return verdict == status::kOk;
}

// The signer, else a certificate with its name, so that the result can say that its key did not sign. The library reads
// the user's store My last, and fails when there is none.
const _CERT_CONTEXT* ReceivedCheck::findSigner() {
    void* stores[] = {call_.store()};
    try {
        const _CERT_CONTEXT* const signer = request_.FindSigner(stores, 1);
        return signer != nullptr ? signer : request_.get_RequestorCertificate(stores, 1);
    } catch (const ATL::CAtlException& failure) {
        if (failure.status() == status::kFileNotFound) {
            return nullptr;
        }
        throw;
    }
}

void ReceivedCheck::listAsked() {
    for (unsigned long i = 0; i < request_.get_SRNumber(); ++i) {
        const CCertID id = request_.get_SRCertID(i);
        result_.asked.push_back({id.get_hashAlgorithm().get_algorithm(), bytesOf(id.get_issuerNameHash()),
                                 bytesOf(id.get_issuerKeyHash()), bytesOf(id.get_serialNumber())});
    }
}

void ReceivedCheck::run(Input bytes) {
    request_.Import(bytes.bytes.data(), static_cast<unsigned long>(bytes.bytes.size()));
    result_.signatureAlgorithm = request_.get_SignatureAlgorithmOID();
    const bool isSigned = !result_.signatureAlgorithm.empty();
    const _CERT_CONTEXT* requestor = nullptr;
    if (isSigned) {
        step_ = "finding the requestor's certificate";
        requestor = findSigner();
        if (requestor == nullptr) {
            fail(result_, step_, status::kCryptNotFound);
            return;
        }
        result_.requestor = text::subjectOf(requestor);
        result_.requestorCertificate.assign(requestor->pbCertEncoded,
                                            requestor->pbCertEncoded + requestor->cbCertEncoded);
    }
    step_ = isSigned ? "signature and critical extensions" : "critical extensions";
    if (!passes(request_.Verify(requestor, nullptr, true))) {
        return;
    }
    void* stores[] = {call_.store()};
    step_ = "certificate of the requestor";
    if (isSigned) {
        call_.startChain();
        const std::int32_t verdict = request_.VerifyCertificate(requestor, stores, 1);
        if (!passes(verdict)) {
            const rules::Rejection rejection = explainChain(call_, {verdict, rules::Rule::kSigner}, nullptr);
            result_.cause = step_ + (": " + reasonOf(rejection));
            return;
        }
    }
    listAsked();
    result_.signer = isSigned ? ReceivedRequest::Signer::kProven : ReceivedRequest::Signer::kUnsigned;
    result_.status = status::kOk;
}

}  // namespace

ReceivedRequest Checker::receive(Input request) const {
    ReceivedRequest result;
    const char* step = "reading the policy";
    if (std::optional<rules::Rejection> rejection =
            rejectionOf(rules::Rule::kForm, [&]() -> std::optional<rules::Rejection> {
                Call call(*data_, {});
                ReceivedCheck check(call, result);
                try {
                    check.run(request);
                } catch (...) {
                    step = check.step();
                    throw;
                }
                return std::nullopt;
            })) {
        result.signer = ReceivedRequest::Signer::kUndecided;
        result.status = rejection->code;
        if (rejection->text.empty()) {
            rejection->text = algorithmCause(result, rejection->code);
        }
        const bool isForeign = rejection->text.empty() && std::string_view(step) == kReading;
        result.cause = step + (": " + (isForeign ? "it is no OCSP request in DER (" +
                                                       std::to_string(request.bytes.size()) + " octets); get it again"
                                                 : reasonOf(*rejection)));
        result.asked.clear();
    }
    return result;
}

}  // namespace tallow
