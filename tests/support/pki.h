// Keys, certificates and CRLs for tests, made in process with libcrypto (a whole PKI takes a few milliseconds), and a
// PKI that a test program makes once.
//
//   const Pki& pki = Pki::shared();
//   Identity delegate = issue(pki.ca, {.commonName = "delegate", .extendedKeyUsage = "OCSPSigning"});
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/bytes.h"

struct evp_pkey_st;

namespace testkit {

inline constexpr const char* kSha1Oid = "1.3.14.3.2.26";
inline constexpr const char* kSha256Oid = "2.16.840.1.101.3.4.2.1";
inline constexpr const char* kSha384Oid = "2.16.840.1.101.3.4.2.2";
inline constexpr const char* kSha512Oid = "2.16.840.1.101.3.4.2.3";

/// A digest by its OID; throws for an unknown OID.
Bytes digest(const std::string& hashOid, const Bytes& data);

enum class KeyKind { kEcP256, kEcP384, kRsa2048, kRsa512, kEd25519, kDsa1024 };

/// A private key; copies share it.
class Key {
public:
    Key() = default;  // none

    /// A fresh key. RSA keys come from a pool of four a kind, since making one takes long: distinct until the fifth.
    static Key make(KeyKind kind = KeyKind::kEcP256);
    /// A key made elsewhere; takes it over.
    static Key own(evp_pkey_st* key);

    evp_pkey_st* get() const { return key_.get(); }

    /// PKCS #8 in PEM, not encrypted.
    std::string pem() const;

    /// DER of SubjectPublicKeyInfo.
    const Bytes& publicKeyInfo() const { return public_->info; }
    /// Content of subjectPublicKey, without the unused-bits octet: what key hashes are made of.
    const Bytes& publicKeyBits() const { return public_->bits; }

private:
    struct Public {
        Bytes info, bits;
    };
    explicit Key(std::shared_ptr<evp_pkey_st> key);

    std::shared_ptr<evp_pkey_st> key_;
    std::shared_ptr<const Public> public_;  // encoded once: libcrypto takes long to do it
};

/// A certificate and its private key.
struct Identity {
    Bytes certificate;
    Key key;

    std::string certificatePem() const;
    /// DER of the subject name.
    Bytes subject() const;
    /// Content octets of the serial number's INTEGER.
    Bytes serial() const;
};

using ExtensionList = std::vector<std::pair<std::string, Bytes>>;  // OID and DER

/// The fields of a certificate. Extensions have the text form of OpenSSL's configuration; empty: left out.
struct CertificateSpec {
    std::string commonName = "subject";
    std::optional<Key> key = std::nullopt;       // a fresh P-256 key when absent
    std::optional<Bytes> serial = std::nullopt;  // content octets; random and positive when absent
    long notBeforeSeconds = -3600;               // from now
    long notAfterSeconds = 30L * 24 * 3600;      // from now
    int version = 3;                             // 1 to 3, whatever else is in the certificate
    // DER of the names, instead of commonName and the issuer's subject.
    std::optional<Bytes> subject = std::nullopt, issuer = std::nullopt;
    // Text of a UTCTime, or of a GeneralizedTime when 15 octets or more.
    std::optional<std::string> notAfter = std::nullopt;
    bool ca = false;  // basicConstraints CA:TRUE, keyUsage keyCertSign and cRLSign by default
    std::optional<int> pathLength = std::nullopt;
    // "critical,digitalSignature"; when absent: CA bits for a CA, none for others.
    std::optional<std::string> keyUsage = std::nullopt;
    std::string extendedKeyUsage = {};  // "OCSPSigning", "1.2.3.4", "critical,serverAuth"
    bool ocspNoCheck = false;
    std::vector<std::string> ocspUrls = {};       // authorityInfoAccess, OCSP
    std::vector<std::string> caIssuersUrls = {};  // authorityInfoAccess, caIssuers
    std::vector<std::string> crlUrls = {};        // cRLDistributionPoints, one point each
    ExtensionList extensions = {};                // further ones
    ExtensionList criticalExtensions = {};        // likewise, marked critical
    bool keyIdentifiers = true;                   // subjectKeyIdentifier and authorityKeyIdentifier
    std::string hash = "SHA256";                  // of the signature; ignored for Ed25519
    bool pss = false;                             // RSASSA-PSS signature (issuer with an RSA key)
};

/// Signed by `issuer`, with its subject as issuer name.
Identity issue(const Identity& issuer, const CertificateSpec& spec);
Identity selfSigned(const CertificateSpec& spec);

/// A CA under `issuer`, or a root; the shortest way to one.
Identity issueCa(const Identity& issuer, const std::string& commonName);
Identity rootCa(const std::string& commonName);

struct CrlEntrySpec {
    Bytes serial;  // content octets
    std::optional<int> reason = std::nullopt;
    ExtensionList criticalExtensions = {};
};

struct CrlSpec {
    std::vector<Bytes> revokedSerials = {};              // content octets
    long lastUpdateSeconds = -3600;                      // from now
    std::optional<long> nextUpdateSeconds = 24L * 3600;  // from now; left out when absent
    std::optional<int> reason = std::nullopt;            // of the entries for revokedSerials
    std::string hash = "SHA256";
    ExtensionList extensions = {};
    ExtensionList criticalExtensions = {};
    std::optional<Bytes> number = Bytes{1};               // content octets of cRLNumber; left out when absent
    std::vector<CrlEntrySpec> entries = {};               // after those for revokedSerials
    std::optional<int> version = 1;                       // left out when absent, which is version 1
    std::optional<long> revokedAtSeconds = std::nullopt;  // from now, of all entries; when absent: lastUpdateSeconds
    bool emptyList = false;                               // revokedCertificates without an entry
    std::optional<Bytes> innerAlgorithm = std::nullopt;   // instead of the correct one
};

/// DER of a CRL signed by `issuer`.
Bytes makeCrl(const Identity& issuer, const CrlSpec& spec);

/// The certificate or CRL after `change` of its signed part, signed again by `issuer` with ECDSA and SHA-256.
Bytes signedAgain(const Bytes& der, const Identity& issuer, const std::function<Bytes(const Bytes&)>& change);

/// The PKI that most tests use. Common names are the names of the members.
struct Pki {
    Identity root;                    // not trusted until a test adds it
    Identity ca;                      // under root; issuer of all that follows unless said otherwise
    Identity sibling;                 // another CA under root
    Identity subCa;                   // a CA under ca
    Identity sameNameCa;              // subject equal to that of ca, another key, self-signed
    Identity good, revoked, unknown;  // leaf certificates
    Identity delegate;                // OCSPSigning, digitalSignature, ocsp-nocheck absent

    /// Made on first use, once in a program.
    static const Pki& shared();
};

/// GeneralizedTime text of now plus `seconds`, "20260102030405Z".
std::string generalizedTimeText(long seconds);

}  // namespace testkit
