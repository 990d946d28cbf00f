#include "asn1/codec/element.h"

#include <algorithm>
#include <limits>

#include "asn1/codec/codec.h"
#include "asn1/codec/tlv_reader.h"
#include "asn1rt/decode_core.h"
#include "asn1rt/encode.h"
#include "asn1rt/message_buffer.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

CElement firstElement(const unsigned char* data, unsigned long size) {
    const std::optional<TlvElement> first = TlvReader(Octets(data, size)).next();
    if (!first) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    CElement element;
    element.tag = first->tag | (first->isConstructed ? 0x20000000U : 0U);
    element.begin = data;
    element.headerSize = first->whole.size() - first->content.size();
    element.contentSize = first->content.size();
    return element;
}

unsigned long sizeOfFirst(const CBlob& data) {
    constexpr unsigned long kLongest = std::numeric_limits<std::int32_t>::max();
    const unsigned long size = std::min(data.cbData(), kLongest);
    ASN1CTXT reader = decoding::readOnlyContext();
    reader.buffer.data = data.pbData();
    reader.buffer.size = static_cast<std::uint32_t>(size);
    ASN1TAG tag = 0;
    int length = 0;
    if (decoding::readHeader(&reader, &tag, &length, MATCH_ADVANCE) != 0) {
        return data.cbData();
    }
    if (length != LEN_INDEFINITE) {
        return decoding::holds(&reader, length) ? reader.buffer.byteIndex + static_cast<unsigned long>(length)
                                                : data.cbData();
    }
    const int whole = decoding::indefiniteLength(data.pbData(), static_cast<int>(size));
    return whole < 0 ? data.cbData() : static_cast<unsigned long>(whole);
}

CElement CElementReader::next() {
    const CElement element = firstElement(position_, remaining_);
    position_ += element.headerSize + element.contentSize;
    remaining_ -= element.headerSize + element.contentSize;
    return element;
}

namespace {

CBlob compose(std::uint32_t tag, std::initializer_list<const CBlob*> parts) {
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

}  // namespace

CBlob composeElement(std::uint32_t tag, std::initializer_list<const CBlob*> parts) {
    return withinFrame([&] { return compose(tag, parts); });
}

}  // namespace Orvane::ASN1
