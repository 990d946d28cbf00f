// An entry in the cache of downloads. It is used only when mark, URL and lengths fit, and then gives the end of the
// file; a new answer takes its place whatever it was.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "platform/crypto/network/directory_cache.h"
#include "tests/support/temp_dir.h"

namespace {

using testkit::Bytes;

constexpr const char* kUrl = "http://127.0.0.1/ca.crl";
constexpr long kLongest = 1000L * 365 * 24 * 3600;
constexpr std::size_t kSizeHeader = 32;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The name of the only file in the directory, which the cache wrote.
std::string entryIn(const std::filesystem::path& folder) {
    const std::filesystem::directory_iterator entries(folder);
    require(entries != std::filesystem::directory_iterator());
    return entries->path().filename().string();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const testkit::TempDir folder;
    static const tallow::platform::DirectoryCache cache(folder.file("cache"));
    static const Bytes answer{'a', 'n', 's', 'w', 'e', 'r'};
    cache.keep(kUrl, answer, 60);
    require(cache.find(kUrl, 60, nullptr) == answer);
    const std::string entry = "cache/" + entryIn(folder.file("cache"));
    const Bytes written = testkit::readFile(folder.file(entry));
    static_cast<void>(folder.write(entry, Bytes(data, data + size)));
    const std::size_t sizeUrl = std::strlen(kUrl);
    if (const auto found = cache.find(kUrl, kLongest, nullptr)) {
        require(size == kSizeHeader + sizeUrl + found->size());
        require(std::equal(kUrl, kUrl + sizeUrl, data + kSizeHeader));
        require(std::equal(found->begin(), found->end(), data + kSizeHeader + sizeUrl));
        require(std::equal(written.begin(), written.begin() + 8, data));
    }
    require(!cache.find("http://127.0.0.1/other.crl", kLongest, nullptr));
    require(cache.forget(kUrl) && !cache.find(kUrl, kLongest, nullptr));
    return 0;
}
