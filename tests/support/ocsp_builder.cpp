#include "tests/support/ocsp_builder.h"

#include <openssl/rsa.h>

#include <map>
#include <utility>

#include "tests/support/openssl_ptr.h"
#include "tests/support/tlv.h"

namespace testkit {

namespace {

Bytes extensionList(const std::vector<ExtensionSpec>& extensions) {
    std::vector<Bytes> encoded;
    encoded.reserve(extensions.size());
    for (const ExtensionSpec& extension : extensions) {
        encoded.push_back(extension.encode());
    }
    return tlv::sequence(encoded);
}

Bytes certStatus(const EntrySpec& entry) {
    switch (entry.status) {
        case EntryStatus::kGood:
            return tlv::contextPrimitive(0, {});
        case EntryStatus::kRevoked: {
            Bytes content = tlv::generalizedTime(entry.revocationTime);
            if (entry.revocationReason) {
                content = concat({content, tlv::context(0, tlv::enumerated(*entry.revocationReason))});
            }
            return tlv::context(1, content);
        }
        case EntryStatus::kUnknown:
            break;
    }
    return tlv::contextPrimitive(2, {});
}

Bytes responderId(const ResponseSpec& spec) {
    if (spec.responderId) {
        return *spec.responderId;
    }
    if (spec.responderIdKind == ResponderIdKind::kByName) {
        return tlv::context(1, spec.signer.subject());
    }
    return tlv::context(2, tlv::octetString(digest(kSha1Oid, spec.signer.key.publicKeyBits())));
}

struct Algorithm {
    const char* signatureOid;
    bool nullParameters;
};

// By key type and hash, as certificates and responses name them.
Algorithm algorithmFor(EVP_PKEY* key, const std::string& hash) {
    static const std::map<std::pair<int, std::string>, Algorithm> kTable = {
        {{EVP_PKEY_RSA, "MD5"}, {"1.2.840.113549.1.1.4", true}},
        {{EVP_PKEY_RSA, "SHA1"}, {"1.2.840.113549.1.1.5", true}},
        {{EVP_PKEY_RSA, "SHA256"}, {"1.2.840.113549.1.1.11", true}},
        {{EVP_PKEY_RSA, "SHA384"}, {"1.2.840.113549.1.1.12", true}},
        {{EVP_PKEY_RSA, "SHA512"}, {"1.2.840.113549.1.1.13", true}},
        {{EVP_PKEY_EC, "SHA1"}, {"1.2.840.10045.4.1", false}},
        {{EVP_PKEY_EC, "SHA224"}, {"1.2.840.10045.4.3.1", false}},
        {{EVP_PKEY_EC, "SHA256"}, {"1.2.840.10045.4.3.2", false}},
        {{EVP_PKEY_EC, "SHA384"}, {"1.2.840.10045.4.3.3", false}},
        {{EVP_PKEY_EC, "SHA512"}, {"1.2.840.10045.4.3.4", false}},
    };
    return kTable.at({EVP_PKEY_get_base_id(key), hash});
}

const char* hashOidOf(const std::string& hash) {
    static const std::map<std::string, const char*> kTable = {
        {"SHA1", kSha1Oid}, {"SHA256", kSha256Oid}, {"SHA384", kSha384Oid}, {"SHA512", kSha512Oid}};
    return kTable.at(hash);
}

Bytes pssAlgorithm(const std::string& hash) {
    const Bytes hashAlgorithm = tlv::sequence({tlv::oid(hashOidOf(hash)), tlv::null()});
    const Bytes mask = tlv::sequence({tlv::oid("1.2.840.113549.1.1.8"), hashAlgorithm});
    const int saltSize = EVP_MD_get_size(EVP_get_digestbyname(hash.c_str()));
    return tlv::sequence(
        {tlv::oid("1.2.840.113549.1.1.10"), tlv::sequence({tlv::context(0, hashAlgorithm), tlv::context(1, mask),
                                                           tlv::context(2, tlv::integer(saltSize))})});
}

Bytes signatureAlgorithm(const ResponseSpec& spec) {
    EVP_PKEY* const key = spec.signer.key.get();
    if (spec.signatureAlgorithm) {
        return *spec.signatureAlgorithm;
    }
    if (spec.pss) {
        return pssAlgorithm(spec.hash);
    }
    if (EVP_PKEY_get_base_id(key) == EVP_PKEY_ED25519) {
        return tlv::sequence({tlv::oid("1.3.101.112")});
    }
    const Algorithm algorithm = algorithmFor(key, spec.hash);
    return tlv::sequence({tlv::oid(algorithm.signatureOid), algorithm.nullParameters ? tlv::null() : Bytes{}});
}

Bytes sign(const ResponseSpec& spec, const Bytes& data) {
    EVP_PKEY* const key = spec.signer.key.get();
    const bool digestless = EVP_PKEY_get_base_id(key) == EVP_PKEY_ED25519;
    const MdCtxPtr context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* keyContext = nullptr;
    require(EVP_DigestSignInit_ex(context.get(), &keyContext, digestless ? nullptr : spec.hash.c_str(), nullptr,
                                  nullptr, key, nullptr) == 1,
            "opening a signature");
    if (spec.pss) {
        require(EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) == 1 &&
                    EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, RSA_PSS_SALTLEN_DIGEST) == 1,
                "setting the padding");
    }
    std::size_t size = 0;
    require(EVP_DigestSign(context.get(), nullptr, &size, data.data(), data.size()) == 1, "sizing a signature");
    Bytes signature(size);
    require(EVP_DigestSign(context.get(), signature.data(), &size, data.data(), data.size()) == 1, "signing");
    signature.resize(size);
    if (spec.corruptSignature) {
        signature.back() ^= 0x01;
    }
    return signature;
}

