// Names the settings because of which a check fails, with file and line. Private to the library.
#pragma once

#include <string>

#include "checker/checker.h"
#include "client/request/request.h"
#include "handles/exception.h"

namespace tallow {

/// If policy refused this attempt of the request, its reason becomes key, file and line. `url` is the responder's
/// address as it was asked, with its login.
void namePolicy(Attempt& attempt, const Orvane::PKI::OCSP::Client::CRequest& request, const std::string& url);

/// Adds to the cause of a failure what is wrong with the settings file, if anything is.
void nameBrokenSettings(std::string& cause);

/// Throws BadInput when the status is a refusal of this request by policy.
void throwIfRefused(const Orvane::PKI::OCSP::Client::CRequest& request, std::int32_t status);

/// Throws BadInput when policy, not the options, chose the hash, and names one that is not known.
void throwIfPolicyHash(const std::string& hashOfOptions);

/// Builds or sends a request; what policy refuses is thrown as BadInput with key, file and line.
template <typename Run>
auto namingPolicy(const Orvane::PKI::OCSP::Client::CRequest& request, Run run) {
    try {
        return run();
    } catch (const ATL::CAtlException& failure) {
        throwIfRefused(request, failure.status());
        throw;
    }
}

/// The same for what hashes with CertIDHashAlg of the policy, unless the options name a hash.
template <typename Run>
void namingHash(const std::string& hashOfOptions, Run run) {
    try {
        run();
    } catch (const ATL::CAtlException&) {
        throwIfPolicyHash(hashOfOptions);
        throw;
    }
}

}  // namespace tallow
