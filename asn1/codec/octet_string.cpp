#include "asn1/codec/octet_string.h"

#include "asn1/codec/codec.h"
#include "asn1rt/decode.h"
#include "asn1rt/decode_strings.h"
#include "asn1rt/encode.h"
#include "asn1rt/encode_strings.h"

namespace Orvane::ASN1 {

CBlob toOctetString(const CBlob& content) {
    ctxt_handle context;
    if (!context.init()) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
    if (content.cbData() > MEM_HEAP_MAX_REQUEST || xe_setp(context.get(), nullptr, 0) != 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    const int length =
        xe_octstr(context.get(), content.pbData(), static_cast<std::uint32_t>(content.cbData()), TAG_EXPLICIT);
    if (length < 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    return CBlob(xe_getp(context.get()), static_cast<unsigned long>(length));
}

CBlob fromOctetString(const CBlob& data) {
    const int size = messageSize(data);
    ctxt_handle context;
    if (!context.init()) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
    CBlob content(data.cbData());
    std::uint32_t length = static_cast<std::uint32_t>(size);
    // The reader of contents continues after a failed header, which is then recorded only in the context.
    if (xd_setp(context.get(), data.pbData(), size, nullptr, nullptr) != 0 ||
        xd_octstr_s(context.get(), content.pbData(), &length, TAG_EXPLICIT, 0) != 0 ||
        context.get()->errInfo.status != 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    content.resize_to(length);
    return content;
}

}  // namespace Orvane::ASN1
