// Who may define trust: a settings file or a root certificate is used only when no user other than root and the user of
// the process can write it.
#pragma once

#include <sys/stat.h>

#include <string>

namespace tallow::platform {

// Why a file with this status is not trusted; phrased to follow its name. Null when it is trusted: neither its group
// nor others may write it, and its owner is root or the effective user. Access control lists that let others write show
// in the bits of the group.
const char* whyUntrusted(const struct stat& status) noexcept;

// The same for a directory that may contain other users' entries: a sticky one, such as /tmp, keeps others from
// replacing ours and so may be writable.
const char* whyUntrustedAbove(const struct stat& status) noexcept;

// The same for the file `path` with this status, for its directory, and for a link by which it is reached. Empty when
// it is trusted.
std::string whyUntrustedFile(const std::string& path, const struct stat& status);

// The directory part of a path: "/" for "/name", "." for "name".
std::string directoryOf(const std::string& path);

}  // namespace tallow::platform
