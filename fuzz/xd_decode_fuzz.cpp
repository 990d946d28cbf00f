// Drives the BER readers over arbitrary octets: the input begins with the flags of the context and a few reader
// numbers, the rest is what they read, in a block of exactly its size. Any status is fine; what must hold is that no
// read leaves the block, that a tag mismatch does not move the position, and that values stay within what the input can
// hold.
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "asn1rt/decode_strings.h"
#include "asn1rt/decode_values.h"
#include "asn1rt/encode_values.h"
#include "asn1rt/open_type.h"

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

/// Reads all octets of a value, so that a wrong count shows.
void touch(const std::uint8_t* data, std::uint32_t size) {
    [[maybe_unused]] static volatile std::uint8_t sink;
    for (std::uint32_t i = 0; i < size; ++i)
        sink = data[i];
}

constexpr std::uint16_t kFlags[] = {0, CTX_FLAG_NO_LENGTH_CHECK, CTX_FLAG_ZERO_COPY, CTX_FLAG_END_REACHED};

/// Contents read with a length that a caller might have read: zero, small, indefinite or huge.
constexpr int kLengths[] = {0, 1, 2, 3, 5, 8, 40, LEN_INDEFINITE, -1, 0x7FFFFFFF};

/// The text of a big integer must encode again, without growing.
int readBig(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    const char* text = nullptr;
    const std::uint32_t before = ctx->buffer.byteIndex;
    const int status = xd_bigint(ctx, &text, tagType, length);
    if (status != 0)
        return status;
    const std::uint32_t passed = ctx->buffer.byteIndex - before;
    ASN1CTXT out{};
    require(rtInitContext(&out, nullptr) == 0 && xe_setp(&out, nullptr, 0) == 0);
    const int written = xe_bigint(&out, text, TAG_IMPLICIT);
    require(written >= 1 && static_cast<std::uint32_t>(written) <= std::max(passed, 1U));
    rtFreeContext(&out);
    return 0;
}

int readObjectId(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    ASN1OBJID oid{};
    const int status = xd_objid(ctx, &oid, tagType, length);
    require(oid.numids <= ASN1_MAX_ARCS);
    return status;
}

int readOctets(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    const std::uint8_t* data = nullptr;
    std::uint32_t count = 0;
    const int status = xd_octstr(ctx, &data, &count, tagType, length);
    if (status == 0)
        touch(data, count);
    return status;
}

int readBits(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    const std::uint8_t* data = nullptr;
    std::uint32_t count = 0;
    const int status = xd_bitstr(ctx, &data, &count, tagType, length);
    if (status == 0)
        touch(data, count / 8 + (count % 8 != 0 ? 1 : 0));
    return status;
}

int readIntoArrays(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    std::uint8_t octets[5];
    std::uint32_t count = sizeof octets;
    const ASN1BufferState state{ctx->buffer.byteIndex, 8, ctx->flags};
    const int first = xd_octstr_s(ctx, octets, &count, tagType, length);
    if (first == 0)
        require(count <= sizeof octets);
    xu_RestoreBufferState(ctx, &state);
    count = sizeof octets * 8;
    const int second = xd_bitstr_s(ctx, octets, &count, tagType, length);
    if (second == 0)
        require(count <= sizeof octets * 8);
    return second;
}

int readText(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    const char* text = nullptr;
    ASN1T16BitCharStr wide{};
    ASN1T32BitCharStr wider{};
    const ASN1BufferState state{ctx->buffer.byteIndex, 8, ctx->flags};
    if (xd_16BitCharStr(ctx, &wide, tagType, kTagBmpString, length) == 0)
        require(wide.nchars <= ctx->buffer.size / 2);
    xu_RestoreBufferState(ctx, &state);
    if (xd_32BitCharStr(ctx, &wider, tagType, 28, length) == 0)
        require(wider.nchars <= ctx->buffer.size / 4);
    xu_RestoreBufferState(ctx, &state);
    const int status = xd_charstr(ctx, &text, tagType, kTagIa5String, length);
    if (status == 0)
        require(text != nullptr);
    return status;
}

