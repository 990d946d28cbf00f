// Files that a person names: read whole, PEM or DER, each failure told in words.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "handles/cert_context.h"

namespace tallow::cli {

/// A file that cannot be used; what() is one line that names it.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// All certificates of a file, in order: the CERTIFICATE blocks of PEM text, or one DER certificate. Throws InputError
/// when the file cannot be read or holds none.
std::vector<ATL2::CCertContext> readCertificates(const std::string& path);

/// The DER CRLs of a file, in the same manner.
std::vector<std::string> readCrls(const std::string& path);

/// Writes the octets beside the file and renames: the file is there whole or as it was. Throws InputError.
void writeWhole(const std::string& path, const unsigned char* data, std::size_t size);

}  // namespace tallow::cli
