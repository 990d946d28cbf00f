// The octets of a description: certificates, CRLs, request and response.
#pragma once

#include <vector>

#include "proof/common/part.h"
#include "proof/forgeries/description.h"

namespace proof {

struct Materials {
    Bytes trusted;                    // the trusted root, DER
    std::vector<Bytes> certificates;  // further CAs that are at hand
    std::vector<Bytes> crls;
    Bytes leaf, issuer;
    Bytes request, response;
};

/// Makes the keys; call it once, before the worker processes start. False: without GOST.
bool prepareKeys();

Materials makeMaterials(const Description& description, std::uint64_t number);

/// With the command that verifies them.
Files filesOf(const Materials& materials);

}  // namespace proof
