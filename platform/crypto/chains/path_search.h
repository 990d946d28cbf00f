// Finds paths from a certificate to a root. OpenSSL's own builder takes the first issuer whose name fits and does not
// backtrack, so a certificate of the same name in a response, or a cross certificate of an unknown root, would spoil a
// good chain. Here an issuer is accepted only with the signature it made, and there may be several paths: they are
// verified one after the other (chain_verifier.h) until one has no fault.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "platform/crypto/chains/issuer_candidates.h"
#include "platform/crypto/chains/signature_ledger.h"

namespace tallow::platform {

struct Path {
    std::vector<CertificateRef> elements;  // the end certificate first
    bool anchored = false;                 // the last element is a trusted root
    bool selfSigned = false;               // the last element is self-signed; always so when anchored
};

// Certificates from the address number `index` that `subject` names for its issuer; nothing may be found there. False
// when it names no such address.
using IssuerFetcher =
    std::function<bool(const Certificate& subject, std::size_t index, std::vector<CertificateRef>& found)>;
// Used in this order.
using IssuerFetchers = std::vector<IssuerFetcher>;

// Returns the paths one by one. First those to a trusted root with valid certificates above the end certificate and
// signatures that verify: over certificates of stores before carried ones. Then names in other spellings are tried, and
// then downloads, first for certificates without an issuer in a store. Then come paths to a trusted root that are not
// valid in time, and those to another self-signed certificate. If there is no such path, one incomplete path shows the
// caller what is wrong: as far as signatures lead, and then by name only.
//
// Nothing is downloaded for a certificate unless all signatures below it verify.
class PathSearch {
public:
    // All arguments must outlive the object.
    PathSearch(const CertificateRef& end, const ChainSources& sources, const FILETIME& when,
               const IssuerFetchers& fetchers, SignatureLedger& ledger);

    // The next path; the first call always returns one. Fetchers are used only when `mayDownload`.
    std::optional<Path> next(bool mayDownload);

private:
    static constexpr std::size_t kNoAddress = static_cast<std::size_t>(-1);

    // A certificate and the way that led to it: all signatures on that way verify.
    struct Node {
        CertificateRef certificate;
        std::size_t parent;  // towards the end certificate
        std::size_t depth;   // elements from the end certificate to here
        bool validNow;       // all of them but the end certificate, which no other path would change
        Origin origin;
        std::vector<IssuerCandidate> candidates = {};
        std::size_t tried = 0;  // candidates looked at
        bool opened = false;
        bool isEnd = false;  // self-signed, or as deep as a path may get
        bool hasLocalIssuer = false;
        bool hasFetchedIssuer = false;
        std::vector<std::size_t> asked = {};  // for each fetcher: addresses asked, kNoAddress when all were
    };

    std::optional<Path> walk();
    std::optional<Path> visit(std::size_t node);
    void open(std::size_t node);
    std::optional<Path> follow(std::size_t node, const IssuerCandidate& issuer);
    bool widen(bool mayDownload);
    bool download();
    bool ask(std::size_t node, std::size_t fetcher);
    std::vector<std::size_t> nodesToAsk(bool all) const;
    std::optional<Path> leftover();

    void addCandidates(std::size_t node, std::vector<IssuerCandidate>&& more);
    bool isOnPath(std::size_t node, const CertificateRef& certificate) const;
    bool verifies(const Certificate& subject, const Certificate& issuer);
    bool isSelfSigned(const Certificate& certificate);
    Path pathTo(std::size_t node) const;
    Path unsoundPath();

    const IssuerFetchers& fetchers_;
    const FILETIME& when_;
    SignatureLedger& ledger_;
    IssuerCandidates candidates_;
    std::vector<Node> nodes_;
    std::size_t at_ = 0;  // the node to visit next
    bool otherSpellings_ = false;
    std::vector<Path> held_;  // with a fault, for later
    bool given_ = false;      // a path was
    std::size_t numDownloaded_ = 0;
};

// The first path.
Path findPath(const CertificateRef& end, const ChainSources& sources, const FILETIME& when,
              const IssuerFetchers& fetchers, SignatureLedger& ledger);

}  // namespace tallow::platform
