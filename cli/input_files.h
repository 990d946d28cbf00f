// Files named on the command line, "-" for standard input: every failure with its reason.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/blob.h"
#include "handles/cert_context.h"
#include "handles/status.h"

namespace tallow::cli {

/// The largest file in octets; a bundle of all public roots is far smaller.
inline constexpr std::size_t kLargestFile = 64U << 20;

/// A name as it is shown: an address that is given in place of a file is shown without its login.
std::string shownName(const std::string& name);

/// Unusable input from the command line; what() is one line, "name: reason".
class InputError : public std::runtime_error {
public:
    InputError(const std::string& name, std::string reason, std::int32_t code = status::kInvalidArgument)
        : std::runtime_error(shownName(name) + ": " + reason), reason_(std::move(reason)), code_(code) {}

    const std::string& reason() const { return reason_; }
    std::int32_t code() const { return code_; }

private:
    std::string reason_;
    std::int32_t code_;
};

/// The content of a file in PEM or DER, or of a PKCS #7 or PKCS #12 container. Private keys are ignored.
struct StoreContent {
    struct Problem {
        std::string reason;
        bool isBroken = false;  // otherwise it is of another kind
    };
    std::vector<ATL2::CCertContext> certificates;
    std::vector<std::string> crls;  // DER
    std::vector<Problem> problems;
};
/// Throws InputError when the file cannot be read.
StoreContent readStoreContent(const std::string& path);

/// The certificates of a file, in order, at least one, and the CRLs beside them. Throws InputError when the file cannot
/// be read, contains no certificate, or contains something malformed.
StoreContent readCertificatesAndCrls(const std::string& path);

/// The same for octets that were read already; `name` is for messages.
StoreContent certificatesAndCrlsIn(const std::string& name, const std::string& octets);

/// The content of a regular file, not empty and no longer than `largest` octets. Throws InputError, also for another
/// kind of file: a pipe or a device could keep a run waiting for ever. `waiting`, if given, is called before each piece
/// is read, and may throw to end this.
std::string readRegularFile(const std::string& path, std::size_t largest = kLargestFile,
                            const std::function<void()>& waiting = {});

/// The certificates alone.
std::vector<ATL2::CCertContext> readCertificates(const std::string& path);

/// The CRLs of a file, in DER, at least one. Throws InputError as above.
std::vector<std::string> readCrls(const std::string& path);

/// Whether the PEM text of the file contains a private key, encrypted or not. Throws InputError for a file that
/// cannot be read.
bool holdsPrivateKey(const std::string& path);

/// The octets of an OCSP message: DER, the first OCSP REQUEST or OCSP RESPONSE block of PEM text, or bare base64. They
/// are not decoded. Throws InputError when the file cannot be read, contains only other PEM blocks, or is larger than
/// `largest` octets.
Orvane::CBlob readMessage(const std::string& path, std::size_t largest = kLargestFile);

}  // namespace tallow::cli
