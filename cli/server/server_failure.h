// The failures of this directory.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tallow::cli {

/// The certificates of a server could not be retrieved. what() is one line with cause and remedy; what the server said
/// in it may contain any character.
class ServerFailure : public std::runtime_error {
public:
    ServerFailure(std::int32_t code, const std::string& text) : std::runtime_error(text), code_(code) {}
    /// A status of handles/status.h.
    std::int32_t code() const noexcept { return code_; }

private:
    std::int32_t code_;
};

/// A text of the command line that names no server. what() is the cause and the remedy.
class AddressMistake : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

}  // namespace tallow::cli
