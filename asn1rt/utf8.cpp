#include "asn1rt/utf8.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <cwchar>

#include "asn1rt/memory_heap.h"
#include "asn1rt/status.h"

namespace {

constexpr std::size_t kMaxChars = 0x7FFFFFFF;

// The lead patterns of sequences of 2 to 6 octets.
constexpr std::uint8_t encoding_byte[5] = {0xC0, 0xE0, 0xF0, 0xF8, 0xFC};

// The octets a sequence takes by its lead; 0 for an octet that cannot lead.
std::uint32_t sizeByLead(std::uint8_t lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC0 || lead >= 0xFE) {
        return 0;
    }
    std::uint32_t size = 2;
    while (size < 6 && lead >= encoding_byte[size - 1]) {
        ++size;
    }
    return size;
}

// Reads the sequence of `size` octets that `lead` begins, as far as `available` goes; -1 for a wrong continuation.
std::int32_t readSequence(const std::uint8_t* text, std::uint32_t size, std::uint32_t available) {
    std::uint32_t value = size == 1 ? *text : *text & (0xFFU >> (size + 1));
    for (std::uint32_t i = 1; i < size && i < available; ++i) {
        if ((text[i] & 0xC0) != 0x80) {
            return -1;
        }
        value = (value << 6) | (text[i] & 0x3F);
    }
    return static_cast<std::int32_t>(value);
}

bool isKept(std::uint32_t character, const RtCharacterSet* constraint) {
    if (constraint == nullptr) {
        return true;
    }
    if (character < constraint->lowest || character > constraint->highest) {
        return false;
    }
    if (constraint->count == 0 || constraint->characters == nullptr) {
        return true;
    }
    const std::uint32_t* const end = constraint->characters + constraint->count;
    return std::find(constraint->characters, end, character) != end;
}

std::uint32_t codeOf(std::uint8_t octet) {
    return octet;
}
std::uint32_t codeOf(wchar_t character) {
    return std::bit_cast<std::uint32_t>(character);
}

// One 32-bit character from each of `count` units.
template <typename Unit>
int makeUcsString(ASN1CTXT* ctx, const Unit* units, std::size_t count, ASN1T32BitCharStr* string,
                  const RtCharacterSet* constraint) {
    string->nchars = 0;
    string->data = nullptr;
    if (count == 0) {
        return 0;
    }
    if (ctx == nullptr || count > kMaxChars / sizeof(std::uint32_t)) {
        return STATUS_NO_MEMORY;
    }
    const auto size = static_cast<std::uint32_t>(count * sizeof(std::uint32_t));
    auto* characters = static_cast<std::uint32_t*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, size));
    if (characters == nullptr) {
        return STATUS_NO_MEMORY;
    }
    string->data = characters;
    for (std::size_t i = 0; i < count; ++i) {
        const auto character = codeOf(units[i]);
        if (isKept(character, constraint)) {
            characters[string->nchars++] = character;
        }
    }
    return 0;
}

}  // namespace

extern "C" {

int rtUTF8CharSize(std::int32_t character) noexcept {
    const auto value = static_cast<std::uint32_t>(character);
    if (value < 0x80) {
        return 1;
    }
    if (value < 0x800) {
        return 2;
    }
    if (value < 0x10000) {
        return 3;
    }
    if (value < 0x200000) {
        return 4;
    }
    return value < 0x4000000 ? 5 : 6;
}

int rtUTF8EncodeChar(std::int32_t character, std::uint8_t* destination, std::uint32_t capacity) noexcept {
    if (character < 0 || destination == nullptr) {
        return STATUS_BAD_UTF8;
    }
    const int size = rtUTF8CharSize(character);
    if (static_cast<std::uint32_t>(size) > capacity) {
        return -1;
    }
    auto value = static_cast<std::uint32_t>(character);
    for (int i = size - 1; i > 0; --i) {
        destination[i] = static_cast<std::uint8_t>(0x80 | (value & 0x3F));
        value >>= 6;
    }
    destination[0] = static_cast<std::uint8_t>(size == 1 ? value : value | encoding_byte[size - 2]);
    return size;
}

std::int32_t rtUTF8DecodeChar(ASN1CTXT* /*ctx*/, const std::uint8_t* text, std::uint32_t* size) noexcept {
    if (text == nullptr || size == nullptr || *size == 0) {
        return STATUS_BAD_UTF8;
    }
    const std::uint32_t needed = sizeByLead(*text);
    const std::uint32_t available = *size;
    if (needed == 0) {
        *size = 0;
        return STATUS_BAD_UTF8;
    }
    *size = std::min(needed, available);
    const std::int32_t character = readSequence(text, needed, available);
    return character < 0 || needed > available ? STATUS_BAD_UTF8 : character;
}

int rtUTF8Len(const char* text) noexcept {
    if (text == nullptr) {
        return 0;
    }
    // A last lead may promise octets after the NUL; stepping by lead stops at the true end.
    const std::size_t end = std::strlen(text);
    int count = 0;
    for (std::size_t i = 0; i < end; ++count) {
        const std::uint32_t size = sizeByLead(static_cast<std::uint8_t>(text[i]));
        if (size == 0) {
            return STATUS_BAD_UTF8;
        }
        i += size;
    }
    return count;
}

std::uint32_t rtUTF8LenBytes(const char* text) noexcept {
    return text == nullptr ? 0 : static_cast<std::uint32_t>(std::strlen(text));
}

char* rtUTF8Strdup(ASN1CTXT* ctx, const char* text) noexcept {
    if (ctx == nullptr) {
        return nullptr;
    }
    const std::size_t length = text == nullptr ? 0 : std::strlen(text);
    if (length >= kMaxChars) {
        return nullptr;
    }
    auto* copy = static_cast<char*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, static_cast<std::uint32_t>(length + 1)));
    if (copy != nullptr) {
        std::copy_n(text, length, copy);
        copy[length] = '\0';
    }
    return copy;
}