Bytes certificateList(const ResponseSpec& spec) {
    std::vector<Bytes> list;
    if (spec.exactCertificates) {
        list = *spec.exactCertificates;
    } else {
        if (spec.includeSigner) {
            list.push_back(spec.signer.certificate);
        }
        list.insert(list.end(), spec.certificates.begin(), spec.certificates.end());
    }
    return list.empty() ? Bytes{} : tlv::context(0, tlv::sequence(list));
}

Bytes basicResponse(const ResponseSpec& spec) {
    const Bytes data = buildResponseData(spec);
    return tlv::sequence({data, signatureAlgorithm(spec), tlv::bitString(sign(spec, data)), certificateList(spec)});
}

}  // namespace

Bytes digest(const std::string& hashOid, const Bytes& data) {
    ASN1_OBJECT* const object = OBJ_txt2obj(hashOid.c_str(), 1);
    const EVP_MD* const hash = EVP_get_digestbyobj(object);
    ASN1_OBJECT_free(object);
    require(hash != nullptr, "looking up a digest");
    Bytes result(static_cast<std::size_t>(EVP_MD_get_size(hash)));
    require(EVP_Digest(data.data(), data.size(), result.data(), nullptr, hash, nullptr) == 1, "hashing");
    return result;
}

Bytes CertIdSpec::encode() const {
    return tlv::sequence({tlv::sequence({tlv::oid(hashOid), nullParameters ? tlv::null() : Bytes{}}),
                          tlv::octetString(issuerNameHash), tlv::octetString(issuerKeyHash), tlv::integer(serial)});
}

CertIdSpec certIdOf(const Identity& subject, const Identity& issuer, const std::string& hashOid) {
    CertIdSpec id;
    id.hashOid = hashOid;
    id.issuerNameHash = digest(hashOid, issuer.subject());
    id.issuerKeyHash = digest(hashOid, issuer.key.publicKeyBits());
    id.serial = subject.serial();
    return id;
}

Bytes ExtensionSpec::encode() const {
    return tlv::sequence({tlv::oid(oid), critical ? tlv::boolean(true) : Bytes{}, tlv::octetString(value)});
}

EntrySpec::EntrySpec(CertIdSpec certId, EntryStatus entryStatus) : id(std::move(certId)), status(entryStatus) {}

Bytes EntrySpec::encode() const {
    if (raw) {
        return *raw;
    }
    return tlv::sequence({id.encode(), certStatus(*this), tlv::generalizedTime(thisUpdate),
                          nextUpdate ? tlv::context(0, tlv::generalizedTime(*nextUpdate)) : Bytes{},
                          extensions.empty() ? Bytes{} : tlv::context(1, extensionList(extensions))});
}

ResponseSpec::ResponseSpec(Identity responseSigner) : signer(std::move(responseSigner)) {}

Bytes buildResponseData(const ResponseSpec& spec) {
    std::vector<Bytes> entries;
    entries.reserve(spec.entries.size());
    for (const EntrySpec& entry : spec.entries) {
        entries.push_back(entry.encode());
    }
    return tlv::sequence({spec.version ? tlv::context(0, tlv::integer(*spec.version)) : Bytes{}, responderId(spec),
                          tlv::generalizedTime(spec.producedAt), tlv::sequence(entries),
                          spec.extensions.empty() ? Bytes{} : tlv::context(1, extensionList(spec.extensions))});
}

Bytes buildResponse(const ResponseSpec& spec) {
    if (spec.bare) {
        return concat({basicResponse(spec), spec.trailing});
    }
    Bytes content = tlv::enumerated(spec.responseStatus);
    if (spec.responseStatus == 0) {
        content = concat({content, tlv::context(0, tlv::sequence({tlv::oid(spec.responseType),
                                                                  tlv::octetString(basicResponse(spec))}))});
    }
    return concat({tlv::raw(0x30, content), spec.trailing});
}

ExtensionSpec nonceExtension(const Bytes& nonce) {
    return {kNonceOid, false, tlv::octetString(nonce)};
}

}  // namespace testkit
