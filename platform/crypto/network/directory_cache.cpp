#include "platform/crypto/network/directory_cache.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/crypto/network/cache_entry.h"
#include "platform/support/descriptor.h"
#include "platform/support/settings_table.h"

namespace tallow::platform {

namespace {

constexpr off_t kLargestEntry = kLargestCacheEntry;  // anything larger was not written here
constexpr std::size_t kMaxEntries = 1024;
constexpr off_t kMaxTotalSize = off_t{256} << 20;
constexpr std::size_t kNameSize = kCacheNameSize;

// A set-user-ID program ignores its caller's environment.
std::string defaultFolder() {
    if (const char* const cache = secure_getenv("XDG_CACHE_HOME"); cache != nullptr && *cache == '/') {
        return std::string(cache) + "/tallow/ocsp";
    }
    const char* const home = secure_getenv("HOME");
    return home == nullptr || *home != '/' ? std::string() : std::string(home) + "/.cache/tallow/ocsp";
}

// Whether only the user of this process can write it. Another user could replace a response with an older one, which a
// signature check does not detect.
bool isOurs(int descriptor, mode_t kind, struct stat& status) {
    return ::fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) == kind && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool isOurFolder(const Descriptor& folder) {
    struct stat status {};
    return folder.valid() && isOurs(folder.get(), S_IFDIR, status);
}

int openFolder(const std::string& folder) {
    return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

// Whether the next octets of the file are these. Reads a little at a time, since an answer can have megabytes.
bool continuesWith(const Descriptor& file, ByteView expected) {
    std::array<BYTE, 16384> part{};
    while (!expected.empty()) {
        const ByteView next = expected.first(std::min(expected.size(), part.size()));
        if (!file.readAll(part.data(), next.size()) || !std::equal(next.begin(), next.end(), part.begin())) {
            return false;
        }
        expected = expected.subspan(next.size());
    }
    return true;
}

// The name of an entry, or of one being written. Nothing else in the directory is ever removed.
bool isEntryName(std::string_view name) {
    return name.size() >= kNameSize && name.find_first_not_of("0123456789abcdef") >= kNameSize &&
           (name.size() == kNameSize || name[kNameSize] == '.');
}

struct Kept {
    std::string name;
    timespec changed;
    off_t size;
};

std::vector<Kept> entriesOf(const std::string& folder, const Descriptor& descriptor) {
    struct CloseFolder {
        void operator()(DIR* open) const noexcept { ::closedir(open); }
    };
    std::vector<Kept> entries;
    const std::unique_ptr<DIR, CloseFolder> open(::opendir(folder.c_str()));
    while (const dirent* const entry = open == nullptr ? nullptr : ::readdir(open.get())) {
        struct stat status {};
        if (isEntryName(entry->d_name) &&
            ::fstatat(descriptor.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
            entries.push_back({entry->d_name, status.st_mtim, status.st_size});
        }
    }
    return entries;
}

// Every request with a nonce has a new URL, so without a limit the directory would grow with each request. Removes the
// oldest entries down to three quarters of the limits.
void prune(const std::string& folder, const Descriptor& descriptor) {
    std::vector<Kept> entries = entriesOf(folder, descriptor);
    off_t total = 0;
    for (const Kept& entry : entries) {
        total += entry.size;
    }
    if (entries.size() <= kMaxEntries && total <= kMaxTotalSize) {
        return;
    }
    std::sort(entries.begin(), entries.end(), [](const Kept& left, const Kept& right) {
        return left.changed.tv_sec != right.changed.tv_sec ? left.changed.tv_sec < right.changed.tv_sec
                                                           : left.changed.tv_nsec < right.changed.tv_nsec;
    });
    std::size_t count = entries.size();
    for (const Kept& entry : entries) {
        if (count <= kMaxEntries / 4 * 3 && total <= kMaxTotalSize / 4 * 3) {
            return;
        }
        ::unlinkat(descriptor.get(), entry.name.c_str(), 0);
        total -= entry.size;
        --count;
    }
}

}  // namespace

std::unique_ptr<const DirectoryCache> DirectoryCache::ofUser(DownloadMemory* memory) {
    TextValue folder = textValueOf(setting::url_cache);
    if (folder.source == TextValue::Source::kDefault) {
        return std::make_unique<const DirectoryCache>(defaultFolder(), memory);
    }
    const bool isOff = folder.text.empty();
    return std::make_unique<const DirectoryCache>(std::move(folder.text), isOff ? nullptr : memory);
}

std::optional<CachedAnswer> DirectoryCache::findChanged(const std::string& url, long maxAgeSeconds,
                                                        const FILETIME* notBefore, const KnownAnswer& known,
                                                        std::size_t largest) const {
    const auto remembered = memory_ == nullptr ? nullptr : memory_->find(url, maxAgeSeconds, notBefore);
    if (!remembered) {
        return findFile(url, maxAgeSeconds, notBefore, known, largest);
    }
    const FILETIME since = remembered->header.timeStored();
    if (std::optional<CachedAnswer> later = findFile(url, maxAgeSeconds, &since, known, largest)) {
        return later;
    }
    if (remembered->answer.size() > largest) {
        return std::nullopt;
    }
    CachedAnswer found;
    found.stamp.digest = remembered->digest;
    const bool isKnown = known.stamp.digest == remembered->digest ||
                         (!known.answer.empty() && std::ranges::equal(known.answer, remembered->answer));
    if (!isKnown) {
        found.answer = remembered->answer;
    }
    return found;
}

std::optional<CachedAnswer> DirectoryCache::findFile(const std::string& url, long maxAgeSeconds,
                                                     const FILETIME* notBefore, const KnownAnswer& known,
                                                     std::size_t largest) const {
    const std::string name = cacheNameOf(url);
    const Descriptor folder(folder_.empty() ? -1 : openFolder(folder_));
    if (name.empty() || maxAgeSeconds < 0 || !isOurFolder(folder)) {
        return std::nullopt;
    }
    const timespec begun = currentTime();
    const Descriptor file(::openat(folder.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    CacheEntryHeader header;
    if (!file.valid() || !isOurs(file.get(), S_IFREG, status) || status.st_size < static_cast<off_t>(sizeof header) ||
        status.st_size > kLargestEntry || !file.readAll(&header, sizeof header) ||
        !header.fits(url, static_cast<std::uint64_t>(status.st_size) - sizeof header) || header.sizeAnswer > largest ||
        !header.isFresh(maxAgeSeconds, notBefore)) {
        return std::nullopt;
    }
    std::string storedUrl(url.size(), '\0');
    if (!file.readAll(storedUrl.data(), storedUrl.size()) || storedUrl != url) {
        return std::nullopt;
    }
    CachedAnswer found;
    const FileStamp stamp = FileStamp::of(status);
    found.stamp.file = stamp.isSettled(begun) ? stamp : FileStamp();
    if (stamp == known.stamp.file ||
        (!known.answer.empty() && header.sizeAnswer == known.answer.size() && continuesWith(file, known.answer))) {
        return found;
    }
    const auto begin = static_cast<off_t>(sizeof header + url.size());
    found.answer.emplace(header.sizeAnswer);
    if (::lseek(file.get(), begin, SEEK_SET) != begin || !file.readAll(found.answer->data(), found.answer->size())) {
        return std::nullopt;
    }
    return found;
}

void DirectoryCache::keep(const std::string& url, ByteView answer, long lifetimeSeconds) const {
    const bool isWritten = write(url, answer);
    if (memory_ != nullptr && (isWritten || lifetimeSeconds <= 0)) {
        memory_->forget(url);
    } else if (memory_ != nullptr) {
        memory_->keep(url, answer);
    }
}

bool DirectoryCache::write(const std::string& url, ByteView answer) const {
    const std::string name = cacheNameOf(url);
    if (name.empty() || folder_.empty()) {
        return false;
    }
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(folder_).parent_path(), ignored);
    ::mkdir(folder_.c_str(), S_IRWXU);
    const Descriptor folder(openFolder(folder_));
    if (!isOurFolder(folder)) {
        return false;
    }
    std::string temporary = folder_ + '/' + name + ".XXXXXX";
    const Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));  // readable only by its owner
    if (!file.valid()) {
        return false;
    }
    const CacheEntryHeader header = CacheEntryHeader::of(url, answer);
    const bool isWritten = file.writeAll(&header, sizeof header) && file.writeAll(url.data(), url.size()) &&
                           file.writeAll(answer.data(), answer.size()) && file.flush() &&
                           std::rename(temporary.c_str(), (folder_ + '/' + name).c_str()) == 0;
    if (!isWritten) {
        ::unlink(temporary.c_str());
    }
    prune(folder_, folder);
    return isWritten;
}

bool DirectoryCache::forget(const std::string& url) const {
    if (memory_ != nullptr) {
        memory_->forget(url);
    }
    const std::string name = cacheNameOf(url);
    const Descriptor folder(folder_.empty() ? -1 : openFolder(folder_));
    if (name.empty() || !isOurFolder(folder)) {
        return !find(url, std::numeric_limits<long>::max(), nullptr);
    }
    return ::unlinkat(folder.get(), name.c_str(), 0) == 0 || errno == ENOENT;
}

}  // namespace tallow::platform
