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

constexpr std::uintmax_t kLargestFile = 64U << 20;  // a bundle of all public roots is well below one of these
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kDashes = "-----";

std::string readWhole(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw InputError(path + ": is a folder, not a file");
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw InputError(path + ": cannot be opened: " + std::strerror(errno));
    }
    std::string content;
    char part[65536];
    while (file.read(part, sizeof part) || file.gcount() > 0) {
        content.append(part, static_cast<std::size_t>(file.gcount()));
        if (content.size() > kLargestFile) {
            throw InputError(path + ": is too large for a certificate file");
        }
    }
    if (content.empty()) {
        throw InputError(path + ": is empty");
    }
    return content;
}

struct Block {
    std::string label;  // empty for DER
    std::string der;
};

std::string decodeBlock(std::string_view text, const std::string& path) {
    DWORD size = 0;
    const auto length = static_cast<DWORD>(text.size());
    if (!CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64HEADER, nullptr, &size, nullptr, nullptr)) {
        throw InputError(path + ": holds a PEM block that is broken");
    }
    std::string der(size, '\0');
    if (!CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64HEADER, reinterpret_cast<BYTE*>(der.data()),
                              &size, nullptr, nullptr)) {
        throw InputError(path + ": holds a PEM block that is broken");
    }
    der.resize(size);
    return der;
}

// The PEM blocks of the file, or the whole file as one block without a label. Only blocks with the wanted label are
// decoded; of others the label is all that is needed, to say what the file holds instead.
std::vector<Block> readBlocks(const std::string& path, std::string_view wanted) {
    const std::string content = readWhole(path);
    std::vector<Block> blocks;
    std::size_t begin = content.find(kBegin);
    if (begin == std::string::npos) {
        blocks.push_back({"", content});
        return blocks;
    }
    while (begin != std::string::npos) {
        const std::size_t labelEnd = content.find(kDashes, begin + kBegin.size());
        if (labelEnd == std::string::npos) {
            throw InputError(path + ": holds a PEM block that is broken");
        }
        Block block;
        block.label = content.substr(begin + kBegin.size(), labelEnd - begin - kBegin.size());
        const std::string end = "-----END " + block.label + "-----";
        const std::size_t endAt = content.find(end, labelEnd);
        if (endAt == std::string::npos) {
            throw InputError(path + ": holds a PEM block without its end");
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

std::string article(const std::string& label) {
    return "holds \"" + label + "\"";
}

}  // namespace

std::vector<ATL2::CCertContext> readCertificates(const std::string& path) {
    constexpr std::string_view kLabel = "CERTIFICATE";
    std::vector<ATL2::CCertContext> certificates;
    const std::vector<Block> blocks = readBlocks(path, kLabel);
    for (const Block& block : blocks) {
        if (!block.label.empty() && block.label != kLabel) {
            continue;
        }
        ATL2::CCertContext certificate = ATL2::CCertContext::adopt(CertCreateCertificateContext(
            X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(block.der.data()), static_cast<DWORD>(block.der.size())));
        if (!certificate) {
            throw InputError(path + ": is not a certificate");
        }
        certificates.push_back(std::move(certificate));
    }
    if (certificates.empty()) {
        throw InputError(path + ": " + article(blocks.front().label) + ", not a certificate");
    }
    return certificates;
}

std::vector<std::string> readCrls(const std::string& path) {
    constexpr std::string_view kLabel = "X509 CRL";
    std::vector<std::string> crls;
    const std::vector<Block> blocks = readBlocks(path, kLabel);
    for (const Block& block : blocks) {
        if (block.label.empty() || block.label == kLabel) {
            crls.push_back(block.der);
        }
    }
    if (crls.empty()) {
        throw InputError(path + ": " + article(blocks.front().label) + ", not a CRL");
    }
    return crls;
}

void writeWhole(const std::string& path, const unsigned char* data, std::size_t size) {
    const std::string temporary = path + ".part";
    errno = 0;
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    file.close();
    if (!file || std::rename(temporary.c_str(), path.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        std::remove(temporary.c_str());
        throw InputError(path + ": cannot be written: " + reason);
    }
}

}  // namespace tallow::cli