int readNumbers(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    std::int32_t number = 0;
    std::uint32_t magnitude = 0;
    std::uint16_t small = 0;
    std::uint8_t flag = 0;
    int status = xd_integer(ctx, &number, tagType, length);
    if (status != 0)
        status = xd_unsigned(ctx, &magnitude, tagType, length);
    if (status != 0)
        status = xd_uint16(ctx, &small, tagType, length);
    if (status != 0)
        status = xd_enum(ctx, &number, tagType, length);
    if (status != 0)
        status = xd_boolean(ctx, &flag, tagType, length);
    return status != 0 ? xd_null(ctx, tagType) : 0;
}

int readAdditions(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    const std::uint32_t inside = std::min(ctx->buffer.byteIndex, ctx->buffer.size);
    const ASN1ExtPosition position{ctx->buffer.data + inside, length};
    _Asn1RTDList list{};
    const int status = xd_OpenTypeExt(ctx, &position, tagType == TAG_EXPLICIT ? 0xFFFFFFFF : kTagContext, &list);
    if ((ctx->flags & CTX_FLAG_ZERO_COPY) != 0) {
        rtDListFreeAll(ctx, &list);
    } else {
        rtMemFreeOpenSeqExt(ctx, &list);
    }
    return status;
}

int walk(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    std::uint32_t count = 0;
    ASN1TAG tag = 0;
    int read = 0;
    const std::uint32_t before = ctx->buffer.byteIndex;
    int status = xd_count(ctx, length, &count);
    if (status == 0)
        require(ctx->buffer.byteIndex == before && count <= ctx->buffer.size);
    if (tagType == TAG_EXPLICIT)
        return xd_match(ctx, kTagContext, &read, MATCH_SEEK | MATCH_SKIP_FIRST);
    status = xd_Tag1AndLen(ctx, &read);
    if (status == 0)
        status = xd_tag(ctx, &tag);
    return status == 0 ? xd_MovePastEOC(ctx) : status;
}

int enter(ASN1CTXT* ctx, ASN1TagType tagType, int length) {
    ASN1TAG tag = 0;
    if (tagType == TAG_EXPLICIT)
        return xd_tag_len(ctx, &tag, &length, MATCH_ADVANCE);
    return xd_match1(ctx, 0x30, &length);
}

using Reader = int (*)(ASN1CTXT*, ASN1TagType, int);
constexpr Reader kReaders[] = {readBig,  readObjectId, readOctets,    readBits, readIntoArrays,
                               readText, readNumbers,  readAdditions, walk,     enter};

void runOne(ASN1CTXT* ctx, std::uint8_t choice) {
    const ASN1TagType tagType = (choice & 0x80) != 0 ? TAG_IMPLICIT : TAG_EXPLICIT;
    const int length = kLengths[(choice >> 3) % std::size(kLengths)];
    const std::uint32_t before = ctx->buffer.byteIndex;
    const Reader reader = kReaders[choice % std::size(kReaders)];
    const int status = reader(ctx, tagType, length);
    const bool single = reader == readBig || reader == readObjectId || reader == readOctets || reader == readBits;
    if (status == STATUS_TAG_MISMATCH && single)
        require(ctx->buffer.byteIndex == before);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kScript = 8;
    if (size <= kScript)
        return 0;
    const std::size_t sizeInput = size - kScript;
    const std::unique_ptr<std::uint8_t[]> input(new std::uint8_t[sizeInput]);
    std::copy(data + kScript, data + size, input.get());

    ASN1CTXT ctx{};
    require(rtInitContext(&ctx, nullptr) == 0);
    for (unsigned bit = 0; bit < 4; ++bit) {
        if ((data[0] >> bit & 1) != 0)
            rtCtxtSetFlag(&ctx, kFlags[bit]);
    }
    int length = 0;
    if (xd_setp(&ctx, input.get(), static_cast<int>(sizeInput), nullptr, &length) == 0) {
        require(ctx.buffer.size <= sizeInput);
    }
    for (std::size_t step = 1; step < kScript; ++step)
        runOne(&ctx, data[step]);
    rtFreeContext(&ctx);
    return 0;
}
