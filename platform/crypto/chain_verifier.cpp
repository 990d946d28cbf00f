#include "platform/crypto/chain_verifier.h"

#include <openssl/x509v3.h>

#include <new>

namespace tallow::platform {

namespace {

constexpr DWORD kUnknownRevocation = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;

// OpenSSL's errors as bits. Trust, signatures and times are not here: the path and the ledger know them (see below),
// and a fault that is counted twice would still be one.
DWORD bitsOf(int error) {
    switch (error) {
        case X509_V_ERR_CERT_REVOKED:
            return CERT_TRUST_IS_REVOKED;
        case X509_V_ERR_UNABLE_TO_GET_CRL:
        case X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER:
        case X509_V_ERR_UNABLE_TO_DECRYPT_CRL_SIGNATURE:
        case X509_V_ERR_CRL_SIGNATURE_FAILURE:
        case X509_V_ERR_CRL_NOT_YET_VALID:
        case X509_V_ERR_CRL_HAS_EXPIRED:
        case X509_V_ERR_ERROR_IN_CRL_LAST_UPDATE_FIELD:
        case X509_V_ERR_ERROR_IN_CRL_NEXT_UPDATE_FIELD:
        case X509_V_ERR_KEYUSAGE_NO_CRL_SIGN:  // whoever may not sign CRLs says nothing about revocation
        case X509_V_ERR_UNHANDLED_CRITICAL_CRL_EXTENSION:
        case X509_V_ERR_DIFFERENT_CRL_SCOPE:
        case X509_V_ERR_CRL_PATH_VALIDATION_ERROR:
            return kUnknownRevocation;
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
            return 0;  // said by the path
        default:
            return CERT_TRUST_INVALID_EXTENSION;  // whatever else OpenSSL objects to is an objection
    }
}

class Run {
public:
    Run(const Path& path, const FILETIME& when, RevocationScope scope, CrlSource* crls, SignatureLedger& ledger)
        : path_(path), when_(when), scope_(scope), crls_(crls), ledger_(ledger) {
        verdict_.elements.resize(path.elements.size());
    }

    ChainVerdict run() {
        judgePath();
        if (path_.elements[0]->x509() != nullptr) {
            verify();
        } else {
            verdict_.elements[0].error |= CERT_TRUST_INVALID_EXTENSION;
        }
        for (std::size_t i = 0; i < size(); ++i) {
            verdict_.elements[i].revocationChecked = isRevocationAsked(i);
            verdict_.error |= verdict_.elements[i].error;
        }
        return std::move(verdict_);
    }

private:
    std::size_t size() const { return path_.elements.size(); }
    const Certificate& element(std::size_t i) const { return *path_.elements[i]; }
    bool isLast(std::size_t i) const { return i + 1 == size(); }

    bool isRevocationAsked(std::size_t i) const {
        const bool inScope =
            scope_ == RevocationScope::kChain || (scope_ == RevocationScope::kEndCertificate && i == 0);
        return inScope && !(isLast(i) && path_.selfSigned);
    }

    // What the path says without OpenSSL: where it ends, who signed whom, and when each certificate is valid.
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
            const bool isAnchor = isLast(i) && path_.anchored;
            if (!isAnchor && element(i).x509() != nullptr) {
                judgeStrength(i);
            }
            if (!isLast(i)) {
                judgeIssuer(i);
            } else if (path_.selfSigned) {
                verdict_.elements[i].info |=
                    CERT_TRUST_IS_SELF_SIGNED | CERT_TRUST_HAS_NAME_MATCH_ISSUER | CERT_TRUST_HAS_PREFERRED_ISSUER;
            }
        }
    }

    // The signature and the key of a root are believed for what they are, not for their strength.
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

