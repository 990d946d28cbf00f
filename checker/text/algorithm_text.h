// Algorithms as text.
#pragma once

#include <string>

#include "export.h"

namespace tallow::text {

/// For a GOST hash, key or signature algorithm (dotted OID) while OpenSSL's gost engine is missing: what to install.
/// Otherwise empty.
TALLOW_EXPORT std::string missingEngine(const std::string& oid);

/// Why signatures of this algorithm (dotted OID) cannot be verified here, with a remedy; empty for one that can be,
/// except for SHA-1, which is described as if the setting accept_sha1 were off.
TALLOW_EXPORT std::string algorithmProblem(const std::string& oid);

}  // namespace tallow::text
