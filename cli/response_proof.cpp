#include "cli/response_proof.h"

#include "cli/response_form.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CResponse;

Orvane::CBlob bytesOf(const CResponse& response) {
    unsigned long size = 0;
    response.Export(nullptr, &size);
    Orvane::CBlob bytes(size);
    response.Export(bytes.pbData(), &size);
    return bytes;
}

// A check without a verdict proves nothing, like one that rejects.
template <typename Check>
std::optional<Rejection> rejectUnless(const char* step, Check check) {
    try {
        const std::int32_t verdict = check();
        return verdict == status::kOk ? std::nullopt : std::optional(Rejection{verdict, step});
    } catch (const ATL::CAtlException& failure) {
        return Rejection{failure.status() != status::kOk ? failure.status() : status::kFail, step};
    }
}

}  // namespace

Proof proveResponse(const CResponse& response, void** stores, unsigned long count) {
    Proof proof;
    proof.rejection = rejectForm(bytesOf(response));
    const auto require = [&proof](const char* step, auto check) {
        if (!proof.rejection) {
            proof.rejection = rejectUnless(step, check);
        }
    };
    require("response status", [&] { return response.get_Status() == 0 ? status::kOk : status::kNotSuccessful; });
    require("finding the signer", [&] {
        proof.signer = response.get_OCSPCertificate(stores, count);
        return proof.signer == nullptr ? status::kCryptNotFound : status::kOk;
    });
    require("signature", [&] { return response.Verify(proof.signer, nullptr); });
    require("certificate of the signer",
            [&] { return response.VerifyCertificate(proof.signer, false, stores, count); });
    return proof;
}

}  // namespace tallow::cli
