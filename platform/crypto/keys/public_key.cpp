// OpenSSL's generic reader of public keys tries its decoders one after the other and takes some hundred microseconds;
// making RSA and elliptic curve keys from their numbers takes a tenth of that. OpenSSL also loads numbers for which a
// signature can be made without any private key; those are rejected here.
#include "platform/crypto/keys/public_key.h"

#include <openssl/core_names.h>
#include <openssl/objects.h>
#include <openssl/param_build.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/crypto/base/der_reader.h"
#include "platform/crypto/keys/algorithms.h"
#include "platform/support/made_once.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

using ParameterBuilderPtr = std::unique_ptr<OSSL_PARAM_BLD, OpenSslFree<OSSL_PARAM_BLD_free>>;
using ParametersPtr = std::unique_ptr<OSSL_PARAM, OpenSslFree<OSSL_PARAM_free>>;

// A larger key than any in use makes a check many times as expensive, and a response can carry a thousand of them.
constexpr size_t kMaximumRsaSize = 1024;  // octets of the modulus: 8192 bits
// Octets of the exponent, four times what is in use. One as long as the modulus makes a check a hundred times dearer,
// and a response can carry a thousand certificates.
constexpr size_t kMaximumExponentSize = 8;

constexpr int kMaximumDsaBits = 4096;         // of p; FIPS 186-4 has 3072 at most
constexpr int kMaximumDsaSubgroupBits = 256;  // of q
constexpr int kMinimumDsaSubgroupBits = 160;

// Every power of 1 is 1, and an even exponent has no inverse.
bool isSoundRsa(const BIGNUM* modulus, const BIGNUM* exponent) {
    return BN_is_odd(modulus) == 1 && BN_is_odd(exponent) == 1 && BN_is_one(exponent) == 0;
}

BignumPtr numberOf(const EVP_PKEY* key, const char* name) {
    BIGNUM* number = nullptr;
    return BignumPtr(EVP_PKEY_get_bn_param(key, name, &number) == 1 ? number : nullptr);
}

// Whether 1 < number < p and its powers are the subgroup of order q.
bool isInSubgroup(const BIGNUM* number, const BIGNUM* p, const BIGNUM* q) {
    const std::unique_ptr<BN_CTX, OpenSslFree<BN_CTX_free>> context(BN_CTX_new());
    const BignumPtr power(BN_new());
    return number != nullptr && context && power && BN_cmp(number, BN_value_one()) > 0 && BN_cmp(number, p) < 0 &&
           BN_mod_exp(power.get(), number, q, p, context.get()) == 1 && BN_is_one(power.get()) == 1;
}

// A key without parameters inherits those of its issuer's key (RFC 3279 section 2.3.2). That is not supported: only old
// test data does so.
bool isSoundDsa(const EVP_PKEY* key) {
    const BignumPtr p = numberOf(key, OSSL_PKEY_PARAM_FFC_P);
    const BignumPtr q = numberOf(key, OSSL_PKEY_PARAM_FFC_Q);
    if (!p || !q || BN_num_bits(p.get()) > kMaximumDsaBits || BN_num_bits(q.get()) > kMaximumDsaSubgroupBits ||
        BN_num_bits(q.get()) < kMinimumDsaSubgroupBits || BN_is_odd(p.get()) == 0) {
        return false;
    }
    return isInSubgroup(numberOf(key, OSSL_PKEY_PARAM_FFC_G).get(), p.get(), q.get()) &&
           isInSubgroup(numberOf(key, OSSL_PKEY_PARAM_PUB_KEY).get(), p.get(), q.get());
}

