#include "tests/support/pki.h"

#include <openssl/core_names.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <ctime>
#include <map>

#include "tests/support/openssl_ptr.h"
#include "tests/support/tlv.h"

namespace testkit {

namespace {

// Keys that each kind of RSA has; made one by one, as needed.
constexpr std::size_t kRsaPoolSize = 4;

EVP_PKEY* generateDsa() {
    const PkeyCtxPtr forParameters(EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
    EVP_PKEY* parameters = nullptr;
    require(EVP_PKEY_paramgen_init(forParameters.get()) == 1 &&
                EVP_PKEY_CTX_set_dsa_paramgen_bits(forParameters.get(), 1024) == 1 &&
                EVP_PKEY_paramgen(forParameters.get(), &parameters) == 1,
            "making parameters");
    const std::shared_ptr<EVP_PKEY> owner(parameters, EVP_PKEY_free);
    const PkeyCtxPtr forKey(EVP_PKEY_CTX_new_from_pkey(nullptr, parameters, nullptr));
    EVP_PKEY* key = nullptr;
    require(EVP_PKEY_keygen_init(forKey.get()) == 1 && EVP_PKEY_keygen(forKey.get(), &key) == 1, "making a key");
    return key;
}

std::shared_ptr<EVP_PKEY> generate(KeyKind kind) {
    EVP_PKEY* const key = kind == KeyKind::kEcP256    ? EVP_EC_gen("P-256")
                          : kind == KeyKind::kEcP384  ? EVP_EC_gen("P-384")
                          : kind == KeyKind::kRsa2048 ? EVP_RSA_gen(2048U)
                          : kind == KeyKind::kRsa512  ? EVP_RSA_gen(512U)
                          : kind == KeyKind::kEd25519 ? EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")
                                                      : generateDsa();
    require(key != nullptr, "making a key");
    return {key, EVP_PKEY_free};
}

std::shared_ptr<EVP_PKEY> pooledRsa(KeyKind kind) {
    static std::map<KeyKind, std::vector<std::shared_ptr<EVP_PKEY>>> pools;
    static std::map<KeyKind, std::size_t> next;
    const std::size_t slot = next[kind]++ % kRsaPoolSize;
    auto& pool = pools[kind];
    if (slot == pool.size()) {
        pool.push_back(generate(kind));
    }
    return pool[slot];
}

Bytes timeIn(long seconds) {
    return tlv::utcTime(generalizedTimeText(seconds).substr(2));
}

Bytes nameOf(const std::string& commonName) {
    return tlv::sequence({tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String(commonName)})})});
}

Bytes randomSerial() {
    Bytes content(10);
    RAND_bytes(content.data(), static_cast<int>(content.size()));
    content[0] = static_cast<std::uint8_t>((content[0] & 0x3F) | 0x40);  // positive, and of full length
    return content;
}

// Those of `list`, then those of both kinds; empty when there is none.
Bytes extensionList(const ExtensionList& extensions, const ExtensionList& critical, std::vector<Bytes> list = {}) {
    for (const ExtensionList* from : {&extensions, &critical}) {
        for (const auto& [oid, value] : *from) {
            const Bytes mark = from == &critical ? tlv::boolean(true) : Bytes();
            list.push_back(tlv::sequence({tlv::oid(oid), mark, tlv::octetString(value)}));
        }
    }
    return list.empty() ? Bytes() : tlv::sequence(list);
}

// An extension by its text; empty without one.
Bytes configured(int nid, const std::string& value) {
    if (value.empty()) {
        return {};
    }
    const X509ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, nullptr, nid, value.c_str()));
    require(extension != nullptr, value.c_str());
    return toDer(extension.get(), i2d_X509_EXTENSION);
}

// "OCSP;URI:http://a/,OCSP;URI:http://b/" for the kind "OCSP;".
std::string uriList(const std::string& kind, const std::vector<std::string>& urls) {
    std::string list;
    for (const std::string& url : urls) {
        list += (list.empty() ? "" : ",") + kind + "URI:" + url;
    }
    return list;
}

