#include "platform/crypto/network/cache_entry.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <new>

namespace tallow::platform {

namespace {

constexpr std::uint64_t kTicksPerSecond = 10000000;

std::uint64_t ticksOf(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

std::uint64_t now() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return ticksOf(time);
}

// The octets of the parts, one after the other.
Bytes joined(std::initializer_list<ByteView> parts) {
    std::size_t size = 0;
    for (const ByteView part : parts) {
        size += part.size();
    }
    Bytes all(size);
    auto next = all.begin();
    for (const ByteView part : parts) {
        next = std::copy(part.begin(), part.end(), next);
    }
    return all;
}

template <typename Record>
ByteView octetsOf(const Record& record) {
    return {reinterpret_cast<const BYTE*>(&record), sizeof record};
}

ByteView octetsOf(std::string_view text) {
    return {reinterpret_cast<const BYTE*>(text.data()), text.size()};
}

}  // namespace

AnswerDigest digestOf(ByteView octets) {
    AnswerDigest digest;
    if (EVP_Digest(octets.data(), octets.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1) {
        throw std::bad_alloc();
    }
    return digest;
}

std::string cacheNameOf(std::string_view url) {
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (EVP_Digest(url.data(), url.size(), hash, &size, EVP_sha256(), nullptr) != 1) {
        return {};
    }
    constexpr char kDigits[] = "0123456789abcdef";
    std::string name;
    for (unsigned int i = 0; i < size; ++i) {
        name += kDigits[hash[i] >> 4];
        name += kDigits[hash[i] & 15];
    }
    return name;
}

CacheEntryHeader CacheEntryHeader::of(std::string_view url, ByteView answer) {
    CacheEntryHeader header;
    header.storedAt = now();
    header.sizeUrl = url.size();
    header.sizeAnswer = answer.size();
    return header;
}

bool CacheEntryHeader::fits(std::string_view url, std::uint64_t sizeRest) const noexcept {
    return std::memcmp(mark, CacheEntryHeader().mark, sizeof mark) == 0 && sizeUrl == url.size() &&
           sizeUrl <= sizeRest && sizeAnswer == sizeRest - sizeUrl;
}

bool CacheEntryHeader::isFresh(long maxAgeSeconds, const FILETIME* notBefore) const noexcept {
    const std::uint64_t present = now();
    if (maxAgeSeconds < 0 || storedAt > present || (notBefore != nullptr && storedAt < ticksOf(*notBefore))) {
        return false;
    }
    return (present - storedAt) / kTicksPerSecond <= static_cast<std::uint64_t>(maxAgeSeconds);
}

FILETIME CacheEntryHeader::timeStored() const noexcept {
    return {static_cast<DWORD>(storedAt), static_cast<DWORD>(storedAt >> 32)};
}

std::size_t SharedEntries::sizeFront(std::string_view url) noexcept {
    return sizeof(CacheEntryHeader) + url.size() + sizeof(CacheSeal);
}

AnswerDigest SharedEntries::macOf(const CacheEntryHeader& header, std::string_view url,
                                  const AnswerDigest& digest) const {
    AnswerDigest mac{};
    if (key_.empty()) {
        return mac;
    }
    const Bytes sealed = joined({octetsOf(header), octetsOf(url), digest});  // the header has the length of the URL
    if (HMAC(EVP_sha256(), key_.data(), static_cast<int>(key_.size()), sealed.data(), sealed.size(), mac.data(),
             nullptr) == nullptr) {
        throw std::bad_alloc();
    }
    return mac;
}

Bytes SharedEntries::seal(std::string_view url, ByteView answer) const {
    const CacheEntryHeader header = CacheEntryHeader::of(url, answer);
    const AnswerDigest digest = digestOf(answer);
    const CacheSeal seal{digest, macOf(header, url, digest)};
    return joined({octetsOf(header), octetsOf(url), octetsOf(seal), answer});
}

std::optional<SharedEntries::Opened> SharedEntries::openFront(std::string_view url, ByteView front) const {
    if (front.size() != sizeFront(url)) {
        return std::nullopt;
    }
    Opened opened;
    CacheSeal seal;
    std::memcpy(&opened.header, front.data(), sizeof opened.header);
    std::memcpy(&seal, front.data() + sizeof opened.header + url.size(), sizeof seal);
    const ByteView storedUrl = front.subspan(sizeof opened.header, url.size());
    if (opened.header.sizeAnswer > kLargestCacheEntry ||
        !opened.header.fits(url, url.size() + opened.header.sizeAnswer) ||
        (!url.empty() && std::memcmp(storedUrl.data(), url.data(), url.size()) != 0)) {
        return std::nullopt;
    }
    if (const AnswerDigest mac = macOf(opened.header, url, seal.digest);
        !key_.empty() && CRYPTO_memcmp(mac.data(), seal.mac.data(), mac.size()) != 0) {
        return std::nullopt;
    }
    opened.digest = seal.digest;
    return opened;
}

std::optional<SharedEntries::Opened> SharedEntries::open(std::string_view url, ByteView entry) const {
    if (entry.size() < sizeFront(url)) {
        return std::nullopt;
    }
    std::optional<Opened> opened = openFront(url, entry.first(sizeFront(url)));
    const ByteView answer = entry.subspan(sizeFront(url));
    if (!opened || opened->header.sizeAnswer != answer.size() || digestOf(answer) != opened->digest) {
        return std::nullopt;
    }
    opened->answer = answer;
    return opened;
}

}  // namespace tallow::platform
