// The two chain policies. Both judge a chain that CertGetCertificateChain built and noted down; neither looks for
// anything anew, except that the responder policy also compares times with producedAt and recomputes the hashes of the
// entries.
//
// CERT_CHAIN_POLICY_OCSP_RESPONDER. A chain that does not end in a trusted root is refused in status.dwError:
//
//   no way to any root, or OpenSSL saw another chain     CERT_E_CHAINING
//   a root that is not trusted                           CERT_E_UNTRUSTEDROOT
//
// All else is reported in the mask of the extra status, where every bit but the last refuses:
//
//   OCSP_CHAIN_NOT_TIME_VALID       the responder's certificate is not valid at producedAt, or not at the time the
//                                   chain was built for
//   OCSP_CHAIN_NOT_TIME_NESTED      the same for another certificate of the chain
//   OCSP_CHAIN_REVOKED              the chain was built with a look at CRLs, and one lists a certificate of it
//   OCSP_CHAIN_NOT_SIGNATURE_VALID  a signature of the chain does not verify, or its hash or key is too weak
//   OCSP_CHAIN_WRONG_USAGE          no OCSPSigning among the extended key usages (anyExtendedKeyUsage does not count),
//                                   and neither is the certificate itself the issuer that an entry names, nor does
//                                   the administrator name it
//   OCSP_CHAIN_WRONG_KEY_USAGE      keyUsage is there and allows no signature: digitalSignature or nonRepudiation for
//                                   a delegate; for an issuer, or one whom the administrator names, also keyCertSign
//                                   or cRLSign, since CAs commonly answer with a key that has these alone
//   OCSP_CHAIN_INVALID              any other fault: basic constraints, path length, name constraints, a critical
//                                   extension that is not known, a CA whose key usage forbids signing certificates
//   OCSP_CHAIN_REVOCATION_UNKNOWN   the chain was built without a look at CRLs, or none was available; no refusal
//
// Both times count. The signer chooses producedAt, so the holder of the key of an expired certificate can write a time
// at which it was still valid. The time of the chain is the caller's: one that verifies a stored response for a past
// time builds the chain for that time.
//
// rgAuthorized is zero throughout when anything above refuses. Else an entry is authorised when
//   - the responder is the issuer that the entry names: a CA whose subject and key have the hashes of the entry; or
//   - it carries OCSPSigning, and the certificate above it in the chain, whose key made its signature, is that issuer;
//   or
//   - the administrator names it (pfnIsOCSPAuthorized).
// A CA has basicConstraints with cA (a trusted root of version 1 counts as well) and, if it has keyUsage, keyCertSign.
// Without this rule the holder of a server certificate could "issue" certificates and answer for them. The hashes are
// made with the hash algorithm of the entry; an algorithm that is not installed authorises no responder. Keys with
// parameters outside of the hashed bits (DSA, curves given by parameters) authorise none either: other parameters make
// another key with the same hash. The serial number plays no part.
//
// fNoCheck is set for the no-check extension of a delegate, if its value is NULL. On the issuer itself it means
// nothing: a CA cannot exempt itself from its own revocation.
//
// CERT_CHAIN_POLICY_OCSP_REQUESTOR. The chain must be sound, end in a trusted root, be valid now and at the time it was
// built for, and have been found not revoked. The first of these that applies is the verdict:
//
//   no way to any root                                   CERT_E_CHAINING
//   a signature that does not verify or is too weak      TRUST_E_CERT_SIGNATURE
//   a root that is not trusted                           CERT_E_UNTRUSTEDROOT
//   a certificate of the chain is revoked                CRYPT_E_REVOKED
//   basic constraints or path length                     TRUST_E_BASIC_CONSTRAINTS
//   a CA that may not sign certificates                  CERT_E_WRONG_USAGE
//   any other fault of an extension                      TRUST_E_FAIL
//   not valid in time                                    CERT_E_EXPIRED
//   the chain was built without a look at CRLs, or none was available    CRYPT_E_NO_REVOCATION_CHECK
#include <openssl/x509v3.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/chains/path_search.h"
#include "platform/crypto/keys/algorithms.h"

