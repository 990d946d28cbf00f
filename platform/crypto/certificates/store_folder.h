// The files of a system store. Their content is cached for the process while a file looks unchanged: opening a store
// then only reads its directory, and a loaded key stays with its certificate. system_store.h keeps whole readings for a
// short time.
//
// A file that cannot be read is never treated as empty: it is reported and not cached, and the next call reads again.
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

// The combined result of files and directories.
struct StoreFiles {
    bool exists = false;  // there is a directory, or a bundle
    int systemError = 0;  // of a directory that is there and cannot be read
    std::vector<StoreFile> files;
    std::vector<StoreProblem> problems;  // beside those in the files

    // Whether everything could be read; if not, the next attempt may give more.
    bool isFinal() const noexcept;
    bool mayLackCrl() const noexcept;
};

// Which files are accepted. Certificates and CRLs are proven by their signatures, roots are not.
enum class StoreKind { kSigned, kRoots };

// Adds the certificate and CRL files of a directory in the order of their names. Hidden files, side files and
// directories are skipped. A directory whose entries change meanwhile is read again, up to four times with a pause of
// 20 ms, then reported as a problem: a renamed CRL may have been missed each time. A path that is not absolute adds
// nothing; among roots, neither does a directory or a file that others may write (see file_trust.h).
void addStoreFolder(const std::string& folder, StoreKind kind, StoreFiles& found);

// Adds one file of many roots; nothing when it is missing.
void addBundle(const std::string& path, StoreFiles& found);

}  // namespace tallow::platform
