#include "proof/forgeries/model.h"

#include <algorithm>

namespace proof {

namespace {

constexpr long kTolerance = 180;          // between two clocks
constexpr long kOldest = 7L * 24 * 3600;  // of an entry without nextUpdate
constexpr long kYoungSince = 600;         // Dates::kYoung
constexpr long kLeafExpired = -10L * 24 * 3600;

// ---- The chain of the signer ----------------------------------------------------------------------------------------

// One certificate of the chain, from the signer up to, but without, the root.
struct Link {
    Dates dates;
    bool isForged;
    bool hasUnknownCritical;
    bool isRevoked;
    bool isRevocationExempt;
};

struct Path {
    std::vector<Link> links;
    std::vector<const Authority*> issuers;  // of each link
    bool endsAtRoot = true;
};

Link linkOf(const Authority& authority) {
    return {authority.dates, authority.isForged, authority.hasUnknownCritical, authority.isRevoked, false};
}

const Authority kSoundAuthority;

// The CAs from the issuer of the leaf, or the one above it, up to the root.
void addAuthorities(const Description& d, Path& path, bool withIssuer) {
    if (withIssuer && d.depth > 0) {
        path.links.push_back(linkOf(d.issuer));
        path.issuers.push_back(d.depth == 2 ? &d.upper : &d.root);
    }
    if (d.depth == 2) {
        path.links.push_back(linkOf(d.upper));
        path.issuers.push_back(&d.root);
    }
}

Path pathOfSigner(const Description& d) {
    Path path;
    const Link delegate{d.delegate.dates, d.delegate.isForged, d.delegate.hasUnknownCritical, d.delegate.isRevoked,
                        d.delegate.hasNoCheck};
    switch (d.signer) {
        case SignerKind::kIssuer:
            addAuthorities(d, path, true);
            break;
        case SignerKind::kDelegate:
            path.links.push_back(delegate);
            path.issuers.push_back(&issuerOf(d));
            addAuthorities(d, path, true);
            break;
        case SignerKind::kLeaf:
            path.links.push_back(
                {d.isLeafExpired ? Dates::kExpired : Dates::kValid, d.isLeafForged, false, false, false});
            path.issuers.push_back(&issuerOf(d));
            addAuthorities(d, path, true);
            break;
        case SignerKind::kDelegateOfOther:
            path.links.push_back(delegate);
            path.issuers.push_back(&kSoundAuthority);
            path.links.push_back(linkOf(kSoundAuthority));
            path.issuers.push_back(&d.root);
            break;
        case SignerKind::kDelegateOfRoot:
            path.links.push_back(delegate);
            path.issuers.push_back(d.depth == 2 ? &d.upper : &d.root);
            addAuthorities(d, path, false);
            break;
        case SignerKind::kAbove:
            addAuthorities(d, path, false);
            break;
        case SignerKind::kSelfSigned:
        case SignerKind::kSameName:
            path.endsAtRoot = false;
            break;
    }
    return path;
}

bool isValidAt(Dates dates, long when) {
    switch (dates) {
        case Dates::kValid:
            return true;  // a year on both sides
        case Dates::kExpired:
            return when < -3600;
        case Dates::kNotYetValid:
            return when >= 3600;
        case Dates::kYoung:
            return when >= -kYoungSince;
    }
    return false;
}

// Whether a CRL of `issuer` shows that nothing of `link` is revoked.
bool isKnownGood(const Link& link, const Authority& issuer) {
    return link.isRevocationExempt || (issuer.crl == CrlState::kFresh && !link.isRevoked);
}

void examinePath(const Description& d, std::set<Violation>& found) {
    const Path path = pathOfSigner(d);
    if (!path.endsAtRoot || !d.isRootTrusted) {
        found.insert(Violation::kTrust);
    }
    if (!path.endsAtRoot) {
        return;
    }
    std::vector<Dates> dates{d.root.dates};
    for (std::size_t i = 0; i < path.links.size(); ++i) {
        const Link& link = path.links[i];
        const Authority& issuer = *path.issuers[i];
        dates.push_back(link.dates);
        // All links but the first are intermediate CAs. A trust anchor needs no basicConstraints, but what it states
        // about itself holds.
        const bool isAnchor = &issuer == &d.root;
        const bool mayIssue = (issuer.isCa || isAnchor) && issuer.maySignCertificates &&
                              (!issuer.isCa || !issuer.pathLength || static_cast<int>(i) <= *issuer.pathLength);
        if (!mayIssue || link.isForged || link.hasUnknownCritical) {
            found.insert(Violation::kChain);
        }
        if (!isKnownGood(link, issuer)) {
            found.insert(Violation::kRevocation);
        }
    }
    if (d.root.hasUnknownCritical) {
        found.insert(Violation::kChain);
    }
    for (const Dates one : dates) {
        if (!isValidAt(one, 0)) {
            found.insert(Violation::kDates);
        }
        if (!isValidAt(one, d.producedAt)) {
            found.insert(Violation::kDatesWhenProduced);
        }
    }
}

// ---- The signer and the response ------------------------------------------------------------------------------------

bool isAuthorised(const Description& d) {
    const bool hasUsage =
        d.delegate.extendedUsage == ExtendedUsage::kOcsp || d.delegate.extendedUsage == ExtendedUsage::kOcspAndServer;
    switch (d.signer) {
        case SignerKind::kIssuer:
            return true;
        case SignerKind::kDelegate:
            return hasUsage;
        case SignerKind::kDelegateOfRoot:
            return hasUsage && d.depth == 0;  // the root is the issuer then
        case SignerKind::kAbove:
            return d.depth == 0;
        default:
            return false;
    }
}

// keyUsage must allow signatures where it is present. Every CA here may sign CRLs or certificates, which suffices for
// the issuer itself.
bool allowsSignature(const Description& d) {
    if (isDelegate(d) || d.signer == SignerKind::kSelfSigned) {
        return d.delegate.keyUsage != KeyUsage::kKeyEncipherment && d.delegate.keyUsage != KeyUsage::kCertSignOnly;
    }
    return true;
}

bool isAtHand(const Description& d) {
    // The checker knows the leaf, its issuer, the CA above and a trusted root.
    return d.carried != Carried::kNone || d.signer == SignerKind::kIssuer ||
           (d.signer == SignerKind::kAbove && (d.depth == 2 || d.isRootTrusted)) || d.signer == SignerKind::kLeaf;
}

void examineResponse(const Description& d, std::set<Violation>& found) {
    const auto add = [&found](bool isViolated, Violation violation) {
        if (isViolated) {
            found.insert(violation);
        }
    };
    add(d.responseStatus != 0 || d.hasOtherType, Violation::kResponseStatus);
    add(d.version.value_or(0) != 0 || d.hasTrailing, Violation::kForm);
    add(d.nonce != (d.requestHasNonce ? Nonce::kMatching : Nonce::kAbsent), Violation::kNonce);
    add(!isAtHand(d) || d.isIdOfOther, Violation::kSignerNotFound);
    add(d.signing != Signing::kRight, Violation::kSignature);
    add(d.hash == Hash::kSha1 && !d.isGost, Violation::kWeakHash);
    add(!isAuthorised(d), Violation::kAuthority);
    add(!allowsSignature(d), Violation::kSignerKeyUsage);
    add(d.hasCriticalExtension, Violation::kCriticalExtension);
    add(std::any_of(d.entries.begin(), d.entries.end(),
                    [](const Entry& entry) { return entry.nextUpdate && *entry.nextUpdate <= entry.thisUpdate; }),
        Violation::kImpossibleDates);
    add(d.isLeafForged || !issuerOf(d).isCa || !issuerOf(d).maySignCertificates, Violation::kIssuerOfLeaf);
    examinePath(d, found);
}

// ---- The entries ----------------------------------------------------------------------------------------------------

bool isAuthentic(const Entry& entry) {
    return !entry.hasUnknownCritical && (!entry.nextUpdate || *entry.nextUpdate > entry.thisUpdate);
}
bool isCurrent(const Entry& entry) {
    return entry.nextUpdate ? *entry.nextUpdate > 0 : entry.thisUpdate >= -kOldest;
}
bool isPlausible(const Entry& entry, long producedAt) {
    return producedAt <= kTolerance && entry.thisUpdate <= kTolerance && entry.thisUpdate <= producedAt + kTolerance;
}

Answer answerOf(Status status) {
    return status == Status::kGood ? Answer::kGood : status == Status::kRevoked ? Answer::kRevoked : Answer::kUnknown;
}

Judgement judgeEntries(const Description& d) {
    std::vector<const Entry*> about;
    std::vector<const Entry*> undecided;  // it is not known whether they are about the leaf
    for (const Entry& entry : d.entries) {
        if (entry.hash == Hash::kUnknown) {
            if (entry.about != Subject::kOtherSerial) {
                undecided.push_back(&entry);
            }
        } else if (entry.about == Subject::kLeaf) {
            about.push_back(&entry);
        }
    }
    for (const Entry* const entry : about) {
        if (entry->status == Status::kRevoked && isAuthentic(*entry) && (about.size() > 1 || isCurrent(*entry))) {
            return {Answer::kRevoked, {}, entry};
        }
    }
    const auto isUsable = [&d](const Entry* entry) {
        return isAuthentic(*entry) && isCurrent(*entry) && isPlausible(*entry, d.producedAt) &&
               !(d.isLeafExpired && entry->thisUpdate >= kLeafExpired);
    };
    const bool isProven = !about.empty() && std::all_of(about.begin(), about.end(), isUsable) &&
                          std::all_of(undecided.begin(), undecided.end(),
                                      [](const Entry* entry) { return entry->status == Status::kGood; });
    if (!isProven) {
        return {Answer::kUnproven, {Violation::kEntry}, nullptr};
    }
    for (const Entry* const entry : about) {
        if (entry->status != Status::kGood) {
            return {answerOf(entry->status), {}, entry};
        }
    }
    return {Answer::kGood, {}, about.front()};
}

}  // namespace

Judgement judge(const Description& description) {
    Judgement judgement = judgeEntries(description);
    std::set<Violation> violations;
    examineResponse(description, violations);
    if (!violations.empty()) {
        violations.merge(judgement.violations);
        return {Answer::kUnproven, violations, nullptr};
    }
    return judgement;
}

Answer firstEntry(const Description& description) {
    for (const Entry& entry : description.entries) {
        if (entry.about == Subject::kLeaf && entry.hash == Hash::kSha1) {
            const bool isInTime =
                entry.thisUpdate <= kTolerance &&
                (!entry.nextUpdate || (*entry.nextUpdate > -kTolerance && *entry.nextUpdate >= entry.thisUpdate));
            return isInTime ? answerOf(entry.status) : Answer::kUnproven;
        }
    }
    return Answer::kUnproven;
}

const char* nameOf(Answer answer) {
    static constexpr const char* kNames[] = {"unproven", "good", "revoked", "unknown"};
    return kNames[static_cast<int>(answer)];
}

const char* nameOf(Violation violation) {
    static constexpr const char* kNames[] = {"response status",
                                             "form",
                                             "nonce",
                                             "signer not found",
                                             "signature",
                                             "weak hash",
                                             "authority",
                                             "key usage of the signer",
                                             "dates",
                                             "dates at producedAt",
                                             "chain",
                                             "trust",
                                             "revocation",
                                             "critical extension",
                                             "impossible dates",
                                             "issuer of the leaf",
                                             "entries"};
    return kNames[static_cast<int>(violation)];
}

}  // namespace proof
