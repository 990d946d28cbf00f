#include "asn1/text/primitive_traits.h"

#include "asn1/text/object_id_text.h"
#include "asn1/text/time_text.h"
#include "asn1/text/utf8_text.h"
#include "asn1rt/decode.h"
#include "asn1rt/decode_core.h"
#include "asn1rt/decode_strings.h"
#include "asn1rt/decode_values.h"
#include "asn1rt/encode_strings.h"
#include "asn1rt/encode_values.h"

namespace Orvane::ASN1 {

namespace {

constexpr std::uint32_t kBitCountMask = 0x1FFFFFFF;

// Records that are a count and a pointer to octets differ only in name.
template <class Record>
void setOctets(ASN1CTXT* ctxt, Record& record, const unsigned char* data, unsigned long size) {
    record.data = copyBytes(ctxt, data, size);
    record.numocts = static_cast<std::uint32_t>(size);
}

}  // namespace

void ASN1TObjId_traits::set(ASN1CTXT* /*ctxt*/, ASN1OBJID& record, const char* value) {
    if (str2oid(value, &record) != 0) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
}

void ASN1TObjId_traits::get(const ASN1OBJID& record, CStringProxy& value) {
    value = toOID(record);
}

void ASN1TObjId_traits::copy(ASN1CTXT* /*ctxt*/, const ASN1OBJID& from, ASN1OBJID& to) {
    to = from;
}

int ASN1TObjId_traits::ASN1_C::EncodeTo(ASN1BEREncodeBuffer& buffer) {
    const int status = buffer.init();
    return status != 0 ? status : xe_objid(buffer.getCtxtPtr(), &record_, TAG_EXPLICIT);
}

int ASN1TObjId_traits::ASN1_C::DecodeFrom(ASN1BERDecodeBuffer& buffer) {
    const int bound = buffer.init();
    return bound != 0 ? bound : decoding::readObjectId(buffer.getCtxtPtr(), &record_, TAG_EXPLICIT, 0);
}

void ASN1IA5String_traits::set(ASN1CTXT* ctxt, const char*& record, const char* value) {
    record = value != nullptr ? copyText(ctxt, value) : nullptr;
}

void ASN1IA5String_traits::get(const char* record, CStringProxy& value) {
    value = CStringProxy(record);
}

void ASN1IA5String_traits::copy(ASN1CTXT* /*ctxt*/, const char* from, const char*& to) {
    // Copies only the pointer: the records share the text, and the source must outlive the copy.
    to = from;
}

void ASN1UTF8String_traits::set(ASN1CTXT* ctxt, const char*& record, const wchar_t* value) {
    record = copyUtf8(ctxt, value != nullptr ? value : L"", status::kInvalidArgument);
}

void ASN1UTF8String_traits::get(const char* record, CWStringProxy& value) {
    ctxt_handle context;
    if (!context.init()) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
    value = CWStringProxy(wideFromUtf8(context.get(), record, status::kAsn1Error));
}

void ASN1UTF8String_traits::copy(ASN1CTXT* ctxt, const char* from, const char*& to) {
    to = from != nullptr ? copyText(ctxt, from) : nullptr;
}

void ASN1TDynOctStr_traits::set(ASN1CTXT* ctxt, ASN1TDynOctStr& record, const CBlob& value) {
    setOctets(ctxt, record, value.pbData(), value.cbData());
}

void ASN1TDynOctStr_traits::get(const ASN1TDynOctStr& record, CBlob& value) {
    value.assign(record.data, record.numocts);
}

void ASN1TDynOctStr_traits::copy(ASN1CTXT* ctxt, const ASN1TDynOctStr& from, ASN1TDynOctStr& to) {
    setOctets(ctxt, to, from.data, from.numocts);
}

void ASN1TDynBitStr_traits::set(ASN1CTXT* ctxt, ASN1TDynBitStr& record, const CBlob& value) {
    record.data = copyBytes(ctxt, value.pbData(), value.cbData());
    record.numbits = (static_cast<std::uint32_t>(value.cbData()) & kBitCountMask) * 8;
}

void ASN1TDynBitStr_traits::get(const ASN1TDynBitStr& record, CBlob& value) {
    value.assign(record.data, record.numbits / 8 + (record.numbits % 8 != 0 ? 1 : 0));
}

void ASN1TDynBitStr_traits::copy(ASN1CTXT* ctxt, const ASN1TDynBitStr& from, ASN1TDynBitStr& to) {
    to.data = copyBytes(ctxt, from.data, from.numbits / 8 + (from.numbits % 8 != 0 ? 1 : 0));
    to.numbits = from.numbits;
}

void ASN1TOpenType_traits::set(ASN1CTXT* ctxt, ASN1TOpenType& record, const CBlob& value) {
    setOctets(ctxt, record, value.pbData(), value.cbData());
}

void ASN1TOpenType_traits::get(const ASN1TOpenType& record, CBlob& value) {
    value.assign(record.data, record.numocts);
}

void ASN1TOpenType_traits::copy(ASN1CTXT* ctxt, const ASN1TOpenType& from, ASN1TOpenType& to) {
    setOctets(ctxt, to, from.data, from.numocts);
}

void Asn1TObject_traits::set(ASN1CTXT* ctxt, Asn1TObject& record, const CBlob& value) {
    record = Asn1TObject{};
    ASN1TOpenType_traits::set(ctxt, record.encoded, value);
}

void Asn1TObject_traits::get(const Asn1TObject& record, CBlob& value) {
    ASN1TOpenType_traits::get(record.encoded, value);
}

void Asn1TObject_traits::copy(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) {
    to = Asn1TObject{};
    ASN1TOpenType_traits::copy(ctxt, from.encoded, to.encoded);
}

void ASN1GeneralizedTime_traits::set(ASN1CTXT* ctxt, const char*& record, const CDateTime& value) {
    record = DateToASN1GeneralizedTime(ctxt, value, true);
}

void ASN1GeneralizedTime_traits::get(const char* record, CDateTime& value) {
    value = CDateTime(record);
}

void ASN1GeneralizedTime_traits::copy(ASN1CTXT* ctxt, const char* from, const char*& to) {
    to = DateToASN1GeneralizedTime(ctxt, CDateTime(from), true);
}

int ASN1GeneralizedTime_traits::encode(ASN1BEREncodeBuffer& buffer, const char* record) {
    const int status = buffer.init();
    return status != 0 ? status : xe_charstr(buffer.getCtxtPtr(), record, TAG_EXPLICIT, kTagGeneralizedTime);
}

int ASN1GeneralizedTime_traits::decode(ASN1BERDecodeBuffer& buffer, const char*& record) {
    const int bound = buffer.init();
    return bound != 0 ? bound : xd_charstr(buffer.getCtxtPtr(), &record, TAG_EXPLICIT, kTagGeneralizedTime, 0);
}

}  // namespace Orvane::ASN1
