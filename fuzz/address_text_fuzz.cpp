// Addresses as in certificates and redirects: the check before an exchange finds every login that the exchange would
// find, and the password is never shown.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "client/policy/address_text.h"
#include "platform/crypto/network/address_rules.h"
#include "platform/crypto/network/http_address.h"

using namespace Orvane::PKI::OCSP::Client;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text;
    for (size_t i = 0; i < size && data[i] != 0; ++i) {
        text += static_cast<char>(data[i] & 0x7F);  // the two sides may read other characters differently
    }
    text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
    const std::wstring wide(text.begin(), text.end());
    const std::wstring shown = withoutCredentials(wide);
    if (withoutCredentials(shown) != shown || normalForm(normalForm(wide)) != normalForm(wide)) {
        abort();
    }
    tallow::platform::HttpAddress address;
    if (tallow::platform::parseHttpAddress(text, address) != 0) {
        return 0;
    }
    static_cast<void>(tallow::platform::classOfHost(address.host));
    tallow::platform::HttpAddress again;
    const bool isClean = tallow::platform::parseHttpAddress(address.url, again) == 0 && again.login.empty();
    if (!isClean || (!address.login.empty() && !hasCredentials(wide))) {
        abort();
    }
    return 0;
}