namespace tallow::platform {

namespace {

constexpr const char* kNoCheckExtension = "1.3.6.1.5.5.7.48.1.5";
constexpr DWORD kBadSignature = CERT_TRUST_IS_NOT_SIGNATURE_VALID | CERT_TRUST_HAS_WEAK_SIGNATURE;
constexpr DWORD kUntrusted = CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_IS_EXPLICIT_DISTRUST;
constexpr DWORD kUnknownRevocation = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;
// Every bit of a chain that is judged under a name of its own; what is left is a fault of the extensions.
constexpr DWORD kJudgedByName = kBadSignature | kUntrusted | kUnknownRevocation | CERT_TRUST_IS_NOT_TIME_VALID |
                                CERT_TRUST_IS_REVOKED | CERT_TRUST_IS_PARTIAL_CHAIN;

// One simple chain, as both policies read it.
class JudgedChain {
public:
    explicit JudgedChain(const CERT_SIMPLE_CHAIN& chain) : chain_(chain) {}

    DWORD error() const { return chain_.TrustStatus.dwErrorStatus; }
    DWORD size() const { return chain_.cElement; }
    DWORD errorAt(DWORD i) const { return chain_.rgpElement[i]->TrustStatus.dwErrorStatus; }
    const Certificate& certificate(DWORD i) const { return *Certificate::of(chain_.rgpElement[i]->pCertContext); }
    PCCERT_CONTEXT context(DWORD i) const { return chain_.rgpElement[i]->pCertContext; }

    // The first element with one of the bits; -1 when it is a fault of the whole.
    LONG firstWith(DWORD bits) const {
        for (DWORD i = 0; i < size(); ++i) {
            if ((errorAt(i) & bits) != 0) {
                return static_cast<LONG>(i);
            }
        }
        return -1;
    }

    // The first element whose time has passed or is still to come, now or at the time of the check; -1 when there is
    // none.
    LONG firstNotValidNow() const {
        const FILETIME present = evaluationTime().when;
        for (DWORD i = 0; i < size(); ++i) {
            if (!isValidAt(certificate(i).info(), present)) {
                return static_cast<LONG>(i);
            }
        }
        return -1;
    }

    // Whether each certificate below the root was looked up in a CRL and not found.
    bool isRevocationKnown() const {
        if ((error() & kUnknownRevocation) != 0) {
            return false;
        }
        for (DWORD i = 0; i < size(); ++i) {
            const bool isRoot = (chain_.rgpElement[i]->TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED) != 0;
            if (!isRoot && chain_.rgpElement[i]->pRevocationInfo == nullptr) {
                return false;
            }
        }
        return true;
    }

private:
    const CERT_SIMPLE_CHAIN& chain_;
};

struct Refusal {
    DWORD bits;  // of the chain's error status
    DWORD verdict;
};

// The first row with a bit that is set.
const Refusal* firstRefusal(const JudgedChain& chain, const Refusal* rows, std::size_t count) {
    const Refusal* const found =
        std::find_if(rows, rows + count, [&](const Refusal& row) { return (chain.error() & row.bits) != 0; });
    return found != rows + count ? found : nullptr;
}

void refuseElement(LONG element, DWORD verdict, CERT_CHAIN_POLICY_STATUS& status) {
    status.dwError = verdict;
    status.lElementIndex = element;
    status.lChainIndex = element < 0 ? -1 : 0;
}

void refuse(const JudgedChain& chain, const Refusal& refusal, CERT_CHAIN_POLICY_STATUS& status) {
    refuseElement(chain.firstWith(refusal.bits), refusal.verdict, status);
}

// ---- Responder -----------------------------------------------------------------------------------------------------

bool hashOf(ByteView data, const EVP_MD* digest, Bytes& hash) {
    unsigned int size = EVP_MAX_MD_SIZE;
    hash.resize(size);
    const bool isMade = EVP_Digest(data.data(), data.size(), hash.data(), &size, digest, nullptr) == 1;
    hash.resize(size);
    return isMade;
}

// The name and key of a certificate as entries name them, hashed once for each algorithm: all entries of a response
// usually have the same. Failures are not kept.
class IssuerHashes {
public:
    explicit IssuerHashes(const Certificate& certificate) : certificate_(certificate) {}

    // Whether the entry names the certificate as the issuer.
    bool fit(const OCSP_CERT_ID& entry) {
        const Row* const row = entry.HashAlgorithm.pszObjId != nullptr ? rowOf(entry.HashAlgorithm.pszObjId) : nullptr;
        return row != nullptr && sameBytes(row->name, view(entry.IssuerNameHash)) &&
               sameBytes(row->key, view(entry.IssuerKeyHash));
    }

private:
    struct Row {
        std::string_view oid;
        Bytes name;
        Bytes key;
    };

