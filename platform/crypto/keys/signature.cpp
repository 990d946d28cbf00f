#include "platform/crypto/keys/signature.h"

#include <openssl/rsa.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/crypto/base/der_reader.h"
#include "platform/crypto/base/limits.h"
#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/keys/algorithms.h"

namespace tallow::platform {

namespace {

constexpr int kMaximumSalt = 2048;        // octets; OpenSSL compares it with the modulus
constexpr int kMinimumSecurityBits = 80;  // an RSA modulus of 1024 bits

// The three kinds of GOST keys share a kind in the table; their numbers differ.
ALG_ID gostNumber(EVP_PKEY* key) {
    switch (EVP_PKEY_get_base_id(key)) {
        case NID_id_GostR3410_2001:
            return CALG_GR3410EL;
        case NID_id_GostR3410_2012_256:
            return CALG_GR3410_12_256;
        case NID_id_GostR3410_2012_512:
            return CALG_GR3410_12_512;
        default:
            return 0;
    }
}

bool fitsKey(const Algorithm& signature, EVP_PKEY* key) {
    switch (signature.kind) {
        case KeyKind::kRsa:
            return EVP_PKEY_is_a(key, "RSA") == 1;
        case KeyKind::kRsaPss:  // an ordinary RSA key may make PSS signatures too
            return EVP_PKEY_is_a(key, "RSA") == 1 || EVP_PKEY_is_a(key, "RSA-PSS") == 1;
        case KeyKind::kEllipticCurve:
            return EVP_PKEY_is_a(key, "EC") == 1;
        case KeyKind::kDsa:
            return EVP_PKEY_is_a(key, "DSA") == 1;
        case KeyKind::kEd25519:
            return EVP_PKEY_is_a(key, "ED25519") == 1;
        case KeyKind::kEd448:
            return EVP_PKEY_is_a(key, "ED448") == 1;
        case KeyKind::kGost:
            return gostNumber(key) == signature.publicKey;
        default:
            return false;
    }
}

bool isStrong(EVP_PKEY* key, KeyKind kind) {
    // The engine of the GOST keys reports no strength; all sizes of the standard are strong enough.
    return kind == KeyKind::kGost || EVP_PKEY_get_security_bits(key) >= kMinimumSecurityBits;
}

bool isAccepted(Strength strength, Sha1 sha1) {
    return strength == Strength::kGood || (strength == Strength::kSha1 && (sha1 == Sha1::kAlways || acceptsSha1()));
}

// Hash and salt of a PSS signature.
struct PssParameters {
    const Algorithm* hash = nullptr;
    const Algorithm* maskHash = nullptr;
    int sizeSalt = 20;
};

using PssPtr = std::unique_ptr<RSA_PSS_PARAMS, OpenSslFree<RSA_PSS_PARAMS_free>>;

// The row of the hash that an AlgorithmIdentifier names; SHA-1 when it is absent, as the standard's default has it. Its
// own parameters would be neither signed nor read.
const Algorithm* hashOf(const X509_ALGOR* algorithm) {
    if (algorithm == nullptr) {
        return findHash(CALG_SHA1);
    }
    const ASN1_OBJECT* object = nullptr;
    int type = V_ASN1_UNDEF;
    X509_ALGOR_get0(&object, &type, nullptr, algorithm);
    char text[64];
    const int size = OBJ_obj2txt(text, sizeof text, object, 1);
    const bool hasParameters = type != V_ASN1_UNDEF && type != V_ASN1_NULL;
    return size > 0 && size < static_cast<int>(sizeof text) && !hasParameters
               ? findAlgorithm(text, CRYPT_HASH_ALG_OID_GROUP_ID)
               : nullptr;
}

// The hash inside the mask generation function, which must be MGF1.
const Algorithm* maskHashOf(const X509_ALGOR* mask) {
    if (mask == nullptr) {
        return findHash(CALG_SHA1);
    }
    const ASN1_OBJECT* object = nullptr;
    int type = V_ASN1_UNDEF;
    const void* value = nullptr;
    X509_ALGOR_get0(&object, &type, &value, mask);
    if (OBJ_obj2nid(object) != NID_mgf1 || type != V_ASN1_SEQUENCE) {
        return nullptr;
    }
    const auto* const sequence = static_cast<const ASN1_STRING*>(value);
    const unsigned char* position = ASN1_STRING_get0_data(sequence);
    const unsigned char* const end = position + ASN1_STRING_length(sequence);
    const X509AlgorithmPtr inner(d2i_X509_ALGOR(nullptr, &position, end - position));
    return inner == nullptr || position != end ? nullptr : hashOf(inner.get());
}

bool readPss(ByteView der, PssParameters& parameters) {
    const unsigned char* position = der.data();
    const PssPtr pss(d2i_RSA_PSS_PARAMS(nullptr, &position, static_cast<long>(der.size())));
    if (pss == nullptr || position != der.data() + der.size()) {
        return false;
    }
    const bool trailerFits = pss->trailerField == nullptr || ASN1_INTEGER_get(pss->trailerField) == 1;
    int64_t sizeSalt = parameters.sizeSalt;
    if (pss->saltLength != nullptr && ASN1_INTEGER_get_int64(&sizeSalt, pss->saltLength) != 1) {
        return false;
    }
    parameters.hash = hashOf(pss->hashAlgorithm);
    parameters.maskHash = maskHashOf(pss->maskGenAlgorithm);
    parameters.sizeSalt = static_cast<int>(sizeSalt);
    return trailerFits && sizeSalt >= 0 && sizeSalt <= kMaximumSalt && parameters.hash != nullptr &&
           parameters.maskHash != nullptr;
}

// Anything else there would be neither signed nor read, so a message could be altered unnoticed.
bool areAbsentOrNull(ByteView parameters) {
    constexpr BYTE kNull[] = {V_ASN1_NULL, 0};
    return parameters.empty() || std::equal(parameters.begin(), parameters.end(), std::begin(kNull), std::end(kNull));
}

// What a signature operation needs to know: the table's row, and for PSS what the parameters add.
struct Scheme {
    const Algorithm* row = nullptr;
    const EVP_MD* digest = nullptr;  // null: the scheme hashes by itself
    PssParameters pss;
};

// 0 when the identifier names a scheme that is known, installed and accepted.
DWORD findScheme(const CRYPT_ALGORITHM_IDENTIFIER& algorithm, Sha1 sha1, Scheme& scheme) {
    scheme.row =
        algorithm.pszObjId == nullptr ? nullptr : findAlgorithm(algorithm.pszObjId, CRYPT_SIGN_ALG_OID_GROUP_ID);
    if (scheme.row == nullptr || !isAccepted(scheme.row->strength, sha1)) {
        return NTE_BAD_ALGID;
    }
    if (scheme.row->kind != KeyKind::kRsaPss && !areAbsentOrNull(view(algorithm.Parameters))) {
        return NTE_BAD_ALGID;
    }
    if (scheme.row->kind == KeyKind::kEd25519 || scheme.row->kind == KeyKind::kEd448) {
        return 0;
    }
    const Algorithm* hashing = scheme.row;
    if (scheme.row->kind == KeyKind::kRsaPss) {
        if (!readPss(view(algorithm.Parameters), scheme.pss) || !isAccepted(scheme.pss.hash->strength, sha1) ||
            scheme.pss.maskHash->strength == Strength::kBroken || digestOf(*scheme.pss.maskHash) == nullptr) {
            return NTE_BAD_ALGID;
        }
        hashing = scheme.pss.hash;
    }
    scheme.digest = digestOf(*hashing);
    return scheme.digest == nullptr ? NTE_BAD_ALGID : 0;
}

bool applyPss(const Scheme& scheme, EVP_PKEY_CTX* context) {
    return scheme.row->kind != KeyKind::kRsaPss ||
           (EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) == 1 &&
            EVP_PKEY_CTX_set_rsa_pss_saltlen(context, scheme.pss.sizeSalt) == 1 &&
            EVP_PKEY_CTX_set_rsa_mgf1_md(context, digestOf(*scheme.pss.maskHash)) == 1);
}

}  // namespace

