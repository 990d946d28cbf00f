#include "platform/crypto/pkcs12_keys.h"

#include <openssl/pkcs12.h>

namespace tallow::platform {

namespace {

inline void freeSafes(STACK_OF(PKCS7) * stack) noexcept {
    sk_PKCS7_pop_free(stack, PKCS7_free);
}
inline void freeBags(STACK_OF(PKCS12_SAFEBAG) * stack) noexcept {
    sk_PKCS12_SAFEBAG_pop_free(stack, PKCS12_SAFEBAG_free);
}
using Pkcs12Ptr = std::unique_ptr<PKCS12, OpenSslFree<PKCS12_free>>;
using SafesPtr = std::unique_ptr<STACK_OF(PKCS7), OpenSslFree<freeSafes>>;
using BagsPtr = std::unique_ptr<STACK_OF(PKCS12_SAFEBAG), OpenSslFree<freeBags>>;
using Pkcs8Ptr = std::unique_ptr<PKCS8_PRIV_KEY_INFO, OpenSslFree<PKCS8_PRIV_KEY_INFO_free>>;

constexpr int kWholeText = -1;

KeyPtr keyOf(const PKCS12_SAFEBAG* bag, const char* pin) {
    switch (PKCS12_SAFEBAG_get_nid(bag)) {
        case NID_keyBag:
            return KeyPtr(EVP_PKCS82PKEY(PKCS12_SAFEBAG_get0_p8inf(bag)));
        case NID_pkcs8ShroudedKeyBag: {
            Pkcs8Ptr const opened(PKCS12_decrypt_skey(bag, pin, kWholeText));
            return KeyPtr(opened == nullptr ? nullptr : EVP_PKCS82PKEY(opened.get()));
        }
        default:
            return nullptr;
    }
}

BagsPtr bagsOf(PKCS7* safe, const char* pin) {
    if (PKCS7_type_is_data(safe)) {
        return BagsPtr(PKCS12_unpack_p7data(safe));
    }
    return BagsPtr(PKCS7_type_is_encrypted(safe) ? PKCS12_unpack_p7encdata(safe, pin, kWholeText) : nullptr);
}

KeyPtr find(STACK_OF(PKCS7) * safes, const char* pin, EVP_PKEY* publicKey) {
    for (int i = 0; i < sk_PKCS7_num(safes); ++i) {
        BagsPtr const bags = bagsOf(sk_PKCS7_value(safes, i), pin);
        for (int j = 0; j < sk_PKCS12_SAFEBAG_num(bags.get()); ++j) {
            KeyPtr key = keyOf(sk_PKCS12_SAFEBAG_value(bags.get(), j), pin);
            if (key != nullptr && EVP_PKEY_eq(key.get(), publicKey) == 1) {
                return key;
            }
        }
    }
    return nullptr;
}

}  // namespace

KeyPtr findPkcs12Key(ByteView file, const char* pin, EVP_PKEY* publicKey) {
    const unsigned char* position = file.data();
    Pkcs12Ptr const container(d2i_PKCS12(nullptr, &position, static_cast<long>(file.size())));
    SafesPtr const safes(container == nullptr ? nullptr : PKCS12_unpack_authsafes(container.get()));
    // Two ways to write that there is no PIN are in use; a file without one opens whatever PIN is given.
    for (const char* const text : {pin, "", static_cast<const char*>(nullptr)}) {
        if (KeyPtr key = find(safes.get(), text, publicKey); key != nullptr) {
            return key;
        }
    }
    return nullptr;
}

}  // namespace tallow::platform
