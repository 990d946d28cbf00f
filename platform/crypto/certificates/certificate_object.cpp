#include "platform/crypto/certificates/certificate_object.h"

#include <openssl/provider.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <atomic>

#include "platform/support/made_once.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

using LibraryContextPtr = std::unique_ptr<OSSL_LIB_CTX, OpenSslFree<OSSL_LIB_CTX_free>>;

// An RSA key with the modulus 1: no signature is that short.
constexpr unsigned char kPlaceholder[] = {0x30, 6, 2, 1, 1, 2, 1, 1};

// A context of OpenSSL without any algorithm, so that it has no decoder for a key.
OSSL_LIB_CTX* emptyContext() {
    static NeverDestroyed<MadeOnce<LibraryContextPtr>> context;
    return context->get([] {
        LibraryContextPtr made(OSSL_LIB_CTX_new());
        return made != nullptr && OSSL_PROVIDER_load(made.get(), "null") != nullptr ? std::move(made) : nullptr;
    });
}

EVP_PKEY* placeholder() {
    static NeverDestroyed<MadeOnce<KeyPtr>> key;
    return key->get([] {
        const unsigned char* position = kPlaceholder;
        return KeyPtr(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &position, sizeof kPlaceholder));
    });
}

X509Ptr parse(ByteView der, OSSL_LIB_CTX* context) {
    const unsigned char* position = der.data();
    return X509Ptr(reinterpret_cast<X509*>(
        ASN1_item_d2i_ex(nullptr, &position, static_cast<long>(der.size()), ASN1_ITEM_rptr(X509), context, nullptr)));
}

ByteView encodingOf(const X509_NAME* name) {
    const unsigned char* der = nullptr;
    std::size_t size = 0;
    return X509_NAME_get0_der(name, &der, &size) == 1 ? ByteView(der, size) : ByteView();
}

// Makes OpenSSL read extensions and key now, before threads share the object; returns whether it could. OpenSSL treats
// a self-signed certificate as another one when its key could not be read, or its names could not be compared.
bool readDeep(X509& certificate) {
    const bool isRead = X509_check_purpose(&certificate, -1, 0) == 1 && X509_get0_pubkey(&certificate) != nullptr;
    const std::uint32_t flags = X509_get_extension_flags(&certificate) & (EXFLAG_SI | EXFLAG_SS);
    const bool isSelfIssued = std::ranges::equal(encodingOf(X509_get_subject_name(&certificate)),
                                                 encodingOf(X509_get_issuer_name(&certificate)));
    return isRead && flags != EXFLAG_SI && (flags != 0 || !isSelfIssued);
}

// OpenSSL verifies the signature over its own encoding, which it may make again from a changed object.
bool hasEncoding(X509& certificate, ByteView der) {
    unsigned char* encoded = nullptr;
    const int size = i2d_X509(&certificate, &encoded);
    const OpenSslBytesPtr owner(encoded);
    return size > 0 && std::ranges::equal(ByteView(encoded, static_cast<std::size_t>(size)), der);
}

}  // namespace

X509Ptr parseWithKey(ByteView der) {
    // OpenSSL remembers in the object that its key or its extensions could not be read, also when only memory was
    // missing. The second object shows a fault of the certificate.
    X509Ptr made = parse(der, nullptr);
    if (made != nullptr && !readDeep(*made)) {
        made = parse(der, nullptr);
        static_cast<void>(made != nullptr && readDeep(*made));
    }
    return made;
}

X509Ptr parseWithoutKey(ByteView der) {
    // Making the context below costs as much as three keys, and a command reads hardly more.
    constexpr unsigned kFewCertificates = 4;
    static std::atomic<unsigned> numParsed{0};
    if (numParsed < kFewCertificates) {
        ++numParsed;
        return nullptr;
    }
    OSSL_LIB_CTX* const context = emptyContext();
    EVP_PKEY* const key = placeholder();
    if (context == nullptr || key == nullptr) {
        return nullptr;
    }
    X509Ptr made = parse(der, context);
    const bool isSame = made != nullptr && X509_set_pubkey(made.get(), key) == 1 && readDeep(*made) &&
                        (X509_get_extension_flags(made.get()) & EXFLAG_SI) == 0 && hasEncoding(*made, der);
    return isSame ? std::move(made) : nullptr;
}

}  // namespace tallow::platform
