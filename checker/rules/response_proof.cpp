#include "checker/rules/response_proof.h"

#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::rules {

namespace {

using Orvane::PKI::OCSP::Client::CResponse;

// A check without a verdict proves nothing, like one that rejects.
template <typename Check>
std::optional<Rejection> rejectUnless(Rule rule, Check check) {
    try {
        const std::int32_t verdict = check();
        return verdict == status::kOk ? std::nullopt : std::optional(Rejection{verdict, rule});
    } catch (const ATL::CAtlException& failure) {
        return Rejection{failure.status() != status::kOk ? failure.status() : status::kFail, rule};
    }
}

}  // namespace

Proof proveSigner(const CResponse& response, void** stores, unsigned long count) {
    Proof proof;
    const auto require = [&proof](Rule rule, auto check) {
        if (!proof.rejection) {
            proof.rejection = rejectUnless(rule, check);
        }
    };
    require(Rule::kFindSigner, [&] {
        proof.signer = response.get_OCSPCertificate(stores, count);
        return proof.signer == nullptr ? status::kCryptNotFound : status::kOk;
    });
    require(Rule::kSignature, [&] { return response.Verify(proof.signer, nullptr); });
    require(Rule::kSigner, [&] { return response.VerifyCertificate(proof.signer, false, stores, count); });
    return proof;
}

}  // namespace tallow::rules
