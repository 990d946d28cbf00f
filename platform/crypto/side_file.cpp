#include "platform/crypto/side_file.h"

#include <openssl/x509v3.h>
#include <toml++/toml.h>

#include <filesystem>

#include "platform/crypto/private_key.h"
#include "platform/crypto/service_call.h"
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
    AccessPtr const access(AUTHORITY_INFO_ACCESS_new());
    for (const toml::node& node : addresses) {
        std::string const address = node.value_or(std::string());
        DescriptionPtr description = address.empty() ? nullptr : ocspDescription(address);
        if (description != nullptr && sk_ACCESS_DESCRIPTION_push(access.get(), description.get()) > 0) {
            static_cast<void>(description.release());
        }
    }
    unsigned char* encoded = nullptr;
    int const size =
        sk_ACCESS_DESCRIPTION_num(access.get()) > 0 ? i2d_AUTHORITY_INFO_ACCESS(access.get(), &encoded) : 0;
    OpenSslBytesPtr const owner(encoded);
    return size > 0 ? Bytes(encoded, encoded + size) : Bytes();
}

}  // namespace

void applySideFile(const std::string& path, const Certificate& certificate) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return;
    }
    int ignoredError = 0;
    std::string const text = readWholeFile(path, ignoredError).value_or(std::string());
    try {
        toml::table const table = toml::parse(text, path);
        if (auto const key = table["key"].value<std::string>(); key && !key->empty()) {
            nameKey(certificate, keyUri(*key, std::filesystem::path(path).parent_path()));
        }
        if (const toml::array* const addresses = table["ocsp"].as_array()) {
            if (Bytes const access = accessInformation(*addresses); !access.empty()) {
                certificate.setProperty(CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID, access);
            }
        }
    } catch (const toml::parse_error& failure) {
        TALLOW_CRYPTO_TRACE("%s:%u: %s\n", path.c_str(), failure.source().begin.line,
                            std::string(failure.description()).c_str());
    }
}

}  // namespace tallow::platform
