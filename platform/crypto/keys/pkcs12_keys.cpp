#include "platform/crypto/keys/pkcs12_keys.h"

#include <cstring>

#include "platform/crypto/keys/key_cost.h"
#include "platform/crypto/keys/pkcs12_handles.h"

namespace tallow::platform {

namespace {

using Pkcs8Ptr = std::unique_ptr<PKCS8_PRIV_KEY_INFO, OpenSslFree<PKCS8_PRIV_KEY_INFO_free>>;

constexpr int kWholeText = -1;

// A walk through one file with one password.
class Search {
public:
    Search(const char* pin, EVP_PKEY* publicKey, unsigned long long& rounds, Pkcs12Result& result)
        : pin_(pin), publicKey_(publicKey), rounds_(rounds), result_(result) {}

    void run(const STACK_OF(PKCS7) * safes) {
        for (int i = 0; i < sk_PKCS7_num(safes) && result_.found == nullptr; ++i) {
            const BagsPtr bags = bagsOf(sk_PKCS7_value(safes, i));
            for (int j = 0; j < sk_PKCS12_SAFEBAG_num(bags.get()) && result_.found == nullptr; ++j) {
                offer(keyOf(sk_PKCS12_SAFEBAG_value(bags.get(), j)));
            }
        }
    }

private:
    // Whether the password may be tried on data encrypted with the algorithm.
    bool mayOpen(const X509_ALGOR* algorithm) {
        rounds_ += roundsOf(algorithm);
        const bool may = rounds_ <= kMaximumRounds && canOpen(algorithm);
        result_.isUnsupported |= !may;
        return may;
    }

    BagsPtr bagsOf(PKCS7* safe) {
        if (PKCS7_type_is_data(safe)) {
            return BagsPtr(PKCS12_unpack_p7data(safe));
        }
        if (!PKCS7_type_is_encrypted(safe)) {
            result_.isUnsupported = true;  // encrypted to a public key
            return nullptr;
        }
        if (!mayOpen(safe->d.encrypted->enc_data->algorithm)) {
            return nullptr;
        }
        BagsPtr bags(PKCS12_unpack_p7encdata(safe, pin_, kWholeText));
        result_.isLocked |= bags == nullptr;
        return bags;
    }

    KeyPtr keyOf(const PKCS12_SAFEBAG* bag) {
        if (PKCS12_SAFEBAG_get_nid(bag) == NID_keyBag) {
            return KeyPtr(EVP_PKCS82PKEY(PKCS12_SAFEBAG_get0_p8inf(bag)));
        }
        if (PKCS12_SAFEBAG_get_nid(bag) != NID_pkcs8ShroudedKeyBag) {
            return nullptr;
        }
        const X509_ALGOR* algorithm = nullptr;
        X509_SIG_get0(PKCS12_SAFEBAG_get0_pkcs8(bag), &algorithm, nullptr);
        if (!mayOpen(algorithm)) {
            return nullptr;
        }
        const Pkcs8Ptr opened(PKCS12_decrypt_skey(bag, pin_, kWholeText));
        result_.isLocked |= opened == nullptr;
        return KeyPtr(opened == nullptr ? nullptr : EVP_PKCS82PKEY(opened.get()));
    }

    void offer(KeyPtr key) {
        if (key != nullptr && EVP_PKEY_eq(key.get(), publicKey_) == 1) {
            result_.found = std::move(key);
        }
        result_.sawOtherKey |= key != nullptr;
    }

    const char* const pin_;
    EVP_PKEY* const publicKey_;
    unsigned long long& rounds_;
    Pkcs12Result& result_;
};

// Whether this OpenSSL can compute the hash of the file's MAC.
bool canVerifyMac(const PKCS12* container) {
    const X509_ALGOR* algorithm = nullptr;
    PKCS12_get0_mac(nullptr, &algorithm, nullptr, nullptr, container);
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    return DigestPtr(EVP_MD_fetch(nullptr, OBJ_nid2sn(OBJ_obj2nid(object)), nullptr)) != nullptr;
}

}  // namespace

Pkcs12Result findPkcs12Key(ByteView file, const char* pin, EVP_PKEY* publicKey) {
    Pkcs12Result result;
    const unsigned char* position = file.data();
    const Pkcs12Ptr container(d2i_PKCS12(nullptr, &position, static_cast<long>(file.size())));
    result.isPkcs12 = container != nullptr;
    if (container == nullptr) {
        return result;
    }
    const SafesPtr safes(PKCS12_unpack_authsafes(container.get()));
    const bool hasMac = PKCS12_mac_present(container.get()) == 1;
    if (safes == nullptr || (hasMac && !canVerifyMac(container.get()))) {
        result.isUnsupported = true;  // public-key integrity mode or unknown MAC
        return result;
    }
    unsigned long long rounds = 0;
    // "No PIN" is encoded in two ways; a file without one opens with any PIN.
    for (const char* const text : {pin, "", static_cast<const char*>(nullptr)}) {
        if (hasMac && PKCS12_verify_mac(container.get(), text, kWholeText) != 1) {
            result.isLocked = true;
            continue;
        }
        Pkcs12Result attempt;
        attempt.isPkcs12 = true;
        Search(text, publicKey, rounds, attempt).run(safes.get());
        result = std::move(attempt);
        if (hasMac || result.found != nullptr) {
            break;  // the MAC says that the password is right
        }
    }
    return result;
}

}  // namespace tallow::platform
