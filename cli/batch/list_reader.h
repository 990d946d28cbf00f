// The lines of a list of certificates, read one at a time: the list may be long, or a pipe that fills slowly.
//
//   ListReader reader("-", [] { showProgress(); });
//   while (const std::optional<ListLine> line = reader.next()) ...
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "cli/input_stream.h"

namespace tallow::cli {

/// The longest line in octets; certificates in it count as well.
inline constexpr std::size_t kLongestLine = 1U << 20;

struct ListLine {
    std::size_t number = 0;  // in the list, from 1
    std::string text;        // without spaces, tabs and CR around it
    std::string fault;       // why it cannot be used, and what to do; empty: it can
};

class ListReader {
public:
    /// "-" is standard input. `waiting`, if given, is called several times a second while there is nothing to read.
    /// Throws InputError when the list cannot be opened, or is not of this kind.
    ListReader(std::string path, std::function<void()> waiting, InputStream::Kind kind = InputStream::Kind::kAny);

    /// The next line that is neither empty nor a comment; nothing at the end. Throws InputError when reading fails,
    /// which is not an end.
    std::optional<ListLine> next();

    const std::string& path() const { return stream_.path(); }
    /// Of the open file.
    const struct stat& status() const { return stream_.status(); }
    /// Which part of the list was returned so far, 0 to 1; nothing when its size is not known.
    std::optional<double> part() const;

private:
    bool fill();
    // The octets up to a line feed, or to the end; false at the end.
    bool readLine(std::string& line, bool& isTooLong);

    InputStream stream_;
    const std::function<void()> waiting_;
    std::uint64_t numReturned_ = 0;
    std::string buffer_;
    std::size_t at_ = 0;
    std::size_t number_ = 0;
};

}  // namespace tallow::cli
