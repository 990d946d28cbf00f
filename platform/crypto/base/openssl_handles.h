// Owning handles of OpenSSL's objects, one alias each, so that no source frees them by hand.
#pragma once

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <memory>

namespace tallow::platform {

template <auto Free>
struct OpenSslFree {
    template <typename T>
    void operator()(T* object) const noexcept {
        Free(object);
    }
};

inline void freeCertificateStack(STACK_OF(X509) * stack) noexcept {
    sk_X509_pop_free(stack, X509_free);
}
inline void freeOpenSslMemory(void* memory) noexcept {
    OPENSSL_free(memory);
}

using X509Ptr = std::unique_ptr<X509, OpenSslFree<X509_free>>;
using X509StorePtr = std::unique_ptr<X509_STORE, OpenSslFree<X509_STORE_free>>;
using X509StoreContextPtr = std::unique_ptr<X509_STORE_CTX, OpenSslFree<X509_STORE_CTX_free>>;
using X509AlgorithmPtr = std::unique_ptr<X509_ALGOR, OpenSslFree<X509_ALGOR_free>>;
using X509StackPtr = std::unique_ptr<STACK_OF(X509), OpenSslFree<freeCertificateStack>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, OpenSslFree<EVP_PKEY_free>>;
using KeyContextPtr = std::unique_ptr<EVP_PKEY_CTX, OpenSslFree<EVP_PKEY_CTX_free>>;
using DigestPtr = std::unique_ptr<EVP_MD, OpenSslFree<EVP_MD_free>>;
using DigestContextPtr = std::unique_ptr<EVP_MD_CTX, OpenSslFree<EVP_MD_CTX_free>>;
using BioPtr = std::unique_ptr<BIO, OpenSslFree<BIO_free_all>>;
using BignumPtr = std::unique_ptr<BIGNUM, OpenSslFree<BN_free>>;
using OpenSslBytesPtr = std::unique_ptr<unsigned char, OpenSslFree<freeOpenSslMemory>>;

}  // namespace tallow::platform
