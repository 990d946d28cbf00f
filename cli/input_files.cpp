#include "cli/input_files.h"

#include <algorithm>
#include <initializer_list>
#include <new>
#include <string_view>

#include "checker/text/safe_text.h"
#include "cli/input_stream.h"
#include "handles/certificate_in.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kDashes = "-----";
constexpr std::size_t kLongestLabel = 64;  // of a block, in messages

std::string readWhole(const std::string& path, std::size_t largest = kLargestFile,
                      InputStream::Kind kind = InputStream::Kind::kAny, const std::function<void()>& waiting = {}) {
    InputStream stream(path, kind);
    std::string content;
    char part[65536];
    for (;;) {
        if (waiting) {
            waiting();
        }
        const std::size_t count = stream.read(part, sizeof part, "", waiting);
        if (count == 0) {
            break;
        }
        content.append(part, count);
        if (content.size() > largest) {
            throw InputError(path, "is too large, more than " + std::to_string(largest) + " octets",
                             status::kInvalidData);
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

// A SEQUENCE with a long length. Text before the first PEM block may begin with the same character, but its second
// octet is no such length; and a name inside DER may contain the text that opens a PEM block.
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

using Labels = std::initializer_list<std::string_view>;

bool isOneOf(std::string_view label, Labels labels) {
    return std::find(labels.begin(), labels.end(), label) != labels.end();
}

// The PEM blocks of the content, or all of it as one block without a label. Only blocks with a wanted label are
// decoded; the labels of others are reported.
std::vector<Block> splitBlocks(const std::string& path, const std::string& content, Labels wanted) {
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
        if (isOneOf(block.label, wanted)) {
            block.der = decodeBlock(std::string_view(content).substr(begin, next - begin), path);
        }
        blocks.push_back(std::move(block));
        begin = content.find(kBegin, next);
    }
    return blocks;
}

// One finding of the service's reader of store files.
void take(const CRYPTO_STORE_ITEM* item, void* context) {
    auto& content = *static_cast<StoreContent*>(context);
    const std::string der(reinterpret_cast<const char*>(item->pbEncoded), item->cbEncoded);
    if (item->dwKind == CRYPTO_STORE_ITEM_CERTIFICATE) {
        content.certificates.push_back(ATL2::certificateIn(item->pbEncoded, item->cbEncoded));
    } else if (item->dwKind == CRYPTO_STORE_ITEM_CRL) {
        content.crls.push_back(der);
    } else {
        content.problems.push_back({item->szProblem, item->dwKind == CRYPTO_STORE_ITEM_BROKEN});
    }
}

// What helps against a PKCS #12 file that cannot be opened.
std::string openingRemedy(std::string_view reason) {
    const bool isOld = reason.find("not supported") != std::string_view::npos;
    return std::string("; take the certificates out with: openssl pkcs12 ") + (isOld ? "-legacy " : "") +
           "-nokeys -in FILE -out certificates.pem";
}

// Throws for something malformed or locked, and when there is none of the wanted kind: the first reason says what there
// is.
void requireUsable(const std::string& path, const StoreContent& content, std::size_t numFound, const char* what) {
    constexpr std::string_view kOfNothing = "holds no ";
    constexpr std::string_view kOfText = "holds more than text";  // a certificate among other things still counts
    for (const StoreContent::Problem& problem : content.problems) {
        const std::string& reason = problem.reason;
        if (reason.find("\"TRUSTED CERTIFICATE\"") != std::string::npos) {  // must not be overlooked
            throw InputError(path,
                             "holds a \"TRUSTED CERTIFICATE\", which is not read; convert it with: openssl x509 -in "
                             "FILE -out certificate.pem",
                             status::kInvalidData);
        }
        if (problem.isBroken && !reason.starts_with(kOfNothing) && !reason.starts_with(kOfText)) {
            const bool isArchive = reason.find("PKCS #12") != std::string::npos;
            throw InputError(path, reason + (isArchive ? openingRemedy(reason) : "; get the file anew"),
                             status::kInvalidData);
        }
    }
    if (numFound != 0) {
        return;
    }
    if (content.problems.empty()) {
        throw InputError(path,
                         std::string(content.crls.empty() ? "holds \"CERTIFICATE\"" : "holds \"X509 CRL\"") +
                             "; name a file with " + what,
                         status::kInvalidData);
    }
    const std::string& reason = content.problems.front().reason;
    if (reason.starts_with(kOfNothing)) {
        throw InputError(path, "is not " + std::string(what) + "; name one in PEM or DER", status::kAsn1Error);
    }
    throw InputError(path, reason + "; name a file with " + what, status::kInvalidData);
}

// Base64 of a whole message, in one line or several. Empty when it is none.
std::string decodeBase64(const std::string& text) {
    DWORD size = 0;
    const auto length = static_cast<DWORD>(text.size());
    std::string der;
    if (CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64, nullptr, &size, nullptr, nullptr)) {
        der.resize(size);
        CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64, reinterpret_cast<BYTE*>(der.data()), &size,
                             nullptr, nullptr);
    }
    return der;
}

