// Number texts, object identifier texts and UTF-8; what was read must survive being written and read again.
#include <cstdlib>
#include <string>
#include <vector>

#include "asn1rt/big_integer_text.h"
#include "asn1rt/context_ref.h"
#include "asn1rt/schema_types.h"
#include "asn1rt/utf8.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The number in decimal must be read as the same sign and magnitude.
void rewrite(ASN1CTXT* ctx, const RtBigInteger& big) {
    std::vector<char> text(static_cast<std::size_t>(rtBigIntDigitsNum(&big, 10)) + 2);
    if (rtBigIntToString(ctx, &big, 10, text.data(), static_cast<std::int32_t>(text.size())) != 0) {
        return;
    }
    RtBigInteger again;
    require(rtBigIntSetStr(ctx, &again, text.data(), 10) == 0);
    require(again.sign == big.sign &&
            std::vector(again.mag, again.mag + again.numocts) == std::vector(big.mag, big.mag + big.numocts));
    rtBigIntFree(ctx, &again);
}

void readNumber(ASN1CTXT* ctx, const std::string& input, int radix) {
    std::uint8_t area[16];
    RtBigInteger big;
    big.mag = area;
    big.allocated = sizeof area;
    if (rtBigIntSetStr(ctx, &big, input.c_str(), radix) == 0) {
        std::vector<std::uint8_t> data(static_cast<std::size_t>(rtBigIntGetDataLen(&big)));
        const auto length = static_cast<std::int32_t>(data.size());
        require(rtBigIntGetData(ctx, &big, data.data(), length) == length);
        for (const int other : {2, 8, 16}) {
            std::vector<char> text(static_cast<std::size_t>(rtBigIntDigitsNum(&big, other)) + 16);
            static_cast<void>(rtBigIntToString(ctx, &big, other, text.data(), static_cast<std::int32_t>(text.size())));
        }
        rewrite(ctx, big);
    }
    rtBigIntFree(ctx, &big);
}

void readObjectId(const std::string& input) {
    ASN1TObjId oid;
    if (rtStrToOid(input.c_str(), &oid) == 1) {
        std::vector<char> text(rtOidToStrLen(&oid) + 1);
        require(rtOidToStr(&oid, text.data(), static_cast<std::uint32_t>(text.size() - 1)) == 1);
        ASN1TObjId again;
        require(rtStrToOid(text.data(), &again) == 1 && again == oid);
    }
}

void readUtf8(ASN1CTXT* ctx, const std::string& input) {
    const int count = rtUTF8ToWCS(ctx, input.c_str(), nullptr, 0);
    if (rtUTF8Len(input.c_str()) < 0 || count < 0) {
        return;
    }
    std::vector<wchar_t> wide(static_cast<std::size_t>(count));
    require(rtUTF8ToWCS(ctx, input.c_str(), wide.data(), static_cast<std::uint32_t>(count)) == count);
    std::vector<char> narrow(wide.size() * 6 + 1);
    require(rtWCSToUTF8(ctx, wide.data(), static_cast<std::uint32_t>(count), narrow.data(),
                        static_cast<std::uint32_t>(narrow.size())) >= 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const ASN1CtxtPtr context(new ASN1Context);
    for (const int radix : {0, 8, 10, 16}) {
        readNumber(context, input, radix);
    }
    static_cast<void>(rtBigIntStrCompare(context, input.c_str(), input.c_str() + size / 2));
    readObjectId(input);
    readUtf8(context, input);
    return 0;
}
