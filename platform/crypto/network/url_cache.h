// Responses and downloads kept on disk by URL, for a limited time.
//
// The directory is the setting url_cache of the table [crypto], by default $XDG_CACHE_HOME/tallow/ocsp. An entry is one
// file, named after the hash of its URL, that begins with the URL itself, so that two URLs can never share an answer.
// It is written to a temporary file and renamed: a crash leaves the old entry or none, never half of one. A cache that
// cannot be read or written is not a failure: the response then comes from the network. A directory or file that
// another user owns or may write is not used, and no symbolic link is followed to an entry. The directory holds at most
// 1024 entries and 256 MiB: the oldest are removed first.
#pragma once

#include <optional>
#include <string>

#include "platform/crypto/certificates/certificate.h"
#include "platform/support/file_stamp.h"

namespace tallow::platform {

// An answer that a caller remembers, and the stamp of the file that it came from.
struct KnownAnswer {
    ByteView answer;
    FileStamp file;  // the default value: not known
};

struct CachedAnswer {
    std::optional<Bytes> answer;  // empty when it is the known one
    FileStamp file;               // the default value when a further change of the file might not show
};

class UrlCache {
public:
    // Uses the directory of the settings; "" keeps nothing, nor does a check with CRYPTO_CHECK_NO_CACHE.
    UrlCache();
    explicit UrlCache(std::string folder) : folder_(std::move(folder)) {}

    // The answer kept for `url`, unless it is older than `maxAgeSeconds`, from before `notBefore` (null: any time), or
    // from the future.
    std::optional<Bytes> find(const std::string& url, long maxAgeSeconds, const FILETIME* notBefore) const;
    // The same for a caller that remembers an answer. The file is opened, and its owner, mode, URL and age are checked,
    // but the answer of an unchanged file is not read again. That of another file is compared with the known one.
    std::optional<CachedAnswer> findChanged(const std::string& url, long maxAgeSeconds, const FILETIME* notBefore,
                                            const KnownAnswer& known) const;
    void keep(const std::string& url, ByteView answer) const;
    // Removes the answer kept for `url`. True when there is none now.
    bool forget(const std::string& url) const;

private:
    std::string folder_;
};

}  // namespace tallow::platform
