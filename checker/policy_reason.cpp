#include "checker/policy_reason.h"

#include <algorithm>

#include "checker/text/policy_text.h"
#include "checker/text/safe_text.h"
#include "client/policy/policy_binding.h"
#include "client/policy/policy_settings.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow {

namespace client = Orvane::PKI::OCSP::Client;
using client::CRequest;

void namePolicy(Attempt& attempt, const CRequest& request, const std::string& url) {
    // A redirect leads to another address, which has no login.
    const std::wstring address = text::wide(text::safeUrl(url) == attempt.url ? url : attempt.url);
    const std::string reason =
        text::refusedExchangeText(attempt.status, {.ocspAddress = address.c_str(),
                                                   .ocspAuthType = static_cast<long>(request.get_OCSPAuthType()),
                                                   .proxyAddress = request.get_ProxyAddress(),
                                                   .proxyAuthType = static_cast<long>(request.get_ProxyAuthType())});
    attempt.reason = reason.empty() ? attempt.reason : reason;
}

void nameBrokenSettings(std::string& cause) {
    const std::string mistake = text::brokenSettingsText();
    if (!mistake.empty() && cause.find(mistake) == std::string::npos) {
        cause += " | settings: " + mistake;
    }
}

void throwIfRefused(const CRequest& request, std::int32_t status) {
    const char* const algorithm = request.get_SignatureAlgorithmOID();
    const std::string reason =
        text::refusedRequestText(status, {.useNonce = request.get_UseNonce(),
                                          .useAcceptableResponses = request.get_UseAcceptableResponses(),
                                          .isSigned = algorithm != nullptr && *algorithm != '\0'});
    if (!reason.empty()) {
        throw BadInput(status, reason);
    }
}

void throwIfPolicyHash(const std::string& hashOfOptions) {
    client::PolicyBinding<client::CRequestPolicy> policy;
    policy.bind();
    std::string oid = text::utf8(policy->CertIDHashAlg.value());
    oid.resize(std::min(oid.find(' '), oid.size()));
    if (hashOfOptions.empty() && !oid.empty() &&
        CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid.data(), CRYPT_HASH_ALG_OID_GROUP_ID) == nullptr) {
        throw BadInput(status::kBadAlgorithm,
                       text::safeLine(oid + " in " + client::keyWithPlace(client::settings::CertIDHashAlg.name) +
                                      " names no hash that is known here; use 2.16.840.1.101.3.4.2.1 "
                                      "(SHA-256) or leave it empty"));
    }
}

}  // namespace tallow