    const Row* rowOf(std::string_view oid) {
        const auto known = std::find_if(rows_.begin(), rows_.end(), [&](const Row& row) { return row.oid == oid; });
        return known != rows_.end() ? &*known : addRow(oid);
    }

    // Null when the algorithm is not known or not installed: there are no more rows than hashes in the table.
    const Row* addRow(std::string_view oid) {
        const Algorithm* const algorithm = findAlgorithm(oid, CRYPT_HASH_ALG_OID_GROUP_ID);
        const EVP_MD* const digest =
            algorithm != nullptr && ensureInstalled(*algorithm) ? digestOf(*algorithm) : nullptr;
        Row row;
        if (digest == nullptr || !hashOf(view(certificate_.info().Subject), digest, row.name) ||
            !hashOf(certificate_.body().publicKeyBits(), digest, row.key)) {
            return nullptr;
        }
        row.oid = algorithm->oid;
        return &rows_.emplace_back(std::move(row));
    }

    const Certificate& certificate_;
    std::vector<Row> rows_;
};

// The key hash of an entry covers the bits of the key and not the parameters of its algorithm (RFC 6960, 4.1.1). The
// identifier of a named curve is a parameter too, but an attacker cannot find another curve for the same point.
bool isKeyCoveredByHash(const Certificate& certificate) {
    const CRYPT_ALGORITHM_IDENTIFIER& algorithm = certificate.info().SubjectPublicKeyInfo.Algorithm;
    const Algorithm* const row = findAlgorithm(algorithm.pszObjId, CRYPT_PUBKEY_ALG_OID_GROUP_ID);
    if (row == nullptr || row->kind == KeyKind::kDsa) {
        return false;
    }
    return row->kind != KeyKind::kEllipticCurve ||
           (algorithm.Parameters.cbData != 0 && algorithm.Parameters.pbData[0] == V_ASN1_OBJECT);
}

// `isTrustedRoot`: the certificate is the last of a chain that ends in a trusted root.
bool isCa(const Certificate& certificate, bool isTrustedRoot) {
    X509* const x509 = certificate.x509();
    if ((X509_get_key_usage(x509) & KU_KEY_CERT_SIGN) == 0) {  // all bits when there is no keyUsage
        return false;
    }
    const bool hasNoExtensions = X509_get_version(x509) == X509_VERSION_1;
    return (X509_get_extension_flags(x509) & EXFLAG_CA) != 0 || (isTrustedRoot && hasNoExtensions);
}

bool hasOcspSigning(const Certificate& certificate) {
    X509* const x509 = certificate.x509();
    // Without the extension OpenSSL gives every usage there is.
    return (X509_get_extension_flags(x509) & EXFLAG_XKUSAGE) != 0 &&
           (X509_get_extended_key_usage(x509) & XKU_OCSP_SIGN) != 0;
}

class Responder {
public:
    Responder(const JudgedChain& chain, const OCSPChainPolicyPara& parameters)
        : chain_(chain), parameters_(parameters), isDelegate_(hasOcspSigning(chain.certificate(0))) {
        IssuerHashes own(chain.certificate(0));
        const bool mayBeIssuer = mayIssue(0);
        for (DWORD i = 0; i < parameters.cCertID; ++i) {
            isIssuer_.push_back(mayBeIssuer && own.fit(parameters.rgCertID[i]));
        }
    }

    DWORD mask() {
        DWORD mask = chain_.isRevocationKnown() ? 0 : OCSP_CHAIN_REVOCATION_UNKNOWN;
        mask |= timeBits();
        if ((chain_.error() & CERT_TRUST_IS_REVOKED) != 0) {
            mask |= OCSP_CHAIN_REVOKED;
        }
        if ((chain_.error() & kBadSignature) != 0) {
            mask |= OCSP_CHAIN_NOT_SIGNATURE_VALID;
        }
        if ((chain_.error() & ~kJudgedByName) != 0) {
            mask |= OCSP_CHAIN_INVALID;
        }
        if (!isDelegate_ && !isAnyIssuer() && !isNamedByAdministrator()) {
            mask |= OCSP_CHAIN_WRONG_USAGE;
        }
        if (!keyMaySign()) {
            mask |= OCSP_CHAIN_WRONG_KEY_USAGE;
        }
        return mask;
    }

