#include "platform/crypto/chains/chain_verifier.h"

#include <openssl/x509v3.h>

#include <algorithm>
#include <new>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/chains/certificate_policies.h"
#include "platform/crypto/chains/certificate_rules.h"
#include "platform/crypto/chains/name_forms.h"

namespace tallow::platform {

namespace {

constexpr const char* kPolicyConstraints = "2.5.29.36";

// OpenSSL's errors as bits. Trust, signatures and times are not included: the path and the ledger report them (see
// below). OpenSSL does not check revocation here.
DWORD bitsOf(int error) {
    switch (error) {
        case X509_V_ERR_INVALID_CA:
        case X509_V_ERR_INVALID_NON_CA:
        case X509_V_ERR_PATH_LENGTH_EXCEEDED:
        case X509_V_ERR_PROXY_PATH_LENGTH_EXCEEDED:
        case X509_V_ERR_PROXY_CERTIFICATES_NOT_ALLOWED:
            return CERT_TRUST_INVALID_BASIC_CONSTRAINTS;
        case X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION:
            return CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT;
        case X509_V_ERR_PERMITTED_VIOLATION:
            return CERT_TRUST_HAS_NOT_PERMITTED_NAME_CONSTRAINT;
        case X509_V_ERR_EXCLUDED_VIOLATION:
            return CERT_TRUST_HAS_EXCLUDED_NAME_CONSTRAINT;
        case X509_V_ERR_SUBTREE_MINMAX:
        case X509_V_ERR_UNSUPPORTED_CONSTRAINT_TYPE:
        case X509_V_ERR_UNSUPPORTED_CONSTRAINT_SYNTAX:
        case X509_V_ERR_UNSUPPORTED_NAME_SYNTAX:
            return CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT;
        case X509_V_ERR_INVALID_POLICY_EXTENSION:
        case X509_V_ERR_NO_EXPLICIT_POLICY:
            return CERT_TRUST_INVALID_POLICY_CONSTRAINTS;
        case X509_V_ERR_CERT_REJECTED:
            return CERT_TRUST_IS_EXPLICIT_DISTRUST;
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        case X509_V_ERR_CERT_UNTRUSTED:
            return 0;  // reported by the path
        default:
            return CERT_TRUST_INVALID_EXTENSION;  // every other error of OpenSSL is a fault
    }
}

// These calls fail only when memory is exhausted, and none of them may be skipped.
void require(bool succeeded) {
    if (!succeeded) {
        throw std::bad_alloc();
    }
}

class Run {
public:
    Run(const Path& path, const FILETIME& when, RevocationScope scope, CrlCheck* crls, SignatureLedger& ledger)
        : path_(path), when_(when), scope_(scope), crls_(crls), ledger_(ledger) {
        verdict_.elements.resize(path.elements.size());
    }

    ChainVerdict run() {
        judgePath();
        if (path_.elements[0]->x509() != nullptr) {
            judgePolicies();
            judgeNameForms();
            verify();
        } else {
            verdict_.elements[0].error |= CERT_TRUST_INVALID_EXTENSION;
        }
        for (std::size_t i = 0; i < size(); ++i) {
            if (isRevocationAsked(i)) {
                judgeRevocation(i);
            }
            verdict_.error |= verdict_.elements[i].error;
        }
        return std::move(verdict_);
    }

private:
    std::size_t size() const { return path_.elements.size(); }
    const Certificate& element(std::size_t i) const { return *path_.elements[i]; }
    bool isLast(std::size_t i) const { return i + 1 == size(); }
    bool isAnchor(std::size_t i) const { return isLast(i) && path_.anchored; }

    bool isRevocationAsked(std::size_t i) const {
        const bool inScope =
            scope_ == RevocationScope::kChain || (scope_ == RevocationScope::kEndCertificate && i == 0);
        return inScope && !(isLast(i) && path_.selfSigned);
    }

    // A status that was not looked up is unknown, whatever other faults the path has.
    void judgeRevocation(std::size_t i) {
        const RevocationStatus status = crls_ != nullptr ? crls_->statusOf(path_, i) : RevocationStatus();
        ElementVerdict& verdict = verdict_.elements[i];
        verdict.revocationChecked = true;
        if (status.state == RevocationState::kRevoked) {
            verdict.error |= CERT_TRUST_IS_REVOKED;
            verdict.revocationReason = status.reason;
        } else if (status.state != RevocationState::kGood) {
            verdict.error |= kUnknownRevocation;
        }
    }

