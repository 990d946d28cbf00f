#include "asn1/status/pki_status.h"

#include <algorithm>
#include <string>

#include "asn1/status/pki_status_traits.h"
#include "asn1/text/utf8_text.h"
#include "asn1rt/bits.h"

namespace Orvane::ASN1 {

namespace {

constexpr unsigned int kFailureBits = 32;
constexpr unsigned int kFailureOctets = kFailureBits / 8;

// The language before a text: the first mark, the octets of the tag on the page of Thai, the second mark.
constexpr wchar_t kTagBegin = 0x0E01;
constexpr wchar_t kTagEnd = 0x0E7E;
constexpr wchar_t kTagPage = 0x0E00;
constexpr wchar_t kPageMask = ~static_cast<wchar_t>(0xFF);

void checkBit(unsigned int n) {
    if (n >= kFailureBits) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
}

std::wstring languagePrefix(const CLanguageTag& language) {
    if (language == CLanguageTagDefaultRead()) {
        return {};
    }
    std::wstring prefix(1, kTagBegin);
    for (const char* c = language.c_str(); *c != '\0'; ++c) {
        prefix += static_cast<wchar_t>(kTagPage | static_cast<unsigned char>(*c));
    }
    return prefix += kTagEnd;
}

// Splits a text from the wire into language and value.
CPKIFreeTextString splitLanguage(const std::wstring& text) {
    if (text.empty() || text.front() != kTagBegin) {
        return CPKIFreeTextString(text.c_str(), CLanguageTagDefaultRead());
    }
    std::string tag;
    std::size_t position = 1;
    while (position < text.size() && text[position] != kTagEnd && (text[position] & kPageMask) == kTagPage) {
        tag += static_cast<char>(text[position++] & 0xFF);
    }
    if (position == text.size() || text[position] != kTagEnd) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    return CPKIFreeTextString(text.c_str() + position + 1, CLanguageTag(tag.c_str()));
}

}  // namespace

bool CPKIFailureInfo::get_bit(unsigned int n) const {
    checkBit(n);
    return (value_ >> n & 1U) != 0;
}

void CPKIFailureInfo::put_bit(unsigned int n, bool on) {
    checkBit(n);
    value_ = on ? value_ | 1U << n : value_ & ~(1U << n);
}

CBlob CPKIFailureInfo::encode() const {
    return asn1Encode<ASN1T_PKIFailureInfo_traits>(*this);
}

void CPKIFailureInfo::decode(const CBlob& data) {
    asn1Decode<ASN1T_PKIFailureInfo_traits>(data, *this);
}

CPKIStatusInfo::CPKIStatusInfo(PKIStatusEnum status) : status_(status), failureInfo_(0) {}

void CPKIStatusInfo::put_pkiStatus(PKIStatusEnum status) {
    status_ = status;
}

void CPKIStatusInfo::put_failureInfo(const CPKIFailureInfo& failureInfo) {
    failureInfo_ = failureInfo;
}

void CPKIStatusInfo::put_statusString(const CPKIFreeText& statusString) {
    statusString_ = statusString;
}

CBlob CPKIStatusInfo::encode() const {
    return asn1Encode<ASN1T_PKIStatusInfo_traits>(*this);
}

void CPKIStatusInfo::decode(const CBlob& data) {
    asn1Decode<ASN1T_PKIStatusInfo_traits>(data, *this);
}

void CPKIFreeText_Encode(ASN1CTXT* ctxt, asn1data::ASN1T_PKIFreeText& record, const CPKIFreeText& text) {
    record.n = static_cast<std::uint32_t>(text.size());
    record.elem = allocateRecords<const char*>(ctxt, text.size());
    const char** element = record.elem;
    for (const CPKIFreeTextString& entry : text) {
        *element++ = copyUtf8(ctxt, languagePrefix(entry.get_language()) + entry.get_value(), status::kAsn1Error);
    }
}

void CPKIFreeText_Parse(ASN1CTXT* ctxt, CPKIFreeText& text, const asn1data::ASN1T_PKIFreeText& record) {
    for (std::uint32_t index = 0; index < record.n; ++index) {
        text.push_back(splitLanguage(wideFromUtf8(ctxt, record.elem[index], status::kBadUtf8)));
    }
}

void ASN1T_PKIFailureInfo_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CPKIFailureInfo& value) {
    record = {};
    if (value.get_value() == 0) {
        return;
    }
    auto* octets = static_cast<std::uint8_t*>(allocate(ctxt, kFailureOctets));
    std::fill_n(octets, kFailureOctets, std::uint8_t{0});
    for (unsigned int bit = 0; bit < kFailureBits; ++bit) {
        if (value.get_bit(bit)) {
            rtSetBit(octets, kFailureBits, bit);
        }
    }
    // Named bits end at the last one that is set (X.690, clause 11.2.2).
    unsigned int numOctets = kFailureOctets;
    while (octets[numOctets - 1] == 0) {
        --numOctets;
    }
    record.numbits = (numOctets - 1) * 8 + static_cast<unsigned int>(rtOctetBitLen(octets[numOctets - 1]));
    record.data = octets;
}

void ASN1T_PKIFailureInfo_traits::get(const ASN1_T& record, CPKIFailureInfo& value) {
    value.put_value(0);
    for (unsigned int bit = 0; bit < kFailureBits; ++bit) {
        value.put_bit(bit, rtTestBit(record.data, record.numbits, bit) != 0);
    }
}

void ASN1T_PKIStatusInfo_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CPKIStatusInfo& value) {
    record.m = {};
    record.status = value.get_pkiStatus();
    if (value.get_failureInfo().get_value() != 0) {
        record.m.failInfoPresent = 1;
        ASN1T_PKIFailureInfo_traits::set(ctxt, record.failInfo, value.get_failureInfo());
    }
    if (!value.get_statusString().empty()) {
        record.m.statusStringPresent = 1;
        CPKIFreeText_Encode(ctxt, record.statusString, value.get_statusString());
    }
}

void ASN1T_PKIStatusInfo_traits::get(const ASN1_T& record, CPKIStatusInfo& value) {
    CPKIFailureInfo failureInfo(0);
    if (record.m.failInfoPresent != 0) {
        ASN1T_PKIFailureInfo_traits::get(record.failInfo, failureInfo);
    }
    CPKIFreeText statusString;
    if (record.m.statusStringPresent != 0) {
        ctxt_handle context;
        if (!context.init()) {
            ATL::AtlThrowImpl(status::kAsn1Memory);
        }
        CPKIFreeText_Parse(context.get(), statusString, record.statusString);
    }
    value.put_pkiStatus(static_cast<PKIStatusEnum>(record.status));
    value.put_failureInfo(failureInfo);
    value.put_statusString(statusString);
}

}  // namespace Orvane::ASN1
