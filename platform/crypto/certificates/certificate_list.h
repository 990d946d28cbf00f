// Certificates in their order, found by their subject. A bundle of the system's roots has some 150, of which a chain
// needs one or two: their names are read at once, and a certificate is made when one is asked for by its name.
#pragma once

#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

class CertificateList {
public:
    void add(CertificateRef certificate);
    // Adds what has the form of a certificate up to its subject. False when it has not, or has no version: it may be
    // something else then. A certificate that turns out to be malformed is left out by all that follows.
    bool addLater(const Bytes& der);

    // Each adds to `found`, in order: those with this DER as their subject; all. Any thread may call them.
    void named(ByteView subject, std::vector<CertificateRef>& found) const;
    void all(std::vector<CertificateRef>& found) const;

private:
    struct Element {
        CertificateRef certificate;  // empty until it is made
        std::unique_ptr<const Bytes> der;
    };

    void index(ByteView subject);
    void append(std::size_t position, std::vector<CertificateRef>& found) const;

    mutable std::mutex mutex_;
    mutable std::vector<Element> elements_;
    std::unordered_multimap<std::string_view, std::size_t> bySubject_;  // positions in elements_
};

}  // namespace tallow::platform
