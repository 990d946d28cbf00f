// The last chain that the service built, with what CRLs said about its certificates. Private to the library.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "checker/checker.h"
#include "platform/crypto/crypto_service.h"

namespace tallow {

/// A certificate of a chain as the service judged it.
struct NotedCertificate {
    Bytes der, subject, issuer;  // the names as DER
    Bytes serial;                // big-endian
    FILETIME notBefore{}, notAfter{};
    DWORD errors = 0;  // CERT_TRUST_... bits
    bool isRevocationChecked = false;
    DWORD revocation = 0;  // what CRYPTO_NOTE::dwError says about it
    std::string reason;    // CRYPTO_NOTE::szReason, safe
    Bytes crlIssuer;       // DER; empty when there was no CRL
    std::optional<Time> crlThisUpdate, crlNextUpdate;
};

/// Bounded. Functions may throw std::bad_alloc; the notes are then incomplete.
class ChainNotes {
public:
    /// A chain that starts within the one before it replaces its upper part: chains are built without CRLs first, and
    /// with them from the first certificate that must be checked.
    void takeChain(const CERT_CHAIN_CONTEXT& chain);
    /// About a certificate of the next chain.
    void takeCrl(const CRYPTO_NOTE& note);

    /// From the lowest; empty before the first chain.
    const std::vector<NotedCertificate>& certificates() const { return certificates_; }
    /// The error bits of the chain as a whole.
    DWORD errors() const { return errors_; }

private:
    struct Lookup {
        Bytes certificate;
        NotedCertificate found;
    };
    void addStatus(NotedCertificate& certificate, const CERT_CHAIN_ELEMENT& element) const;

    std::vector<NotedCertificate> certificates_;
    DWORD errors_ = 0;
    std::vector<Lookup> lookups_;
};

}  // namespace tallow