    bool isExempt() const {
        static constexpr unsigned char kNull[] = {V_ASN1_NULL, 0};
        const CERT_EXTENSION* const mark = chain_.certificate(0).body().extension(kNoCheckExtension);
        return isDelegate_ && !isAnyIssuer() && mark != nullptr && sameBytes(view(mark->Value), kNull);
    }

    bool mayAnswer(DWORD entry) {
        return isIssuer_[entry] || isDelegateOf(parameters_.rgCertID[entry]) || isNamedByAdministrator();
    }

private:
    DWORD timeBits() const {
        DWORD bits = 0;
        for (DWORD i = 0; i < chain_.size(); ++i) {
            const bool validForChain = (chain_.errorAt(i) & CERT_TRUST_IS_NOT_TIME_VALID) == 0;
            if (!validForChain || !isValidAt(chain_.certificate(i).info(), *parameters_.pProducedAt)) {
                bits |= i == 0 ? OCSP_CHAIN_NOT_TIME_VALID : OCSP_CHAIN_NOT_TIME_NESTED;
            }
        }
        return bits;
    }

    // Whether the certificate can be the issuer that an entry names, given that it has the entry's hashes.
    bool mayIssue(DWORD element) const {
        const Certificate& certificate = chain_.certificate(element);
        return isCa(certificate, element + 1 == chain_.size()) && isKeyCoveredByHash(certificate);
    }

    bool isAnyIssuer() const { return std::find(isIssuer_.begin(), isIssuer_.end(), true) != isIssuer_.end(); }

    bool isDelegateOf(const OCSP_CERT_ID& entry) {
        if (!isIssued_) {
            isIssued_ = isDelegate_ && chain_.size() > 1 &&
                        (chain_.errorAt(0) & CERT_TRUST_IS_NOT_SIGNATURE_VALID) == 0 && mayIssue(1);
            if (*isIssued_) {
                issuer_.emplace(chain_.certificate(1));
            }
        }
        return issuer_ && issuer_->fit(entry);
    }

    // Asked once a call, and only when nothing else speaks for the responder.
    bool isNamedByAdministrator() {
        if (!named_) {
            named_ =
                parameters_.pfnIsOCSPAuthorized != nullptr && parameters_.pfnIsOCSPAuthorized(chain_.context(0)) != 0;
        }
        return *named_;
    }

    bool keyMaySign() {
        const DWORD usage = X509_get_key_usage(chain_.certificate(0).x509());  // all bits when there is no keyUsage
        if ((usage & (KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION)) != 0) {
            return true;
        }
        return (usage & (KU_KEY_CERT_SIGN | KU_CRL_SIGN)) != 0 && (isAnyIssuer() || isNamedByAdministrator());
    }