Bytes keyIdentifier(const Key& key) {
    return digest(kSha1Oid, key.publicKeyBits());
}

// With its tag; empty when there is none.
Bytes extensionsOf(const CertificateSpec& spec, const Key& key, const Key& issuerKey) {
    const std::string length = spec.pathLength ? ",pathlen:" + std::to_string(*spec.pathLength) : "";
    const std::string ocsp = uriList("OCSP;", spec.ocspUrls);
    const std::string caIssuers = uriList("caIssuers;", spec.caIssuersUrls);
    std::vector<Bytes> list{
        configured(NID_basic_constraints, spec.ca ? "critical,CA:TRUE" + length : ""),
        configured(NID_key_usage,
                   spec.keyUsage.value_or(spec.ca ? "critical,keyCertSign,cRLSign,digitalSignature" : "")),
        configured(NID_ext_key_usage, spec.extendedKeyUsage),
        configured(NID_info_access, ocsp + (ocsp.empty() || caIssuers.empty() ? "" : ",") + caIssuers),
        configured(NID_crl_distribution_points, uriList("", spec.crlUrls))};
    std::erase(list, Bytes());
    ExtensionList more;
    if (spec.ocspNoCheck) {
        more.emplace_back("1.3.6.1.5.5.7.48.1.5", tlv::null());
    }
    if (spec.keyIdentifiers) {
        more.emplace_back("2.5.29.14", tlv::octetString(keyIdentifier(key)));
        more.emplace_back("2.5.29.35", tlv::sequence({tlv::contextPrimitive(0, keyIdentifier(issuerKey))}));
    }
    more.insert(more.end(), spec.extensions.begin(), spec.extensions.end());
    const Bytes all = extensionList(more, spec.criticalExtensions, list);
    return all.empty() ? all : tlv::context(3, all);
}

// What is signed, the algorithm and the signature.
Bytes signedStructure(const Bytes& toBeSigned, const Key& key, const std::string& hash, bool pss = false) {
    const Signature signature = sign(toBeSigned, key.get(), hash, pss);
    return tlv::sequence({toBeSigned, signature.algorithm, tlv::bitString(signature.octets)});
}

// Self-signed without an issuer.
Identity make(const Identity* issuer, const CertificateSpec& spec) {
    const Key key = spec.key ? *spec.key : Key::make();
    const Key& signer = issuer != nullptr ? issuer->key : key;
    const Bytes subject = spec.subject.value_or(nameOf(spec.commonName));
    const Bytes notAfter = !spec.notAfter               ? timeIn(spec.notAfterSeconds)
                           : spec.notAfter->size() < 15 ? tlv::utcTime(*spec.notAfter)
                                                        : tlv::generalizedTime(*spec.notAfter);
    const Bytes toBeSigned = tlv::sequence({
        spec.version == 1 ? Bytes() : tlv::context(0, tlv::integer(spec.version - 1)),
        tlv::integer(spec.serial.value_or(randomSerial())),
        sign({}, signer.get(), spec.hash, spec.pss).algorithm,
        spec.issuer.value_or(issuer != nullptr ? issuer->subject() : subject),
        tlv::sequence({timeIn(spec.notBeforeSeconds), notAfter}),
        subject,
        key.publicKeyInfo(),
        extensionsOf(spec, key, signer),
    });
    return {signedStructure(toBeSigned, signer, spec.hash, spec.pss), key};
}

Pki makePki() {
    Pki pki;
    pki.root = rootCa("root");
    pki.ca = issueCa(pki.root, "ca");
    pki.sibling = issueCa(pki.root, "sibling");
    pki.subCa = issueCa(pki.ca, "subCa");
    pki.sameNameCa = rootCa("ca");
    for (auto [member, name] : {std::pair{&pki.good, "good"}, {&pki.revoked, "revoked"}, {&pki.unknown, "unknown"}}) {
        *member = issue(pki.ca, {.commonName = name});
    }
    pki.delegate = issue(
        pki.ca, {.commonName = "delegate", .keyUsage = "critical,digitalSignature", .extendedKeyUsage = "OCSPSigning"});
    return pki;
}

}  // namespace

