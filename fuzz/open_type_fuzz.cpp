// Open types both ways: what the decoder takes as one complete element, the encoder must place as the same octets, and
// the two ways of measuring an indefinite element must agree.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "asn1rt/open_type.h"

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

void placeAgain(const std::uint8_t* element, std::uint32_t size) {
    ASN1CTXT out{};
    require(rtInitContext(&out, nullptr) == 0 && xe_setp(&out, nullptr, 0) == 0);
    const int placed = xe_OpenType(&out, element, size);
    require(placed == static_cast<int>(size) && std::memcmp(xe_getp(&out), element, size) == 0);
    require(xe_OpenType(&out, xe_getp(&out), size) == placed);
    rtFreeContext(&out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::unique_ptr<std::uint8_t[]> input(new std::uint8_t[size]);
    std::copy(data, data + size, input.get());

    ASN1CTXT ctx{};
    require(rtInitContext(&ctx, nullptr) == 0);
    require(rtInitContextBuffer(&ctx, input.get(), static_cast<std::uint32_t>(size)) == 0);
    const std::uint8_t* element = nullptr;
    std::uint32_t numocts = 0;
    const bool taken = xd_OpenType(&ctx, &element, &numocts) == 0 && numocts != 0;
    if (taken)
        require(numocts <= size && std::memcmp(element, data, numocts) == 0);
    const int indefinite = xd_indeflen_ex(input.get(), static_cast<int>(size));
    if (indefinite > 0)
        require(taken && static_cast<std::uint32_t>(indefinite) == numocts);

    ASN1CTXT out{};
    require(rtInitContext(&out, nullptr) == 0 && xe_setp(&out, nullptr, 64) == 0);
    const int placed = xe_OpenType(&out, input.get(), static_cast<std::uint32_t>(size));
    if (placed > 0) {
        require(taken && static_cast<std::uint32_t>(placed) == numocts);
        placeAgain(element, numocts);
    } else if (taken) {
        require(numocts == size);  // the input ended inside the element
    }
    rtFreeContext(&out);
    rtFreeContext(&ctx);
    return 0;
}