    void verify() {
        const X509StoreContextPtr context(X509_STORE_CTX_new());
        const X509StackPtr between(sk_X509_new_null());
        if (!context || !between) {
            throw std::bad_alloc();
        }
        for (std::size_t i = 1; i < size(); ++i) {
            if (!(path_.anchored && isLast(i)) && X509_up_ref(element(i).x509()) == 1) {
                sk_X509_push(between.get(), element(i).x509());
            }
        }
        if (X509_STORE_CTX_init(context.get(), callbacks(), element(0).x509(), between.get()) != 1) {
            throw std::bad_alloc();
        }
        if (X509_STORE_CTX_set_app_data(context.get(), this) != 1) {
            throw std::bad_alloc();
        }
        X509_VERIFY_PARAM* const parameters = X509_STORE_CTX_get0_param(context.get());
        X509_VERIFY_PARAM_set_time(parameters, static_cast<std::time_t>(secondsSince1970(when_)));
        X509_VERIFY_PARAM_set_depth(parameters, static_cast<int>(size()));
        X509_VERIFY_PARAM_set_auth_level(parameters, 0);  // strength is judged above, by our own settings
        if (scope_ != RevocationScope::kNone) {
            X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_CRL_CHECK);
        }
        if (scope_ == RevocationScope::kChain) {
            X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_CRL_CHECK_ALL);
        }
        if (X509_verify_cert(context.get()) != 1) {
            verdict_.error |= CERT_TRUST_IS_PARTIAL_CHAIN;  // it did not come to its end: nothing is proven
        }
        if (X509_STORE_CTX* const done = context.get();
            static_cast<std::size_t>(sk_X509_num(X509_STORE_CTX_get0_chain(done))) != size()) {
            verdict_.error |= CERT_TRUST_IS_PARTIAL_CHAIN;  // OpenSSL saw another chain than the one that is shown
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
            X509_STORE_set_lookup_crls(made, onLookupCrls);
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

    static STACK_OF(X509_CRL) * onLookupCrls(const X509_STORE_CTX* constContext, const X509_NAME*) {
        auto* const context = const_cast<X509_STORE_CTX*>(constContext);  // the readers of OpenSSL 3.0 are not const
        Run& run = of(context);
        const std::size_t i = run.indexOf(X509_STORE_CTX_get_current_cert(context));
        X509CrlStackPtr stack(sk_X509_CRL_new_null());
        if (!stack || i + 1 >= run.size() || run.crls_ == nullptr || !run.isRevocationAsked(i)) {
            return nullptr;
        }
        try {
            for (const CrlRef& crl : run.crls_->crlsFor(run.element(i), run.element(i + 1))) {
                if (X509_CRL_up_ref(crl->crl.get()) == 1) {
                    sk_X509_CRL_push(stack.get(), crl->crl.get());
                }
            }
        } catch (const std::exception&) {  // none may pass through OpenSSL; without CRLs the state is unknown
            return nullptr;
        }
        return stack.release();
    }

    // Signatures and times of the path were judged already.
    static int onVerifySignatures(X509_STORE_CTX*) { return 1; }

    static int onFinding(int ok, X509_STORE_CTX* context) {
        if (ok == 0) {
            of(context).note(context);
        }
        return 1;
    }

    void note(X509_STORE_CTX* context) {
        DWORD bits = bitsOf(X509_STORE_CTX_get_error(context));
        const int depth = X509_STORE_CTX_get_error_depth(context);
        const std::size_t i = depth >= 0 ? static_cast<std::size_t>(depth) : size();
        if (i >= size()) {
            verdict_.error |= bits;
            return;
        }
        if (!isRevocationAsked(i)) {
            bits &= ~(kUnknownRevocation | CERT_TRUST_IS_REVOKED);
        }
        if ((bits & CERT_TRUST_IS_REVOKED) != 0) {
            verdict_.elements[i].revocationReason = reasonOf(context);
        }
        verdict_.elements[i].error |= bits;
    }

    static DWORD reasonOf(X509_STORE_CTX* context) {
        X509_REVOKED* entry = nullptr;
        X509_CRL* const crl = X509_STORE_CTX_get0_current_crl(context);
        if (crl == nullptr || X509_CRL_get0_by_cert(crl, &entry, X509_STORE_CTX_get_current_cert(context)) != 1) {
            return 0;
        }
        ASN1_ENUMERATED* const reason =
            static_cast<ASN1_ENUMERATED*>(X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr));
        const long value = reason != nullptr ? ASN1_ENUMERATED_get(reason) : 0;
        ASN1_ENUMERATED_free(reason);
        return value > 0 ? static_cast<DWORD>(value) : 0;
    }

    const Path& path_;
    const FILETIME& when_;
    const RevocationScope scope_;
    CrlSource* const crls_;
    SignatureLedger& ledger_;
    ChainVerdict verdict_;
};

}  // namespace

ChainVerdict verifyPath(const Path& path, const FILETIME& when, RevocationScope scope, CrlSource* crls,
                        SignatureLedger& ledger) {
    return Run(path, when, scope, crls, ledger).run();
}

}  // namespace tallow::platform
