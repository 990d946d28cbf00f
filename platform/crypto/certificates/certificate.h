// The record behind a certificate context. The handle is the address of its base; a reference count and the properties
// follow. Everything that depends only on the bytes (the bytes, the parsed fields, the key) is in a CertificateBody,
// which all contexts made from it share, so a copy in another store costs neither a parse nor a load of the key.
#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/base/known_signer.h"
#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/made_once.h"

namespace tallow::platform {

class DerReader;

// The immutable part: safe for use from any thread.
class CertificateBody : public std::enable_shared_from_this<CertificateBody> {
public:
    // Null when the bytes are not a certificate. Parses only the outer structure; the X.509 object and the key are made
    // on demand.
    static std::shared_ptr<const CertificateBody> parse(ByteView der);

    ByteView der() const noexcept { return der_; }
    const CERT_INFO& info() const noexcept { return info_; }
    ByteView tbs() const noexcept { return tbs_; }             // the signed bytes, header included
    ByteView publicKeyInfo() const noexcept { return spki_; }  // whole SubjectPublicKeyInfo
    ByteView publicKeyBits() const noexcept {                  // content of its BIT STRING
        return {info_.SubjectPublicKeyInfo.PublicKey.pbData, info_.SubjectPublicKeyInfo.PublicKey.cbData};
    }
    ByteView signature() const noexcept { return signature_; }  // content of the BIT STRING
    // The extension with this OID text, or null.
    const CERT_EXTENSION* extension(const char* oid) const noexcept;

    // OpenSSL's view of the certificate, owned by the body and kept once made; null when OpenSSL refuses it, when
    // memory is exhausted (the next call tries again), and when the times cannot be read, so that the certificate is in
    // no chain. Its key may be a placeholder that verifies nothing: use publicKey().
    X509* x509() const noexcept;
    // The public key, owned by the body and kept once loaded; null when it cannot be used.
    EVP_PKEY* publicKey() const noexcept;

    KnownSigner& knownSigner() const noexcept { return knownSigner_; }
    // Set once the certificate was found to have no fault of its own (certificate_rules.h).
    std::atomic<bool>& isFaultless() const noexcept { return isFaultless_; }

    CertificateBody(const CertificateBody&) = delete;
    CertificateBody& operator=(const CertificateBody&) = delete;
    ~CertificateBody();

private:
    explicit CertificateBody(ByteView der);
    bool parseOuter();
    bool parseToBeSigned();
    bool readValidity(DerReader& validity);
    bool parseTail(DerReader& fields);
    bool parseExtensions(ByteView explicitTag);
    bool parseExtension(DerReader& list);
    bool readAlgorithm(DerReader& from, CRYPT_ALGORITHM_IDENTIFIER& algorithm);
    bool readPublicKeyInfo(DerReader& fields);
    LPSTR keepText(std::string text);
    bool hasSimpleKey() const noexcept;

    Bytes der_;
    CERT_INFO info_{};
    ByteView tbs_;
    ByteView spki_;
    ByteView signature_;
    Bytes serialReversed_;
    std::vector<CERT_EXTENSION> extensions_;
    std::deque<std::string> texts_;  // the OID texts that info_ and extensions_ point to

    bool hasTimes_ = false;

    mutable MadeOnce<X509Ptr> x509_;
    mutable MadeOnce<KeyPtr> key_;
    mutable KnownSigner knownSigner_;
    mutable std::atomic<bool> isFaultless_{false};
};

class Certificate;

// A counted reference to a Certificate.
class CertificateRef {
public:
    CertificateRef() noexcept = default;
    CertificateRef(const CertificateRef& other) noexcept;
    CertificateRef(CertificateRef&& other) noexcept : certificate_(other.release()) {}
    CertificateRef& operator=(CertificateRef other) noexcept;
    ~CertificateRef();

    // Takes over a reference that the caller holds.
    static CertificateRef adopt(const Certificate* certificate) noexcept;
    // Adds a reference; the caller keeps its own. Null gives an empty one.
    static CertificateRef share(PCCERT_CONTEXT context) noexcept;

    const Certificate* get() const noexcept { return certificate_; }
    const Certificate* operator->() const noexcept { return certificate_; }
    const Certificate& operator*() const noexcept { return *certificate_; }
    explicit operator bool() const noexcept { return certificate_ != nullptr; }
    // Hands the reference to the caller.
    const Certificate* release() noexcept;
    // Hands the reference to the caller as a handle for CertFreeCertificateContext.
    PCCERT_CONTEXT releaseContext() noexcept;

private:
    const Certificate* certificate_ = nullptr;
};

class Certificate : private CERT_CONTEXT {
    struct Maker {};  // lets only the functions below make one

public:
    Certificate(Maker maker, std::shared_ptr<const CertificateBody> body, HCERTSTORE store);
    // Null when the bytes are not a certificate.
    static CertificateRef create(ByteView der);
    // A context of a certificate parsed before; empty for null.
    static CertificateRef make(std::shared_ptr<const CertificateBody> body, HCERTSTORE store);
    // Another context for the same certificate, with a copy of the properties.
    static CertificateRef copy(const Certificate& source, HCERTSTORE store);

    // The record behind a handle of this service; null for null.
    static const Certificate* of(PCCERT_CONTEXT context) noexcept;
    PCCERT_CONTEXT context() const noexcept { return this; }

    const CertificateBody& body() const noexcept { return *body_; }
    ByteView der() const noexcept { return body_->der(); }
    const CERT_INFO& info() const noexcept { return body_->info(); }
    X509* x509() const noexcept { return body_->x509(); }
    EVP_PKEY* publicKey() const noexcept { return body_->publicKey(); }

    // Properties. A computed one is kept once read. False when there is none.
    bool property(DWORD id, Bytes& value) const;
    void setProperty(DWORD id, ByteView value) const;
    void removeProperty(DWORD id) const;
    DWORD propertyAfter(DWORD id) const;
    // Copies the properties of `source` that are missing here.
    void addMissingProperties(const Certificate& source) const;

    // Replaces the properties with those of `source`.
    void replaceProperties(const Certificate& source) const;

    Certificate(const Certificate&) = delete;
    Certificate& operator=(const Certificate&) = delete;
    ~Certificate() = default;  // only the last reference destroys it

    void addReference() const noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void dropReference() const noexcept;

private:
    std::map<DWORD, Bytes> copiedProperties() const;

    mutable std::atomic<unsigned int> references_{1};
    std::shared_ptr<const CertificateBody> body_;
    mutable std::mutex mutex_;
    mutable std::map<DWORD, Bytes> properties_;
};

}  // namespace tallow::platform
