// UTF-8 to and from 32-bit characters. The C library's converters depend on the locale of the process, which a library
// must not set, so both directions are implemented here.
#include <climits>
#include <cstdint>
#include <cstring>
#include <cwchar>

#include "platform/support/support_service.h"

namespace {

constexpr wchar_t kReplacement = 0xFFFD;
constexpr size_t kMaximumSize = INT_MAX;

int fail(DWORD code) {
    SetLastError(code);
    return 0;
}

bool isCodePoint(uint32_t value) {
    return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

struct Decoded {
    wchar_t character;
    size_t size;  // octets consumed
    bool valid;
};

// The least continuation and lead octets that keep out overlong forms, surrogates and what lies beyond U+10FFFF: only
// the first continuation octet depends on the lead.
bool isFirstContinuation(BYTE lead, BYTE octet) {
    switch (lead) {
        case 0xE0:
            return octet >= 0xA0 && octet <= 0xBF;
        case 0xED:
            return octet >= 0x80 && octet <= 0x9F;
        case 0xF0:
            return octet >= 0x90 && octet <= 0xBF;
        case 0xF4:
            return octet >= 0x80 && octet <= 0x8F;
        default:
            return octet >= 0x80 && octet <= 0xBF;
    }
}

// The character at the front of `size` octets, at least one. What cannot go on becomes one replacement character for
// the octets that still could have.
Decoded decode(const BYTE* text, size_t size) {
    const BYTE lead = text[0];
    if (lead < 0x80) {
        return {static_cast<wchar_t>(lead), 1, true};
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return {kReplacement, 1, false};
    }
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    uint32_t value = lead & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) {
        const bool fits = i < size && (i == 1 ? isFirstContinuation(lead, text[1]) : (text[i] & 0xC0) == 0x80);
        if (!fits) {
            return {kReplacement, i, false};
        }
        value = value << 6 | (text[i] & 0x3FU);
    }
    return {static_cast<wchar_t>(value), length, true};
}

size_t encode(uint32_t value, BYTE (&octets)[4]) {
    if (value < 0x80) {
        octets[0] = static_cast<BYTE>(value);
        return 1;
    }
    const size_t length = value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
    for (size_t i = length - 1; i > 0; --i) {
        octets[i] = static_cast<BYTE>(0x80 | (value & 0x3F));
        value >>= 6;
    }
    octets[0] = static_cast<BYTE>((0xF00U >> length & 0xF0) | value);
    return length;
}

bool badArguments(UINT codePage, const void* source, int sizeSource, const void* target, int sizeTarget) {
    return (codePage != CP_ACP && codePage != CP_UTF8) || source == nullptr || sizeSource == 0 || sizeSource < -1 ||
           sizeTarget < 0 || (target == nullptr && sizeTarget != 0);
}

}  // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, const char* source, int sizeSource, wchar_t* target,
                        int sizeTarget) {
    if (badArguments(codePage, source, sizeSource, target, sizeTarget)) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if ((flags & ~MB_ERR_INVALID_CHARS) != 0) {
        return fail(ERROR_INVALID_FLAGS);
    }
    const size_t size = sizeSource == -1 ? std::strlen(source) + 1 : static_cast<size_t>(sizeSource);
    if (size > kMaximumSize) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const BYTE* const octets = reinterpret_cast<const BYTE*>(source);
    const size_t room = static_cast<size_t>(sizeTarget);
    size_t written = 0;
    for (size_t position = 0; position < size;) {
        const Decoded next = decode(octets + position, size - position);
        if (!next.valid && (flags & MB_ERR_INVALID_CHARS) != 0) {
            return fail(ERROR_NO_UNICODE_TRANSLATION);
        }
        if (room != 0) {
            if (written == room) {
                return fail(ERROR_INSUFFICIENT_BUFFER);
            }
            target[written] = next.character;
        }
        ++written;
        position += next.size;
    }
    return static_cast<int>(written);
}

int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* source, int sizeSource, char* target, int sizeTarget,
                        const char* defaultChar, BOOL* usedDefaultChar) {
    if (badArguments(codePage, source, sizeSource, target, sizeTarget) || defaultChar != nullptr ||
        usedDefaultChar != nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if ((flags & ~WC_ERR_INVALID_CHARS) != 0) {
        return fail(ERROR_INVALID_FLAGS);
    }
    const size_t size = sizeSource == -1 ? std::wcslen(source) + 1 : static_cast<size_t>(sizeSource);
    const size_t room = static_cast<size_t>(sizeTarget);
    size_t written = 0;
    for (size_t i = 0; i < size; ++i) {
        // A wide unit below 0 is no character and becomes a number beyond the last.
        // NOLINTNEXTLINE(bugprone-signed-char-misuse)
        uint32_t value = static_cast<uint32_t>(source[i]);
        if (!isCodePoint(value)) {
            if ((flags & WC_ERR_INVALID_CHARS) != 0) {
                return fail(ERROR_NO_UNICODE_TRANSLATION);
            }
            value = kReplacement;
        }
        BYTE octets[4];
        const size_t length = encode(value, octets);
        if (room != 0) {
            if (length > room - written) {
                return fail(ERROR_INSUFFICIENT_BUFFER);
            }
            std::memcpy(target + written, octets, length);
        }
        written += length;
        if (written > kMaximumSize) {
            return fail(ERROR_INVALID_PARAMETER);
        }
    }
    return static_cast<int>(written);
}
