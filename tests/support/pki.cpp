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

X509NamePtr makeName(const std::string& commonName) {
    X509NamePtr name(X509_NAME_new());
    require(X509_NAME_add_entry_by_txt(name.get(), "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(commonName.data()),
                                       static_cast<int>(commonName.size()), -1, 0) == 1,
            "making a name");
    return name;
}

void setText(ASN1_TIME* time, const std::string& text) {
    require(ASN1_STRING_set(time, text.data(), static_cast<int>(text.size())) == 1, "setting a time");
    time->type = text.size() < 15 ? V_ASN1_UTCTIME : V_ASN1_GENERALIZEDTIME;
}

Asn1IntegerPtr makeSerial(const std::optional<Bytes>& serial) {
    Bytes content = serial.value_or(Bytes(10));
    if (!serial) {
        RAND_bytes(content.data(), static_cast<int>(content.size()));
        content[0] = static_cast<std::uint8_t>((content[0] & 0x3F) | 0x40);  // positive, and of full length
    }
    return fromDer<Asn1IntegerPtr>(tlv::integer(content), d2i_ASN1_INTEGER);
}

std::vector<Bytes> encoded(const ExtensionList& extensions, const ExtensionList& critical) {
    std::vector<Bytes> list;
    for (const ExtensionList* from : {&extensions, &critical}) {
        for (const auto& [oid, value] : *from) {
            const Bytes mark = from == &critical ? tlv::boolean(true) : Bytes();
            list.push_back(tlv::sequence({tlv::oid(oid), mark, tlv::octetString(value)}));
        }
    }
    return list;
}

Bytes extensionList(const ExtensionList& extensions, const ExtensionList& critical) {
    const std::vector<Bytes> list = encoded(extensions, critical);
    return list.empty() ? Bytes() : tlv::sequence(list);
}

void addExtension(X509* certificate, X509* issuer, int nid, const std::string& value) {
    if (value.empty()) {
        return;
    }
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509V3_set_ctx_nodb(&context);
    const X509ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
    require(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1, value.c_str());
}

// "OCSP;URI:http://a/,OCSP;URI:http://b/" for the kind "OCSP;".
std::string uriList(const std::string& kind, const std::vector<std::string>& urls) {
    std::string list;
    for (const std::string& url : urls) {
        list += (list.empty() ? "" : ",") + kind + "URI:" + url;
    }
    return list;
}

void addExtensions(X509* certificate, X509* issuer, const CertificateSpec& spec) {
    if (spec.ca) {
        const std::string length = spec.pathLength ? ",pathlen:" + std::to_string(*spec.pathLength) : "";
        addExtension(certificate, issuer, NID_basic_constraints, "critical,CA:TRUE" + length);
    }
    addExtension(certificate, issuer, NID_key_usage,
                 spec.keyUsage.value_or(spec.ca ? "critical,keyCertSign,cRLSign,digitalSignature" : ""));
    addExtension(certificate, issuer, NID_ext_key_usage, spec.extendedKeyUsage);
    addExtension(certificate, issuer, NID_id_pkix_OCSP_noCheck, spec.ocspNoCheck ? "ignored" : "");
    const std::string ocsp = uriList("OCSP;", spec.ocspUrls);
    const std::string caIssuers = uriList("caIssuers;", spec.caIssuersUrls);
    addExtension(certificate, issuer, NID_info_access,
                 ocsp + (ocsp.empty() || caIssuers.empty() ? "" : ",") + caIssuers);
    addExtension(certificate, issuer, NID_crl_distribution_points, uriList("", spec.crlUrls));
    if (spec.keyIdentifiers) {
        addExtension(certificate, issuer, NID_subject_key_identifier, "hash");
        const bool isNamed = X509_get_ext_by_NID(issuer, NID_subject_key_identifier, -1) >= 0;
        addExtension(certificate, issuer, NID_authority_key_identifier, isNamed ? "keyid" : "");
    }
    for (const Bytes& der : encoded(spec.extensions, spec.criticalExtensions)) {
        const auto extension = fromDer<X509ExtensionPtr>(der, d2i_X509_EXTENSION);
        require(X509_add_ext(certificate, extension.get(), -1) == 1, "adding an extension");
    }
}

Identity make(const Identity* issuer, const CertificateSpec& spec) {
    const Key key = spec.key ? *spec.key : Key::make();
    const X509Ptr certificate(X509_new());
    const X509Ptr issuerCertificate = issuer != nullptr ? parseCertificate(issuer->certificate) : nullptr;
    X509* const issuerOrSelf = issuerCertificate ? issuerCertificate.get() : certificate.get();

    X509_set_version(certificate.get(), spec.version - 1);
    X509_set_serialNumber(certificate.get(), makeSerial(spec.serial).get());
    const X509NamePtr subject =
        spec.subject ? fromDer<X509NamePtr>(*spec.subject, d2i_X509_NAME) : makeName(spec.commonName);
    X509_set_subject_name(certificate.get(), subject.get());
    const X509NamePtr issuerName = spec.issuer ? fromDer<X509NamePtr>(*spec.issuer, d2i_X509_NAME) : nullptr;
    X509_set_issuer_name(certificate.get(), issuerName ? issuerName.get() : X509_get_subject_name(issuerOrSelf));
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), spec.notBeforeSeconds);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), spec.notAfterSeconds);
    if (spec.notAfter) {
        setText(X509_getm_notAfter(certificate.get()), *spec.notAfter);
    }
    require(X509_set_pubkey(certificate.get(), key.get()) == 1, "setting the key");
    addExtensions(certificate.get(), issuerOrSelf, spec);

    EVP_PKEY* const signer = issuer != nullptr ? issuer->key.get() : key.get();
    require(X509_sign_ctx(certificate.get(), signingContext(signer, spec.hash, spec.pss).get()) > 0,
            "signing a certificate");
    return {toDer(certificate.get(), i2d_X509), key};
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