// The points of Ed25519 and Ed448 whose small multiples are the neutral one, by their y; the sign of x is left out.
constexpr std::string_view kSmallOrder25519[] = {
    {"\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 32},
    {"\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 32},
    "\x26\xe8\x95\x8f\xc2\xb2\x27\xb0\x45\xc3\xf4\x89\xf2\xef\x98\xf0"
    "\xd5\xdf\xac\x05\xd3\xc6\x33\x39\xb1\x38\x02\x88\x6d\x53\xfc\x05",
    "\xc7\x17\x6a\x70\x3d\x4d\xd8\x4f\xba\x3c\x0b\x76\x0d\x10\x67\x0f"
    "\x2a\x20\x53\xfa\x2c\x39\xcc\xc6\x4e\xc7\xfd\x77\x92\xac\x03\x7a",
};

// 2^255 - 20 and up: -1, and forms of 0 and 1 that are not reduced.
bool isLarge25519(std::string_view y) {
    return static_cast<unsigned char>(y[0]) >= 0xEC && static_cast<unsigned char>(y[31]) == 0x7F &&
           std::all_of(y.begin() + 1, y.begin() + 31, [](char c) { return c == '\xFF'; });
}

bool isSound25519(ByteView octets) {
    std::string y(octets.begin(), octets.end());
    if (y.size() != 32) {
        return false;
    }
    y[31] = static_cast<char>(y[31] & 0x7F);
    return !isLarge25519(y) &&
           std::find(std::begin(kSmallOrder25519), std::end(kSmallOrder25519), y) == std::end(kSmallOrder25519);
}

// The y of a point of small order is 0, 1 or -1, the last being 2^448 - 2^224 - 2. OpenSSL reads reduced forms only.
bool isSound448(ByteView octets) {
    if (octets.size() != 57) {
        return false;
    }
    const bool isSmall =
        octets[0] <= 1 && std::all_of(octets.begin() + 1, octets.end() - 1, [](BYTE octet) { return octet == 0; });
    const bool isMinusOne =
        octets[0] == 0xFE && octets[28] == 0xFE &&
        std::all_of(octets.begin() + 1, octets.begin() + 28, [](BYTE octet) { return octet == 0xFF; }) &&
        std::all_of(octets.begin() + 29, octets.end() - 1, [](BYTE octet) { return octet == 0xFF; });
    return !isSmall && !isMinusOne;
}

KeyPtr makeKey(const char* kind, int selection, OSSL_PARAM_BLD* builder) {
    const ParametersPtr parameters(OSSL_PARAM_BLD_to_param(builder));
    const KeyContextPtr context(EVP_PKEY_CTX_new_from_name(nullptr, kind, nullptr));
    EVP_PKEY* key = nullptr;
    if (parameters == nullptr || context == nullptr || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &key, selection, parameters.get()) != 1) {
        return nullptr;
    }
    return KeyPtr(key);
}

BignumPtr positiveInteger(const DerElement& element, size_t maximumSize) {
    if (element.content.empty() || element.content.size() > maximumSize + 1 || element.content[0] >= 0x80 ||
        (element.content.size() > maximumSize && element.content[0] != 0)) {
        return nullptr;
    }
    return BignumPtr(BN_bin2bn(element.content.data(), static_cast<int>(element.content.size()), nullptr));
}

KeyPtr rsaKey(ByteView octets) {
    DerReader outer(octets);
    DerReader numbers = outer.sequence();
    const BignumPtr modulus = positiveInteger(numbers.expect(V_ASN1_INTEGER), kMaximumRsaSize);
    const BignumPtr exponent = positiveInteger(numbers.expect(V_ASN1_INTEGER), kMaximumExponentSize);
    const ParameterBuilderPtr builder(OSSL_PARAM_BLD_new());
    if (numbers.failed() || !numbers.atEnd() || !outer.atEnd() || modulus == nullptr || exponent == nullptr ||
        !isSoundRsa(modulus.get(), exponent.get()) || builder == nullptr ||
        OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, modulus.get()) != 1 ||
        OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get()) != 1) {
        return nullptr;
    }
    return makeKey("RSA", EVP_PKEY_PUBLIC_KEY, builder.get());
}

// A key with a curve and no point.
KeyPtr makeCurve(int nid) {
    const ParameterBuilderPtr builder(OSSL_PARAM_BLD_new());
    if (builder == nullptr ||
        OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, OBJ_nid2sn(nid), 0) != 1) {
        return nullptr;
    }
    return makeKey("EC", EVP_PKEY_KEY_PARAMETERS, builder.get());
}

// OpenSSL computes more for a curve than for a point on it: the curves of nearly all certificates are kept.
KeyPtr copyOfCurve(int nid) {
    constexpr std::array<int, 3> kKept = {NID_X9_62_prime256v1, NID_secp384r1, NID_secp521r1};
    static NeverDestroyed<std::array<MadeOnce<KeyPtr>, kKept.size()>> curves;
    const auto found = std::find(kKept.begin(), kKept.end(), nid);
    if (found == kKept.end()) {
        return makeCurve(nid);
    }
    MadeOnce<KeyPtr>& kept = (*curves).at(static_cast<std::size_t>(found - kKept.begin()));
    EVP_PKEY* const curve = kept.get([nid] { return makeCurve(nid); });
    return KeyPtr(curve == nullptr ? nullptr : EVP_PKEY_dup(curve));
}

