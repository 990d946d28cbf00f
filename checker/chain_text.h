// What is wrong with a chain, in words, from the notes of a call. Private to the library.
#pragma once

#include <string>
#include <vector>

#include "checker/call.h"
#include "checker/rules/rejection.h"

namespace tallow {

/// The certificates of the last chain of the call, from the lowest. Throws std::bad_alloc also when notes of the call
/// are incomplete.
std::vector<ChainLink> linksOf(const Call& call);

/// The rejection of the last chain of the call with its text: which certificate, what is wrong, what to do. Unchanged
/// when the notes do not show the cause. `producedAt`: when the response was produced that the chain was built for.
rules::Rejection explainChain(const Call& call, rules::Rejection rejection, const Orvane::CDateTime* producedAt);

/// "the issuer of certificate CN=leaf was not found: ...": its name and key, where it was searched, what to do.
std::string missingIssuer(const Call& call, const _CERT_CONTEXT* certificate);

}  // namespace tallow
