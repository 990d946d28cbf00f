// Signature algorithms as text.
#pragma once

#include <string>

namespace tallow::text {

/// Why signatures of this algorithm (dotted OID) cannot be verified here, with a remedy; empty for one that can be,
/// except for SHA-1, which is described as if the setting accept_sha1 were off.
std::string algorithmProblem(const std::string& oid);

}  // namespace tallow::text
