#include "asn1/text/text_conversions.h"

#include "handles/last_error.h"
#include "platform/support/support_service.h"

namespace Orvane::ASN1 {

namespace {

constexpr unsigned int kCodePage = 0;
constexpr int kWithTerminator = -1;

}  // namespace

std::string tostring(const wchar_t* text) {
    if (text == nullptr || *text == L'\0') {
        return {};
    }
    const int size = WideCharToMultiByte(kCodePage, 0, text, kWithTerminator, nullptr, 0, nullptr, nullptr);
    if (size <= 0) {
        ATL2::throwLastErrorOrFail();
    }
    std::string narrow(static_cast<std::size_t>(size), '\0');
    const int written = WideCharToMultiByte(kCodePage, 0, text, kWithTerminator, narrow.data(), size, nullptr, nullptr);
    if (written <= 0) {
        ATL2::throwLastErrorOrFail();
    }
    narrow.resize(static_cast<std::size_t>(written) - 1);
    return narrow;
}

std::string tostring(const unsigned short* text) {
    std::wstring wide;
    for (; text != nullptr && *text != 0; ++text) {
        wide.push_back(static_cast<wchar_t>(*text));
    }
    return tostring(wide.c_str());
}

std::wstring towstring(const char* text) {
    if (text == nullptr || *text == '\0') {
        return {};
    }
    const int size = MultiByteToWideChar(kCodePage, 0, text, kWithTerminator, nullptr, 0);
    if (size <= 0) {
        ATL2::throwLastErrorOrFail();
    }
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    const int written = MultiByteToWideChar(kCodePage, 0, text, kWithTerminator, wide.data(), size);
    if (written <= 0) {
        ATL2::throwLastErrorOrFail();
    }
    wide.resize(static_cast<std::size_t>(written) - 1);
    return wide;
}

std::string tostring(int number) {
    return std::to_string(number);
}

std::wstring towstring(int number) {
    return std::to_wstring(number);
}

}  // namespace Orvane::ASN1
