#include "platform/crypto/url_cache.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace tallow::platform {

namespace {

constexpr char kFolderSetting[] = "\\crypto\\url_cache";
constexpr std::uint64_t kTicksPerSecond = 10000000;
constexpr std::uintmax_t kLargestEntry = 64U << 20;  // anything larger was not written here

// Little more than a length-prefixed pair; the version is part of the mark.
struct EntryHeader {
    char mark[8] = {'t', 'a', 'l', 'l', 'o', 'w', 'c', '1'};
    std::uint64_t storedAt = 0;  // ticks of a FILETIME
    std::uint64_t sizeUrl = 0;
    std::uint64_t sizeAnswer = 0;
};

std::string settingOr(const char* path, std::string fallback) {
    std::size_t size = 0;
    if (support_registry_get_string(path, &size, nullptr) != 0 || size == 0) {
        return fallback;
    }
    std::string value(size + 1, '\0');
    if (support_registry_get_string(path, &size, value.data()) != 0) {
        return fallback;
    }
    value.resize(size);
    return value;
}

std::string defaultFolder() {
    if (const char* cache = std::getenv("XDG_CACHE_HOME"); cache != nullptr && *cache == '/') {
        return std::string(cache) + "/tallow/ocsp";
    }
    const char* home = std::getenv("HOME");
    return home == nullptr || *home == '\0' ? std::string() : std::string(home) + "/.cache/tallow/ocsp";
}

std::uint64_t ticksOf(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

std::uint64_t now() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return ticksOf(time);
}

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    bool valid() const { return fd_ >= 0; }
    bool writeAll(const void* data, std::size_t size) const {
        const char* next = static_cast<const char*>(data);
        while (size > 0) {
            const ssize_t written = ::write(fd_, next, size);
            if (written <= 0) {
                return false;
            }
            next += written;
            size -= static_cast<std::size_t>(written);
        }
        return true;
    }
    bool flush() const { return ::fdatasync(fd_) == 0; }

private:
    int fd_;
};

bool isFresh(std::uint64_t storedAt, long maxAgeSeconds, const FILETIME* notBefore) {
    const std::uint64_t present = now();
    if (storedAt > present || (notBefore != nullptr && storedAt < ticksOf(*notBefore))) {
        return false;
    }
    return (present - storedAt) / kTicksPerSecond <= static_cast<std::uint64_t>(maxAgeSeconds);
}

}  // namespace

UrlCache::UrlCache() : folder_(settingOr(kFolderSetting, defaultFolder())) {}

std::string UrlCache::fileOf(const std::string& url) const {
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (folder_.empty() || EVP_Digest(url.data(), url.size(), hash, &size, EVP_sha256(), nullptr) != 1) {
        return {};
    }
    constexpr char kDigits[] = "0123456789abcdef";
    std::string file = folder_ + '/';
    for (unsigned int i = 0; i < size; ++i) {
        file += kDigits[hash[i] >> 4];
        file += kDigits[hash[i] & 15];
    }
    return file;
}

std::optional<Bytes> UrlCache::find(const std::string& url, long maxAgeSeconds, const FILETIME* notBefore) const {
    const std::string path = fileOf(url);
    std::error_code error;
    const std::uintmax_t sizeFile = path.empty() ? 0 : std::filesystem::file_size(path, error);
    if (path.empty() || error || sizeFile < sizeof(EntryHeader) || sizeFile > kLargestEntry || maxAgeSeconds < 0) {
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    EntryHeader header;
    if (!file.read(reinterpret_cast<char*>(&header), sizeof header) ||
        std::memcmp(header.mark, EntryHeader().mark, sizeof header.mark) != 0) {
        return std::nullopt;
    }
    const std::uint64_t sizeRest = sizeFile - sizeof header;
    if (header.sizeUrl != url.size() || header.sizeUrl > sizeRest || header.sizeAnswer != sizeRest - header.sizeUrl ||
        !isFresh(header.storedAt, maxAgeSeconds, notBefore)) {
        return std::nullopt;
    }
    std::string storedUrl(url.size(), '\0');
    Bytes answer(header.sizeAnswer);
    if (!file.read(storedUrl.data(), static_cast<std::streamsize>(storedUrl.size())) || storedUrl != url ||
        !file.read(reinterpret_cast<char*>(answer.data()), static_cast<std::streamsize>(answer.size()))) {
        return std::nullopt;
    }
    return answer;
}

void UrlCache::keep(const std::string& url, ByteView answer) const {
    const std::string path = fileOf(url);
    if (path.empty()) {
        return;
    }
    std::error_code error;
    std::filesystem::create_directories(folder_, error);
    std::string temporary = path + ".XXXXXX";
    const Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));  // readable for its owner alone
    if (!file.valid()) {
        return;
    }
    EntryHeader header;
    header.storedAt = now();
    header.sizeUrl = url.size();
    header.sizeAnswer = answer.size();
    const bool written = file.writeAll(&header, sizeof header) && file.writeAll(url.data(), url.size()) &&
                         file.writeAll(answer.data(), answer.size()) && file.flush();
    if (!written || std::rename(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
    }
}

}  // namespace tallow::platform
