// Keeps an output from replacing a file that the same run reads, such as a report written over a certificate.
//
// Files are compared by device and inode, so that neither a link nor another spelling of the path hides one.
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

#include "cli/options.h"

namespace tallow::cli {

/// The files that outputs replace. Those that do not exist yet cannot be read either, and devices and pipes are not
/// replaced: both are left out.
class ReplacedFiles {
public:
    explicit ReplacedFiles(const std::vector<std::string>& outputs);

    bool isEmpty() const { return files_.empty(); }
    /// Throws UsageError when the input is one of them; "-" is standard input. Does not open it.
    void requireNot(const std::string& input) const;

private:
    std::vector<std::pair<dev_t, ino_t>> files_;
};

/// Throws UsageError when one of these outputs would replace a file that the options name as an input, the settings
/// file in force, or a file that this names: of stores, roots and secrets. What a list names is compared as it is read.
void requireInputsKept(const CommandOptions& options, const std::vector<std::string>& outputs);

}  // namespace tallow::cli
