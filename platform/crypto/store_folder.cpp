#include "platform/crypto/store_folder.h"

#include <openssl/pem.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>

#include "platform/crypto/service_call.h"
#include "platform/crypto/side_file.h"
#include "platform/support/never_destroyed.h"
#include "platform/support/whole_file.h"

namespace tallow::platform {

namespace {

constexpr std::string_view kSideFileSuffix = ".toml";

// What tells a changed file from an unchanged one without reading it. The time is that of the last change of any kind:
// that of the last writing can be set back.
struct Stamp {
    timespec changed{};
    off_t size = 0;
    ino_t inode = 0;
    timespec sideChanged{};
    off_t sideSize = 0;

    bool operator==(const Stamp& other) const noexcept {
        return same(changed, other.changed) && size == other.size && inode == other.inode &&
               same(sideChanged, other.sideChanged) && sideSize == other.sideSize;
    }
    static bool same(const timespec& left, const timespec& right) noexcept {
        return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
    }
};

std::string sideFileOf(const std::string& path) {
    return std::filesystem::path(path).replace_extension(kSideFileSuffix).string();
}

std::optional<Stamp> stampOf(const std::string& path) {
    struct stat file {};
    struct stat side {};
    if (stat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode)) {
        return std::nullopt;
    }
    bool const hasSide = stat(sideFileOf(path).c_str(), &side) == 0;
    return Stamp{file.st_ctim, file.st_size, file.st_ino, hasSide ? side.st_ctim : timespec{},
                 hasSide ? side.st_size : -1};
}

struct PemBlock {
    std::string label;
    Bytes bytes;
};

// The next block of PEM text; false when there is none, or one that cannot be read. Reads one line at least.
bool nextBlock(BIO* text, PemBlock& block) {
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* data = nullptr;
    long size = 0;
    if (PEM_read_bio(text, &name, &header, &data, &size) != 1) {
        return false;
    }
    using TextPtr = std::unique_ptr<char, OpenSslFree<freeOpenSslMemory>>;
    TextPtr const ownedName(name);
    TextPtr const ownedHeader(header);
    OpenSslBytesPtr const ownedData(data);
    block = {name, Bytes(data, data + size)};
    return true;
}

void takeCertificate(ByteView der, StoreFileContent& content) {
    if (CertificateRef certificate = Certificate::create(der)) {
        content.certificates.push_back(std::move(certificate));
    }
}

void takeCrl(ByteView der, StoreFileContent& content) {
    if (CrlRef crl = Crl::parse(der)) {
        content.crls.push_back(std::move(crl));
    }
}

void parsePem(ByteView text, StoreFileContent& content) {
    OpenSslErrors const errors;
    BioPtr const bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    PemBlock block;
    while (bio != nullptr && BIO_eof(bio.get()) == 0) {
        // A block that cannot be read ends with what was read of it; those behind it count all the same.
        if (!nextBlock(bio.get(), block)) {
            continue;
        }
        if (block.label == PEM_STRING_X509 || block.label == PEM_STRING_X509_OLD) {
            takeCertificate(block.bytes, content);
        } else if (block.label == PEM_STRING_X509_CRL) {
            takeCrl(block.bytes, content);
        }
    }
}

std::shared_ptr<const StoreFileContent> readFile(const std::string& path) {
    auto content = std::make_shared<StoreFileContent>();
    int systemError = 0;
    std::string const text = readWholeFile(path, systemError).value_or(std::string());
    ByteView const bytes(reinterpret_cast<const BYTE*>(text.data()), text.size());
    if (text.find("-----BEGIN ") != std::string::npos) {
        parsePem(bytes, *content);
    } else if (!bytes.empty()) {
        takeCertificate(bytes, *content);
        takeCrl(bytes, *content);
    }
    if (content->certificates.empty() && content->crls.empty()) {
        TALLOW_CRYPTO_TRACE("%s holds no certificate and no CRL: passed over\n", path.c_str());
    } else if (!content->certificates.empty()) {
        applySideFile(sideFileOf(path), *content->certificates.front());
    }
    return content;
}

struct Cache {
    struct Entry {
        Stamp stamp;
        std::shared_ptr<const StoreFileContent> content;
    };
    std::mutex mutex;
    std::map<std::string, Entry> files;
};

Cache& cache() {
    static NeverDestroyed<Cache> instance;
    return *instance;
}

StoreFile cachedFile(const std::string& path) {
    std::optional<Stamp> const stamp = stampOf(path);
    std::scoped_lock const lock(cache().mutex);
    if (!stamp || static_cast<uintmax_t>(stamp->size) > kMaximumFileSize) {
        cache().files.erase(path);
        return {};
    }
    Cache::Entry& entry = cache().files[path];
    if (entry.content == nullptr || !(entry.stamp == *stamp)) {
        entry.content = readFile(path);
        entry.stamp = *stamp;
    }
    return StoreFile(entry.content);
}

// Forgets the files of a folder that are no longer there; `paths` is sorted.
void forgetOthers(const std::string& folder, const std::vector<std::string>& paths) {
    std::scoped_lock const lock(cache().mutex);
    std::map<std::string, Cache::Entry>& files = cache().files;
    std::string const prefix = folder + '/';
    for (auto file = files.lower_bound(prefix); file != files.end() && file->first.starts_with(prefix);) {
        file = std::binary_search(paths.begin(), paths.end(), file->first) ? std::next(file) : files.erase(file);
    }
}

bool isStoreFile(const std::filesystem::directory_entry& entry) {
    std::string const name = entry.path().filename().string();
    std::error_code ignored;
    return name.front() != '.' && entry.path().extension() != kSideFileSuffix && entry.is_regular_file(ignored);
}

}  // namespace

void StoreFile::addTo(Store& store) const {
    if (content_ == nullptr) {
        return;
    }
    for (const CertificateRef& certificate : content_->certificates) {
        store.add(*certificate, CERT_STORE_ADD_USE_EXISTING, nullptr);
    }
    for (const CrlRef& crl : content_->crls) {
        store.add(crl, CERT_STORE_ADD_USE_EXISTING);
    }
}

std::vector<StoreFile> readStoreFolder(const std::string& folder, bool& exists) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    exists = !error;
    std::vector<std::string> paths;
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (isStoreFile(*entry)) {
            paths.push_back(entry->path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    forgetOthers(folder, paths);
    std::vector<StoreFile> files;
    files.reserve(paths.size());
    std::transform(paths.begin(), paths.end(), std::back_inserter(files), cachedFile);
    return files;
}

StoreFile readBundle(const std::string& path) {
    return cachedFile(path);
}

}  // namespace tallow::platform