bool hasSizeOfKey(ByteView signature, EVP_PKEY* key) {
    return gostNumber(key) == 0 || std::cmp_equal(signature.size(), EVP_PKEY_get_size(key));
}

DWORD verifySignature(const SignedBytes& what, EVP_PKEY* key, Sha1 sha1) {
    const OpenSslErrors errors;
    Scheme scheme;
    if (const DWORD code = findScheme(what.algorithm, sha1, scheme); code != 0) {
        return code;
    }
    if (key == nullptr) {
        return NTE_BAD_PUBLIC_KEY;
    }
    if (!fitsKey(*scheme.row, key) || !hasSizeOfKey(what.signature, key)) {
        return NTE_BAD_SIGNATURE;
    }
    if (!isStrong(key, scheme.row->kind)) {
        return NTE_BAD_PUBLIC_KEY;
    }
    const DigestContextPtr context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* keyContext = nullptr;  // the digest context's
    if (context == nullptr || EVP_DigestVerifyInit(context.get(), &keyContext, scheme.digest, nullptr, key) != 1 ||
        !applyPss(scheme, keyContext)) {
        return NTE_BAD_PUBLIC_KEY;
    }
    return EVP_DigestVerify(context.get(), what.signature.data(), what.signature.size(), what.message.data(),
                            what.message.size()) == 1
               ? 0
               : NTE_BAD_SIGNATURE;
}

