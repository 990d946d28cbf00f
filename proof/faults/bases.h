// The responses whose single faults are tried, each with the question that it answers and the trust that proves it.
#pragma once

#include <string>
#include <vector>

#include "tests/support/bytes.h"

namespace proof {

using testkit::Bytes;

struct Base {
    std::string name;
    Bytes response;
    Bytes reference;  // the same in DER, for a response in BER; else equal
    Bytes request, leaf, issuer;
    Bytes root, certificates;  // PEM; the second contains intermediate CAs, or is empty
    std::vector<Bytes> crls;
};

/// Those with GOST are left out when the gost engine is not installed.
std::vector<Base> makeBases();

}  // namespace proof
