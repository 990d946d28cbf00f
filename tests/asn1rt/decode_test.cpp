#include "asn1rt/decode.h"

#include <cstring>

#include "asn1rt/open_type.h"
#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {
std::uint64_t numSteps = 0;
}

// Called at each basic block of what is compiled with -fsanitize-coverage=trace-pc.
extern "C" void __sanitizer_cov_trace_pc() {  // NOLINT(bugprone-reserved-identifier): the compiler names it
    ++numSteps;
}

namespace {

using namespace rttest;

int bindInput(ASN1CTXT* ctx, const Bytes& octets, int* length = nullptr, ASN1TAG* tag = nullptr) {
    return xd_setp(ctx, octets.data(), static_cast<int>(octets.size()), tag, length);
}

std::string tagAndLength(ASN1TAG tag, int length) {
    char text[48];
    std::snprintf(text, sizeof text, "%08x %d", static_cast<unsigned>(tag), length);
    return length == LEN_INDEFINITE ? std::string(text, 8) + " indefinite" : text;
}

/// An element of indefinite length with `depth` levels of the same inside.
Bytes nestedIndefinite(std::size_t depth) {
    Bytes octets;
    for (std::size_t i = 0; i < depth; ++i) {
        octets.insert(octets.end(), {0x30, 0x80});
    }
    octets.insert(octets.end(), 2 * depth, 0x00);
    return octets;
}

std::string bound(const std::string& hex) {
    Context ctx;
    const Bytes octets = fromHex(hex);
    int length = 0;
    ASN1TAG tag = 0;
    const int status = bindInput(ctx, octets, &length, &tag);
    EXPECT_EQ(ctx->errInfo.status, status) << hex;
    const std::string size = " size " + std::to_string(ctx->buffer.size);
    if (status != 0) {
        return statusName(status) + size;
    }
    EXPECT_EQ(ctx->buffer.byteIndex, 0U) << hex;
    EXPECT_EQ((ctx->flags & CTX_FLAG_OUTER_INDEFINITE) != 0, length == LEN_INDEFINITE) << hex;
    return tagAndLength(tag, length) + size;
}

std::string header(const std::string& hex) {
    ASN1TAG tag = 0;
    int length = 0;
    Input peek(hex);
    const std::uint16_t flags = peek->flags;
    const int peeked = xd_tag_len(peek, &tag, &length, 0);
    EXPECT_EQ(peek.at(), 0U) << hex;
    EXPECT_EQ(peek->flags, flags) << hex;
    Input in(hex);
    EXPECT_EQ(xd_tag_len(in, &tag, &length, MATCH_ADVANCE), peeked) << hex;
    const std::string position = " @" + std::to_string(in.at());
    if (peeked != 0) {
        return statusName(peeked) + position;
    }
    EXPECT_EQ((in->flags & CTX_FLAG_CONSTRUCTED) != 0, (tag & kTagConstructed) != 0) << hex;
    return tagAndLength(tag, length) + position;
}

std::string matched(const std::string& hex) {
    Input in(hex);
    int length = 0;
    const int status = xd_match1(in, 0x10, &length);
    EXPECT_TRUE(status != 0 || ((in->flags & CTX_FLAG_CONSTRUCTED) != 0) == (hex[0] == '3')) << hex;
    return reported(in, status, std::to_string(length));
}

std::string counted(const std::string& row) {
    Input in(row.substr(row.find(':') + 1));
    std::uint32_t count = 99;
    const int length = std::stoi(row);
    const int status = xd_count(in, length < 0 ? LEN_INDEFINITE : length, &count);
    EXPECT_TRUE(status != 0 || in.at() == 0) << row;
    return status == 0 ? std::to_string(count) : statusName(status);
}

// Looks for the tag in SEQUENCE { INTEGER 1, SEQUENCE { [0] 2, OCTET STRING }, [0] 3 }.
std::string found(const std::string& tag, int options) {
    Input in("300f 020101 3007 800102 0402aabb 800103");
    int length = 0;
    const int status = xd_match(in, static_cast<ASN1TAG>(std::stoul(tag, nullptr, 16)), &length, options);
    return statusName(status) + " @" + std::to_string(in.at());
}

TEST(Decode, AnswersItsVectors) {
    testkit::expectVectors(
        "asn1rt/decode.txt",
        {{"bind", bound},
         {"header", header},
         {"match1", matched},
         {"count", counted},
         {"here", [](const std::string& tag) { return found(tag, 0); }},
         {"after", [](const std::string& tag) { return found(tag, MATCH_ADVANCE); }},
         {"seek", [](const std::string& tag) { return found(tag, MATCH_SEEK); }},
         {"seek after", [](const std::string& tag) { return found(tag, MATCH_SEEK | MATCH_ADVANCE); }},
         {"seek inside", [](const std::string& tag) { return found(tag, MATCH_SEEK | MATCH_SKIP_FIRST); }}});
}

TEST(Decode, LengthCheckCanBeTurnedOff) {
    Context ctx;
    rtCtxtSetFlag(ctx, CTX_FLAG_NO_LENGTH_CHECK);
    const Bytes octets = fromHex("3082010004020102");
    int length = 0;
    EXPECT_EQ(bindInput(ctx, octets, &length), 0);
    EXPECT_EQ(length, 260);
    EXPECT_EQ(ctx->buffer.size, octets.size());

    // Even so a copy stays inside the input.
    Input in("84fffffffe01");
    rtCtxtSetFlag(in, CTX_FLAG_NO_LENGTH_CHECK);
    int huge = 0;
    EXPECT_EQ(xd_len(in, &huge), 0);
    std::uint8_t sink[4];
    EXPECT_EQ(xd_memcpy(in, sink, huge), STATUS_END_OF_BUFFER);
    EXPECT_EQ(xd_memcpy(in, sink, 2), STATUS_END_OF_BUFFER);
    EXPECT_EQ(xd_memcpy(in, sink, 1), 0);
}

TEST(Decode, RebindingClearsTheFlagsOfTheMessageBefore) {
    Context ctx;
    const Bytes indefinite = fromHex("30800000");
    const Bytes definite = fromHex("3000");
    ASSERT_EQ(bindInput(ctx, indefinite), 0);
    rtCtxtSetFlag(ctx, CTX_FLAG_END_REACHED);
    ASN1TAG tag = 0;
    int length = 0;
    EXPECT_EQ(xd_tag_len(ctx, &tag, &length, MATCH_ADVANCE), STATUS_END_OF_BUFFER);
    ASSERT_EQ(bindInput(ctx, definite), 0);
    EXPECT_EQ(ctx->flags & (CTX_FLAG_END_REACHED | CTX_FLAG_OUTER_INDEFINITE), 0);
    EXPECT_EQ(xd_tag_len(ctx, &tag, &length, MATCH_ADVANCE), 0);
}

TEST(Decode, BindsABlockOfZerosWithoutData) {
    Context ctx;
    void* block = rtMemHeapAlloc(&ctx->pMsgMemHeap, 64);
    std::memset(block, 0x30, 64);
    rtMemHeapFreePtr(&ctx->pMsgMemHeap, block);
    ASSERT_EQ(xd_setp(ctx, nullptr, 64, nullptr, nullptr), 0);
    EXPECT_EQ(hexOf(ctx->buffer.data, 64), std::string(128, '0'));
}

TEST(Decode, ReadsAOneOctetTagAndItsLength) {
    Input wrapper("a003020105");
    int length = 0;
    EXPECT_EQ(xd_Tag1AndLen(wrapper, &length), 0);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(wrapper.at(), 2U);
}

TEST(Decode, SkipsIndefiniteElementsOfAnyDepth) {
    for (const std::size_t depth : {1U, 2U, 100U, 200000U}) {
        Bytes octets = nestedIndefinite(depth);
        const auto size = static_cast<int>(octets.size());
        if (size >= 5) {
            EXPECT_EQ(xd_indeflen_ex(octets.data(), size), size);
        }
        octets.push_back(0x05);
        Input in(octets);
        EXPECT_EQ(xd_NextElement(in), 0);
        EXPECT_EQ(in.at(), static_cast<std::uint32_t>(size)) << depth;
        octets.pop_back();
        octets.pop_back();
        EXPECT_EQ(xd_indeflen_ex(octets.data(), size - 1), size - 1 < 5 ? 0 : STATUS_END_OF_BUFFER) << depth;
    }
    const Bytes definite = fromHex("3003020105");
    EXPECT_EQ(xd_indeflen_ex(definite.data(), 5), STATUS_BAD_LENGTH);
    // An empty element that is no end-of-contents, and a definite one that holds zeros.
    const Bytes mixed = fromHex("3080 0500 04020000 0000");
    EXPECT_EQ(xd_indeflen_ex(mixed.data(), static_cast<int>(mixed.size())), 10);
}

// Twice the depth takes twice the steps: basic blocks of decode.cpp, which is compiled to count them in this program.
TEST(Decode, TakesTimeInProportionToTheDepth) {
    const auto steps = [](std::size_t depth, auto read) {
        Input in(nestedIndefinite(depth));
        const std::uint64_t before = numSteps;
        read(in);
        return numSteps - before;
    };
    const auto isLinear = [&](auto read) {
        const std::uint64_t once = steps(1000, read);
        const std::uint64_t more = steps(8000, read);
        return once > 1000 && more > 7 * once && more < 9 * once;
    };
    EXPECT_TRUE(isLinear([](Input& in) { EXPECT_EQ(xd_NextElement(in), 0); }));
    EXPECT_TRUE(isLinear([](Input& in) {
        const auto size = static_cast<int>(in->buffer.size);
        EXPECT_EQ(xd_indeflen_ex(in->buffer.data, size), size);
    }));
    EXPECT_TRUE(isLinear([](Input& in) {
        const std::uint8_t* data = nullptr;
        std::uint32_t numocts = 0;
        EXPECT_EQ(xd_OpenType(in, &data, &numocts), 0);
        EXPECT_EQ(numocts, in->buffer.size);
    }));
}

TEST(Decode, SkippingNeverWraps) {
    Input in("0205");
    EXPECT_EQ(xd_NextElement(in), 0);
    EXPECT_EQ(xd_NextElement(in), STATUS_END_OF_BUFFER);
    in->buffer.byteIndex = 0xFFFFFFFF;
    EXPECT_EQ(xd_NextElement(in), STATUS_END_OF_BUFFER);
    int length = 0;
    EXPECT_EQ(xd_len(in, &length), STATUS_END_OF_BUFFER);
}

TEST(Decode, RestoresASavedPosition) {
    Input in("3003020105");
    ASN1BufferState state;
    xu_SaveBufferState(in, &state);
    int length = 0;
    ASSERT_EQ(xd_match1(in, 0x30, &length), 0);
    rtCtxtSetFlag(in, CTX_FLAG_ZERO_COPY);
    state.flags |= CTX_FLAG_END_REACHED;
    xu_RestoreBufferState(in, &state);
    EXPECT_EQ(in.at(), 0U);
    EXPECT_EQ(in->flags, 0);
}

}  // namespace
