// What the content of one store file holds. The library and, through crypto_read_store_content, every program read such
// content here, so that what a program shows is what the library trusts.
//
//   - DER comes first: a file that is one certificate or one CRL in DER is that and nothing else, whatever text its
//     values hold.
//   - Else the PEM blocks: CERTIFICATE and X509 CERTIFICATE hold a certificate (or, by mistake, a CRL, which then
//     counts), X509 CRL and CRL a CRL. Capitals and small letters are the same in a label.
//   - Everything else is a problem: named, and said whether a CRL may be lost with it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/crypto/certificates/store.h"

namespace tallow::platform {

// Something in a store that cannot be used.
struct StoreProblem {
    std::string path;      // of the file or directory; empty in the content of a file
    std::string reason;    // words that follow its name
    bool mayBeCrl;         // revocations may be lost with it, so nothing counts as "not revoked"
    bool isOther = false;  // it is whole, and of another kind
};

struct StoreFileContent {
    std::vector<CertificateRef> certificates;  // with the properties of the side file on the first
    std::vector<CrlRef> crls;
    std::vector<StoreProblem> problems;
    // False when OpenSSL refused something, possibly because memory ran out: to be parsed again then.
    bool isFinal = true;

    bool mayLackCrl() const noexcept;
};

// Whether a file of this name should hold a CRL.
bool endsAsCrl(std::string_view name);

// `name` is the file's, whose ending may say that it should hold a CRL. Throws std::bad_alloc.
StoreFileContent parseStoreFile(ByteView content, std::string_view name);

}  // namespace tallow::platform
