#include "asn1/text/char_string.h"

#include <cwchar>
#include <string>
#include <vector>

#include "asn1/codec/codec.h"
#include "asn1/text/text_conversions.h"
#include "asn1rt/decode.h"
#include "asn1rt/decode_strings.h"
#include "asn1rt/encode.h"
#include "asn1rt/encode_strings.h"
#include "asn1rt/utf8.h"

namespace Orvane::ASN1 {

namespace {

// Each writer returns the length of the encoding, or a negative status.

int encodeUtf8(ASN1CTXT* ctxt, const wchar_t* text) {
    const std::size_t count = std::wcslen(text);
    std::size_t size = 1;
    for (std::size_t index = 0; index < count; ++index) {
        size += static_cast<std::size_t>(rtUTF8CharSize(text[index]));
    }
    auto* buffer = static_cast<char*>(allocate(ctxt, size));
    const int written = rtWCSToUTF8(ctxt, text, static_cast<int>(count), buffer, static_cast<int>(size));
    if (written < 0) {
        return written;
    }
    buffer[written] = '\0';
    return xe_charstr(ctxt, buffer, TAG_EXPLICIT, kTagUtf8String);
}

int encodeNarrow(ASN1CTXT* ctxt, const wchar_t* text, ASN1TAG tag) {
    return xe_charstr(ctxt, tostring(text).c_str(), TAG_EXPLICIT, tag);
}

int encodeBmp(ASN1CTXT* ctxt, const wchar_t* text) {
    std::vector<std::uint16_t> characters;
    characters.reserve(std::wcslen(text));
    for (; *text != L'\0'; ++text) {
        characters.push_back(static_cast<std::uint16_t>(*text));
    }
    const ASN1T16BitCharStr string{static_cast<std::uint32_t>(characters.size()), characters.data()};
    return xe_16BitCharStr(ctxt, &string, TAG_EXPLICIT, kTagBmpString);
}

int encodeUniversal(ASN1CTXT* ctxt, const wchar_t* text) {
    ASN1T32BitCharStr string{};
    const int converted = rtWCSToUCSString(ctxt, text, &string, nullptr);
    return converted < 0 ? converted : xe_32BitCharStr(ctxt, &string, TAG_EXPLICIT, kTagUniversalString);
}

int encodeText(ASN1CTXT* ctxt, const wchar_t* text, StringType type) {
    switch (type) {
        case kStringTypeUTF8:
            return encodeUtf8(ctxt, text);
        case kStringTypePrintable:
            return encodeNarrow(ctxt, text, kTagPrintableString);
        case kStringTypeTeletex:
            return encodeNarrow(ctxt, text, kTagTeletexString);
        case kStringTypeBMP:
            return encodeBmp(ctxt, text);
        case kStringTypeIA5:
            return encodeNarrow(ctxt, text, kTagIa5String);
        case kStringTypeUniversal:
            return encodeUniversal(ctxt, text);
        default:
            return STATUS_BAD_VALUE;
    }
}

// Throws kAsn1Error for a negative return of the runtime.
int checked(int answer) {
    if (answer < 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    return answer;
}

std::wstring decodeUtf8(ASN1CTXT* ctxt) {
    const char* text = nullptr;
    checked(xd_charstr(ctxt, &text, TAG_EXPLICIT, kTagUtf8String, 0));
    const int count = checked(rtUTF8Len(text));
    std::wstring wide(static_cast<std::size_t>(count) + 1, L'\0');
    wide.resize(static_cast<std::size_t>(checked(rtUTF8ToWCS(ctxt, text, wide.data(), count + 1))));
    return wide;
}

std::wstring decodeNarrow(ASN1CTXT* ctxt, ASN1TAG tag) {
    const char* text = nullptr;
    checked(xd_charstr(ctxt, &text, TAG_EXPLICIT, tag, 0));
    return towstring(text);
}

std::wstring decodeBmp(ASN1CTXT* ctxt) {
    ASN1T16BitCharStr string{};
    checked(xd_16BitCharStr(ctxt, &string, TAG_EXPLICIT, kTagBmpString, 0));
    return std::wstring(string.data, string.data + string.nchars);
}

std::wstring decodeUniversal(ASN1CTXT* ctxt) {
    ASN1T32BitCharStr string{};
    checked(xd_32BitCharStr(ctxt, &string, TAG_EXPLICIT, kTagUniversalString, 0));
    std::wstring wide(string.nchars + std::size_t{1}, L'\0');
    return rtUCSToWCSString(&string, wide.data(), string.nchars + 1);
}

std::wstring decodeText(ASN1CTXT* ctxt, ASN1TAG tag) {
    switch (tag) {
        case kTagUtf8String:
            return decodeUtf8(ctxt);
        case kTagNumericString:
        case kTagPrintableString:
        case kTagTeletexString:
        case kTagIa5String:
            return decodeNarrow(ctxt, tag);
        case kTagUniversalString:
            return decodeUniversal(ctxt);
        case kTagBmpString:
            return decodeBmp(ctxt);
        default:
            ATL::AtlThrowImpl(status::kAsn1Error);
    }
}

void initContext(ctxt_handle& context) {
    if (!context.init()) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
}

}  // namespace

CBlob encodeCharString(const wchar_t* text, StringType type) {
    ctxt_handle context;
    initContext(context);
    checked(xe_setp(context.get(), nullptr, 0));
    const int length = checked(encodeText(context.get(), text != nullptr ? text : L"", type));
    return CBlob(xe_getp(context.get()), static_cast<unsigned long>(length));
}

CWStringProxy decodeCharString(const CBlob& value) {
    const int size = messageSize(value);
    ctxt_handle context;
    initContext(context);
    ASN1TAG tag = 0;
    checked(xd_setp(context.get(), value.pbData(), size, &tag, nullptr));
    return CWStringProxy(decodeText(context.get(), tag).c_str());
}

}  // namespace Orvane::ASN1
