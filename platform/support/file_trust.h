// Who may define trust: a settings file or a root certificate counts only when nobody but root and the user that the
// process runs as can have written it.
#pragma once

#include <sys/stat.h>

#include <string>

namespace tallow::platform {

// Why what has this status does not count, as words that follow its name; null when it counts. Neither its group nor
// others may write it, and its owner is root or the effective user. Access control lists that let others write show in
// the bits of the group.
const char* whyUntrusted(const struct stat& status) noexcept;

// The same for a directory that other entries than ours may stand in: a sticky one, such as /tmp, keeps others from
// replacing ours and so may be writable.
const char* whyUntrustedAbove(const struct stat& status) noexcept;

// The directory part of a path: "/" for "/name", "." for "name".
std::string directoryOf(const std::string& path);

}  // namespace tallow::platform
