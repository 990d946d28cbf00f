#include "platform/crypto/certificates/side_file.h"

#include <openssl/x509v3.h>
#include <toml++/toml.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>
#include <optional>
#include <system_error>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/certificates/certificate_properties.h"
#include "platform/crypto/keys/private_key.h"
#include "platform/support/file_trust.h"
#include "platform/support/toml_nesting.h"
#include "platform/support/whole_file.h"

namespace tallow::platform {

namespace {

using AccessPtr = std::unique_ptr<AUTHORITY_INFO_ACCESS, OpenSslFree<AUTHORITY_INFO_ACCESS_free>>;
using DescriptionPtr = std::unique_ptr<ACCESS_DESCRIPTION, OpenSslFree<ACCESS_DESCRIPTION_free>>;
using Ia5Ptr = std::unique_ptr<ASN1_IA5STRING, OpenSslFree<ASN1_IA5STRING_free>>;

DescriptionPtr ocspDescription(const std::string& address) {
    DescriptionPtr description(ACCESS_DESCRIPTION_new());
    Ia5Ptr text(ASN1_IA5STRING_new());
    if (description == nullptr || text == nullptr ||
        ASN1_STRING_set(text.get(), address.data(), static_cast<int>(address.size())) != 1) {
        return nullptr;
    }
    description->method = OBJ_nid2obj(NID_ad_OCSP);
    GENERAL_NAME_set0_value(description->location, GEN_URI, text.release());
    return description;
}

// The addresses as the DER of an AuthorityInfoAccessSyntax; empty when there are none.
Bytes accessInformation(const toml::array& addresses) {
    const AccessPtr access(AUTHORITY_INFO_ACCESS_new());
    for (const toml::node& node : addresses) {
        const std::string address = node.value_or(std::string());
        if (address.empty()) {
            continue;
        }
        DescriptionPtr description = ocspDescription(address);
        if (description == nullptr || sk_ACCESS_DESCRIPTION_push(access.get(), description.get()) <= 0) {
            throw std::bad_alloc();
        }
        static_cast<void>(description.release());
    }
    unsigned char* encoded = nullptr;
    const int size =
        sk_ACCESS_DESCRIPTION_num(access.get()) > 0 ? i2d_AUTHORITY_INFO_ACCESS(access.get(), &encoded) : 0;
    const OpenSslBytesPtr owner(encoded);
    if (size < 0) {
        throw std::bad_alloc();
    }
    return size > 0 ? Bytes(encoded, encoded + size) : Bytes();
}

// Empty, or what is wrong with the text.
std::string applyText(const std::string& text, const std::string& path, const Certificate& certificate) {
    try {
        const toml::table table = toml::parse(text);  // without the path: see Settings::readFile
        if (const auto key = table["key"].value<std::string>(); key && !key->empty()) {
            nameKey(certificate, keyUri(*key, std::filesystem::path(path).parent_path()));
        }
        if (const toml::array* const addresses = table["ocsp"].as_array()) {
            if (const Bytes access = accessInformation(*addresses); !access.empty()) {
                certificate.setProperty(CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID, access);
            }
        }
        return {};
    } catch (const toml::parse_error& failure) {
        std::string reason(failure.description());  // it may quote a line break of the file
        std::replace_if(
            reason.begin(), reason.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
        return "does not parse at line " + std::to_string(failure.source().begin.line) + ": " + reason;
    }
}

}  // namespace

SideFileResult applySideFile(const std::string& path, const Certificate& certificate) {
    SideFileResult result;
    int systemError = 0;
    const std::optional<WholeFile> file = readWholeFile(path, kMaximumTomlSize, systemError);
    if (!file) {
        const bool isNone = systemError == ENOENT || systemError == kNotRegular;
        result.problem = isNone ? "" : "cannot be read: " + failureText(systemError);
        return result;
    }
    result.wasRead = true;
    result.status = file->status;
    if (const char* const why = whyUntrusted(file->status)) {
        result.problem = why;
    } else if (nestsTooDeep(file->content)) {
        result.problem = "does not count: its tables and keys nest too deep";
    } else {
        result.problem = applyText(file->content, path, certificate);
    }
    return result;
}

}  // namespace tallow::platform
