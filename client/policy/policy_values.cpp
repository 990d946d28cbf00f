#include "client/policy/policy_values.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cwctype>
#include <new>
#include <string_view>
#include <utility>

#include "client/policy/address_text.h"
#include "client/policy/settings_scope.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/support/support_service.h"

namespace Orvane::PKI {
namespace {

constexpr std::size_t kSizePath = 100;

// The last error unconverted, unlike everywhere else: an administrator knows the numbers of the settings store.
[[noreturn]] void throwLastError() {
    const auto lastError = static_cast<std::int32_t>(GetLastError());
    ATL::AtlThrowImpl(lastError == 0 ? status::kFail : lastError);
}

// The key's path in the form of the settings store. Not a std::string: its size is part of the contract.
using Path = std::array<char, kSizePath>;

Path makePath(const wchar_t* section, const wchar_t* name) {
    std::wstring wide = L"\\config\\cades\\";
    wide.append(section).append(L"\\").append(name);
    Path path{};
    if (WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, path.data(), kSizePath, nullptr, nullptr) == 0) {
        throwLastError();
    }
    TALLOW_TRACE("Load", "Loading policy \"%s\" ...\n", path.data());
    return path;
}

std::string toUtf8(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) {
        throwLastError();
    }
    std::string narrow(static_cast<std::size_t>(size), '\0');
    if (WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), size, nullptr, nullptr) == 0) {
        throwLastError();
    }
    narrow.resize(narrow.size() - 1);
    return narrow;
}

// Both the text and the result include a terminator.
std::wstring widen(const std::string& text) {
    const auto sizeSource = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), sizeSource, nullptr, 0);
    if (size <= 0) {
        throwLastError();
    }
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    if (MultiByteToWideChar(CP_ACP, 0, text.data(), sizeSource, wide.data(), size) == 0) {
        throwLastError();
    }
    return wide;
}

using ReadText = int (*)(const char* path, std::size_t* size, char* buffer);

// Whether the key can be read. A thread that works without policy sees no key.
template <typename Read, typename... Arguments>
bool isFound(Read read, const Path& path, Arguments... arguments) {
    return !OCSP::Client::isPolicyIgnored() && read(path.data(), arguments...) == 0;
}

// The second reading of a text key: its octets and one terminator after them. Returns the store's error, 0 for none.
int readText(ReadText read, const Path& path, std::size_t size, std::string& value) {
    value.assign(size + 1, '\0');
    const std::size_t room = size;
    const int result = read(path.data(), &size, value.data());
    // The key may have become shorter between the two readings, but not longer than its buffer.
    value.resize((size < room ? size : room) + 1);
    value.back() = '\0';
    return result;
}

// A thumbprint in the form in which it is looked up.
std::wstring normalized(std::wstring_view element) {
    std::wstring text;
    text.reserve(element.size());
    for (const wchar_t c : element) {
        if (c != L' ') {
            text += static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(c)));
        }
    }
    return text;
}

}  // namespace

void CGPString::Load(wchar_t*& /*reserved*/, wchar_t*& section, const wchar_t* name) try {
    const Path path = makePath(section, name);
    std::size_t size = 0;
    if (!isFound(support_registry_get_string, path, &size, nullptr)) {
        TALLOW_TRACE("Load", "Loading policy \"%s\" ... param not found\n", path.data());
        return;
    }
    const std::string utf8Name = toUtf8(name);
    std::string value;
    if (const int result = readText(support_registry_get_string, path, size, value); result != 0) {
        TALLOW_TRACE("Load", "Loading policy failed \"%s\" ...\n", utf8Name.c_str());
        ATL::AtlThrowImpl(result);
    }
    value_ = widen(value).c_str();  // up to the first terminator
    // The value may be an address with a login.
    TALLOW_TRACE("Load", "Loading policy \"%s\" succeeded (%s).\n", utf8Name.c_str(),
                 toUtf8(OCSP::Client::withoutCredentials(widen(value)).c_str()).c_str());
} catch (const std::bad_alloc&) {
    ATL::AtlThrowImpl(status::kOutOfMemory);
}

void CGPLong::Load(wchar_t*& /*reserved*/, wchar_t*& section, const wchar_t* name, long defaultValue) try {
    const Path path = makePath(section, name);
    long value = 0;
    if (isFound(support_registry_get_long, path, &value)) {
        value_ = value;
        return;
    }
    value_ = defaultValue;
    TALLOW_TRACE("Load", "Loading default value of policy \"%s\" ...\n", path.data());
} catch (const std::bad_alloc&) {
    ATL::AtlThrowImpl(status::kOutOfMemory);
}

void CGPBool::Load(wchar_t*& /*reserved*/, wchar_t*& section, const wchar_t* name, bool defaultValue) try {
    const Path path = makePath(section, name);
    int value = 0;
    if (isFound(support_registry_get_bool, path, &value)) {
        value_ = value != 0;
        return;
    }
    value_ = defaultValue;
    TALLOW_TRACE("Load", "Loading default value of policy \"%s\" ...\n", path.data());
} catch (const std::bad_alloc&) {
    ATL::AtlThrowImpl(status::kOutOfMemory);
}

void CGPStrings::Load(wchar_t*& /*reserved*/, wchar_t*& section, const wchar_t* name, const wchar_t* /*partnerName*/,
                      bool normalize) try {
    Setted = false;
    const Path path = makePath(section, name);
    std::size_t size = 0;
    if (!isFound(support_registry_get_multi_string, path, &size, nullptr)) {
        TALLOW_TRACE("Load", "Loading multistring policy \"%s\" ... param not found\n", path.data());
        values_.clear();
        return;
    }
    std::string value;
    if (const int result = readText(support_registry_get_multi_string, path, size, value); result != 0) {
        TALLOW_TRACE("Load", "Loading multistring policy failed \"%s\" ...\n", path.data());
        ATL::AtlThrowImpl(result);
    }
    Setted = true;
    values_.clear();
    const std::wstring wide = widen(value);
    // The last unit is the terminator that readText added. It ends no element, or each list would contain an empty
    // text.
    std::wstring_view rest = std::wstring_view(wide).substr(0, wide.size() - 1);
    for (std::size_t end = rest.find(L'\0'); end != std::wstring_view::npos; end = rest.find(L'\0')) {
        const std::wstring_view element = rest.substr(0, end);
        values_.insert(normalize ? normalized(element) : std::wstring(element));
        rest.remove_prefix(end + 1);
    }
    TALLOW_TRACE("Load", "Loading multistring policy \"%s\" succeeded.\n", path.data());
} catch (const std::bad_alloc&) {
    ATL::AtlThrowImpl(status::kOutOfMemory);
}

bool CGPStrings::Find(const wchar_t* value) const {
    return values_.contains(std::wstring_view(value));
}

}  // namespace Orvane::PKI
