#include "platform/crypto/issuer_download.h"

#include <openssl/pkcs7.h>

#include <limits>
#include <memory>
#include <string>

#include "platform/crypto/crl_source.h"
#include "platform/crypto/url_cache.h"

namespace tallow::platform {

namespace {

constexpr int kMaxCertificates = 16;  // taken from one message
constexpr long kSecondsInDay = 24 * 3600;
constexpr long kAnyAge = std::numeric_limits<long>::max();

struct Pkcs7Free {
    void operator()(PKCS7* message) const noexcept { PKCS7_free(message); }
};

CertificateRef fromX509(X509* certificate) {
    unsigned char* encoded = nullptr;
    const int size = i2d_X509(certificate, &encoded);
    const OpenSslBytesPtr owner(encoded);
    return size > 0 ? Certificate::create({encoded, static_cast<std::size_t>(size)}) : CertificateRef();
}

std::vector<CertificateRef> fromMessage(ByteView der) {
    const unsigned char* at = der.data();
    const std::unique_ptr<PKCS7, Pkcs7Free> message(d2i_PKCS7(nullptr, &at, static_cast<long>(der.size())));
    std::vector<CertificateRef> found;
    if (!message || !PKCS7_type_is_signed(message.get()) || message->d.sign == nullptr) {
        return found;
    }
    const STACK_OF(X509)* const certificates = message->d.sign->cert;
    for (int i = 0; i < sk_X509_num(certificates) && i < kMaxCertificates; ++i) {
        if (CertificateRef certificate = fromX509(sk_X509_value(certificates, i))) {
            found.push_back(std::move(certificate));
        }
    }
    return found;
}

std::vector<CertificateRef> certificatesIn(ByteView body) {
    if (CertificateRef certificate = Certificate::create(body)) {
        return {certificate};
    }
    return fromMessage(body);
}

}  // namespace

std::vector<CertificateRef> IssuerDownload::cachedIssuersOf(const Certificate& certificate) const {
    std::vector<CertificateRef> found;
    for (const std::string& url : issuerAddresses(certificate)) {
        if (const std::optional<Bytes> cached = UrlCache().find(url, useNetwork_ ? kSecondsInDay : kAnyAge, nullptr)) {
            const std::vector<CertificateRef> more = certificatesIn(*cached);
            found.insert(found.end(), more.begin(), more.end());
        }
    }
    return found;
}

std::vector<CertificateRef> IssuerDownload::fetchedIssuersOf(const Certificate& certificate) {
    for (const std::string& url : useNetwork_ ? issuerAddresses(certificate) : std::vector<std::string>()) {
        const std::optional<Bytes> body = fetchObject(url, exchangeLimits().maxBodySize, allowance_);
        std::vector<CertificateRef> found = body ? certificatesIn(*body) : std::vector<CertificateRef>();
        if (!found.empty()) {
            UrlCache().keep(url, *body);
            return found;
        }
    }
    return {};
}

}  // namespace tallow::platform
