// A file that the command writes as a whole.
//
//   OutputFile file(options.output);   // finds out whether it can be written; the old content stays
//   ...                                // ask the responder
//   file.write(bytes.data(), bytes.size());
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

#include "cli/interruption.h"

namespace tallow::cli {

/// Whether the path is "-" or another name of standard output, such as /dev/stdout.
bool isStandardOutput(const std::string& path);

/// "-" is standard output. What /dev/stdout, /dev/fd/N and the like name is written through that descriptor, so that a
/// file is appended to where the caller opened it so. A FIFO or device is opened once, by the constructor. A regular
/// file is replaced by a temporary file from its directory, which keeps its mode and, where permitted, its owner: it is
/// either complete or unchanged. If the path is a symbolic link, the file that it points to is replaced.
class OutputFile {
public:
    /// Opens what `path` names; nothing for an empty path. Throws InputError when it cannot be written.
    explicit OutputFile(const std::string& path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// Writes the content, once; nothing for an empty path. Throws InputError.
    void write(const unsigned char* data, std::size_t size);

private:
    void openDescriptor(int descriptor);
    void openTemporary();
    int descriptor() const { return temporary_ ? temporary_->descriptor() : opened_; }
    [[noreturn]] void fail(int error) const;

    std::string path_;    // as named by the user
    std::string target_;  // without symbolic links
    int opened_ = -1;
    std::optional<TemporaryFile> temporary_;
};

}  // namespace tallow::cli
