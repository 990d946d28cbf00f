#include "checker/rules/response_proof.h"

#include <algorithm>

#include "checker/text/algorithm_text.h"
#include "checker/text/name_text.h"
#include "checker/text/safe_text.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::rules {

namespace {

using Orvane::PKI::OCSP::CResponderID;
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

bool isIn(void* store, const CResponderID& id) {
    ATL2::CCertContext candidate;
    // The enumeration frees the context passed to it, so each step passes the last one.
    while (const _CERT_CONTEXT* const next = CertEnumCertificatesInStore(store, candidate.detach())) {
        candidate.reset(next);
        if (CResponderID::fromCert(id.get_type(), {next->pbCertEncoded, next->cbCertEncoded}) == id) {
            return true;
        }
    }
    return false;
}

// In the places where the search for the signer looks.
bool isAtHand(const CResponse& response, std::span<void*> stores, const CResponderID& id) {
    if (isIn(response.get_Certificates(), id)) {
        return true;
    }
    for (void* const store : stores) {
        if (isIn(store, id)) {
            return true;
        }
    }
    for (const char* const name : {"AddressBook", "CA", "ROOT"}) {
        constexpr DWORD kFlags =
            CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG | CERT_STORE_OPEN_EXISTING_FLAG;
        ATL2::CCertStore store;
        if (store.Open(CERT_STORE_PROV_SYSTEM_A, 0, kFlags, name) == status::kOk && isIn(store.get(), id)) {
            return true;
        }
    }
    return false;
}

std::string named(const CResponderID& id) {
    const Orvane::CBlob& value = id.get_value();
    return id.get_type() == CResponderID::kByName
               ? text::safeLine(text::nameText({value.pbData(), value.cbData()}))
               : std::string("the key with the SHA-1 hash ") + value.writeToHexString(0).c_str();
}

// Why there is no certificate whose key made the signature.
Rejection rejectedSigner(const CResponse& response, std::span<void*> stores) {
    const CResponderID id(response.get_responderIDType(), response.get_responderID());
    if (isAtHand(response, stores, id)) {
        return {status::kBadSignature, Rule::kSignature,
                "the signature of the response does not verify (altered, or signed with another key); ask another "
                "responder"};
    }
    return {status::kCryptNotFound, Rule::kFindSigner,
            "the certificate of the signer, " + named(id) +
                ", is neither in the response nor among the certificates and stores of this check; supply it"};
}

// Without its hash, no certificate is the issuer that an entry names.
std::string missingHash(const CResponse& response) {
    constexpr unsigned long kMostEntries = 16;
    std::string missing;
    for (unsigned long i = 0; i < std::min(response.get_SRNumber(), kMostEntries) && missing.empty(); ++i) {
        missing = text::missingEngine(response.get_SRCertID(i).get_hashAlgorithm().get_algorithm());
    }
    return missing;
}

}  // namespace

Proof proveSigner(const CResponse& response, std::span<void*> stores) {
    const auto count = static_cast<unsigned long>(stores.size());
    Proof proof;
    const auto require = [&proof](Rule rule, auto check) {
        if (!proof.rejection) {
            proof.rejection = rejectUnless(rule, check);
        }
    };
    require(Rule::kFindSigner, [&] {
        proof.signer = response.get_OCSPCertificate(stores.data(), count);
        return status::kOk;
    });
    if (!proof.rejection && proof.signer == nullptr) {
        proof.rejection = rejectedSigner(response, stores);
    }
    require(Rule::kSignature, [&] { return response.Verify(proof.signer, nullptr); });
    if (proof.rejection && proof.rejection->code == status::kBadAlgorithm) {
        proof.rejection->rule = Rule::kSignature;  // already the search for the signer verifies it
        proof.rejection->text = text::algorithmProblem(response.get_SignatureAlgorithmOID());
    }
    require(Rule::kSigner, [&] { return response.VerifyCertificate(proof.signer, false, stores.data(), count); });
    if (proof.rejection && proof.rejection->code == status::kWrongUsage) {
        proof.rejection->text = missingHash(response);
    }
    return proof;
}

}  // namespace tallow::rules
