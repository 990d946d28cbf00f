#include "platform/crypto/certificates/store_file.h"

#include <openssl/asn1.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/crypto/base/der_reader.h"
#include "platform/crypto/base/pem_blocks.h"
#include "platform/crypto/certificates/container_file.h"

namespace tallow::platform {

namespace {

constexpr BYTE kSequence = 0x30;

std::string_view textOf(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string upperCase(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return upper;
}

bool takeCertificate(ByteView der, StoreFileContent& content) {
    CertificateRef certificate = Certificate::create(der);
    if (certificate) {
        content.certificates.push_back(std::move(certificate));
        return true;
    }
    return false;
}

// ---- What may have been a CRL --------------------------------------------------------------------------------------

// A header of DER or BER with a length of more than one octet. Text cannot begin like this: the second octet is a
// continuation octet in UTF-8.
bool isBinaryForm(ByteView content) {
    constexpr BYTE kIndefinite = 0x80;
    constexpr BYTE kLongest = 0x88;
    return content.size() > 1 && content[0] == kSequence && content[1] >= kIndefinite && content[1] <= kLongest;
}

// The octet that follows a header, whatever length the header gives: the content may have been cut.
ByteView afterHeader(ByteView header) {
    constexpr BYTE kLongForm = 0x80;
    const size_t sizeLength = header.size() > 1 && header[1] > kLongForm ? header[1] - kLongForm : 0U;
    return header.subspan(std::min(header.size(), 2 + sizeLength));
}

// Whether something follows the structure at the front; it may be another one.
bool hasMore(ByteView content) {
    const size_t sizeHeader = content.size() - afterHeader(content).size();
    size_t size = content.size() > 1 && sizeHeader == 2 ? content[1] : 0;
    for (size_t i = 2; i < sizeHeader; ++i) {
        size = size << 8 | content[i];
    }
    return size < content.size() - sizeHeader;
}

// Whether binary content may be a CRL, even a truncated or malformed one. Certificates are recognised by the version in
// the signed structure, keys by the number at their beginning.
bool mayBeBinaryCrl(ByteView content) {
    constexpr BYTE kVersion = 0xA0;
    if (hasMore(content)) {
        return true;
    }
    const ByteView outer = afterHeader(content);
    if (outer.empty() || outer[0] != kSequence) {
        return outer.empty() || outer[0] == V_ASN1_OBJECT;  // a PKCS #7 message may contain one
    }
    const ByteView toBeSigned = afterHeader(outer);
    return toBeSigned.empty() || toBeSigned[0] != kVersion;
}

// Whether there are octets that never appear in text, in any encoding without zeros: DER and compressed content have
// them.
bool hasBinary(ByteView content) {
    return std::any_of(content.begin(), content.end(), [](BYTE octet) {
        return octet < '\b' || (octet > '\r' && octet < 0x1A) || (octet > 0x1B && octet < ' ');
    });
}

// Whether the text is a structure in hexadecimal digits.
bool isHexForm(std::string_view text) {
    return text.starts_with("30") && text.find_first_not_of("0123456789abcdefABCDEF: \t\r\n") == std::string_view::npos;
}

// Content that is neither DER nor PEM.
bool mayHideCrl(ByteView content, std::string_view name) {
    if (content.empty() || endsAsCrl(name)) {
        return true;  // a failed download or a crash leaves an empty file
    }
    if (isBinaryForm(content)) {
        return mayBeBinaryCrl(content);
    }
    std::string_view text = textOf(content);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\xEF\xBB\xBF"), text.size()));
    // Bare base64 of DER, or a truncated line.
    return text.starts_with("MI") || text.find("-----") != std::string_view::npos || isHexForm(text) ||
           hasBinary(content);
}

bool takeCrl(ByteView der, StoreFileContent& content) {
    if (der.empty() || der[0] != kSequence || !mayBeBinaryCrl(der)) {
        return false;
    }
    CrlRef crl = Crl::parse(der);
    if (crl == nullptr) {
        content.isFinal = false;
        return false;
    }
    content.crls.push_back(std::move(crl));
    return true;
}

bool isContainer(std::string_view label) {
    constexpr std::array<std::string_view, 3> kContainers{"PKCS7", "PKCS #7 SIGNED DATA", "CMS"};
    return std::find(kContainers.begin(), kContainers.end(), label) != kContainers.end();
}

bool mayHoldCrl(std::string_view label) {
    return label.find("CRL") != std::string_view::npos || isContainer(label) || label.empty();
}

// ---- PEM -----------------------------------------------------------------------------------------------------------

void addProblem(StoreFileContent& content, std::string_view label, const char* what, bool mayBeCrl,
                bool isOther = false) {
    constexpr size_t kMost = 100;  // of a file: a hostile one has millions of empty blocks
    if (content.problems.size() == kMost) {
        StoreProblem& others = content.problems.back();
        others.reason = "holds more PEM blocks that are not used";
        others.mayBeCrl = others.mayBeCrl || mayBeCrl;
        others.isOther = others.isOther && isOther;
        return;
    }
    constexpr size_t kLongest = 64;  // in messages
    const std::string shown = std::string(label.substr(0, kLongest)) + (label.size() > kLongest ? "..." : "");
    content.problems.push_back({{}, "holds the PEM block \"" + shown + "\", " + what, mayBeCrl, isOther});
}

enum class Containers { kIgnored, kRead };

// A certificate of a bundle. What may be a CRL is examined at once.
bool takeLater(const Bytes& der, CertificateList* bundle) {
    return bundle != nullptr && !mayBeBinaryCrl(der) && bundle->addLater(der);
}

void takeBlock(const PemBlock& block, Containers containers, CertificateList* bundle, StoreFileContent& content) {
    const std::string label = upperCase(block.label);
    const bool isCertificate = label == "CERTIFICATE" || label == "X509 CERTIFICATE";
    const bool isCrl = label == "X509 CRL" || label == "CRL";
    const bool isRead = isCertificate || isCrl || (containers == Containers::kRead && isContainer(label));
    const bool mayBeCrl = mayHoldCrl(label) || (!block.isComplete && std::string_view("X509 CRL").starts_with(label));
    Bytes der;
    if (!block.isComplete) {
        addProblem(content, block.label, "which has no end: the file was cut", mayBeCrl);
    } else if (!isRead) {
        addProblem(content, block.label, "which is neither a certificate nor a CRL", mayBeCrl, true);
    } else if (!decodeBlock(block, der)) {
        addProblem(content, block.label, "which is no base64", mayBeCrl);
    } else if (!isCertificate && !isCrl) {
        if (!takeContainer(der, content)) {
            addProblem(content, block.label, "which does not parse", true);
        }
    } else if (!(isCertificate && (takeLater(der, bundle) || takeCertificate(der, content))) &&
               !takeCrl(der, content)) {
        addProblem(content, block.label, "which does not parse", isCrl || mayBeBinaryCrl(der));
    }
}

void moveCertificates(StoreFileContent& content, CertificateList* bundle) {
    if (bundle != nullptr) {
        for (CertificateRef& certificate : std::exchange(content.certificates, {})) {
            bundle->add(std::move(certificate));
        }
    }
}

// With a `bundle`, the certificates are added to it instead of to the content.
StoreFileContent parseFile(ByteView bytes, std::string_view name, Containers containers,
                           CertificateList* bundle = nullptr) {
    StoreFileContent content;
    if (takeCertificate(bytes, content) || takeCrl(bytes, content)) {
        moveCertificates(content, bundle);
        return content;
    }
    const bool isBinary = isBinaryForm(bytes);
    if (isBinary && containers == Containers::kRead && takeContainer(bytes, content)) {
        return content;
    }
    const std::vector<PemBlock> blocks = isBinary ? std::vector<PemBlock>() : pemBlocks(textOf(bytes));
    for (const PemBlock& block : blocks) {
        takeBlock(block, containers, bundle, content);
        moveCertificates(content, bundle);
    }
    if (blocks.empty()) {
        const bool mayBeCrl = mayHideCrl(bytes, name);
        const char* const reason = bytes.empty() ? "is empty" : "holds no certificate and no CRL in PEM or DER";
        content.problems.push_back({{}, reason, mayBeCrl, !mayBeCrl});
    } else if (hasBinary(bytes)) {
        content.problems.push_back({{}, "holds more than text beside its PEM blocks", true});
    }
    return content;
}

}  // namespace

bool endsAsCrl(std::string_view name) {
    const size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) {
        return false;
    }
    const std::string ending = upperCase(name.substr(dot + 1));
    // CRLs in a directory of hashed names are called "a1b2c3d4.r0".
    return ending == "CRL" ||
           (ending.size() > 1 && ending[0] == 'R' && ending.find_first_not_of("0123456789", 1) == std::string::npos);
}

bool StoreFileContent::mayLackCrl() const noexcept {
    return std::any_of(problems.begin(), problems.end(), [](const StoreProblem& problem) { return problem.mayBeCrl; });
}

void StoreFileContent::addCertificates(std::vector<CertificateRef>& found) const {
    found.insert(found.end(), certificates.begin(), certificates.end());
    if (bundle != nullptr) {
        bundle->all(found);
    }
}

StoreFileContent parseStoreFile(ByteView content, std::string_view name) {
    return parseFile(content, name, Containers::kIgnored);
}

StoreFileContent parseBundle(ByteView content, std::string_view name) {
    auto bundle = std::make_shared<CertificateList>();
    StoreFileContent parsed = parseFile(content, name, Containers::kIgnored, bundle.get());
    parsed.bundle = std::move(bundle);
    return parsed;
}

StoreFileContent parseNamedFile(ByteView content, std::string_view name) {
    return parseFile(content, name, Containers::kRead);
}

}  // namespace tallow::platform
