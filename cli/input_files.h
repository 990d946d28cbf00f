// Files named on the command line: PEM or DER, every failure with its reason.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/blob.h"
#include "handles/cert_context.h"
#include "handles/status.h"

namespace tallow::cli {

/// The largest file in octets; a bundle of all public roots is far smaller.
inline constexpr std::size_t kLargestFile = 64U << 20;

/// Unusable input from the command line; what() is one line, "name: reason".
class InputError : public std::runtime_error {
public:
    InputError(const std::string& name, std::string reason, std::int32_t code = status::kInvalidArgument)
        : std::runtime_error(name + ": " + reason), reason_(std::move(reason)), code_(code) {}

    const std::string& reason() const { return reason_; }
    std::int32_t code() const { return code_; }

private:
    std::string reason_;
    std::int32_t code_;
};

/// The content of a file in PEM or DER, as the library reads the files of its stores.
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

/// All certificates of a file, in order, at least one. Throws InputError when the file cannot be read, contains none,
/// or contains a malformed one.
std::vector<ATL2::CCertContext> readCertificates(const std::string& path);

/// The same for CRLs, in DER.
std::vector<std::string> readCrls(const std::string& path);

/// Whether the PEM text of the file contains a private key, encrypted or not. Throws InputError for a file that
/// cannot be read.
bool holdsPrivateKey(const std::string& path);

/// The octets of an OCSP message: DER, the first OCSP REQUEST or OCSP RESPONSE block of PEM text, or bare base64. They
/// are not decoded. Throws InputError when the file cannot be read, contains only other PEM blocks, or is larger than
/// `largest` octets.
Orvane::CBlob readMessage(const std::string& path, std::size_t largest = kLargestFile);

/// Writes a temporary file and renames it, so that the file is complete or unchanged. Throws InputError.
void writeWhole(const std::string& path, const unsigned char* data, std::size_t size);

/// Throws InputError when writeWhole would fail, so that no responder is asked for a response that cannot be written.
void requireWritable(const std::string& path);

}  // namespace tallow::cli
