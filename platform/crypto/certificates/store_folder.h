// The files of a system store. What was read is kept for the process and used again while a file looks unchanged, so
// that opening a store costs a look at its directory, and so that a key once loaded stays with its certificate.
//
// What cannot be read is never taken for empty: it is reported and not cached, and the next call reads
// again.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/crypto/certificates/store_file.h"

namespace tallow::platform {

struct StoreFile {
    std::string path;
    // Never null. Shared between readers; do not modify.
    std::shared_ptr<const StoreFileContent> content;
};

// What files and directories gave together.
struct StoreFiles {
    bool exists = false;  // there is a directory, or a bundle
    int systemError = 0;  // of a directory that is there and cannot be read
    std::vector<StoreFile> files;
    std::vector<StoreProblem> problems;  // beside those in the files

    bool mayLackCrl() const noexcept;
};

// Whose files count. Certificates and CRLs prove themselves by their signatures, roots do not.
enum class StoreKind { kSigned, kRoots };

// Adds the certificate and CRL files of a directory in the order of their names. Hidden files, side files and
// directories are passed over. A directory whose entries change meanwhile is read again, up to four times with a pause
// of 20 ms, then told as a problem: a CRL that was renamed can have escaped each time. A path that is not absolute adds
// nothing; nor does, among roots, a directory or a file that others may write (see file_trust.h).
void addStoreFolder(const std::string& folder, StoreKind kind, StoreFiles& found);

// Adds one file of many roots; nothing when it is missing.
void addBundle(const std::string& path, StoreFiles& found);

}  // namespace tallow::platform
