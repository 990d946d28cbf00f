// The bytes that all contenders use: a root, a certificate under it, a delegated responder, and responses, made once.
#pragma once

#include "foundation/blob.h"
#include "tests/support/bytes.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"

namespace bench {

struct Material {
    testkit::Identity root;       // RSA, trusted by the settings below
    testkit::Identity leaf;       // asked about
    testkit::Identity responder;  // RSA, delegated by the root, with no-check

    /// Made on first use, and put into the settings in force as the only trusted root.
    static const Material& shared();

    /// An OCSPResponse with `count` entries, the first about `leaf`, and the responder's certificate.
    testkit::Bytes response(unsigned count) const;
};

inline Orvane::CBlob blob(const testkit::Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

}  // namespace bench
