// Reads the content of one store file. The library and, through crypto_read_store_content, all programs read it here,
// so that programs show what the library uses.
//
//   - DER comes first: a file that is one certificate or one CRL in DER is not searched for PEM, whatever text its
//     values contain.
//   - Otherwise the PEM blocks are read: CERTIFICATE and X509 CERTIFICATE contain a certificate (or, by mistake, a CRL,
//     which is used), X509 CRL and CRL a CRL. The case of a label does not matter.
//   - Everything else is reported as a problem, with whether a CRL may be lost with it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/crypto/certificates/certificate_list.h"
#include "platform/crypto/certificates/store.h"

namespace tallow::platform {

// Something in a store that cannot be used.
struct StoreProblem {
    std::string path;      // of the file or directory; empty in the content of a file
    std::string reason;    // phrased to follow its name
    bool mayBeCrl;         // it may be a CRL, so no certificate counts as "not revoked"
    bool isOther = false;  // complete, but of another kind
};

struct StoreFileContent {
    std::vector<CertificateRef> certificates;       // with the properties of the side file on the first
    std::shared_ptr<const CertificateList> bundle;  // null, or all certificates: there are none in `certificates` then
    std::vector<CrlRef> crls;
    std::vector<StoreProblem> problems;
    // False when OpenSSL refused something, possibly because memory ran out: to be parsed again then.
    bool isFinal = true;

    bool mayLackCrl() const noexcept;
    // Adds all certificates to `found`.
    void addCertificates(std::vector<CertificateRef>& found) const;
};

// Whether a file of this name should hold a CRL.
bool endsAsCrl(std::string_view name);

// `name` is the file's, whose ending may say that it should hold a CRL. Throws std::bad_alloc.
StoreFileContent parseStoreFile(ByteView content, std::string_view name);

// The same for a file of many certificates, which are made only when they are needed. Malformed ones may then be
// missing among the problems.
StoreFileContent parseBundle(ByteView content, std::string_view name);

// The same for a file that a user names, which may also be a container (container_file.h) in DER or in a PEM block.
StoreFileContent parseNamedFile(ByteView content, std::string_view name);

}  // namespace tallow::platform