    // Faults found without OpenSSL: where the path ends, the signatures, and the validity of each certificate.
    void judgePath() {
        if (!path_.selfSigned) {
            verdict_.error |= CERT_TRUST_IS_PARTIAL_CHAIN;
        } else if (!path_.anchored) {
            verdict_.elements.back().error |= CERT_TRUST_IS_UNTRUSTED_ROOT;
        }
        for (std::size_t i = 0; i < size(); ++i) {
            if (!isValidAt(element(i).info(), when_)) {
                verdict_.elements[i].error |= CERT_TRUST_IS_NOT_TIME_VALID;
            }
            if (!isAnchor(i) && element(i).x509() != nullptr) {
                judgeStrength(i);
                verdict_.elements[i].error |= faultsOf(element(i));
                if (i > 0 && !isCa(element(i))) {
                    verdict_.elements[i].error |= CERT_TRUST_INVALID_BASIC_CONSTRAINTS;
                }
            }
            if (!isLast(i)) {
                judgeIssuer(i);
            } else if (path_.selfSigned) {
                verdict_.elements[i].info |=
                    CERT_TRUST_IS_SELF_SIGNED | CERT_TRUST_HAS_NAME_MATCH_ISSUER | CERT_TRUST_HAS_PREFERRED_ISSUER;
            }
        }
    }

    // From below the root down to the end certificate. A path of only a root has no policies.
    void judgePolicies() {
        const RequiredPolicies required = requiredPolicies();
        const std::size_t below = size() - (path_.selfSigned ? 1 : 0);
        bool isAsked = required.isRequired;
        for (std::size_t i = 0; i < below; ++i) {
            isAsked = isAsked || element(i).body().extension(kPolicyConstraints) != nullptr;
        }
        if (required.isMalformed) {
            verdict_.elements[0].error |= CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY;
        }
        // Most paths end here: nothing in them asks for a policy.
        PolicyPath policies(below, required);
        for (std::size_t i = below; isAsked && i-- > 0;) {
            verdict_.elements[i].error |= policies.add(policyStatementsOf(element(i)));
        }
    }

    // OpenSSL compares names with constraints, except for self-issued certificates (RFC 5280); this only checks that it
    // can.
    void judgeNameForms() {
        ConstrainedKinds kinds;
        for (std::size_t i = size(); i-- > 0;) {
            if (element(i).x509() == nullptr) {
                continue;
            }
            if ((i == 0 || !isSelfIssued(element(i))) && !areNamesComparable(element(i), kinds)) {
                verdict_.elements[i].error |= CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT;
            }
            if (i > 0) {
                addConstrainedKinds(element(i), kinds);
            }
        }
    }

    // The signature and the key of a root need not be strong: the root is trusted as it is.
    void judgeStrength(std::size_t i) {
        const X509_ALGOR* algorithm = nullptr;
        X509_get0_signature(nullptr, &algorithm, element(i).x509());
        EVP_PKEY* const key = element(i).publicKey();
        const bool isSelfSignature = isLast(i) && path_.selfSigned;
        if ((!isSelfSignature && isWeakSignature(algorithm)) || (key != nullptr && isWeakKey(key))) {
            verdict_.elements[i].error |= CERT_TRUST_HAS_WEAK_SIGNATURE;
        }
    }

    void judgeIssuer(std::size_t i) {
        const Certificate& issuer = element(i + 1);
        verdict_.elements[i].info |= CERT_TRUST_HAS_NAME_MATCH_ISSUER | CERT_TRUST_HAS_PREFERRED_ISSUER;
        if (!ledger_.verifies(element(i), issuer)) {
            verdict_.elements[i].error |= CERT_TRUST_IS_NOT_SIGNATURE_VALID;
        }
        if ((X509_get_key_usage(issuer.x509()) & KU_KEY_CERT_SIGN) == 0) {
            verdict_.elements[i + 1].error |= CERT_TRUST_IS_NOT_VALID_FOR_USAGE;
        }
    }

    // Whether OpenSSL would copy key parameters from the issuer, into an object that other threads read.
    bool hasIncompleteKey() const {
        return std::any_of(path_.elements.begin(), path_.elements.end(), [](const CertificateRef& element) {
            const EVP_PKEY* const key = X509_get0_pubkey(element->x509());
            return key != nullptr && EVP_PKEY_missing_parameters(key) == 1;
        });
    }

