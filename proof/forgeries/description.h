// A random PKI with a response, as plain data: what is made, and what the model judges. No octets appear here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace proof {

enum class Dates { kValid, kExpired, kNotYetValid, kYoung };  // young: issued ten minutes ago
enum class CrlState { kFresh, kMissing, kStale, kForged };
enum class KeyUsage { kAbsent, kDigitalSignature, kNonRepudiation, kKeyEncipherment, kCertSignOnly };
enum class ExtendedUsage { kNone, kOcsp, kOcspAndServer, kServer, kAny };
enum class Hash { kSha1, kSha256, kSha512, kUnknown };  // kUnknown: an OID that names no hash
enum class Status { kGood, kRevoked, kUnknown };

/// A CA, the root included.
struct Authority {
    Dates dates = Dates::kValid;
    bool isCa = true;
    bool maySignCertificates = true;  // keyUsage has keyCertSign
    bool maySignResponses = true;     // keyUsage has digitalSignature; without it only keyCertSign and cRLSign
    std::optional<int> pathLength;
    bool hasUnknownCritical = false;
    bool isForged = false;            // its signature was made with another key
    bool isRevoked = false;           // in the CRL of the CA above
    CrlState crl = CrlState::kFresh;  // of the CRL that it issues
};

enum class SignerKind {
    kIssuer,
    kDelegate,         // of the issuer
    kDelegateOfOther,  // of another CA under the same root
    kDelegateOfRoot,   // of the CA above the issuer
    kSelfSigned,       // with OCSPSigning
    kAbove,            // the CA above the issuer
    kLeaf,             // the certificate that is asked about
    kSameName,         // a self-signed CA with the issuer's name
};

struct Delegate {
    Dates dates = Dates::kValid;
    KeyUsage keyUsage = KeyUsage::kDigitalSignature;
    ExtendedUsage extendedUsage = ExtendedUsage::kOcsp;
    bool hasNoCheck = false;
    bool hasUnknownCritical = false;
    bool isForged = false;
    bool isRevoked = false;
};

enum class Subject { kLeaf, kOtherSerial, kOtherName, kOtherKey };

struct Entry {
    Subject about = Subject::kLeaf;
    Hash hash = Hash::kSha1;
    Status status = Status::kGood;
    std::optional<int> reason;
    long thisUpdate = -60;  // seconds from now, as are the others
    std::optional<long> nextUpdate = 3600;
    bool hasUnknownCritical = false;
    bool hasExtension = false;  // not critical
};

enum class Nonce { kMatching, kAbsent, kOther, kLonger };
enum class IdKind { kName, kKey };
enum class Signing { kRight, kCorrupted, kOtherKey, kOtherAlgorithm };    // the last: another algorithm is stated
enum class Carried { kSigner, kNone, kSignerAndOthers, kImpostorFirst };  // impostor: the signer's name, another key

struct Description {
    bool isGost = false;
    int depth = 1;  // CAs below the root; with 0 the root is the issuer
    bool isRootTrusted = true;
    Authority root, upper, issuer;  // `upper` for depth 2 only; for depth 0 `issuer` is not used
    bool isLeafExpired = false;     // ten days ago
    bool isLeafForged = false;      // its signature was made with another key
    SignerKind signer = SignerKind::kIssuer;
    Delegate delegate;  // for the kinds of delegates and kSelfSigned

    int responseStatus = 0;
    bool hasOtherType = false;
    std::optional<int> version;
    bool hasTrailing = false;
    IdKind idKind = IdKind::kName;
    bool isIdOfOther = false;  // of the signer's kind, but of another name or key
    Signing signing = Signing::kRight;
    Hash hash = Hash::kSha256;  // of the signature
    Carried carried = Carried::kSigner;
    long producedAt = -30;
    bool hasCriticalExtension = false, hasExtension = false;
    bool requestHasNonce = true;
    Nonce nonce = Nonce::kMatching;
    std::vector<Entry> entries;
};

/// Case `number` of the run with `seed`.
Description describe(std::uint64_t seed, std::uint64_t number, bool mayBeGost);

/// All fields, for people; enumerations as numbers.
std::string textOf(const Description& description);

inline const Authority& issuerOf(const Description& description) {
    return description.depth == 0 ? description.root : description.issuer;
}
inline bool isDelegate(const Description& description) {
    return description.signer == SignerKind::kDelegate || description.signer == SignerKind::kDelegateOfOther ||
           description.signer == SignerKind::kDelegateOfRoot;
}

}  // namespace proof
