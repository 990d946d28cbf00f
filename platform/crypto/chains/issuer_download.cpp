#include "platform/crypto/chains/issuer_download.h"

#include <algorithm>
#include <limits>

#include "platform/crypto/certificates/container_file.h"
#include "platform/crypto/chains/crl_source.h"
#include "platform/crypto/chains/issuer_candidates.h"
#include "platform/crypto/network/check_scope.h"
#include "platform/crypto/network/exchange_note.h"
#include "platform/crypto/network/url_cache.h"

namespace tallow::platform {

namespace {

constexpr int kMaxCertificates = 16;  // taken from one message: with the issuer's name, and as many others
constexpr long kSecondsInDay = 24 * 3600;
constexpr long kAnyAge = std::numeric_limits<long>::max();

// Those with the issuer's name come first; the others may be the issuers above it.
std::vector<CertificateRef> fromMessage(ByteView der, const X509_NAME* issuer) {
    const unsigned char* at = der.data();
    const Pkcs7Ptr message(d2i_PKCS7(nullptr, &at, static_cast<long>(der.size())));
    std::vector<CertificateRef> found;
    if (!message || !PKCS7_type_is_signed(message.get()) || message->d.sign == nullptr) {
        return found;
    }
    const STACK_OF(X509)* const certificates = message->d.sign->cert;
    for (const bool named : {true, false}) {
        int taken = 0;
        for (int i = 0; i < sk_X509_num(certificates) && taken < kMaxCertificates; ++i) {
            X509* const certificate = sk_X509_value(certificates, i);
            if ((X509_NAME_cmp(X509_get_subject_name(certificate), issuer) == 0) != named) {
                continue;
            }
            if (CertificateRef usable = certificateOf(certificate)) {
                found.push_back(std::move(usable));
                ++taken;
            }
        }
    }
    return found;
}

std::vector<CertificateRef> certificatesIn(ByteView body, const Certificate& subject) {
    if (CertificateRef certificate = Certificate::create(body)) {
        return {certificate};
    }
    return fromMessage(body, X509_get_issuer_name(subject.x509()));
}

// Whether the address carries a user name or a password: addresses in certificates must not.
bool hasCredentials(const std::string& url) {
    const std::size_t host = url.find("//");
    return host != std::string::npos &&
           url.substr(host + 2, url.find_first_of("/?#", host + 2) - host - 2).find('@') != std::string::npos;
}

std::vector<std::string> addressesIn(const Certificate& certificate) {
    std::vector<std::string> addresses = issuerAddresses(certificate);
    std::erase_if(addresses, hasCredentials);
    return addresses;
}

}  // namespace

bool IssuerDownload::cached(const Certificate& certificate, std::size_t index,
                            std::vector<CertificateRef>& found) const {
    const std::vector<std::string> addresses = addressesIn(certificate);
    if (index >= addresses.size()) {
        return false;
    }
    const long maxAge = useNetwork_ ? kSecondsInDay : kAnyAge;
    // Others may write a shared cache: its entries have the limits of downloads.
    const std::optional<Bytes> body = UrlCache::ofSettings(useNetwork_, CacheContent::kDownloads)
                                          ->find(addresses[index], maxAge, nullptr, exchangeLimits().maxBodySize);
    if (body) {
        noteCached(CRYPTO_NOTE_FOR_ISSUER, addresses[index]);
        found = certificatesIn(*body, certificate);
    }
    return true;
}

bool IssuerDownload::fetched(const Certificate& certificate, std::size_t index, std::vector<CertificateRef>& found) {
    const std::vector<std::string> addresses = useNetwork_ ? addressesIn(certificate) : std::vector<std::string>();
    if (index >= addresses.size()) {
        return false;
    }
    const std::string& url = addresses[index];
    // What is known counts as a download, too: its certificates are parsed for each certificate that names it.
    if (const Bytes* const known = downloadOfCheck(url); known != nullptr && allowance_.take()) {
        found = certificatesIn(*known, certificate);
        downloads_.push_back({url, *known, found});
    } else if (std::optional<Bytes> body = fetchObject(url, exchangeLimits().maxBodySize, allowance_)) {
        found = certificatesIn(*body, certificate);
        if (!found.empty()) {
            keepDownload(url, *body);
        }
        downloads_.push_back({url, std::move(*body), found});
    }
    return true;
}

void IssuerDownload::keep(const std::vector<CertificateRef>& used) const {
    const std::unique_ptr<const UrlCache> cache = UrlCache::ofSettings(useNetwork_, CacheContent::kDownloads);
    for (const Download& download : downloads_) {
        const bool isUsed = std::any_of(used.begin(), used.end(), [&](const CertificateRef& element) {
            return std::any_of(
                download.certificates.begin(), download.certificates.end(),
                [&](const CertificateRef& certificate) { return sameCertificate(certificate, element); });
        });
        if (isUsed) {
            cache->keep(download.url, download.body, kSecondsInDay);
        }
    }
}

}  // namespace tallow::platform