    const JudgedChain& chain_;
    const OCSPChainPolicyPara& parameters_;
    const bool isDelegate_;
    std::optional<bool> isIssued_;        // a delegate, by a CA whose key made its signature; found when needed
    std::optional<IssuerHashes> issuer_;  // that CA's
    std::vector<bool> isIssuer_;
    std::optional<bool> named_;
};

bool isUsable(const OCSPChainPolicyPara* parameters, const OCSPChainPolicyStatus* result) {
    return parameters != nullptr && parameters->cbSize == sizeof(OCSPChainPolicyPara) &&
           parameters->pProducedAt != nullptr && result != nullptr && result->cbSize == sizeof(OCSPChainPolicyStatus) &&
           (parameters->cCertID == 0 || (parameters->rgCertID != nullptr && result->rgAuthorized != nullptr));
}

void judgeResponder(const JudgedChain& chain, const OCSPChainPolicyPara& parameters, CERT_CHAIN_POLICY_STATUS& status,
                    OCSPChainPolicyStatus& result) {
    static constexpr Refusal kRefusals[] = {{CERT_TRUST_IS_PARTIAL_CHAIN, CERT_E_CHAINING},
                                            {kUntrusted, CERT_E_UNTRUSTEDROOT}};
    std::fill_n(result.rgAuthorized, parameters.cCertID, 0);
    result.dwError = 0;
    result.fNoCheck = 0;
    if (const Refusal* const refusal = firstRefusal(chain, kRefusals, std::size(kRefusals))) {
        refuse(chain, *refusal, status);
        return;
    }
    Responder responder(chain, parameters);
    result.dwError = responder.mask();
    result.fNoCheck = responder.isExempt() ? 1 : 0;
    if ((result.dwError & ~OCSP_CHAIN_REVOCATION_UNKNOWN) != 0) {
        return;
    }
    for (DWORD i = 0; i < parameters.cCertID; ++i) {
        result.rgAuthorized[i] = responder.mayAnswer(i) ? 1 : 0;
    }
}

// ---- Requestor -----------------------------------------------------------------------------------------------------

void judgeRequestor(const JudgedChain& chain, CERT_CHAIN_POLICY_STATUS& status) {
    static constexpr Refusal kRefusals[] = {{CERT_TRUST_IS_PARTIAL_CHAIN, CERT_E_CHAINING},
                                            {kBadSignature, TRUST_E_CERT_SIGNATURE},
                                            {kUntrusted, CERT_E_UNTRUSTEDROOT},
                                            {CERT_TRUST_IS_REVOKED, CRYPT_E_REVOKED},
                                            {CERT_TRUST_INVALID_BASIC_CONSTRAINTS, TRUST_E_BASIC_CONSTRAINTS},
                                            {CERT_TRUST_IS_NOT_VALID_FOR_USAGE, CERT_E_WRONG_USAGE},
                                            {~kJudgedByName, TRUST_E_FAIL},
                                            {CERT_TRUST_IS_NOT_TIME_VALID, CERT_E_EXPIRED}};
    if (const Refusal* const refusal = firstRefusal(chain, kRefusals, std::size(kRefusals))) {
        refuse(chain, *refusal, status);
    } else if (const LONG outdated = chain.firstNotValidNow(); outdated >= 0) {
        refuseElement(outdated, CERT_E_EXPIRED, status);
    } else if (!chain.isRevocationKnown()) {
        refuse(chain, {kUnknownRevocation, CRYPT_E_NO_REVOCATION_CHECK}, status);
    }
}

// The public identifiers of chain policies are small numbers in the pointer's place: nothing to compare as text.
bool isPolicy(LPCSTR given, const char* name) {
    constexpr std::uintptr_t kLargestNumber = 0xFFFF;
    return reinterpret_cast<std::uintptr_t>(given) > kLargestNumber && std::strcmp(given, name) == 0;
}

}  // namespace

}  // namespace tallow::platform

using namespace tallow::platform;

BOOL CertVerifyCertificateChainPolicy(LPCSTR pszPolicyOID, PCCERT_CHAIN_CONTEXT pChainContext,
                                      CERT_CHAIN_POLICY_PARA* pPolicyPara, CERT_CHAIN_POLICY_STATUS* pPolicyStatus) {
    return serviceCall(FALSE, [&] {
        if (pChainContext == nullptr || pChainContext->cChain == 0 || pChainContext->rgpChain[0]->cElement == 0 ||
            pPolicyPara == nullptr || pPolicyPara->cbSize != sizeof(CERT_CHAIN_POLICY_PARA) ||
            pPolicyStatus == nullptr || pPolicyStatus->cbSize != sizeof(CERT_CHAIN_POLICY_STATUS)) {
            return fail(E_INVALIDARG);
        }
        const JudgedChain chain(*pChainContext->rgpChain[0]);
        pPolicyStatus->dwError = 0;
        pPolicyStatus->lChainIndex = -1;
        pPolicyStatus->lElementIndex = -1;
        if (isPolicy(pszPolicyOID, CERT_CHAIN_POLICY_OCSP_REQUESTOR)) {
            judgeRequestor(chain, *pPolicyStatus);
            return TRUE;
        }
        if (!isPolicy(pszPolicyOID, CERT_CHAIN_POLICY_OCSP_RESPONDER)) {
            return fail(ERROR_FILE_NOT_FOUND);
        }
        const auto* const parameters = static_cast<OCSPChainPolicyPara*>(pPolicyPara->pvExtraPolicyPara);
        auto* const result = static_cast<OCSPChainPolicyStatus*>(pPolicyStatus->pvExtraPolicyStatus);
        if (!isUsable(parameters, result)) {
            return fail(E_INVALIDARG);
        }
        judgeResponder(chain, *parameters, *pPolicyStatus, *result);
        return TRUE;
    });
}