int rtUTF8ToWCS(ASN1CTXT* /*ctx*/, const char* text, wchar_t* destination, std::uint32_t capacity) noexcept {
    if (text == nullptr) {
        return STATUS_BAD_UTF8;
    }
    const auto* octets = reinterpret_cast<const std::uint8_t*>(text);
    std::size_t left = std::strlen(text);
    std::uint32_t count = 0;
    while (left != 0) {
        const std::uint32_t size = sizeByLead(*octets);
        if (size == 0) {
            return STATUS_BAD_UTF8;
        }
        if (destination != nullptr && count == capacity) {
            return -1;
        }
        const auto available = static_cast<std::uint32_t>(std::min<std::size_t>(left, size));
        const std::int32_t character = readSequence(octets, size, available);
        if (character < 0) {
            return STATUS_BAD_UTF8;
        }
        if (destination != nullptr) {
            destination[count] = static_cast<wchar_t>(character);
        }
        ++count;
        octets += available;
        left -= available;
    }
    if (destination != nullptr && count < capacity) {
        destination[count] = L'\0';
    }
    return static_cast<int>(count);
}

int rtWCSToUTF8(ASN1CTXT* /*ctx*/, const wchar_t* source, std::uint32_t count, char* destination,
                std::uint32_t capacity) noexcept {
    if ((source == nullptr && count != 0) || destination == nullptr) {
        return STATUS_BAD_UTF8;
    }
    std::uint32_t used = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto character = std::bit_cast<std::int32_t>(source[i]);
        if (character < 0) {
            return STATUS_BAD_UTF8;
        }
        // One octet less than there is: the last one stays free for a NUL.
        const std::uint32_t room = capacity == 0 ? 0 : capacity - 1 - used;
        const int size = rtUTF8EncodeChar(character, reinterpret_cast<std::uint8_t*>(destination) + used, room);
        if (size < 0) {
            return size;
        }
        used += static_cast<std::uint32_t>(size);
    }
    return static_cast<int>(used);
}

int rtCToUCSString(ASN1CTXT* ctx, const char* text, ASN1T32BitCharStr* string,
                   const RtCharacterSet* constraint) noexcept {
    if (text == nullptr || string == nullptr) {
        return STATUS_BAD_ARGUMENT;
    }
    return makeUcsString(ctx, reinterpret_cast<const std::uint8_t*>(text), std::strlen(text), string, constraint);
}

int rtWCSToUCSString(ASN1CTXT* ctx, const wchar_t* text, ASN1T32BitCharStr* string,
                     const RtCharacterSet* constraint) noexcept {
    if (text == nullptr || string == nullptr) {
        return STATUS_BAD_ARGUMENT;
    }
    return makeUcsString(ctx, text, std::wcslen(text), string, constraint);
}

wchar_t* rtUCSToWCSString(const ASN1T32BitCharStr* string, wchar_t* destination, std::uint32_t capacity) noexcept {
    if (string == nullptr || destination == nullptr) {
        return destination;
    }
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < string->nchars && count < capacity; ++i) {
        if (string->data[i] < 0x10000) {
            destination[count++] = static_cast<wchar_t>(string->data[i]);
        }
    }
    if (count < capacity) {
        destination[count] = L'\0';
    }
    return destination;
}

}  // extern "C"