    void verify() {
        if (hasIncompleteKey()) {
            verdict_.error |= CERT_TRUST_IS_PARTIAL_CHAIN;
            return;
        }
        const X509StoreContextPtr context(X509_STORE_CTX_new());
        const X509StackPtr between(sk_X509_new_null());
        require(context && between);
        for (std::size_t i = 1; i < size(); ++i) {
            if (!isAnchor(i)) {
                require(X509_up_ref(element(i).x509()) == 1);
                X509Ptr shared(element(i).x509());
                require(sk_X509_push(between.get(), shared.get()) > 0);
                static_cast<void>(shared.release());
            }
        }
        require(X509_STORE_CTX_init(context.get(), callbacks(), element(0).x509(), between.get()) == 1 &&
                X509_STORE_CTX_set_app_data(context.get(), this) == 1);
        X509_VERIFY_PARAM* const parameters = X509_STORE_CTX_get0_param(context.get());
        X509_VERIFY_PARAM_set_time(parameters, static_cast<std::time_t>(secondsSince1970(when_)));
        X509_VERIFY_PARAM_set_depth(parameters, static_cast<int>(size()));
        X509_VERIFY_PARAM_set_auth_level(parameters, 0);  // strength is checked above, by our own settings
        if (X509_verify_cert(context.get()) != 1) {
            require(X509_STORE_CTX_get_error(context.get()) != X509_V_ERR_OUT_OF_MEM);
            verdict_.error |= CERT_TRUST_IS_PARTIAL_CHAIN;  // it did not come to its end: nothing is proven
        }
        if (X509_STORE_CTX* const done = context.get();
            static_cast<std::size_t>(sk_X509_num(X509_STORE_CTX_get0_chain(done))) != size()) {
            verdict_.error |= CERT_TRUST_IS_PARTIAL_CHAIN;  // OpenSSL built another chain than the one reported
        }
    }

    // The store holds no certificate; its callbacks lead OpenSSL along the path. Made once, and never freed, since
    // other threads may be in a call while the process ends.
    static X509_STORE* callbacks() {
        static X509_STORE* const store = [] {
            X509_STORE* const made = X509_STORE_new();
            if (made == nullptr) {
                throw std::bad_alloc();
            }
            X509_STORE_set_check_issued(made, onCheckIssued);
            X509_STORE_set_get_issuer(made, onGetIssuer);
            X509_STORE_set_verify(made, onVerifySignatures);
            X509_STORE_set_verify_cb(made, onFinding);
            return made;
        }();
        return store;
    }

    static Run& of(X509_STORE_CTX* context) { return *static_cast<Run*>(X509_STORE_CTX_get_app_data(context)); }

    // The position in the path, or its size for another certificate.
    std::size_t indexOf(const X509* certificate) const {
        std::size_t i = 0;
        while (i < size() && element(i).x509() != certificate) {
            ++i;
        }
        return i;
    }

    static int onCheckIssued(X509_STORE_CTX* context, X509* subject, X509* issuer) {
        const Run& run = of(context);
        const std::size_t i = run.indexOf(subject);
        if (i >= run.size()) {
            return 0;
        }
        return (run.isLast(i) ? run.path_.selfSigned && subject == issuer : run.element(i + 1).x509() == issuer) ? 1
                                                                                                                 : 0;
    }

    static int onGetIssuer(X509** issuer, X509_STORE_CTX* context, X509* subject) {
        const Run& run = of(context);
        const std::size_t i = run.indexOf(subject);
        X509* const root = run.element(run.size() - 1).x509();
        if (!run.path_.anchored || i >= run.size() || i + 2 < run.size() || X509_up_ref(root) != 1) {
            return 0;
        }
        *issuer = root;
        return 1;
    }

    // Signatures and times of the path are already checked.
    static int onVerifySignatures(X509_STORE_CTX*) { return 1; }

    static int onFinding(int ok, X509_STORE_CTX* context) {
        if (ok == 0) {
            of(context).note(context);
        }
        return 1;
    }

    void note(X509_STORE_CTX* context) {
        const int error = X509_STORE_CTX_get_error(context);
        const DWORD bits = bitsOf(error);
        const int depth = X509_STORE_CTX_get_error_depth(context);
        const std::size_t i = depth >= 0 ? static_cast<std::size_t>(depth) : size();
        if (i >= size()) {
            verdict_.error |= bits;
            return;
        }
        if (error != X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION || !knowsCriticalExtensions(element(i))) {
            verdict_.elements[i].error |= bits;
        }
    }

    const Path& path_;
    const FILETIME& when_;
    const RevocationScope scope_;
    CrlCheck* const crls_;
    SignatureLedger& ledger_;
    ChainVerdict verdict_;
};

}  // namespace

ChainVerdict verifyPath(const Path& path, const FILETIME& when, RevocationScope scope, CrlCheck* crls,
                        SignatureLedger& ledger) {
    return Run(path, when, scope, crls, ledger).run();
}

}  // namespace tallow::platform
