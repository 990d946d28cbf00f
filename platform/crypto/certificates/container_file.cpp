#include "platform/crypto/certificates/container_file.h"

#include <algorithm>

#include "platform/crypto/keys/key_cost.h"
#include "platform/crypto/keys/pkcs12_handles.h"

namespace tallow::platform {

namespace {

using X509CrlPtr = std::unique_ptr<X509_CRL, OpenSslFree<X509_CRL_free>>;

constexpr int kWholeText = -1;

void addProblem(StoreFileContent& content, const char* reason, bool isOther = false) {
    content.problems.push_back({{}, reason, true, isOther});
}

void take(const X509* certificate, StoreFileContent& content) {
    if (CertificateRef usable = certificateOf(certificate)) {
        content.certificates.push_back(std::move(usable));
    } else {
        addProblem(content, "holds a certificate, inside a container, which does not parse");
    }
}

void take(const X509_CRL* crl, StoreFileContent& content) {
    unsigned char* encoded = nullptr;
    const int size = crl == nullptr ? 0 : i2d_X509_CRL(crl, &encoded);
    const OpenSslBytesPtr owner(encoded);
    CrlRef usable = size > 0 ? Crl::parse({encoded, static_cast<size_t>(size)}) : nullptr;
    if (usable != nullptr) {
        content.crls.push_back(std::move(usable));
    } else {
        addProblem(content, "holds a CRL, inside a container, which does not parse");
    }
}

// Another message after the container may hold certificates that would be overlooked. Line ends and padding may follow.
void requireEnd(ByteView der, const unsigned char* end, StoreFileContent& content) {
    const bool isPadded = std::all_of(end, der.data() + der.size(),
                                      [](unsigned char c) { return c == '\0' || c == '\r' || c == '\n' || c == ' '; });
    if (!isPadded) {
        addProblem(content, "holds more octets after a container");
    }
}

// ---- PKCS #7 -------------------------------------------------------------------------------------------------------

bool takePkcs7(ByteView der, StoreFileContent& content) {
    const unsigned char* position = der.data();
    const Pkcs7Ptr message(d2i_PKCS7(nullptr, &position, static_cast<long>(der.size())));
    if (message == nullptr) {
        return false;
    }
    requireEnd(der, position, content);
    const bool isSigned = PKCS7_type_is_signed(message.get()) && message->d.sign != nullptr;
    const STACK_OF(X509)* const certificates = isSigned ? message->d.sign->cert : nullptr;
    const STACK_OF(X509_CRL)* const crls = isSigned ? message->d.sign->crl : nullptr;
    if (sk_X509_num(certificates) <= 0 && sk_X509_CRL_num(crls) <= 0) {
        addProblem(content, "is a PKCS #7 message without certificates", true);
    }
    for (int i = 0; i < sk_X509_num(certificates); ++i) {
        take(sk_X509_value(certificates, i), content);
    }
    for (int i = 0; i < sk_X509_CRL_num(crls); ++i) {
        take(sk_X509_CRL_value(crls, i), content);
    }
    return true;
}

// ---- PKCS #12 ------------------------------------------------------------------------------------------------------

class Archive {
public:
    explicit Archive(StoreFileContent& content) : content_(content) {}

    // Whether certificates, CRLs or problems were found.
    bool hasFound() const { return hasFound_; }

    void take(PKCS7* safe) {
        if (PKCS7_type_is_data(safe)) {
            takeBags(BagsPtr(PKCS12_unpack_p7data(safe)).get());
        } else if (!PKCS7_type_is_encrypted(safe)) {
            complain("is a PKCS #12 file that is encrypted to a public key");
        } else if (const X509_ALGOR* const algorithm = safe->d.encrypted->enc_data->algorithm; !canOpen(algorithm)) {
            complain("is a PKCS #12 file with an encryption that is not supported here");
        } else if (const BagsPtr bags = opened(safe, algorithm); bags != nullptr) {
            takeBags(bags.get());
        } else {
            complain(rounds_ > kMaximumRounds ? "is a PKCS #12 file that asks for too much work to open it"
                                              : "is a PKCS #12 file that is protected by a password");
        }
    }

private:
    void complain(const char* reason) {
        addProblem(content_, reason);
        hasFound_ = true;
    }

    // "No password" is encoded in two ways.
    BagsPtr opened(PKCS7* safe, const X509_ALGOR* algorithm) {
        BagsPtr bags;
        for (const char* const password : {"", static_cast<const char*>(nullptr)}) {
            rounds_ += roundsOf(algorithm);
            if (bags == nullptr && rounds_ <= kMaximumRounds) {
                bags.reset(PKCS12_unpack_p7encdata(safe, password, kWholeText));
            }
        }
        return bags;
    }

    void takeBags(const STACK_OF(PKCS12_SAFEBAG) * bags) {
        for (int i = 0; i < sk_PKCS12_SAFEBAG_num(bags); ++i) {
            const PKCS12_SAFEBAG* const bag = sk_PKCS12_SAFEBAG_value(bags, i);
            hasFound_ |= PKCS12_SAFEBAG_get_nid(bag) == NID_certBag || PKCS12_SAFEBAG_get_nid(bag) == NID_crlBag;
            if (PKCS12_SAFEBAG_get_nid(bag) == NID_certBag) {
                platform::take(X509Ptr(PKCS12_SAFEBAG_get1_cert(bag)).get(), content_);
            } else if (PKCS12_SAFEBAG_get_nid(bag) == NID_crlBag) {
                platform::take(X509CrlPtr(PKCS12_SAFEBAG_get1_crl(bag)).get(), content_);
            }
        }
    }

    StoreFileContent& content_;
    bool hasFound_ = false;
    unsigned long long rounds_ = 0;
};

bool takePkcs12(ByteView der, StoreFileContent& content) {
    const unsigned char* position = der.data();
    const Pkcs12Ptr container(d2i_PKCS12(nullptr, &position, static_cast<long>(der.size())));
    if (container == nullptr) {
        return false;
    }
    requireEnd(der, position, content);
    const SafesPtr safes(PKCS12_unpack_authsafes(container.get()));
    Archive archive(content);
    for (int i = 0; i < sk_PKCS7_num(safes.get()); ++i) {
        archive.take(sk_PKCS7_value(safes.get(), i));
    }
    if (!archive.hasFound()) {
        addProblem(
            content,
            safes == nullptr ? "is a PKCS #12 file that cannot be read" : "is a PKCS #12 file without certificates",
            safes != nullptr);
    }
    return true;
}

}  // namespace

CertificateRef certificateOf(const X509* certificate) {
    unsigned char* encoded = nullptr;
    const int size = certificate == nullptr ? 0 : i2d_X509(certificate, &encoded);
    const OpenSslBytesPtr owner(encoded);
    return size > 0 ? Certificate::create({encoded, static_cast<size_t>(size)}) : CertificateRef();
}

bool takeContainer(ByteView der, StoreFileContent& content) {
    return takePkcs7(der, content) || takePkcs12(der, content);
}

}  // namespace tallow::platform