KeyPtr curveKey(const CRYPT_OBJID_BLOB& curveParameters, ByteView point) {
    DerReader parameters(view(curveParameters));
    const std::string curve = oidText(parameters.expect(V_ASN1_OBJECT));
    const int nid = curve.empty() ? NID_undef : OBJ_txt2nid(curve.c_str());
    // RFC 5480 section 2.2 has compressed and uncompressed points. The point at infinity is a zero.
    const bool isPoint = !point.empty() && point[0] >= 2 && point[0] <= 4;
    KeyPtr key = nid != NID_undef && isPoint ? copyOfCurve(nid) : nullptr;
    const bool isOnCurve =
        key != nullptr && EVP_PKEY_set1_encoded_public_key(key.get(), point.data(), point.size()) == 1;
    return isOnCurve ? std::move(key) : nullptr;
}

KeyPtr genericKey(ByteView whole) {
    const unsigned char* position = whole.data();
    return KeyPtr(d2i_PUBKEY(nullptr, &position, static_cast<long>(whole.size())));
}

KeyPtr pssKey(ByteView whole) {
    KeyPtr key = genericKey(whole);
    const BignumPtr modulus = key ? numberOf(key.get(), OSSL_PKEY_PARAM_RSA_N) : nullptr;
    const BignumPtr exponent = key ? numberOf(key.get(), OSSL_PKEY_PARAM_RSA_E) : nullptr;
    const bool isSound = modulus != nullptr && exponent != nullptr && isSoundRsa(modulus.get(), exponent.get()) &&
                         BN_num_bytes(modulus.get()) <= static_cast<int>(kMaximumRsaSize) &&
                         BN_num_bytes(exponent.get()) <= static_cast<int>(kMaximumExponentSize);
    return isSound ? std::move(key) : nullptr;
}

KeyPtr dsaKey(ByteView whole) {
    KeyPtr key = genericKey(whole);
    return key && isSoundDsa(key.get()) ? std::move(key) : nullptr;
}

KeyPtr edwardsKey(int type, ByteView octets) {
    const bool isSound = type == EVP_PKEY_ED25519 ? isSound25519(octets) : isSound448(octets);
    return KeyPtr(isSound ? EVP_PKEY_new_raw_public_key(type, nullptr, octets.data(), octets.size()) : nullptr);
}

KeyPtr makePublicKey(const CERT_PUBLIC_KEY_INFO& info, ByteView whole) noexcept {
    try {
        const std::string_view oid = info.Algorithm.pszObjId;
        const ByteView octets(info.PublicKey.pbData, info.PublicKey.cbData);
        const Algorithm* const algorithm = findAlgorithm(oid, CRYPT_PUBKEY_ALG_OID_GROUP_ID);
        if (algorithm == nullptr || info.PublicKey.cUnusedBits != 0) {
            return nullptr;
        }
        switch (algorithm->kind) {
            case KeyKind::kRsa:
                return rsaKey(octets);
            case KeyKind::kEllipticCurve:
                return curveKey(info.Algorithm.Parameters, octets);
            case KeyKind::kEd25519:
                return edwardsKey(EVP_PKEY_ED25519, octets);
            case KeyKind::kEd448:
                return edwardsKey(EVP_PKEY_ED448, octets);
            case KeyKind::kRsaPss:
                return pssKey(whole);
            case KeyKind::kDsa:
                return dsaKey(whole);
            case KeyKind::kGost:
                return ensureInstalled(*algorithm) ? genericKey(whole) : nullptr;
            default:
                return genericKey(whole);
        }
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

KeyPtr loadPublicKey(const CERT_PUBLIC_KEY_INFO& info, ByteView whole) noexcept {
    KeyPtr key = makePublicKey(info, whole);
    // OpenSSL measures a key while making it, and records a strength of 0, without an error, when memory runs out.
    // Keys of an engine have no strength, which is a negative number.
    return key != nullptr && EVP_PKEY_get_security_bits(key.get()) == 0 ? nullptr : std::move(key);
}

}  // namespace tallow::platform
