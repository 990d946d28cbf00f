#include "platform/crypto/chains/issuer_candidates.h"

#include <openssl/x509v3.h>

#include <algorithm>

#include "platform/crypto/chains/certificate_rules.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kMaxCandidates = 256;  // for one certificate
// Octets of names of one origin, when looking for other spellings. A name usually has some hundred octets.
constexpr std::size_t kMaxNamesParsed = 256;
constexpr std::size_t kMaxNameOctets = 256 * 1024;

unsigned long long ticks(const FILETIME& time) noexcept {
    return static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

X509NamePtr parseName(ByteView der) {
    const unsigned char* at = der.data();
    return X509NamePtr(d2i_X509_NAME(nullptr, &at, static_cast<long>(der.size())));
}

// How well the key identifiers fit: 0 equal, 1 one is absent, 2 different. Only a hint for the order.
int keyIdentifierRank(const Certificate& subject, const Certificate& issuer) {
    const ASN1_OCTET_STRING* const wanted = X509_get0_authority_key_id(subject.x509());
    const ASN1_OCTET_STRING* const offered = X509_get0_subject_key_id(issuer.x509());
    if (wanted == nullptr || offered == nullptr) {
        return 1;
    }
    return ASN1_OCTET_STRING_cmp(wanted, offered) == 0 ? 0 : 2;
}

// Cut after sorting: many namesakes in a response must not keep out the one that fits best.
std::vector<IssuerCandidate> sorted(std::vector<IssuerCandidate>&& found) {
    std::stable_sort(found.begin(), found.end(), [](const IssuerCandidate& left, const IssuerCandidate& right) {
        return left.order < right.order;
    });
    found.resize(std::min(found.size(), kMaxCandidates));
    return std::move(found);
}

}  // namespace

bool sameBytes(ByteView left, ByteView right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}

bool sameCertificate(const CertificateRef& left, const CertificateRef& right) noexcept {
    return left.get() == right.get() || sameBytes(left->der(), right->der());
}

bool isValidAt(const CERT_INFO& info, const FILETIME& when) noexcept {
    return ticks(info.NotBefore) <= ticks(when) && ticks(when) <= ticks(info.NotAfter);
}

// Keeps the certificate with its name, so that no other one can get its address.
const X509_NAME* IssuerCandidates::subjectOf(const CertificateRef& certificate) const {
    const auto [entry, isNew] = subjects_.try_emplace(certificate.get(), certificate, nullptr);
    if (isNew) {
        entry->second.second = parseName(view(certificate->info().Subject));
    }
    return entry->second.second.get();
}

void IssuerCandidates::collect(ByteView name, Spelling spelling, std::span<const CertificateRef> from, Origin origin,
                               std::vector<Named>& found) const {
    const X509NamePtr parsed = spelling == Spelling::kOther ? parseName(name) : nullptr;
    std::size_t numNames = 0;
    std::size_t numOctets = 0;
    for (const CertificateRef& issuer : from) {
        const ByteView subject = view(issuer->info().Subject);
        const bool isSame = sameBytes(subject, name);
        if (isSame != (spelling == Spelling::kSame)) {
            continue;
        }
        if (!isSame &&
            (parsed == nullptr || ++numNames > kMaxNamesParsed || (numOctets += subject.size()) > kMaxNameOctets ||
             X509_NAME_cmp(subjectOf(issuer), parsed.get()) != 0)) {
            continue;
        }
        // A copy of a root, passed by the caller, adds nothing to the root itself.
        if (issuer->x509() != nullptr && (origin == Origin::kRoot || !isRoot(issuer))) {
            found.push_back({issuer, origin == Origin::kRoot && !isSelfIssued(*issuer) ? Origin::kLocal : origin});
        }
    }
}

const std::vector<IssuerCandidates::Named>& IssuerCandidates::named(ByteView name, Spelling spelling) const {
    ByName& known = spelling == Spelling::kSame ? same_ : other_;
    const auto [entry, isNew] = known.try_emplace(std::string(name.begin(), name.end()));
    if (isNew) {
        const std::span<const CertificateRef> others(sources_.others);
        std::vector<Named>& found = entry->second;
        // The limits for other spellings hold for all roots together.
        const auto roots = spelling == Spelling::kSame ? sources_.rootsNamed(name) : sources_.allRoots();
        collect(name, spelling, roots, Origin::kRoot, found);
        collect(name, spelling, others.last(sources_.numLocal), Origin::kLocal, found);
        collect(name, spelling, fetched_, Origin::kFetched, found);
        collect(name, spelling, others.first(others.size() - sources_.numLocal), Origin::kCarried, found);
    }
    return entry->second;
}

void IssuerCandidates::append(const Certificate& subject, const std::vector<Named>& named,
                              std::vector<IssuerCandidate>& found) const {
    for (const auto& [certificate, origin] : named) {
        const bool isKnownSigner = subject.body().knownSigner().is(certificate->body().publicKeyInfo());
        const int order = 16 * static_cast<int>(origin) + (isKnownSigner ? 0 : 8) +
                          2 * keyIdentifierRank(subject, *certificate) +
                          (isValidAt(certificate->info(), when_) ? 0 : 1);
        found.push_back({certificate, origin, order});
    }
}

std::vector<IssuerCandidate> IssuerCandidates::of(const Certificate& subject, Spelling spelling) const {
    std::vector<IssuerCandidate> found;
    append(subject, named(view(subject.info().Issuer), spelling), found);
    return sorted(std::move(found));
}

std::vector<IssuerCandidate> IssuerCandidates::downloaded(const Certificate& subject,
                                                          const std::vector<CertificateRef>& certificates) const {
    std::vector<Named> fitting;
    collect(view(subject.info().Issuer), Spelling::kSame, certificates, Origin::kFetched, fitting);
    collect(view(subject.info().Issuer), Spelling::kOther, certificates, Origin::kFetched, fitting);
    std::vector<IssuerCandidate> found;
    append(subject, fitting, found);
    return sorted(std::move(found));
}

void IssuerCandidates::add(const std::vector<CertificateRef>& downloaded) {
    fetched_.insert(fetched_.end(), downloaded.begin(), downloaded.end());
    same_.clear();
    other_.clear();
}

bool IssuerCandidates::isRoot(const CertificateRef& certificate) const {
    const std::vector<CertificateRef> roots = sources_.rootsNamed(view(certificate->info().Subject));
    return std::any_of(roots.begin(), roots.end(),
                       [&](const CertificateRef& root) { return sameCertificate(root, certificate); }) &&
           isSelfIssued(*certificate);
}

}  // namespace tallow::platform
