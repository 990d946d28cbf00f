#include "platform/crypto/path_search.h"

#include <openssl/x509v3.h>

#include <algorithm>
#include <optional>

namespace tallow::platform {

namespace {

constexpr std::size_t kMaxElements = 12;      // of a path; real ones have two to five
constexpr std::size_t kMaxNodes = 40;         // certificates looked into
constexpr std::size_t kMaxCandidates = 24;    // issuers tried for one certificate
constexpr std::size_t kMaxNamesParsed = 512;  // certificates compared by parsed name when no name has the same bytes
constexpr int kMaxSearchChecks = 70;          // signature checks; the rest is left for CRLs

unsigned long long ticks(const FILETIME& time) noexcept {
    return static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

bool sameCertificate(const CertificateRef& left, const CertificateRef& right) noexcept {
    return left.get() == right.get() || sameBytes(left->der(), right->der());
}

// How well the key identifiers fit: 0 they match, 1 nothing is said, 2 they differ. A hint for the order alone.
int keyIdentifierRank(const Certificate& subject, const Certificate& issuer) {
    const ASN1_OCTET_STRING* const wanted = X509_get0_authority_key_id(subject.x509());
    const ASN1_OCTET_STRING* const offered = X509_get0_subject_key_id(issuer.x509());
    if (wanted == nullptr || offered == nullptr) {
        return 1;
    }
    return ASN1_OCTET_STRING_cmp(wanted, offered) == 0 ? 0 : 2;
}

class PathSearch {
public:
    PathSearch(const CertificateRef& end, const ChainSources& sources, const FILETIME& when,
               const IssuerFetchers& fetchers, SignatureLedger& ledger)
        : sources_(sources), when_(when), fetchers_(fetchers), ledger_(ledger) {
        nodes_.push_back({end, 0, 1, isValidAt(end->info(), when), true});
    }

    Path run() {
        if (nodes_[0].certificate->x509() == nullptr) {
            return pathTo(0);
        }
        if (isRoot(nodes_[0].certificate)) {
            return finished(0, nullptr);
        }
        for (std::size_t i = 0; i < nodes_.size() && rank_ < kAnchoredNow; ++i) {
            expand(i);
        }
        return best_ ? std::move(*best_) : pathTo(deepestNode());
    }

private:
    struct Node {
        CertificateRef certificate;
        std::size_t parent;  // towards the end certificate
        std::size_t depth;   // elements from the end certificate to here
        bool validNow;       // all of them
        bool sound;          // all signatures between them verify
    };
    enum Rank { kNone, kUnsound, kUntrusted, kAnchored, kAnchoredNow };
    struct Candidate {
        CertificateRef certificate;
        bool root = false;
        int order = 0;
    };

    bool isRoot(const CertificateRef& certificate) const {
        return sameBytes(view(certificate->info().Subject), view(certificate->info().Issuer)) &&
               std::any_of(sources_.roots.begin(), sources_.roots.end(),
                           [&](const CertificateRef& root) { return sameCertificate(root, certificate); });
    }

    bool isSelfSigned(const CertificateRef& certificate) {
        return sameBytes(view(certificate->info().Subject), view(certificate->info().Issuer)) &&
               ledger_.verifies(*certificate, *certificate);
    }

    bool isOnPath(std::size_t node, const CertificateRef& certificate) const {
        for (std::size_t at = node;; at = nodes_[at].parent) {
            if (sameCertificate(nodes_[at].certificate, certificate)) {
                return true;
            }
            if (at == 0) {
                return false;
            }
        }
    }

    bool isKnown(const CertificateRef& certificate) const {
        return std::any_of(nodes_.begin(), nodes_.end(),
                           [&](const Node& node) { return sameCertificate(node.certificate, certificate); });
    }

    // The certificates among `from` that bear the issuer's name.
    template <typename Fits>
    void collect(std::size_t node, const std::vector<CertificateRef>& from, bool roots, std::vector<Candidate>& found,
                 Fits fits) const {
        for (const CertificateRef& certificate : from) {
            if (fits(*certificate) && certificate->x509() != nullptr && !isOnPath(node, certificate)) {
                const bool trusted = roots && isRoot(certificate);
                found.push_back({certificate, trusted, order(node, *certificate)});
            }
        }
    }

    int order(std::size_t node, const Certificate& issuer) const {
        return 2 * keyIdentifierRank(*nodes_[node].certificate, issuer) + (isValidAt(issuer.info(), when_) ? 0 : 1);
    }

    std::vector<Candidate> candidates(std::size_t node) const {
        const Certificate& subject = *nodes_[node].certificate;
        const ByteView wanted = view(subject.info().Issuer);
        const auto sameName = [&](const Certificate& issuer) { return sameBytes(view(issuer.info().Subject), wanted); };
        std::vector<Candidate> found;
        collect(node, sources_.roots, true, found, sameName);
        collect(node, sources_.others, false, found, sameName);
        collect(node, fetched_, false, found, sameName);
        if (found.empty()) {
            // A name may be written in another string type or case in the issuer than in the subject.
            std::size_t parsed = 0;
            const auto equalName = [&](const Certificate& issuer) {
                return ++parsed <= kMaxNamesParsed && issuer.x509() != nullptr &&
                       X509_NAME_cmp(X509_get_subject_name(issuer.x509()), X509_get_issuer_name(subject.x509())) == 0;
            };
            collect(node, sources_.roots, true, found, equalName);
            collect(node, sources_.others, false, found, equalName);
            collect(node, fetched_, false, found, equalName);
        }
        std::stable_sort(found.begin(), found.end(),
                         [](const Candidate& left, const Candidate& right) { return left.order < right.order; });
        // Cut after sorting: a crowd of namesakes in a response must not keep out the one whose key identifier fits.
        found.resize(std::min(found.size(), kMaxCandidates));
        return found;
    }

    bool verifies(std::size_t node, const Candidate& issuer) {
        return ledger_.checksMade() < kMaxSearchChecks &&
               ledger_.verifies(*nodes_[node].certificate, *issuer.certificate);
    }

    void expand(std::size_t node) {
        const CertificateRef certificate = nodes_[node].certificate;
        if (isSelfSigned(certificate)) {
            finishUntrusted(node);
            return;
        }
        if (nodes_[node].depth >= kMaxElements) {
            return;
        }
        std::vector<Candidate> found = candidates(node);
        bool followed = followVerified(node, found);
        for (const IssuerFetcher& fetcher : fetchers_) {
            if (followed) {
                return;
            }
            const std::vector<CertificateRef> more = fetcher(*certificate);
            if (!more.empty()) {
                fetched_.insert(fetched_.end(), more.begin(), more.end());
                found = candidates(node);
                followed = followVerified(node, found);
            }
        }
        if (!followed && !found.empty()) {
            follow(node, found.front(), false);
        }
    }

    // Goes on from every candidate that made the signature; false when none did.
    bool followVerified(std::size_t node, const std::vector<Candidate>& found) {
        bool any = false;
        for (const Candidate& issuer : found) {
            if (rank_ < kAnchoredNow && verifies(node, issuer)) {
                any = true;
                follow(node, issuer, true);
            }
        }
        return any;
    }

    void follow(std::size_t node, const Candidate& issuer, bool verified) {
        const bool sound = nodes_[node].sound && verified;
        const bool validNow = nodes_[node].validNow && isValidAt(issuer.certificate->info(), when_);
        if (issuer.root) {
            finish(node, issuer.certificate, sound, validNow);
        } else if (nodes_.size() < kMaxNodes && !isKnown(issuer.certificate)) {
            nodes_.push_back({issuer.certificate, node, nodes_[node].depth + 1, validNow, sound});
        }
    }

    void finish(std::size_t node, const CertificateRef& root, bool sound, bool validNow) {
        const Rank rank = !sound ? kUnsound : validNow ? kAnchoredNow : kAnchored;
        if (rank > rank_) {
            best_ = finished(node, &root);
            rank_ = rank;
        }
    }

    void finishUntrusted(std::size_t node) {
        const Rank rank = nodes_[node].sound ? kUntrusted : kUnsound;
        if (rank > rank_) {
            best_ = pathTo(node);
            best_->selfSigned = true;
            rank_ = rank;
        }
    }

    Path finished(std::size_t node, const CertificateRef* root) const {
        Path path = pathTo(node);
        if (root != nullptr) {
            path.elements.push_back(*root);
        }
        path.anchored = true;
        path.selfSigned = true;
        return path;
    }

    Path pathTo(std::size_t node) const {
        Path path;
        for (std::size_t at = node;; at = nodes_[at].parent) {
            path.elements.insert(path.elements.begin(), nodes_[at].certificate);
            if (at == 0) {
                return path;
            }
        }
    }

    std::size_t deepestNode() const {
        std::size_t deepest = 0;
        for (std::size_t i = 1; i < nodes_.size(); ++i) {
            if (nodes_[i].depth > nodes_[deepest].depth) {
                deepest = i;
            }
        }
        return deepest;
    }

    const ChainSources& sources_;
    const FILETIME& when_;
    const IssuerFetchers& fetchers_;
    SignatureLedger& ledger_;
    std::vector<Node> nodes_;
    std::vector<CertificateRef> fetched_;
    std::optional<Path> best_;
    Rank rank_ = kNone;
};

}  // namespace

bool sameBytes(ByteView left, ByteView right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}

bool isValidAt(const CERT_INFO& info, const FILETIME& when) noexcept {
    return ticks(info.NotBefore) <= ticks(when) && ticks(when) <= ticks(info.NotAfter);
}

Path findPath(const CertificateRef& end, const ChainSources& sources, const FILETIME& when,
              const IssuerFetchers& fetchers, SignatureLedger& ledger) {
    return PathSearch(end, sources, when, fetchers, ledger).run();
}

}  // namespace tallow::platform
