#include "asn1/element.h"

#include <limits>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "asn1rt/message_buffer.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

namespace {

// Reads the header at the position of `ctx`, whose buffer ends where the elements do, and steps behind the contents.
CElement readElement(ASN1CTXT* ctx) {
    CElement element;
    const std::uint32_t start = ctx->buffer.byteIndex;
    int length = 0;
    if (xd_tag_len(ctx, &element.tag, &length, MATCH_ADVANCE) != 0 || length < 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    element.begin = ctx->buffer.data + start;
    element.headerSize = ctx->buffer.byteIndex - start;
    element.contentSize = static_cast<unsigned long>(length);
    if (element.contentSize > ctx->buffer.size - ctx->buffer.byteIndex) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    ctx->buffer.byteIndex += static_cast<std::uint32_t>(length);
    return element;
}

void bind(ASN1CTXT* ctx, const unsigned char* data, unsigned long size) {
    if (size > static_cast<unsigned long>(std::numeric_limits<std::int32_t>::max())) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    // The buffer is only read; the runtime's record has one pointer for both directions.
    if (rtInitContextBuffer(ctx, const_cast<std::uint8_t*>(data), static_cast<std::uint32_t>(size)) != 0) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
}

}  // namespace

CElement firstElement(const unsigned char* data, unsigned long size) {
    if (size == 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    const ASN1CtxtPtr ctx(new ASN1Context);
    bind(ctx.get(), data, size);
    return readElement(ctx.get());
}

std::vector<CElement> elementsOf(const CElement& constructed) {
    std::vector<CElement> elements;
    if (constructed.contentSize == 0) {
        return elements;
    }
    const ASN1CtxtPtr ctx(new ASN1Context);
    bind(ctx.get(), constructed.begin + constructed.headerSize, constructed.contentSize);
    while (ctx->buffer.byteIndex < ctx->buffer.size) {
        elements.push_back(readElement(ctx.get()));
    }
    return elements;
}

CBlob composeElement(std::uint32_t tag, std::initializer_list<const CBlob*> parts) {
    ASN1BEREncodeBuffer buffer;
    ASN1CTXT* ctx = buffer.getCtxtPtr();
    int total = 0;
    // Encoding runs back to front.
    for (auto part = parts.end(); part != parts.begin();) {
        --part;
        if ((*part)->cbData() > static_cast<unsigned long>(std::numeric_limits<std::int32_t>::max() - total)) {
            ATL::AtlThrowImpl(status::kAsn1Error);
        }
        const auto size = static_cast<std::uint32_t>((*part)->cbData());
        if (size != 0 && xe_memcpy(ctx, (*part)->pbData(), size) < 0) {
            ATL::AtlThrowImpl(status::kAsn1Memory);
        }
        total += static_cast<int>(size);
    }
    const int length = xe_tag_len(ctx, tag, total);
    if (length < 0) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
    return CBlob(buffer.getMsgPtr(), static_cast<unsigned long>(length));
}

}  // namespace Orvane::ASN1
