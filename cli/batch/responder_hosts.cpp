#include "cli/batch/responder_hosts.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "asn1/codec/tlv_reader.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

using namespace Orvane::ASN1;

// More are not asked (setting max_responders), whatever a certificate contains.
constexpr std::size_t kMostHosts = 16;

void add(std::vector<std::string>& hosts, std::string host) {
    if (!host.empty() && hosts.size() < kMostHosts && std::find(hosts.begin(), hosts.end(), host) == hosts.end()) {
        hosts.push_back(std::move(host));
    }
}

}  // namespace

std::string hostOf(const std::string& url) {
    std::string text = url;
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const bool isSecure = text.starts_with("https://");
    if (!isSecure && !text.starts_with("http://")) {
        return {};
    }
    const std::size_t begin = text.find("://") + 3;
    std::string authority = text.substr(begin, text.find_first_of("/?#", begin) - begin);
    authority.erase(0, authority.rfind('@') + 1);
    const std::size_t colon = authority.rfind(':');
    const bool hasPort = colon != std::string::npos && authority.find(']', colon) == std::string::npos;
    return authority.empty() || hasPort ? authority : authority + (isSecure ? ":443" : ":80");
}

std::vector<std::string> responderHostsOf(const ATL2::CCertContext& certificate) {
    constexpr std::string_view kInformationAccess = "1.3.6.1.5.5.7.1.1";
    constexpr unsigned char kOcsp[] = {0x2B, 0x06, 0x01, 0x05, 0x05, 0x07, 0x30, 0x01};  // 1.3.6.1.5.5.7.48.1
    constexpr std::uint32_t kAddress = 6;                                                // of a GeneralName
    const CERT_INFO& info = *certificate->pCertInfo;
    std::vector<std::string> hosts;
    for (DWORD i = 0; i < info.cExtension; ++i) {
        const CERT_EXTENSION& extension = info.rgExtension[i];
        if (kInformationAccess != extension.pszObjId) {
            continue;
        }
        TlvReader descriptions(TlvReader(Octets(extension.Value.pbData, extension.Value.cbData)).next());
        while (const std::optional<TlvElement> description = descriptions.next()) {
            TlvReader members(*description);
            const std::optional<TlvElement> method = members.nextIf(TlvElement::kObjectIdentifier);
            const std::optional<TlvElement> location = members.nextIf(TlvElement::context(kAddress));
            if (method && location &&
                std::equal(method->content.begin(), method->content.end(), std::begin(kOcsp), std::end(kOcsp))) {
                add(hosts, hostOf({location->content.begin(), location->content.end()}));
            }
        }
    }
    return hosts;
}

}  // namespace tallow::cli