std::string messageIn(const std::string& path, std::string content) {
    const Labels labels = {"OCSP REQUEST", "OCSP RESPONSE"};
    const std::vector<Block> blocks = splitBlocks(path, content, labels);
    for (const Block& block : blocks) {
        if (isOneOf(block.label, labels)) {
            return block.der;
        }
    }
    if (const std::string& label = blocks.front().label; !label.empty()) {
        throw InputError(path,
                         "holds \"" + label.substr(0, kLongestLabel) + (label.size() > kLongestLabel ? "..." : "") +
                             "\"; name a file with an OCSP request or response",
                         status::kInvalidData);
    }
    constexpr char kSequence = 0x30;  // base64 of a message cannot begin with this character
    std::string der = content.front() == kSequence ? std::string() : decodeBase64(content);
    return der.empty() ? std::move(content) : std::move(der);
}

StoreContent storeContentIn(const std::string& name, const std::string& octets) {
    StoreContent content;
    if (!crypto_read_named_content(reinterpret_cast<const BYTE*>(octets.data()), static_cast<DWORD>(octets.size()),
                                   name.c_str(), take, &content)) {
        throw std::bad_alloc();
    }
    return content;
}

}  // namespace

std::string shownName(const std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    const auto holds = [&lower](const char* part) { return lower.find(part) != std::string::npos; };
    return holds("://") || holds("http:") || holds("https:") ? text::withoutLogin(name) : name;
}

StoreContent certificatesAndCrlsIn(const std::string& name, const std::string& octets) {
    StoreContent content = storeContentIn(name, octets);
    requireUsable(name, content, content.certificates.size(), "a certificate");
    return content;
}

StoreContent readCertificatesAndCrls(const std::string& path) {
    return certificatesAndCrlsIn(path, readWhole(path));
}

std::string readRegularFile(const std::string& path, std::size_t largest, const std::function<void()>& waiting) {
    return readWhole(path, largest, InputStream::Kind::kRegularFile, waiting);
}

std::vector<ATL2::CCertContext> readCertificates(const std::string& path) {
    return readCertificatesAndCrls(path).certificates;
}

std::vector<std::string> readCrls(const std::string& path) {
    StoreContent content = readStoreContent(path);
    requireUsable(path, content, content.crls.size(), "a CRL");
    return std::move(content.crls);
}

StoreContent readStoreContent(const std::string& path) {
    return storeContentIn(path, readWhole(path));
}

bool holdsPrivateKey(const std::string& path) {
    constexpr std::string_view kPrivateKey = "PRIVATE KEY";
    const std::vector<Block> blocks = splitBlocks(path, readWhole(path), {});
    return std::any_of(blocks.begin(), blocks.end(),
                       [&](const Block& block) { return std::string_view(block.label).ends_with(kPrivateKey); });
}

Orvane::CBlob readMessage(const std::string& path, std::size_t largest) {
    const std::string message = messageIn(path, readWhole(path, largest));
    return {reinterpret_cast<const unsigned char*>(message.data()), message.size()};
}

}  // namespace tallow::cli
