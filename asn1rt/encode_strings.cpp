#include "asn1rt/encode_strings.h"

#include "asn1rt/encode_core.h"

namespace {

int withTag(ASN1CTXT* ctx, ASN1TAG tag, ASN1TagType tagType, int length) {
    return tagType == TAG_EXPLICIT ? xe_tag_len(ctx, tag, length) : length;
}

/// Where `count` characters of `width` octets go; `length` receives the octets. Null with a status in `length` when
/// there is no room.
std::uint8_t* claimCharacters(ASN1CTXT* ctx, std::uint32_t count, std::uint32_t width, int* length) {
    const std::uint64_t octets = std::uint64_t{count} * width;
    *length =
        octets <= MEM_HEAP_MAX_REQUEST ? encoding::reserve(ctx, static_cast<std::uint32_t>(octets)) : STATUS_NO_MEMORY;
    if (*length != 0) {
        return nullptr;
    }
    *length = static_cast<int>(octets);
    return encoding::claim(ctx, static_cast<std::uint32_t>(octets));
}

template <typename String>
int writeWide(ASN1CTXT* ctx, const String* string, ASN1TagType tagType, ASN1TAG tag) {
    constexpr std::uint32_t kWidth = sizeof(*string->data);
    if (string == nullptr || (string->data == nullptr && string->nchars != 0)) {
        return STATUS_BAD_VALUE;
    }
    int length = 0;
    std::uint8_t* out = claimCharacters(ctx, string->nchars, kWidth, &length);
    if (out == nullptr) {
        return length;
    }
    for (std::uint32_t i = 0; i < string->nchars; ++i) {
        const std::uint32_t character = string->data[i];
        for (std::uint32_t shift = kWidth * 8; shift != 0; shift -= 8) {
            *out++ = static_cast<std::uint8_t>(character >> (shift - 8));
        }
    }
    return withTag(ctx, tag, tagType, length);
}

}  // namespace

extern "C" {

int xe_octstr(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t numocts, ASN1TagType tagType) noexcept {
    const int length = data != nullptr ? xe_memcpy(ctx, data, numocts) : 0;
    return withTag(ctx, kTagOctetString, tagType, length);
}

int xe_bitstr(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t numbits, ASN1TagType tagType) noexcept {
    if (data == nullptr && numbits != 0) {
        return 0;
    }
    const std::uint32_t octets = numbits / 8 + (numbits % 8 != 0 ? 1 : 0);
    const int status = encoding::reserve(ctx, octets + 1);
    if (status != 0) {
        return status;
    }
    std::uint8_t* place = encoding::claim(ctx, octets + 1);
    *place = numbits % 8 != 0 ? static_cast<std::uint8_t>(8 - numbits % 8) : 0;
    if (octets != 0) {
        std::memcpy(place + 1, data, octets);
    }
    return withTag(ctx, kTagBitString, tagType, static_cast<int>(octets + 1));
}

int xe_charstr(ASN1CTXT* ctx, const char* text, ASN1TagType tagType, ASN1TAG tag) noexcept {
    if (text == nullptr) {
        return STATUS_BAD_VALUE;
    }
    const std::size_t length = std::strlen(text);
    if (length > MEM_HEAP_MAX_REQUEST) {
        return STATUS_NO_MEMORY;
    }
    return withTag(ctx, tag, tagType, xe_memcpy(ctx, text, static_cast<std::uint32_t>(length)));
}

int xe_16BitCharStr(ASN1CTXT* ctx, const ASN1T16BitCharStr* string, ASN1TagType tagType, ASN1TAG tag) noexcept {
    return writeWide(ctx, string, tagType, tag);
}

int xe_32BitCharStr(ASN1CTXT* ctx, const ASN1T32BitCharStr* string, ASN1TagType tagType, ASN1TAG tag) noexcept {
    return writeWide(ctx, string, tagType, tag);
}

}  // extern "C"
