#include "asn1/text/utf8_text.h"

#include "asn1/codec/context_memory.h"
#include "asn1rt/utf8.h"

namespace Orvane::ASN1 {

const char* copyUtf8(ASN1CTXT* ctxt, const std::wstring& text, std::int32_t failure) {
    std::size_t size = 1;
    for (const wchar_t character : text) {
        size += static_cast<std::size_t>(rtUTF8CharSize(character));
    }
    auto* utf8 = static_cast<char*>(allocate(ctxt, size));
    const int written =
        rtWCSToUTF8(ctxt, text.data(), static_cast<std::uint32_t>(text.size()), utf8, static_cast<std::uint32_t>(size));
    if (written < 0) {
        ATL::AtlThrowImpl(failure);
    }
    utf8[written] = '\0';
    return utf8;
}

std::wstring wideFromUtf8(ASN1CTXT* ctxt, const char* text, std::int32_t failure) {
    const int count = rtUTF8Len(text);
    if (count < 0) {
        ATL::AtlThrowImpl(failure);
    }
    std::wstring wide(static_cast<std::size_t>(count) + 1, L'\0');
    const int read = count != 0 ? rtUTF8ToWCS(ctxt, text, wide.data(), static_cast<std::uint32_t>(count) + 1) : 0;
    if (read < 0) {
        ATL::AtlThrowImpl(failure);
    }
    wide.resize(static_cast<std::size_t>(read));
    return wide;
}

}  // namespace Orvane::ASN1
