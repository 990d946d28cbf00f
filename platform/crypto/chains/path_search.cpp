#include "platform/crypto/chains/path_search.h"

#include <algorithm>
#include <utility>

#include "platform/crypto/chains/certificate_rules.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kMaxElements = 12;     // of a path; real ones have two to five
constexpr std::size_t kMaxNodes = 64;        // certificates followed, each once for every way that leads to it
constexpr std::size_t kMaxWays = 4;          // that lead to one certificate
constexpr std::size_t kMaxDownloaded = 256;  // certificates, all downloads of the search together
constexpr int kMaxSearchChecks = 70;         // signature checks; the rest is left for CRLs
constexpr int kMaxFailuresInARow = 8;        // before other certificates are tried

}  // namespace

PathSearch::PathSearch(const CertificateRef& end, const ChainSources& sources, const FILETIME& when,
                       const IssuerFetchers& fetchers, SignatureLedger& ledger)
    : fetchers_(fetchers), when_(when), ledger_(ledger), candidates_(sources, when) {
    nodes_.push_back({end, 0, 1, true, Origin::kRoot});
}

std::optional<Path> PathSearch::next(bool mayDownload) {
    const CertificateRef& end = nodes_[0].certificate;
    if (end->x509() == nullptr || candidates_.isRoot(end)) {
        const bool isRoot = end->x509() != nullptr;
        return std::exchange(given_, true) ? std::nullopt : std::optional(Path{{end}, isRoot, isRoot});
    }
    do {
        if (std::optional<Path> path = walk()) {
            given_ = true;
            return path;
        }
    } while (widen(mayDownload));
    return leftover();
}

// Visits the certificates in turn until a visit gives a path, or all candidates have been tried.
std::optional<Path> PathSearch::walk() {
    const auto isUntried = [](const Node& node) { return !node.opened || node.tried < node.candidates.size(); };
    do {
        while (at_ < nodes_.size()) {
            if (std::optional<Path> path = visit(at_++)) {
                return path;
            }
        }
        at_ = 0;
    } while (std::any_of(nodes_.begin(), nodes_.end(), isUntried));
    return std::nullopt;
}

// Tries the candidates for the issuer up to the first that made the signature. The others wait until the way over this
// one is followed: junk in a response must not use up the signature checks below a good issuer.
std::optional<Path> PathSearch::visit(std::size_t node) {
    open(node);
    for (int failures = 0; failures < kMaxFailuresInARow && nodes_[node].tried < nodes_[node].candidates.size();) {
        const IssuerCandidate issuer = nodes_[node].candidates[nodes_[node].tried++];
        if (verifies(*nodes_[node].certificate, *issuer.certificate)) {
            return follow(node, issuer);
        }
        ++failures;
    }
    return std::nullopt;
}

void PathSearch::open(std::size_t node) {
    if (nodes_[node].opened) {
        return;
    }
    nodes_[node].opened = true;
    nodes_[node].asked.resize(fetchers_.size());
    const CertificateRef certificate = nodes_[node].certificate;
    if (isSelfSigned(*certificate)) {
        nodes_[node].isEnd = true;
        held_.push_back(pathTo(node));
        held_.back().selfSigned = true;
        return;
    }
    nodes_[node].isEnd = nodes_[node].depth >= kMaxElements;
    addCandidates(node, candidates_.of(*certificate, Spelling::kSame));
    if (otherSpellings_) {
        addCandidates(node, candidates_.of(*certificate, Spelling::kOther));
    }
}

void PathSearch::addCandidates(std::size_t node, std::vector<IssuerCandidate>&& more) {
    if (nodes_[node].isEnd) {
        return;
    }
    for (IssuerCandidate& candidate : more) {
        if (!isOnPath(node, candidate.certificate)) {
            nodes_[node].candidates.push_back(std::move(candidate));
        }
    }
}

std::optional<Path> PathSearch::follow(std::size_t node, const IssuerCandidate& issuer) {
    nodes_[node].hasLocalIssuer |= issuer.origin <= Origin::kLocal;
    nodes_[node].hasFetchedIssuer |= issuer.origin == Origin::kFetched;
    const bool validNow = nodes_[node].validNow && isValidAt(issuer.certificate->info(), when_);
    if (issuer.origin == Origin::kRoot) {
        Path path = pathTo(node);
        path.elements.push_back(issuer.certificate);
        path.anchored = true;
        path.selfSigned = true;
        if (validNow) {
            return path;
        }
        held_.push_back(std::move(path));
        return std::nullopt;
    }
    const auto ways = std::count_if(nodes_.begin(), nodes_.end(), [&](const Node& known) {
        return sameCertificate(known.certificate, issuer.certificate);
    });
    if (nodes_.size() < kMaxNodes && static_cast<std::size_t>(ways) < kMaxWays) {
        nodes_.push_back({issuer.certificate, node, nodes_[node].depth + 1, validNow, issuer.origin});
    }
    return std::nullopt;
}

// Looks for more candidates; false when none are available.
bool PathSearch::widen(bool mayDownload) {
    if (otherSpellings_) {
        return mayDownload && download();
    }
    otherSpellings_ = true;
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        addCandidates(i, candidates_.of(*nodes_[i].certificate, Spelling::kOther));
    }
    return true;
}