Signature sign(const Bytes& data, EVP_PKEY* key, const std::string& hash, bool pss) {
    const MdCtxPtr context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* ofKey = nullptr;  // part of the context
    const bool digestless = EVP_PKEY_get_base_id(key) == EVP_PKEY_ED25519;
    require(EVP_DigestSignInit_ex(context.get(), &ofKey, digestless ? nullptr : hash.c_str(), nullptr, nullptr, key,
                                  nullptr) == 1,
            "opening a signature");
    if (pss) {
        require(EVP_PKEY_CTX_set_rsa_padding(ofKey, RSA_PKCS1_PSS_PADDING) == 1 &&
                    EVP_PKEY_CTX_set_rsa_pss_saltlen(ofKey, RSA_PSS_SALTLEN_DIGEST) == 1,
                "setting the padding");
    }
    Signature signature{Bytes(512), Bytes(2048)};
    if (EVP_PKEY_get0_provider(key) == nullptr) {  // the key of an engine
        int algorithm = NID_undef;
        require(OBJ_find_sigid_by_algs(&algorithm, OBJ_txt2nid(hash.c_str()), EVP_PKEY_get_base_id(key)) == 1,
                "naming an algorithm");
        signature.algorithm = tlv::sequence({toDer(OBJ_nid2obj(algorithm), i2d_ASN1_OBJECT)});
    } else {
        OSSL_PARAM reported[] = {
            OSSL_PARAM_construct_octet_string(OSSL_SIGNATURE_PARAM_ALGORITHM_ID, signature.algorithm.data(),
                                              signature.algorithm.size()),
            OSSL_PARAM_construct_end()};
        require(EVP_PKEY_CTX_get_params(ofKey, reported) == 1, "naming an algorithm");
        signature.algorithm.resize(reported[0].return_size);
    }
    std::size_t size = signature.octets.size();
    require(EVP_DigestSign(context.get(), signature.octets.data(), &size, data.data(), data.size()) == 1, "signing");
    signature.octets.resize(size);
    return signature;
}

Bytes digest(const std::string& hashOid, const Bytes& data) {
    const EVP_MD* const hash = EVP_get_digestbyobj(Asn1ObjectPtr(OBJ_txt2obj(hashOid.c_str(), 1)).get());
    require(hash != nullptr, "looking up a digest");
    Bytes result(static_cast<std::size_t>(EVP_MD_get_size(hash)));
    require(EVP_Digest(data.data(), data.size(), result.data(), nullptr, hash, nullptr) == 1, "hashing");
    return result;
}

Key::Key(std::shared_ptr<EVP_PKEY> key) : key_(std::move(key)) {
    X509_PUBKEY* info = nullptr;
    require(X509_PUBKEY_set(&info, key_.get()) == 1, "reading a public key");
    const std::unique_ptr<X509_PUBKEY, FreeWith<X509_PUBKEY_free>> owner(info);
    const unsigned char* bits = nullptr;
    int size = 0;
    X509_PUBKEY_get0_param(nullptr, &bits, &size, nullptr, info);
    public_ = std::make_shared<Public>(Public{toDer(info, i2d_X509_PUBKEY), Bytes(bits, bits + size)});
}

Key Key::make(KeyKind kind) {
    const bool rsa = kind == KeyKind::kRsa2048 || kind == KeyKind::kRsa512;
    return Key(rsa ? pooledRsa(kind) : generate(kind));
}

Key Key::own(EVP_PKEY* key) {
    return Key(std::shared_ptr<EVP_PKEY>(key, EVP_PKEY_free));
}

