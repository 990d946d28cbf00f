// The certificates whose name fits that of an issuer, in the order in which to try them.
#pragma once

#include <map>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/crypto/chains/chain_sources.h"

namespace tallow::platform {

// Where a candidate comes from, the most trusted first: anyone can put certificates into a response.
enum class Origin { kRoot, kLocal, kFetched, kCarried };

struct IssuerCandidate {
    CertificateRef certificate;
    Origin origin = Origin::kCarried;  // kRoot: self-issued, and a trusted root
    int order = 0;
};

// How the subject of the candidate writes the name: with the bytes of the issuer's name that is looked for, or
// otherwise (another string type, case or white space) for the same name (RFC 5280 section 7.1).
enum class Spelling { kSame, kOther };

class IssuerCandidates {
public:
    // All arguments must outlive the object.
    IssuerCandidates(const ChainSources& sources, const FILETIME& when) : sources_(sources), when_(when) {}

    // The candidates for `subject`, at most 256, and only those that OpenSSL can read: roots, then certificates from
    // stores, from downloads, and from the caller. Within each, those come first that made the signature in an earlier
    // call, whose key identifier fits, and that are valid.
    std::vector<IssuerCandidate> of(const Certificate& subject, Spelling spelling) const;
    // The same among `certificates`, in either spelling.
    std::vector<IssuerCandidate> downloaded(const Certificate& subject,
                                            const std::vector<CertificateRef>& certificates) const;

    // Adds downloaded certificates to the candidates for all certificates.
    void add(const std::vector<CertificateRef>& downloaded);

    // Whether the certificate is a trusted root: self-issued, and among the roots.
    bool isRoot(const CertificateRef& certificate) const;

private:
    struct Named {
        CertificateRef certificate;
        Origin origin;
    };
    // The certificates with a name, by its DER.
    using ByName = std::map<std::string, std::vector<Named>>;

    const std::vector<Named>& named(ByteView name, Spelling spelling) const;
    const X509_NAME* subjectOf(const CertificateRef& certificate) const;
    void collect(ByteView name, Spelling spelling, std::span<const CertificateRef> from, Origin origin,
                 std::vector<Named>& found) const;
    void append(const Certificate& subject, const std::vector<Named>& named, std::vector<IssuerCandidate>& found) const;

    const ChainSources& sources_;
    const FILETIME& when_;
    std::vector<CertificateRef> fetched_;
    mutable ByName same_;  // what was looked up, since many certificates may name the same issuer
    mutable ByName other_;
    // Each is parsed only once: a long one costs a millisecond.
    mutable std::unordered_map<const Certificate*, std::pair<CertificateRef, X509NamePtr>> subjects_;
};

bool sameCertificate(const CertificateRef& left, const CertificateRef& right) noexcept;
bool sameBytes(ByteView left, ByteView right) noexcept;

// notBefore <= when <= notAfter.
bool isValidAt(const CERT_INFO& info, const FILETIME& when) noexcept;

}  // namespace tallow::platform