MdCtxPtr signingContext(EVP_PKEY* key, const std::string& hash, bool pss, EVP_PKEY_CTX** keyContext) {
    MdCtxPtr context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* ofKey = nullptr;
    const bool digestless = EVP_PKEY_get_base_id(key) == EVP_PKEY_ED25519;
    require(EVP_DigestSignInit_ex(context.get(), &ofKey, digestless ? nullptr : hash.c_str(), nullptr, nullptr, key,
                                  nullptr) == 1,
            "opening a signature");
    if (pss) {
        require(EVP_PKEY_CTX_set_rsa_padding(ofKey, RSA_PKCS1_PSS_PADDING) == 1 &&
                    EVP_PKEY_CTX_set_rsa_pss_saltlen(ofKey, RSA_PSS_SALTLEN_DIGEST) == 1,
                "setting the padding");
    }
    if (keyContext != nullptr) {
        *keyContext = ofKey;
    }
    return context;
}

Signature sign(const Bytes& data, EVP_PKEY* key, const std::string& hash, bool pss) {
    EVP_PKEY_CTX* keyContext = nullptr;
    const MdCtxPtr context = signingContext(key, hash, pss, &keyContext);
    Signature signature{Bytes(512), {}};
    OSSL_PARAM reported[] = {OSSL_PARAM_construct_octet_string(OSSL_SIGNATURE_PARAM_ALGORITHM_ID,
                                                               signature.algorithm.data(), signature.algorithm.size()),
                             OSSL_PARAM_construct_end()};
    require(EVP_PKEY_CTX_get_params(keyContext, reported) == 1, "naming an algorithm");
    signature.algorithm.resize(reported[0].return_size);
    std::size_t size = 0;
    require(EVP_DigestSign(context.get(), nullptr, &size, data.data(), data.size()) == 1, "sizing a signature");
    signature.octets.resize(size);
    require(EVP_DigestSign(context.get(), signature.octets.data(), &size, data.data(), data.size()) == 1, "signing");
    signature.octets.resize(size);
    return signature;
}

Key Key::make(KeyKind kind) {
    Key key;
    const bool rsa = kind == KeyKind::kRsa2048 || kind == KeyKind::kRsa512;
    key.key_ = rsa ? pooledRsa(kind) : generate(kind);
    return key;
}

std::string Key::pem() const {
    const BioPtr bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PKCS8PrivateKey(bio.get(), key_.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "writing a key");
    return textIn(bio.get());
}

Bytes Key::publicKeyBits() const {
    X509_PUBKEY* info = nullptr;
    require(X509_PUBKEY_set(&info, key_.get()) == 1, "reading a public key");
    const unsigned char* bits = nullptr;
    int size = 0;
    X509_PUBKEY_get0_param(nullptr, &bits, &size, nullptr, info);
    Bytes result(bits, bits + size);
    X509_PUBKEY_free(info);
    return result;
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
    const auto time = [](long seconds) { return tlv::utcTime(generalizedTimeText(seconds).substr(2)); };
    std::vector<CrlEntrySpec> entries;
    for (const Bytes& serial : spec.revokedSerials) {
        entries.push_back({serial, spec.reason});
    }
    entries.insert(entries.end(), spec.entries.begin(), spec.entries.end());
    std::vector<Bytes> revoked;
    for (const CrlEntrySpec& entry : entries) {
        ExtensionList extensions;
        if (entry.reason) {
            extensions.emplace_back("2.5.29.21", tlv::enumerated(*entry.reason));
        }
        const Bytes list = extensionList(extensions, entry.criticalExtensions);
        revoked.push_back(tlv::sequence({tlv::integer(entry.serial), time(spec.lastUpdateSeconds), list}));
    }
    ExtensionList extensions = spec.extensions;
    if (spec.number) {
        extensions.emplace_back("2.5.29.20", tlv::integer(*spec.number));
    }
    const Bytes list = extensionList(extensions, spec.criticalExtensions);
    const Bytes algorithm = sign({}, issuer.key.get(), spec.hash).algorithm;
    const Bytes tbs =
        tlv::sequence({spec.version ? tlv::integer(*spec.version) : Bytes(), spec.innerAlgorithm.value_or(algorithm),
                       issuer.subject(), time(spec.lastUpdateSeconds),
                       spec.nextUpdateSeconds ? time(*spec.nextUpdateSeconds) : Bytes(),
                       revoked.empty() && !spec.emptyList ? Bytes() : tlv::sequence(revoked),
                       list.empty() ? Bytes() : tlv::context(0, list)});
    return tlv::sequence({tbs, algorithm, tlv::bitString(sign(tbs, issuer.key.get(), spec.hash).octets)});
}

Bytes signedAgain(const Bytes& der, const Identity& issuer, const std::function<Bytes(const Bytes&)>& change) {
    const unsigned char* at = der.data();
    long size = 0;
    int tag = 0;
    int tagClass = 0;
    ASN1_get_object(&at, &size, &tag, &tagClass, static_cast<long>(der.size()));
    const unsigned char* const begin = at;
    ASN1_get_object(&at, &size, &tag, &tagClass, size);
    const Bytes tbs = change(Bytes(begin, at + size));
    const Signature signature = sign(tbs, issuer.key.get(), "SHA256");
    return tlv::sequence({tbs, signature.algorithm, tlv::bitString(signature.octets)});
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