std::string Key::pem() const {
    const BioPtr bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PKCS8PrivateKey(bio.get(), key_.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "writing a key");
    return textIn(bio.get());
}

std::string Identity::certificatePem() const {
    return toPem(certificate, "CERTIFICATE");
}

Bytes Identity::subject() const {
    const X509Ptr parsed = parseCertificate(certificate);
    return toDer(X509_get_subject_name(parsed.get()), i2d_X509_NAME);
}

Bytes Identity::serial() const {
    const X509Ptr parsed = parseCertificate(certificate);
    const Bytes der = toDer(X509_get0_serialNumber(parsed.get()), i2d_ASN1_INTEGER);
    return Bytes(der.begin() + 2, der.end());
}

Identity issue(const Identity& issuer, const CertificateSpec& spec) {
    return make(&issuer, spec);
}

Identity selfSigned(const CertificateSpec& spec) {
    return make(nullptr, spec);
}

Identity issueCa(const Identity& issuer, const std::string& commonName) {
    return issue(issuer, {.commonName = commonName, .ca = true});
}

Identity rootCa(const std::string& commonName) {
    return selfSigned({.commonName = commonName, .ca = true});
}

Bytes makeCrl(const Identity& issuer, const CrlSpec& spec) {
    std::vector<CrlEntrySpec> entries;
    for (const Bytes& serial : spec.revokedSerials) {
        entries.push_back({serial, spec.reason});
    }
    entries.insert(entries.end(), spec.entries.begin(), spec.entries.end());
    const Bytes thisUpdate = timeIn(spec.lastUpdateSeconds);
    std::vector<Bytes> revoked;
    for (const CrlEntrySpec& entry : entries) {
        ExtensionList extensions;
        if (entry.reason) {
            extensions.emplace_back("2.5.29.21", tlv::enumerated(*entry.reason));
        }
        const Bytes list = extensionList(extensions, entry.criticalExtensions);
        revoked.push_back(tlv::sequence(
            {tlv::integer(entry.serial), timeIn(spec.revokedAtSeconds.value_or(spec.lastUpdateSeconds)), list}));
    }
    ExtensionList extensions = spec.extensions;
    if (spec.number) {
        extensions.emplace_back("2.5.29.20", tlv::integer(*spec.number));
    }
    const Bytes list = extensionList(extensions, spec.criticalExtensions);
    const Bytes algorithm = sign({}, issuer.key.get(), spec.hash).algorithm;
    const Bytes tbs =
        tlv::sequence({spec.version ? tlv::integer(*spec.version) : Bytes(), spec.innerAlgorithm.value_or(algorithm),
                       issuer.subject(), thisUpdate, spec.nextUpdateSeconds ? timeIn(*spec.nextUpdateSeconds) : Bytes(),
                       revoked.empty() && !spec.emptyList ? Bytes() : tlv::sequence(revoked),
                       list.empty() ? Bytes() : tlv::context(0, list)});
    return signedStructure(tbs, issuer.key, spec.hash);
}

Bytes signedAgain(const Bytes& der, const Identity& issuer, const std::function<Bytes(const Bytes&)>& change) {
    const unsigned char* at = der.data();
    long size = 0;
    int tag = 0;
    int tagClass = 0;
    ASN1_get_object(&at, &size, &tag, &tagClass, static_cast<long>(der.size()));
    const unsigned char* const begin = at;
    ASN1_get_object(&at, &size, &tag, &tagClass, size);
    return signedStructure(change(Bytes(begin, at + size)), issuer.key, "SHA256");
}

const Pki& Pki::shared() {
    static const Pki pki = makePki();
    return pki;
}

std::string generalizedTimeText(long seconds) {
    const std::time_t moment = std::time(nullptr) + seconds;
    std::tm parts{};
    ::gmtime_r(&moment, &parts);
    char text[32];
    const std::size_t size = std::strftime(text, sizeof text, "%Y%m%d%H%M%SZ", &parts);
    return {text, size};
}

}  // namespace testkit
