// Files that a person names: read whole, PEM or DER, each failure told in words.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/blob.h"
#include "handles/cert_context.h"
#include "handles/status.h"

namespace tallow::cli {

/// A bundle of all public roots is well below one of these.
inline constexpr std::size_t kLargestFile = 64U << 20;

/// Something given on the command line that cannot be used; what() is one line, "name: reason".
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

/// What a file holds, in PEM or DER, by the reader that the library uses for its stores.
struct StoreContent {
    struct Problem {
        std::string reason;
        bool isBroken = false;  // else it is of another kind
    };
    std::vector<ATL2::CCertContext> certificates;
    std::vector<std::string> crls;  // DER
    std::vector<Problem> problems;
};
/// Throws InputError when the file cannot be read.
StoreContent readStoreContent(const std::string& path);

/// All certificates of a file, in order, at least one. Throws InputError when the file cannot be read, holds none, or
/// holds something that is broken.
std::vector<ATL2::CCertContext> readCertificates(const std::string& path);

/// The DER CRLs of a file, in the same manner.
std::vector<std::string> readCrls(const std::string& path);

/// Whether the PEM text of the file holds a private key, encrypted or not. Throws InputError for a file that
/// cannot be read.
bool holdsPrivateKey(const std::string& path);

/// The octets of an OCSP message: DER, the first OCSP REQUEST or OCSP RESPONSE block of PEM text, or base64 alone. What
/// they mean is not examined. Throws InputError when the file cannot be read, holds other PEM blocks only, or is larger
/// than `largest` octets.
Orvane::CBlob readMessage(const std::string& path, std::size_t largest = kLargestFile);

/// Writes the octets beside the file and renames: the file is there whole or as it was. Throws InputError.
void writeWhole(const std::string& path, const unsigned char* data, std::size_t size);

/// Throws InputError when writeWhole is bound to fail, so that nobody is asked for an answer that cannot be kept.
void requireWritable(const std::string& path);

}  // namespace tallow::cli
