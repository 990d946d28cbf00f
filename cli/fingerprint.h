// A short value that stands for texts of any length, so that memory does not depend on names in hostile certificates.
#pragma once

#include <string>
#include <string_view>

namespace tallow::cli {

/// Different lists of texts have different fingerprints: the length of each counts as well.
class Fingerprint {
public:
    void add(std::string_view text);
    /// SHA-256 in hexadecimal.
    [[nodiscard]] std::string text() const;

private:
    std::string octets_;
};

}  // namespace tallow::cli
