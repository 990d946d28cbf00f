#include "cli/input_files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kLargestFile = 64U << 20;  // a bundle of all public roots is well below one of these
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kDashes = "-----";

std::string readWhole(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw InputError(path, "is a folder; name a file", status::kFileCorrupt);
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw InputError(path, std::string("cannot be opened: ") + std::strerror(errno), status::kFileNotFound);
    }
    std::string content;
    char part[65536];
    while (file.read(part, sizeof part) || file.gcount() > 0) {
        content.append(part, static_cast<std::size_t>(file.gcount()));
        if (content.size() > kLargestFile) {
            throw InputError(path, "is too large; name a certificate file", status::kInvalidData);
        }
    }
    if (content.empty()) {
        throw InputError(path, "is empty; name a file in PEM or DER", status::kInvalidData);
    }
    return content;
}

struct Block {
    std::string label;  // empty for DER
    std::string der;
};

// A SEQUENCE whose length takes more than one octet. Text may stand before the first PEM block and begin with the same
// character, but its second octet is no such length; and a name inside DER may hold the text that opens a PEM block.
bool isDer(std::string_view content) {
    constexpr unsigned char kSequence = 0x30;
    constexpr unsigned char kLongLength = 0x80;
    return content.size() > 1 && static_cast<unsigned char>(content[0]) == kSequence &&
           static_cast<unsigned char>(content[1]) > kLongLength;
}

std::string decodeBlock(std::string_view text, const std::string& path) {
    DWORD size = 0;
    const auto length = static_cast<DWORD>(text.size());
    std::string der;
    if (CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64HEADER, nullptr, &size, nullptr, nullptr)) {
        der.resize(size);
        if (CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64HEADER, reinterpret_cast<BYTE*>(der.data()),
                                 &size, nullptr, nullptr)) {
            der.resize(size);
            return der;
        }
    }
    throw InputError(path, "holds a PEM block that is broken; get the file anew", status::kInvalidData);
}

// The PEM blocks of the file, or the whole file as one block without a label. Only blocks with the wanted label are
// decoded; of others the label is all that is needed, to say what the file holds instead.
std::vector<Block> readBlocks(const std::string& path, std::string_view wanted) {
    const std::string content = readWhole(path);
    std::vector<Block> blocks;
    std::size_t begin = isDer(content) ? std::string::npos : content.find(kBegin);
    if (begin == std::string::npos) {
        blocks.push_back({"", content});
        return blocks;
    }
    while (begin != std::string::npos) {
        const std::size_t labelEnd = content.find(kDashes, begin + kBegin.size());
        Block block;
        if (labelEnd != std::string::npos) {
            block.label = content.substr(begin + kBegin.size(), labelEnd - begin - kBegin.size());
        }
        const std::string end = "-----END " + block.label + "-----";
        const std::size_t endAt = labelEnd == std::string::npos ? labelEnd : content.find(end, labelEnd);
        if (endAt == std::string::npos) {
            throw InputError(path, "holds a PEM block without its end; get the file anew", status::kInvalidData);
        }
        const std::size_t next = endAt + end.size();
        if (block.label == wanted) {
            block.der = decodeBlock(std::string_view(content).substr(begin, next - begin), path);
        }
        blocks.push_back(std::move(block));
        begin = content.find(kBegin, next);
    }
    return blocks;
}

// The blocks with the wanted label, or the DER file; at least one.
std::vector<std::string> readDer(const std::string& path, std::string_view wanted, const char* what) {
    const std::vector<Block> blocks = readBlocks(path, wanted);
    std::vector<std::string> found;
    for (const Block& block : blocks) {
        if (block.label.empty() || block.label == wanted) {
            found.push_back(block.der);
        }
    }
    if (found.empty()) {
        throw InputError(path, "holds \"" + blocks.front().label + "\"; name a file with " + what,
                         status::kInvalidData);
    }
    return found;
}

// Where the octets go first. A device or a pipe is written to as it is: renaming would put a file in its place. What a
// link leads to is replaced, not the link.
struct Target {
    std::string path;
    std::string written;
};

Target targetOf(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw InputError(path, "cannot be written: is a folder; name a file");
    }
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error)) {
        return {path, path};
    }
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    const std::string target = error ? path : real.string();
    return {target, target + ".part"};
}

}  // namespace

std::vector<ATL2::CCertContext> readCertificates(const std::string& path) {
    std::vector<ATL2::CCertContext> certificates;
    for (const std::string& der : readDer(path, "CERTIFICATE", "a certificate")) {
        certificates.push_back(ATL2::CCertContext::adopt(CertCreateCertificateContext(
            X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()), static_cast<DWORD>(der.size()))));
        if (!certificates.back()) {
            throw InputError(path, "is not a certificate; name one in PEM or DER", status::kAsn1Error);
        }
    }
    return certificates;
}

std::vector<std::string> readCrls(const std::string& path) {
    return readDer(path, "X509 CRL", "a CRL");
}

void writeWhole(const std::string& path, const unsigned char* data, std::size_t size) {
    const Target target = targetOf(path);
    errno = 0;
    std::ofstream file(target.written, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    file.close();
    const bool isRenamed =
        target.written == target.path || (file && std::rename(target.written.c_str(), target.path.c_str()) == 0);
    if (!file || !isRenamed) {
        const std::string reason = std::strerror(errno);
        if (target.written != target.path) {
            std::remove(target.written.c_str());
        }
        throw InputError(path, "cannot be written: " + reason);
    }
}

void requireWritable(const std::string& path) {
    const Target target = targetOf(path);
    errno = 0;
    if (!std::ofstream(target.written, std::ios::binary | std::ios::app)) {
        throw InputError(path, std::string("cannot be written: ") + std::strerror(errno));
    }
    if (target.written != target.path) {
        std::remove(target.written.c_str());
    }
}

}  // namespace tallow::cli