// Asks addresses until one has certificates. In the first round a certificate is asked for that has no issuer in a
// store and none from an address; in the second each, since what was found has led to no path without a fault.
bool PathSearch::download() {
    for (const bool all : {false, true}) {
        for (std::size_t fetcher = 0; fetcher < fetchers_.size(); ++fetcher) {
            for (const std::size_t node : nodesToAsk(all)) {
                if (ask(node, fetcher)) {
                    return true;
                }
            }
        }
    }
    return false;
}

// Certificates near the end certificate come first, and carried ones last, so that certificates in a response, which
// anyone may have put there, do not use up the downloads.
std::vector<std::size_t> PathSearch::nodesToAsk(bool all) const {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        if (!nodes_[i].isEnd && (all || (!nodes_[i].hasLocalIssuer && !nodes_[i].hasFetchedIssuer))) {
            found.push_back(i);
        }
    }
    std::stable_sort(found.begin(), found.end(), [&](std::size_t left, std::size_t right) {
        return std::pair(nodes_[left].depth, nodes_[left].origin) <
               std::pair(nodes_[right].depth, nodes_[right].origin);
    });
    return found;
}

bool PathSearch::ask(std::size_t node, std::size_t fetcher) {
    std::vector<CertificateRef> found;
    while (found.empty() && nodes_[node].asked[fetcher] != kNoAddress) {
        if (!fetchers_[fetcher](*nodes_[node].certificate, nodes_[node].asked[fetcher]++, found)) {
            nodes_[node].asked[fetcher] = kNoAddress;
        }
    }
    if (found.empty() || numDownloaded_ >= kMaxDownloaded) {
        return false;
    }
    numDownloaded_ += found.size();
    candidates_.add(found);
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        addCandidates(i, candidates_.downloaded(*nodes_[i].certificate, found));
    }
    return true;
}

// The paths with a fault, trusted ones first; if there was no path at all, an incomplete one.
std::optional<Path> PathSearch::leftover() {
    if (held_.empty()) {
        return std::exchange(given_, true) ? std::nullopt : std::optional(unsoundPath());
    }
    auto best = std::find_if(held_.begin(), held_.end(), [](const Path& path) { return path.anchored; });
    best = best == held_.end() ? held_.begin() : best;
    Path path = std::move(*best);
    held_.erase(best);
    given_ = true;
    return path;
}

// From the certificate to which the longest sound way leads, on over issuers by name, so that the caller sees a bad
// signature and not a missing issuer.
Path PathSearch::unsoundPath() {
    const auto deepest = std::max_element(nodes_.begin(), nodes_.end(),
                                          [](const Node& left, const Node& right) { return left.depth < right.depth; });
    Path path = pathTo(static_cast<std::size_t>(deepest - nodes_.begin()));
    while (!path.selfSigned && path.elements.size() < kMaxElements) {
        const CertificateRef last = path.elements.back();
        std::vector<IssuerCandidate> found = candidates_.of(*last, Spelling::kSame);
        std::vector<IssuerCandidate> more = candidates_.of(*last, Spelling::kOther);
        found.insert(found.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
        std::erase_if(found, [&](const IssuerCandidate& candidate) {
            return std::any_of(path.elements.begin(), path.elements.end(), [&](const CertificateRef& element) {
                return sameCertificate(element, candidate.certificate);
            });
        });
        if (found.empty()) {
            break;
        }
        auto issuer = std::find_if(found.begin(), found.end(), [&](const IssuerCandidate& candidate) {
            return verifies(*last, *candidate.certificate);
        });
        issuer = issuer == found.end() ? found.begin() : issuer;
        path.elements.push_back(issuer->certificate);
        path.anchored = issuer->origin == Origin::kRoot;
        path.selfSigned = path.anchored || isSelfSigned(*issuer->certificate);
    }
    return path;
}

bool PathSearch::isOnPath(std::size_t node, const CertificateRef& certificate) const {
    for (std::size_t at = node;; at = nodes_[at].parent) {
        if (sameCertificate(nodes_[at].certificate, certificate)) {
            return true;
        }
        if (at == 0) {
            return false;
        }
    }
}

bool PathSearch::verifies(const Certificate& subject, const Certificate& issuer) {
    return ledger_.verifies(subject, issuer, kMaxSearchChecks);
}

bool PathSearch::isSelfSigned(const Certificate& certificate) {
    return isSelfIssued(certificate) && verifies(certificate, certificate);
}

Path PathSearch::pathTo(std::size_t node) const {
    Path path;
    for (std::size_t at = node;; at = nodes_[at].parent) {
        path.elements.insert(path.elements.begin(), nodes_[at].certificate);
        if (at == 0) {
            return path;
        }
    }
}

Path findPath(const CertificateRef& end, const ChainSources& sources, const FILETIME& when,
              const IssuerFetchers& fetchers, SignatureLedger& ledger) {
    return *PathSearch(end, sources, when, fetchers, ledger).next(true);
}

}  // namespace tallow::platform
