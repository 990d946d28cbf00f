#include "platform/crypto/chains/crl_signer.h"

#include <algorithm>
#include <span>

#include "platform/crypto/chains/chain_verifier.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kMaxCarried = 16;       // carried certificates tried as the signer of one CRL
constexpr std::size_t kMaxNamesParsed = 512;  // certificates compared by parsed name when no name has the same bytes
constexpr std::size_t kMaxNesting = 3;        // signers whose CRL was signed by a further signer
constexpr int kMaxPaths = 16;                 // signers whose path is checked in one call

bool maySignCrls(const Certificate& certificate) {
    return certificate.x509() != nullptr && (X509_get_key_usage(certificate.x509()) & KU_CRL_SIGN) != 0;
}

bool hasSubject(const Certificate& certificate, const X509_NAME* name) {
    return certificate.x509() != nullptr && X509_NAME_cmp(X509_get_subject_name(certificate.x509()), name) == 0;
}

bool hasSameKey(const Certificate& left, const Certificate& right) {
    return sameBytes(left.body().publicKeyInfo(), right.body().publicKeyInfo());
}

bool isSelfIssued(const Certificate& certificate) {
    return hasSubject(certificate, X509_get_issuer_name(certificate.x509()));
}

bool isSameEntity(const Certificate& left, const Certificate& right) {
    return hasSameKey(left, right) && hasSubject(left, X509_get_subject_name(right.x509()));
}

// Whether a signer with the name of the CA above the element, but with another key, may sign for that CA: the CA itself
// or the CA's issuer certified it, with any of their keys. Any CA below the same root could use the same names, so the
// keys on the signer's path must be those on the path of the element.
bool speaksForIssuer(const Path& ofSigner, const Path& path, std::size_t index) {
    const CertificateRef& issuer = path.elements[index + 1];
    std::size_t last = index + 1;
    for (const bool certifierToo : {true, false}) {
        while (last + 1 < path.elements.size() && isSelfIssued(*path.elements[last])) {
            ++last;
        }
        last += certifierToo && last + 1 < path.elements.size() ? 1 : 0;
    }
    const auto isKnown = [&](const CertificateRef& certifier) {
        return std::any_of(path.elements.begin() + static_cast<std::ptrdiff_t>(index) + 1,
                           path.elements.begin() + static_cast<std::ptrdiff_t>(last) + 1,
                           [&](const CertificateRef& element) { return isSameEntity(*element, *certifier); });
    };
    for (std::size_t i = 1; i < ofSigner.elements.size(); ++i) {
        const Certificate& certifier = *ofSigner.elements[i];
        if (isKnown(ofSigner.elements[i])) {
            return true;
        }
        if (!isSelfIssued(certifier) && !hasSubject(certifier, X509_get_subject_name(issuer->x509()))) {
            return false;
        }
    }
    return false;
}

bool isNamedByKeyIdentifier(const Crl& crl, const Certificate& certificate) {
    const ASN1_OCTET_STRING* const wanted =
        crl.authorityKeyIdentifier != nullptr ? crl.authorityKeyIdentifier->keyid : nullptr;
    const ASN1_OCTET_STRING* const offered = X509_get0_subject_key_id(certificate.x509());
    return wanted != nullptr && offered != nullptr && ASN1_OCTET_STRING_cmp(wanted, offered) == 0;
}

}  // namespace

bool isProven(const Path& path, SignatureLedger& ledger) {
    bool proven = path.anchored;
    for (std::size_t i = 0; proven && i + 1 < path.elements.size(); ++i) {
        proven = ledger.verifies(*path.elements[i], *path.elements[i + 1]);
    }
    return proven;
}

CertificateRef CrlSigners::signerOf(const Crl& crl, const Path& path, std::size_t index) {
    const CertificateRef& issuer = path.elements[index + 1];
    if (hasSubject(*issuer, crl.issuer.get()) && maySignCrls(*issuer) && ledger_.verifies(crl, *issuer)) {
        return issuer;
    }
    const bool isDirect = hasSubject(*issuer, crl.issuer.get());
    const Candidates candidates = candidatesFor(crl, path, index);
    for (const CertificateRef& candidate : candidates.certificates) {
        if (!ledger_.verifies(crl, *candidate)) {
            continue;
        }
        if (isTrusted(candidate, path, index, isDirect)) {
            return candidate;
        }
        unauthorised_.insert(crl.shared_from_this());
    }
    reachedLimit_ |= !candidates.complete;
    return {};
}

