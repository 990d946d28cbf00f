#include "asn1rt/open_type.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "asn1rt/decode_core.h"
#include "asn1rt/encode.h"

namespace {

using decoding::enter;
using decoding::remaining;

/// With these tags everything up to the end of the enclosing value is an addition.
constexpr ASN1TAG kNoTag = 0xFFFFFFFF;
constexpr ASN1TAG kNoTagEither = 0xFFFFFFFE;

/// A list entry, node and record in one block.
struct OpenTypeEntry {
    _Asn1RTDListNode node;
    ASN1TOpenType value;
};

/// The length of the complete element at `data`, or a negative status. Malformed octets do not enter a message.
int elementLength(const std::uint8_t* data, std::uint32_t numocts) {
    const int size = static_cast<int>(std::min<std::uint32_t>(numocts, std::numeric_limits<int>::max()));
    ASN1CTXT reader = decoding::readOnlyContext();
    ASN1TAG tag = 0;
    int length = 0;
    int status = xd_setp(&reader, data, size, &tag, &length);
    if (status != 0) {
        return status;
    }
    if (length == LEN_INDEFINITE) {
        return decoding::indefiniteLength(data, size);
    }
    if (tag != 0) {
        return length;
    }
    // An end-of-contents in front, in whatever form its length is written, is no element.
    int contents = 0;
    status = decoding::readHeader(&reader, &tag, &contents, MATCH_ADVANCE);
    return status == 0 && contents == 0 ? STATUS_BAD_VALUE : length;
}

/// Moves over the contents of the element with this header, whatever it is.
int passContents(ASN1CTXT* ctx, ASN1TAG tag, int length) {
    if (length == LEN_INDEFINITE) {
        return decoding::movePastEndOfContents(ctx);
    }
    if (tag == 0 && length == 0) {
        return STATUS_BAD_VALUE;
    }
    if (!decoding::holds(ctx, length)) {
        return STATUS_BAD_VALUE;
    }
    decoding::skip(ctx, length);
    return 0;
}

int takeOctets(ASN1CTXT* ctx, const std::uint8_t* start, std::uint32_t numocts, const std::uint8_t** data) {
    if ((ctx->flags & CTX_FLAG_ZERO_COPY) != 0) {
        *data = start;
        return 0;
    }
    void* copy = rtMemHeapAlloc(&ctx->pTypeMemHeap, numocts);
    if (copy == nullptr) {
        return STATUS_NO_MEMORY;
    }
    if (numocts != 0) {
        std::memcpy(copy, start, numocts);
    }
    *data = static_cast<const std::uint8_t*>(copy);
    return 0;
}

/// See xd_OpenType; no failure is recorded.
int readOpenType(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numocts) {
    const std::uint32_t available = remaining(ctx);
    const std::uint32_t start = ctx->buffer.size - available;
    ASN1TAG tag = 0;
    int length = 0;
    int status = decoding::readHeader(ctx, &tag, &length, MATCH_ADVANCE);
    const bool begun = status == 0;
    if (begun) {
        status = passContents(ctx, tag, length);
    }
    // A truncated element at the very end of the input does not fail the message. What there is after its header is
    // taken with it, so that reading it fails and it is not mistaken for an absent one. Without a header the
    // count stays what it was, zero for all callers here. Neither reaches beyond the input.
    if (status != 0 && status != STATUS_END_OF_BUFFER) {
        return status;
    }
    *numocts = std::min(begun ? ctx->buffer.byteIndex - start : *numocts, available);
    return takeOctets(ctx, ctx->buffer.data + start, *numocts, data);
}

int appendOpenType(ASN1CTXT* ctx, _Asn1RTDList* list) {
    if (list == nullptr) {
        return decoding::skipElement(ctx);
    }
    auto* entry = static_cast<OpenTypeEntry*>(rtMemHeapAllocZ(&ctx->pTypeMemHeap, sizeof(OpenTypeEntry)));
    if (entry == nullptr) {
        return STATUS_NO_MEMORY;
    }
    const int status = readOpenType(ctx, &entry->value.data, &entry->value.numocts);
    if (status != 0) {
        return status;
    }
    rtDListAppendNode(ctx, list, &entry->value);
    return 0;
}

int appendAdditions(ASN1CTXT* ctx, const ASN1ExtPosition* position, ASN1TAG tag, _Asn1RTDList* list) {
    const bool takeAll = tag == kNoTag || tag == kNoTagEither;
    const auto valueStart = static_cast<std::uint32_t>(position->start - ctx->buffer.data);
    for (;;) {
        if (!takeAll) {
            const int found = decoding::match(ctx, tag, nullptr, 0);
            if (found != STATUS_TAG_MISMATCH) {
                return found;
            }
        }
        if (decoding::atEndOfValue(ctx, valueStart, position->length)) {
            return takeAll ? 0 : STATUS_END_OF_BUFFER;
        }
        const std::uint32_t before = ctx->buffer.byteIndex;
        const int status = appendOpenType(ctx, list);
        if (status != 0) {
            return status;
        }
        // The reader returns 0 at the end of the input: without progress, this loop would not end.
        if (ctx->buffer.byteIndex == before) {
            return STATUS_END_OF_BUFFER;
        }
    }
}

}  // namespace

extern "C" {

int xe_OpenType(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t numocts) noexcept {
    if (numocts == 0) {
        return 0;
    }
    if (data == nullptr) {
        return STATUS_BAD_VALUE;
    }
    const int length = elementLength(data, numocts);
    // An open type that was encoded in place is already where it belongs.
    if (length < 0 || data == xe_getp(ctx)) {
        return length;
    }
    return xe_memcpy(ctx, data, static_cast<std::uint32_t>(length));
}

int xe_OpenTypeExt(ASN1CTXT* ctx, const _Asn1RTDList* list) noexcept {
    int total = 0;
    for (const _Asn1RTDListNode* node = list != nullptr ? list->pTail : nullptr; node != nullptr; node = node->pPrev) {
        const auto* value = static_cast<const ASN1TOpenType*>(node->data);
        if (value == nullptr) {
            continue;
        }
        const int length = xe_OpenType(ctx, value->data, value->numocts);
        if (length < 0) {
            return length;
        }
        total += length;
    }
    return total;
}

int xd_OpenType(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numocts) noexcept {
    return enter(ctx, readOpenType(ctx, data, numocts));
}

int xd_OpenTypeAppend(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept {
    return enter(ctx, appendOpenType(ctx, list));
}

int xd_OpenTypeExt(ASN1CTXT* ctx, const ASN1ExtPosition* position, ASN1TAG tag, _Asn1RTDList* list) noexcept {
    return enter(ctx, appendAdditions(ctx, position, tag, list));
}

}  // extern "C"
