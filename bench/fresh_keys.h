// Thousands of different RSA keys in seconds.
#pragma once

#include "tests/support/pki.h"

namespace bench {

/// A key of 2048 bits that was not returned before. The keys share primes, so they are fit for measurements only.
testkit::Key freshRsaKey();

}  // namespace bench
