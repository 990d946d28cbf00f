#include "cli/settings_values.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <string_view>

#include "checker/text/safe_text.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

using namespace text;

namespace {

// ---- Texts ----------------------------------------------------------------------------------------------------------

bool isAddress(const std::string& text) {
    return text.starts_with("http://") || text.starts_with("https://");
}

// libcurl takes a proxy without a scheme too, and an empty text means none.
bool isProxy(const std::string& text) {
    return text.find("://") == std::string::npos || isAddress(text);
}

bool isThumbprint(const std::string& text) {
    constexpr std::ptrdiff_t kSha1Digits = 40;
    const auto isDigit = [](unsigned char c) { return std::isxdigit(c) != 0; };
    return std::count_if(text.begin(), text.end(), isDigit) == kSha1Digits &&
           std::all_of(text.begin(), text.end(),
                       [&](char c) { return c == ' ' || isDigit(static_cast<unsigned char>(c)); });
}

bool isOid(const std::string& text) {
    const bool hasDots = text.find('.') != std::string::npos && text.find("..") == std::string::npos &&
                         text.front() != '.' && text.back() != '.';
    return hasDots && text.find_first_not_of("0123456789.") == std::string::npos;
}

bool isHash(const std::string& text) {
    std::string oid = text.substr(0, text.find(' '));
    return oid.empty() || CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid.data(), CRYPT_HASH_ALG_OID_GROUP_ID) != nullptr;
}

bool isInterval(const std::string& text) {
    return text.empty() || (text.size() == 1 && std::string_view("snhdwmy").find(text[0]) != std::string_view::npos);
}

bool isAbsolute(const std::string& text) {
    return text.starts_with('/');
}

bool isAbsoluteOrEmpty(const std::string& text) {
    return text.empty() || isAbsolute(text);
}

bool isServerOrEmpty(const std::string& text) {
    const std::size_t host = text.starts_with("redis://") ? 8 : text.starts_with("rediss://") ? 9 : std::string::npos;
    return text.empty() || (host < text.size() && text.find('@') == std::string::npos);
}

bool isAddressOrEmpty(const std::string& text) {
    return text.empty() || isAddress(text);
}

constexpr const char* kAddress = "is no address that begins with http:// or https://";
constexpr const char* kAddressRemedy =
    "write the whole address as certificates name it, such as \"http://ocsp.example/\"";
constexpr const char* kThumbprint = "is no SHA-1 thumbprint";
constexpr const char* kThumbprintRemedy =
    "write 40 hexadecimal digits, as openssl x509 -fingerprint -sha1 prints them, without colons";
constexpr const char* kPath = "is no absolute path";
constexpr const char* kPathRemedy = "write a path that begins with /";

// The form that each text of a setting must have.
struct Form {
    std::string_view key;
    bool (*fits)(const std::string&);
    const char* fault;
    const char* remedy;
};
constexpr Form kForms[] = {
    {"CertIDHashAlg", isHash, "is no hash that is known here", "write an OID such as 2.16.840.1.101.3.4.2.1 (SHA-256)"},
    {"ThisUpdateAccuracy", isInterval, "is no interval", "write s, n (minute), h, d, w, m (month) or y"},
    {"DefaultOCSPURL", isAddressOrEmpty, kAddress, kAddressRemedy},
    {"DefaultProxy", isProxy, "is no address of a proxy", "write one such as \"http://proxy.example:3128/\""},
    {"AllowedOCSPs", isAddress, kAddress, kAddressRemedy},
    {"DeniedOCSPs", isAddress, kAddress, kAddressRemedy},
    {"AllowedProxies", isProxy, "is no address of a proxy", "write one such as \"http://proxy.example:3128/\""},
    {"AuthorizedOCSPs", isThumbprint, kThumbprint, kThumbprintRemedy},
    {"NocheckOCSPs", isThumbprint, kThumbprint, kThumbprintRemedy},
    {"required_policies", isOid, "is no OID", "write one such as \"2.5.29.32.0\""},
    {"machine_stores", isAbsolute, kPath, kPathRemedy},
    {"user_stores", isAbsolute, kPath, kPathRemedy},
    {"system_bundle", isAbsolute, kPath, kPathRemedy},
    {"url_cache", isAbsoluteOrEmpty, kPath, kPathRemedy},
    {"cache", isServerOrEmpty, "is no address of a Redis server without a login",
     "write one such as \"redis://cache.example:6379/0\", and the login into cache_user and cache_password_file"},
    {"cache_password_file", isAbsoluteOrEmpty, kPath, kPathRemedy},
    {"cache_ca_file", isAbsoluteOrEmpty, kPath, kPathRemedy},
    {"cache_key_file", isAbsoluteOrEmpty, kPath, kPathRemedy},
};

ValueFault faultOfTexts(const Setting& setting) {
    for (const Form& form : kForms) {
        if (form.key != setting.name) {
            continue;
        }
        for (const std::string& text : textsOf(setting)) {
            if (!form.fits(text)) {
                return {": \"" + withoutLogin(text) + "\" " + form.fault, form.remedy};
            }
        }
    }
    return {};
}

// ---- Numbers --------------------------------------------------------------------------------------------------------

bool isAuthenticationType(const Setting& setting) {
    return std::string_view(setting.name).ends_with("TypeDefault");
}

ValueFault faultOfNumber(const Setting& setting) {
    long value = 0;
    if (support_registry_get_long(pathOf(setting).c_str(), &value) != 0) {
        return {};
    }
    const std::string given = " is " + std::to_string(value);
    if (isAuthenticationType(setting) && value != 0 && value != 1 && value != 2 && value != 8 && value != 16) {
        return {given + ", which is no way to authenticate",
                "write 0 (anonymous), 1 (basic), 2 (NTLM), 8 (digest) or 16 (negotiate)"};
    }
    if (value >= setting.lowest && value <= setting.highest) {
        return {};
    }
    const bool isUsed = setting.kind == SettingKind::kAnyNumber;
    const char* const effect = isUsed ? " and used all the same" : " and ignored";
    return {given + ", which is out of range" + effect,
            "write " + (setting.highest == LONG_MAX
                            ? std::to_string(setting.lowest) + " or more"
                            : std::to_string(setting.lowest) + " to " + std::to_string(setting.highest))};
}

}  // namespace

ValueFault faultOf(const Setting& setting) {
    switch (setting.kind) {
        case SettingKind::kNumber:
        case SettingKind::kAnyNumber:
            return faultOfNumber(setting);
        case SettingKind::kFlag:
            return {};
        default:
            return faultOfTexts(setting);
    }
}

}  // namespace tallow::cli
