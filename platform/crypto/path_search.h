// Finds the way from a certificate to a root. OpenSSL's own builder takes the first issuer whose name fits and does not
// come back from a dead end, so that a certificate of the same name, or a cross certificate of an unknown root, thrown
// into a response would spoil a good chain. Here only issuers whose key really made the signature count, the shortest
// way to a trusted root wins, and OpenSSL then judges that way alone (chain_verifier.h).
#pragma once

#include <functional>
#include <vector>

#include "platform/crypto/chain_sources.h"
#include "platform/crypto/signature_ledger.h"

namespace tallow::platform {

struct Path {
    std::vector<CertificateRef> elements;  // the end certificate first
    bool anchored = false;                 // the last element is a trusted root
    bool selfSigned = false;               // the last element is self-signed; always so when anchored
};

// Further candidates for the issuer of a certificate; empty when there are none to be had. Asked in turn, until one of
// them gave the true issuer.
using IssuerFetcher = std::function<std::vector<CertificateRef>(const Certificate&)>;
using IssuerFetchers = std::vector<IssuerFetcher>;

// The best path there is, never empty. Preferred: one to a trusted root with every certificate valid at `when`; then
// one to a trusted root; then one to another self-signed certificate. Where no issuer made the signature but one bears
// the issuer's name, that one stands in the path, so that the caller sees a bad signature and not a missing issuer.
Path findPath(const CertificateRef& end, const ChainSources& sources, const FILETIME& when,
              const IssuerFetchers& fetchers, SignatureLedger& ledger);

// notBefore <= when <= notAfter.
bool isValidAt(const CERT_INFO& info, const FILETIME& when) noexcept;

bool sameBytes(ByteView left, ByteView right) noexcept;

}  // namespace tallow::platform
