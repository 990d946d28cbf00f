// A small PKI whose certificates, CRL and response the input edits and the harness signs again, and what OpenSSL reads
// in the result. An attacker cannot make such structures, but every rule about their content is reached, and a wrong
// verdict shows: OpenSSL reads the same octets with other code.
#pragma once

#include <openssl/ocsp.h>
#include <openssl/x509.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/tree_edits.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/pki.h"

namespace fuzz {

/// A finding, with what was expected.
inline void require(bool condition, const std::string& expected) {
    if (!condition) {
        std::fprintf(stderr, "expected: %s\n", expected.c_str());
        std::abort();
    }
}

struct ResignedPki {
    testkit::Identity root, ca, leaf, delegate;
    Bytes rootCrl, caCrl;
    Bytes responseData;  // the part of a good response that is signed

    /// Ed25519 keys: their signatures are the same in every run.
    static const ResignedPki& shared();
};

/// The certificate or CRL with edits of its signed part, signed again.
Bytes resigned(const Bytes& der, const testkit::Identity& issuer, std::span<const Edit> edits);

/// A response with this signed part, signed by `signer`, that carries `certificates`.
Bytes responseWith(const Bytes& responseData, const testkit::Key& signer, const std::vector<Bytes>& certificates);

/// What OpenSSL finds wrong with the path from `end` over `ca` to `root` with these CRLs; empty: nothing, or it misses
/// a certificate or a CRL. It then follows a key identifier; the library goes by names and keys, as RFC 5280 has it.
std::string opensslFault(const Bytes& end, const Bytes& ca, const Bytes& root, const std::vector<Bytes>& crls);

/// How many entries OpenSSL reads in the response that have this serial number and status.
int numEntries(const Bytes& response, const Bytes& serial, int status);

}  // namespace fuzz
