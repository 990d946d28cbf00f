// OpenSSL's generic reader of public keys tries its decoders one after the other and takes some hundred microseconds;
// making RSA and elliptic curve keys from their numbers takes a tenth of that.
#include "platform/crypto/public_key.h"

#include <openssl/core_names.h>
#include <openssl/objects.h>
#include <openssl/param_build.h>

#include <string_view>

#include "platform/crypto/algorithms.h"
#include "platform/crypto/der_reader.h"

namespace tallow::platform {

namespace {

using ParameterBuilderPtr = std::unique_ptr<OSSL_PARAM_BLD, OpenSslFree<OSSL_PARAM_BLD_free>>;
using ParametersPtr = std::unique_ptr<OSSL_PARAM, OpenSslFree<OSSL_PARAM_free>>;

constexpr size_t kMaximumRsaSize = 2048;  // octets of the modulus: 16384 bits, OpenSSL's own limit for using a key
// Octets of the exponent, four times what is in use. One as long as the modulus makes a check a hundred times dearer,
// and a response can carry a thousand certificates.
constexpr size_t kMaximumExponentSize = 8;

KeyPtr makeKey(const char* kind, OSSL_PARAM_BLD* builder) {
    ParametersPtr const parameters(OSSL_PARAM_BLD_to_param(builder));
    KeyContextPtr const context(EVP_PKEY_CTX_new_from_name(nullptr, kind, nullptr));
    EVP_PKEY* key = nullptr;
    if (parameters == nullptr || context == nullptr || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.get()) != 1) {
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
    BignumPtr const modulus = positiveInteger(numbers.expect(V_ASN1_INTEGER), kMaximumRsaSize);
    BignumPtr const exponent = positiveInteger(numbers.expect(V_ASN1_INTEGER), kMaximumExponentSize);
    ParameterBuilderPtr const builder(OSSL_PARAM_BLD_new());
    if (numbers.failed() || !numbers.atEnd() || !outer.atEnd() || modulus == nullptr || exponent == nullptr ||
        builder == nullptr || OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, modulus.get()) != 1 ||
        OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get()) != 1) {
        return nullptr;
    }
    return makeKey("RSA", builder.get());
}

KeyPtr curveKey(const CRYPT_OBJID_BLOB& curveParameters, ByteView point) {
    DerReader parameters(view(curveParameters));
    std::string const curve = oidText(parameters.expect(V_ASN1_OBJECT));
    int const nid = curve.empty() ? NID_undef : OBJ_txt2nid(curve.c_str());
    ParameterBuilderPtr const builder(OSSL_PARAM_BLD_new());
    if (nid == NID_undef || builder == nullptr ||
        OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, OBJ_nid2sn(nid), 0) != 1 ||
        OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()) != 1) {
        return nullptr;
    }
    return makeKey("EC", builder.get());
}

KeyPtr genericKey(ByteView whole) {
    const unsigned char* position = whole.data();
    return KeyPtr(d2i_PUBKEY(nullptr, &position, static_cast<long>(whole.size())));
}

}  // namespace

namespace {

KeyPtr makePublicKey(const CERT_PUBLIC_KEY_INFO& info, ByteView whole) noexcept {
    try {
        std::string_view const oid = info.Algorithm.pszObjId;
        ByteView const octets(info.PublicKey.pbData, info.PublicKey.cbData);
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
                return KeyPtr(EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, octets.data(), octets.size()));
            case KeyKind::kEd448:
                return KeyPtr(EVP_PKEY_new_raw_public_key(EVP_PKEY_ED448, nullptr, octets.data(), octets.size()));
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
    // OpenSSL measures a key while making it, and for want of memory notes a strength of 0 without a word. Keys of an
    // engine have none to tell, which is a negative number.
    return key != nullptr && EVP_PKEY_get_security_bits(key.get()) == 0 ? nullptr : std::move(key);
}

}  // namespace tallow::platform
