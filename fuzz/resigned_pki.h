// A small PKI whose certificates, CRL and response the input edits and the harness signs again, and what OpenSSL reads
// in the result. An attacker cannot make such structures, but every rule about their content is reached, and a wrong
// verdict shows: OpenSSL reads the same octets with other code.
#pragma once

#include <openssl/ocsp.h>
#include <openssl/x509.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
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
    Bytes responseData;      // the part of a good response that is signed
    Bytes responseDataOfCa;  // the same of a response by the CA itself

    /// Ed25519 keys: their signatures are the same in every run.
    static const ResignedPki& shared();
};

/// The certificate or CRL with edits of its signed part, signed again.
Bytes resigned(const Bytes& der, const testkit::Identity& issuer, std::span<const Edit> edits);

/// A response with this signed part, signed by `signer`, that carries `certificates`.
Bytes responseWith(const Bytes& responseData, const testkit::Key& signer, const std::vector<Bytes>& certificates);

/// What OpenSSL finds wrong with the path from `end` over `ca` to `root` with these CRLs, or empty. It may miss a
/// certificate or CRL whose key identifiers do not fit, which the library ignores (RFC 5280, 4.2.1.1), and a CRL that
/// it does not decode, such as one with an extension whose identifier begins with the octet 80.
std::string opensslFault(const Bytes& end, const Bytes& ca, const Bytes& root, const std::vector<Bytes>& crls);

struct FreeShallow {
    void operator()(STACK_OF(X509) * list) const { sk_X509_free(list); }
};
/// A list that does not own its certificates.
using X509List = std::unique_ptr<STACK_OF(X509), FreeShallow>;

/// What OpenSSL reads in a response about the certificate `leaf` of `ca`.
struct Reading {
    bool isSigned = false;              // with the key of `signer`, which the responder id names
    bool hasCriticalExtension = false;  // in the response, or in an entry about the certificate
    bool isCurrent = true;              // no entry about the certificate has times that the checker must reject
    int numGood = 0, numRevoked = 0, numUnknown = 0;  // entries about the certificate
};

/// Absent: OpenSSL does not read it.
std::optional<Reading> opensslReading(const Bytes& response, const testkit::Identity& signer, const Bytes& leaf,
                                      const Bytes& ca);

}  // namespace fuzz
