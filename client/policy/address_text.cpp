#include "client/policy/address_text.h"

#include <algorithm>

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr std::size_t kNowhere = std::wstring_view::npos;

wchar_t lower(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
}

bool beginsWith(std::wstring_view text, std::wstring_view word) {
    return text.size() >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin(), [](wchar_t a, wchar_t b) { return a == lower(b); });
}

// Where the authority begins: after "http:" or "https:" in any case and all slashes of either kind.
std::size_t authorityOf(std::wstring_view address) {
    std::size_t start = 0;
    for (std::wstring_view scheme : {std::wstring_view(L"http:"), std::wstring_view(L"https:")}) {
        start = beginsWith(address, scheme) ? scheme.size() : start;
    }
    return std::min(address.find_first_not_of(L"/\\", start), address.size());
}

// The end of the last "@", which may be escaped, even several times: "%40", "%2540". kNowhere when there is none.
std::size_t endOfLastAt(std::wstring_view text) {
    for (std::size_t i = text.size(); i-- > 0;) {
        if (text[i] == L'@' || text[i] == L'\xFF20' || text[i] == L'\xFE6B') {  // wide forms that libcurl may map
            return i + 1;
        }
        if (text[i] != L'%') {
            continue;
        }
        std::size_t code = i + 1;
        while (text.substr(code, 2) == L"25") {
            code += 2;
        }
        if (text.substr(code, 2) == L"40") {
            return code + 2;
        }
    }
    return kNowhere;
}

}  // namespace

std::wstring withoutCredentials(std::wstring_view address) {
    const std::size_t start = authorityOf(address);
    const std::size_t end = endOfLastAt(address.substr(start));
    if (end == kNowhere) {
        return std::wstring(address);
    }
    return std::wstring(address.substr(0, start)) + L"***@" + std::wstring(address.substr(start + end));
}

bool hasCredentials(std::wstring_view address) {
    const std::wstring_view rest = address.substr(authorityOf(address));
    return rest.substr(0, rest.find_first_of(L"/?#")).find(L'@') != kNowhere;
}

std::wstring normalForm(std::wstring_view address) {
    const bool isHttps = beginsWith(address, L"https://");
    if (!isHttps && !beginsWith(address, L"http://")) {
        return std::wstring(address);
    }
    address = address.substr(0, address.find(L'#'));
    const std::size_t start = isHttps ? 8 : 7;
    const std::size_t end = std::min(address.find_first_of(L"/?", start), address.size());
    std::wstring head(address.substr(0, end));
    std::transform(head.begin(), head.end(), head.begin(), lower);
    const std::wstring_view port = isHttps ? L":443" : L":80";
    for (std::size_t before = 0; before != head.size();) {
        before = head.size();
        if (head.ends_with(port)) {
            head.resize(head.size() - port.size());
        }
        if (head.size() > start && head.back() == L'.') {
            head.pop_back();
        }
    }
    const std::wstring_view path = address.substr(end);
    return head + (path.starts_with(L'/') ? L"" : L"/") + std::wstring(path);
}

}  // namespace Orvane::PKI::OCSP::Client
