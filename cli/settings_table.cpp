#include "cli/settings_table.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <vector>

#include "cli/safe_text.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

namespace {

constexpr const char* kPolicy = "config.cades.ocsppolicy";
constexpr const char* kBasalt = "config.Basalt";
constexpr const char* kCache = "config.Basalt.cache_settings";
constexpr const char* kCrypto = "crypto";
constexpr const char* kTrace = "trace";

constexpr long kLowest = std::numeric_limits<long>::min();
constexpr long kHighest = std::numeric_limits<long>::max();
constexpr long kLongestMs = 600000;
constexpr long kLargestBody = 256L << 20;
constexpr long kTenYears = 10L * 365 * 24 * 3600;  // in seconds

constexpr long kLongestNonce = 65535;
constexpr long kHighestAuthType = 16;
constexpr long kLargestAccuracyMs = 429496;  // in units of 100 nanoseconds it fits 32 bits

constexpr const char* kUserStores = "user_stores";
constexpr const char* kUrlCache = "url_cache";

constexpr Setting number(const char* table, const char* name, const char* byDefault, long lowest = kLowest,
                         long highest = kHighest) {
    return {table, name, SettingKind::kNumber, byDefault, lowest, highest};
}
// What policy prescribes is taken as it stands, whatever the bounds.
constexpr Setting policyNumber(const char* name, const char* byDefault, long lowest, long highest) {
    return {kPolicy, name, SettingKind::kNumber, byDefault, lowest, highest, true};
}
constexpr Setting flag(const char* table, const char* name, const char* byDefault) {
    return {table, name, SettingKind::kFlag, byDefault, 0, 0};
}
constexpr Setting text(const char* table, const char* name, const char* byDefault) {
    return {table, name, SettingKind::kText, byDefault, 0, 0};
}
constexpr Setting texts(const char* table, const char* name) {
    return {table, name, SettingKind::kTexts, nullptr, 0, 0};
}

constexpr Setting kSettings[] = {
    text(kPolicy, "CertIDHashAlg", "\"\""),
    policyNumber("CertsToInclude", "-1", -1, 3),
    policyNumber("NonceLength", "8", 0, kLongestNonce),
    flag(kPolicy, "UseNonceByDefault", "true"),
    flag(kPolicy, "DisableNonce", "false"),
    flag(kPolicy, "RequireNonce", "false"),
    flag(kPolicy, "UseAcceptRespByDefault", "false"),
    flag(kPolicy, "DisableAcceptResp", "false"),
    flag(kPolicy, "RequireAcceptResp", "false"),
    flag(kPolicy, "DisableUnsignedRequests", "false"),
    flag(kPolicy, "DisableSignedRequests", "false"),
    policyNumber("ResponseAccuracy", "180000", 0, kLargestAccuracyMs),
    policyNumber("ThisUpdateAccuracyUnits", "7", 1, std::numeric_limits<std::int32_t>::max()),
    text(kPolicy, "ThisUpdateAccuracy", "\"\""),
    text(kPolicy, "DefaultOCSPURL", "\"\""),
    text(kPolicy, "DefaultProxy", "\"\""),
    texts(kPolicy, "AllowedOCSPs"),
    texts(kPolicy, "DeniedOCSPs"),
    texts(kPolicy, "AllowedProxies"),
    flag(kPolicy, "IssuerPropAIADisabled", "false"),
    texts(kPolicy, "AuthorizedOCSPs"),
    texts(kPolicy, "NocheckOCSPs"),
    policyNumber("AuthTypeDefault", "0", 0, kHighestAuthType),
    policyNumber("AuthSSLTypeDefault", "0", 0, kHighestAuthType),
    policyNumber("ProxyAuthTypeDefault", "0", 0, kHighestAuthType),
    policyNumber("ProxyAuthSSLTypeDefault", "0", 0, kHighestAuthType),
    flag(kPolicy, "AuthSSLDenyAnonym", "false"),
    flag(kPolicy, "AuthSSLDenyBasic", "false"),
    flag(kPolicy, "AuthSSLDenyDigest", "false"),
    flag(kPolicy, "AuthSSLDenyNTLM", "false"),
    flag(kPolicy, "AuthSSLDenyNegotiate", "false"),
    flag(kPolicy, "AuthDenyAnonym", "false"),
    flag(kPolicy, "AuthDenyBasic", "false"),
    flag(kPolicy, "AuthDenyDigest", "false"),
    flag(kPolicy, "AuthDenyNTLM", "false"),
    flag(kPolicy, "AuthDenyNegotiate", "false"),
    flag(kPolicy, "ProxyAuthSSLDenyAnonym", "false"),
    flag(kPolicy, "ProxyAuthSSLDenyBasic", "false"),
    flag(kPolicy, "ProxyAuthSSLDenyDigest", "false"),
    flag(kPolicy, "ProxyAuthSSLDenyNTLM", "false"),
    flag(kPolicy, "ProxyAuthSSLDenyNegotiate", "false"),
    flag(kPolicy, "ProxyAuthDenyAnonym", "false"),
    flag(kPolicy, "ProxyAuthDenyBasic", "false"),
    flag(kPolicy, "ProxyAuthDenyDigest", "false"),
    flag(kPolicy, "ProxyAuthDenyNTLM", "false"),
    flag(kPolicy, "ProxyAuthDenyNegotiate", "false"),
    flag(kPolicy, "LegacyPolicyReading", "false"),
    number(kBasalt, "SendRequestTimeoutMilliseconds", "5000", 0),
    number(kCache, "OcspValiditySeconds", nullptr, 1),
    text(kCrypto, "machine_stores", "\"/etc/tallow/stores\""),
    text(kCrypto, kUserStores, nullptr),
    flag(kCrypto, "system_roots", "true"),
    text(kCrypto, "system_bundle", "\"/etc/ssl/certs/ca-certificates.crt\""),
    flag(kCrypto, "accept_sha1", "false"),
    texts(kCrypto, "required_policies"),
    text(kCrypto, kUrlCache, nullptr),
    number(kCrypto, "connect_timeout_ms", "5000", 1, kLongestMs),
    number(kCrypto, "exchange_timeout_ms", "15000", 1, kLongestMs),
    number(kCrypto, "max_response_bytes", "1048576", 1, kLargestBody),
    number(kCrypto, "max_header_bytes", "65536", 1, kLargestBody),
    number(kCrypto, "max_redirects", "3", 0, 20),
    number(kCrypto, "chain_fetch_timeout_ms", "15000", 1, kLongestMs),
    number(kCrypto, "max_chain_fetches", "8", 0, 100),
    number(kCrypto, "max_crl_bytes", "16777216", 1, kLargestBody),
    number(kCrypto, "max_crl_age", nullptr, 1, kTenYears),
    number(kCrypto, "crl_cache_max_age", "86400", 0, kTenYears),
    number(kCrypto, "check_timeout_ms", "60000", 1, kLongestMs),
    number(kCrypto, "max_responders", "8", 1, 100),
    flag(kCrypto, "refuse_private_addresses", "false"),
    flag(kTrace, "enabled", "false"),
    number(kTrace, "levels", "127"),
    text(kTrace, "file", "\"\""),
};

// ---- Reading --------------------------------------------------------------------------------------------------------

// "config.Basalt" and "Name" are "\config\Basalt\Name" to the service.
std::string pathOf(const Setting& setting) {
    std::string path = std::string("\\") + setting.table + "\\" + setting.name;
    for (char& c : path) {
        c = c == '.' ? '\\' : c;
    }
    return path;
}

std::optional<std::string> readBytes(int (*read)(const char*, size_t*, char*), const std::string& path) {
    size_t size = 0;
    if (read(path.c_str(), &size, nullptr) != 0) {
        return std::nullopt;
    }
    std::string value(size + 1, '\0');
    if (read(path.c_str(), &size, value.data()) != 0) {
        return std::nullopt;
    }
    value.resize(size);
    return value;
}

// A basic string: what TOML does not allow in it as it stands is escaped. The password of an address is left out.
std::string quoted(std::string_view value) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string toml = "\"";
    for (const char c : withoutLogin(value)) {
        const auto octet = static_cast<unsigned char>(c);
        if (octet < 0x20 || octet == 0x7F) {
            toml += std::string("\\u00") + kDigits[octet >> 4U] + kDigits[octet & 0x0FU];
            continue;
        }
        toml += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return toml + '"';
}

// Strings one behind the other, each with its terminator.
std::string quotedList(std::string_view value) {
    std::string toml = "[";
    while (!value.empty()) {
        const std::string_view element = value.substr(0, value.find('\0'));
        toml += (toml.size() == 1 ? "" : ", ") + quoted(element);
        value.remove_prefix(element.size() + 1);
    }
    return toml + "]";
}

SettingValue readNumber(const Setting& setting) {
    long value = 0;
    if (support_registry_get_long(pathOf(setting).c_str(), &value) != 0) {
        return {};
    }
    const bool fits = value >= setting.lowest && value <= setting.highest;
    const bool isTaken = fits || setting.takesAny;
    return {isTaken ? std::to_string(value) : "", isTaken, !isTaken, isTaken && !fits};
}

SettingValue readFlag(const Setting& setting) {
    int value = 0;
    if (support_registry_get_bool(pathOf(setting).c_str(), &value) != 0) {
        return {};
    }
    return {value != 0 ? "true" : "false", true, false};
}

SettingValue readTexts(const Setting& setting) {
    const bool isList = setting.kind == SettingKind::kTexts;
    const std::optional<std::string> value =
        readBytes(isList ? support_registry_get_multi_string : support_registry_get_string, pathOf(setting));
    if (!value) {
        return {};
    }
    return {isList ? quotedList(*value) : quoted(*value), true, false};
}

SettingValue read(const Setting& setting) {
    switch (setting.kind) {
        case SettingKind::kNumber:
            return readNumber(setting);
        case SettingKind::kFlag:
            return readFlag(setting);
        default:
            return readTexts(setting);
    }
}

// A folder of the user's by the rules for base directories, as the Crypto service takes it.
std::string userFolder(const char* variable, const char* inHome, const char* folder) {
    if (const char* base = secure_getenv(variable); base != nullptr && *base == '/') {
        return std::string(base) + folder;
    }
    const char* home = secure_getenv("HOME");
    return home == nullptr || *home != '/' ? std::string() : std::string(home) + inHome + folder;
}

std::string defaultStores() {
    return userFolder("XDG_DATA_HOME", "/.local/share", "/tallow/stores");
}

std::string defaultToml(const Setting& setting) {
    const std::string_view name = setting.name;
    if (name == kUserStores || name == kUrlCache) {
        const std::string folder =
            name == kUserStores ? defaultStores() : userFolder("XDG_CACHE_HOME", "/.cache", "/tallow/ocsp");
        return folder.empty() ? "" : quoted(folder);
    }
    return setting.byDefault == nullptr ? "" : setting.byDefault;
}

}  // namespace

std::span<const Setting> allSettings() {
    return kSettings;
}

SettingValue valueOf(const Setting& setting) {
    SettingValue value = read(setting);
    if (!value.isSet) {
        value.toml = defaultToml(setting);
    }
    return value;
}

std::string storesFolder(bool machine) {
    const std::optional<std::string> folder =
        readBytes(support_registry_get_string, machine ? "\\crypto\\machine_stores" : "\\crypto\\user_stores");
    return folder ? *folder : (machine ? std::string("/etc/tallow/stores") : defaultStores());
}

}  // namespace tallow::cli
