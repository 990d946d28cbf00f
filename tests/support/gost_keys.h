// Keys of GOST R 34.10-2012, made with OpenSSL's gost engine where it is installed.
#pragma once

#include <optional>

#include "tests/support/pki.h"

namespace testkit {

struct GostKey {
    Key key;
    std::string hash;  // as OpenSSL names it
};

/// Loads the engine on first use, also as the process's default for these algorithms. `bits` is 256 or 512. Nothing
/// when the engine is not installed.
std::optional<GostKey> makeGostKey(int bits);

}  // namespace testkit