// The other certificates with the name of the CRL's issuer, in each source those with a matching key identifier first.
// Anyone can put certificates into a response, so carried ones come last, and only their number is limited.
CrlSigners::Candidates CrlSigners::candidatesFor(const Crl& crl, const Path& path, std::size_t index) const {
    using Place = std::span<const CertificateRef>;
    const Place others(sources_.others);
    const Place carried = others.first(others.size() - sources_.numLocal);
    Candidates found;
    std::size_t numCarried = 0;
    std::size_t parsed = 0;
    const auto hasName = [&](const Certificate& certificate) {
        if (sameBytes(view(certificate.info().Subject), crl.issuerDer)) {
            return true;
        }
        // The name may be written in another string type or case.
        found.complete = found.complete && parsed < kMaxNamesParsed;
        return parsed++ < kMaxNamesParsed && hasSubject(certificate, crl.issuer.get());
    };
    const std::vector<CertificateRef> roots = sources_.allRoots();
    for (const Place& place : {Place(path.elements), Place(roots), others.last(sources_.numLocal), carried}) {
        const std::size_t before = found.certificates.size();
        for (const CertificateRef& certificate : place) {
            const auto isSame = [&](const CertificateRef& other) {
                return sameBytes(other->der(), certificate->der());
            };
            if (hasName(*certificate) && maySignCrls(*certificate) && !isSame(path.elements[index + 1]) &&
                std::none_of(found.certificates.begin(), found.certificates.end(), isSame)) {
                found.certificates.push_back(certificate);
            }
        }
        const auto first = found.certificates.begin() + static_cast<std::ptrdiff_t>(before);
        std::stable_partition(first, found.certificates.end(),
                              [&](const CertificateRef& candidate) { return isNamedByKeyIdentifier(crl, *candidate); });
        numCarried = found.certificates.size() - before;  // right after the last place
    }
    if (numCarried > kMaxCarried) {
        found.certificates.resize(found.certificates.size() - numCarried + kMaxCarried);
        found.complete = false;
    }
    return found;
}

bool CrlSigners::isTrusted(const CertificateRef& signer, const Path& path, std::size_t index, bool isDirect) {
    const CertificateBody* const body = &signer->body();
    if (!frames_.empty() && frames_.back().signer == body && &path.elements[index]->body() == body) {
        frames_.back().vouched = true;
        return frames_.back().mayVouchForItself;
    }
    const Path found = validPathOf(signer, path);
    return !found.elements.empty() &&
           (!isDirect || hasSameKey(*signer, *path.elements[index + 1]) || speaksForIssuer(found, path, index));
}

Path CrlSigners::validPathOf(const CertificateRef& signer, const Path& path) {
    const CertificateBody* const body = &signer->body();
    if (const auto known = known_.find(body); known != known_.end()) {
        return known->second;
    }
    const bool isRunning =
        std::any_of(frames_.begin(), frames_.end(), [&](const Frame& frame) { return frame.signer == body; });
    if (isRunning) {
        return {};
    }
    if (frames_.size() >= kMaxNesting || pathsChecked_ >= kMaxPaths) {
        reachedLimit_ = true;
        return {};
    }
    ++pathsChecked_;
    Path found = findValidPath(signer, path);
    if (frames_.empty()) {  // results found inside another check may have been cut short by it
        known_.emplace(body, found);
    }
    return found;
}

Path CrlSigners::findValidPath(const CertificateRef& signer, const Path& path) {
    if (!path.anchored) {
        return {};
    }
    ChainSources sources;
    sources.roots = {path.elements.back()};
    sources.others = sources_.others;
    sources.numLocal = sources_.numLocal;
    sources.others.insert(sources.others.begin(), path.elements.begin() + 1, path.elements.end());
    Path found = findPath(signer, sources, when_, {}, ledger_);
    if (!isProven(found, ledger_)) {
        return {};
    }
    bool vouched = false;
    DWORD error = errorOf(found, signer, false, vouched);
    // Some CRL issuers are covered only by their own CRL. It counts for them when no other CRL covers them.
    if (error != 0 && (error & ~kUnknownRevocation) == 0 && vouched) {
        error = errorOf(found, signer, true, vouched);
    }
    return error == 0 ? found : Path();
}

DWORD CrlSigners::errorOf(const Path& path, const CertificateRef& signer, bool mayVouchForItself, bool& vouched) {
    frames_.push_back({&signer->body(), mayVouchForItself, false});
    // The policies that are required of the path being checked are not required of those who sign CRLs.
    const DWORD error =
        verifyPath(path, when_, RevocationScope::kChain, &check_, ledger_).error & ~CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY;
    vouched = frames_.back().vouched;
    frames_.pop_back();
    return error;
}

}  // namespace tallow::platform
