// The certificates that may have issued another one, as far as their names go, in the order in which to try them.
#pragma once

#include <map>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/crypto/chains/chain_sources.h"

namespace tallow::platform {

// Where a candidate comes from, the most trusted first: anybody can put certificates into a response.
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
    // What is given must outlive the object.
    IssuerCandidates(const ChainSources& sources, const FILETIME& when) : sources_(sources), when_(when) {}

    // Those for `subject`, at most 256, and only such as OpenSSL can read: roots, then what stores have, then what was
    // downloaded, then certificates passed by the caller; within each first those that made the signature in an earlier
    // call, whose key identifier fits, and that are valid.
    std::vector<IssuerCandidate> of(const Certificate& subject, Spelling spelling) const;
    // Those among `certificates`, in either spelling.
    std::vector<IssuerCandidate> downloaded(const Certificate& subject,
                                            const std::vector<CertificateRef>& certificates) const;

    // Adds what was downloaded to the candidates for all certificates.
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
    // Parsed once each, however many names they are compared with: long ones cost a millisecond.
    mutable std::unordered_map<const Certificate*, std::pair<CertificateRef, X509NamePtr>> subjects_;
};

bool sameCertificate(const CertificateRef& left, const CertificateRef& right) noexcept;
bool sameBytes(ByteView left, ByteView right) noexcept;

// notBefore <= when <= notAfter.
bool isValidAt(const CERT_INFO& info, const FILETIME& when) noexcept;

}  // namespace tallow::platform
