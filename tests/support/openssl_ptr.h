// Owners of OpenSSL's objects for the test fixtures' own sources.
#pragma once

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "tests/support/bytes.h"

namespace testkit {

template <auto Free>
struct FreeWith {
    template <typename T>
    void operator()(T* object) const {
        Free(object);
    }
};

using BioPtr = std::unique_ptr<BIO, FreeWith<BIO_free_all>>;
using PkeyCtxPtr = std::unique_ptr<EVP_PKEY_CTX, FreeWith<EVP_PKEY_CTX_free>>;
using MdCtxPtr = std::unique_ptr<EVP_MD_CTX, FreeWith<EVP_MD_CTX_free>>;
using X509Ptr = std::unique_ptr<X509, FreeWith<X509_free>>;
using X509ExtensionPtr = std::unique_ptr<X509_EXTENSION, FreeWith<X509_EXTENSION_free>>;
using Asn1IntegerPtr = std::unique_ptr<ASN1_INTEGER, FreeWith<ASN1_INTEGER_free>>;
using Asn1ObjectPtr = std::unique_ptr<ASN1_OBJECT, FreeWith<ASN1_OBJECT_free>>;

/// Throws with OpenSSL's reason when a fixture cannot be made.
inline void require(bool condition, const char* what) {
    if (!condition) {
        char reason[256];
        ERR_error_string_n(ERR_get_error(), reason, sizeof reason);
        throw std::runtime_error(std::string(what) + ": " + reason);
    }
}

/// The text that was written to a memory BIO.
inline std::string textIn(BIO* bio) {
    char* text = nullptr;
    const long size = BIO_get_mem_data(bio, &text);
    return {text, static_cast<std::size_t>(size)};
}

template <typename Object, typename Encoder>
Bytes toDer(Object* object, Encoder encoder) {
    unsigned char* der = nullptr;
    const int size = encoder(object, &der);
    require(size > 0, "encoding");
    Bytes bytes(der, der + size);
    OPENSSL_free(der);
    return bytes;
}

template <typename Ptr, typename Decoder>
Ptr fromDer(const Bytes& der, Decoder decoder) {
    const unsigned char* at = der.data();
    Ptr object(decoder(nullptr, &at, static_cast<long>(der.size())));
    require(object != nullptr, "decoding");
    return object;
}

inline X509Ptr parseCertificate(const Bytes& der) {
    return fromDer<X509Ptr>(der, d2i_X509);
}

struct Signature {
    Bytes algorithm;  // AlgorithmIdentifier, as libcrypto writes it
    Bytes octets;
};
/// `hash` is ignored for Ed25519; `pss` is for RSA keys.
Signature sign(const Bytes& data, EVP_PKEY* key, const std::string& hash, bool pss = false);

}  // namespace testkit