bool splitSigned(ByteView encoded, SignedBytes& parts, std::string& oid) {
    DerReader outer(encoded);
    DerReader fields = outer.sequence();
    parts.message = fields.next().whole;
    DerReader algorithm = fields.sequence();
    oid = oidText(algorithm.expect(V_ASN1_OBJECT));
    parts.algorithm.pszObjId = oid.data();
    if (!algorithm.failed() && !algorithm.atEnd()) {
        const ByteView parameters = algorithm.next().whole;
        parts.algorithm.Parameters = {static_cast<DWORD>(parameters.size()), const_cast<BYTE*>(parameters.data())};
    }
    DWORD unusedBits = 0;
    const bool bitsRead = readBitString(fields.expect(V_ASN1_BIT_STRING), parts.signature, unusedBits);
    return bitsRead && unusedBits == 0 && !outer.failed() && outer.atEnd() && !fields.failed() && !algorithm.failed() &&
           algorithm.atEnd() && !oid.empty();
}

DWORD maximumSignatureSize(EVP_PKEY* key) {
    return static_cast<DWORD>(EVP_PKEY_get_size(key));
}

DWORD makeSignature(ByteView message, const CRYPT_ALGORITHM_IDENTIFIER& algorithm, EVP_PKEY* key, Bytes& signature) {
    const OpenSslErrors errors;
    Scheme scheme;
    if (const DWORD code = findScheme(algorithm, Sha1::kBySetting, scheme); code != 0) {
        return code;
    }
    if (!fitsKey(*scheme.row, key) || !isStrong(key, scheme.row->kind)) {
        return NTE_BAD_ALGID;
    }
    const DigestContextPtr context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* keyContext = nullptr;  // the digest context's
    size_t size = 0;
    if (context == nullptr || EVP_DigestSignInit(context.get(), &keyContext, scheme.digest, nullptr, key) != 1 ||
        !applyPss(scheme, keyContext) ||
        EVP_DigestSign(context.get(), nullptr, &size, message.data(), message.size()) != 1) {
        return NTE_FAIL;
    }
    signature.resize(size);
    if (EVP_DigestSign(context.get(), signature.data(), &size, message.data(), message.size()) != 1) {
        return NTE_FAIL;
    }
    signature.resize(size);
    return 0;
}

}  // namespace tallow::platform
