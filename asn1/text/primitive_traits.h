// Traits of the primitive schema types. Where a type has no own control class, the small ones here run the
// runtime's reader and writer on the message buffer.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1rt/message_buffer.h"
#include "asn1rt/schema_types.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// OBJECT IDENTIFIER and dotted decimal text. Text that does not convert throws kInvalidArgument.
struct ASN1TObjId_traits {
    using ASN1_T = ASN1TObjId;
    class ASN1_C;

    static void set(ASN1CTXT* ctxt, ASN1OBJID& record, const char* value);
    static void get(const ASN1OBJID& record, CStringProxy& value);
    static void copy(ASN1CTXT* ctxt, const ASN1OBJID& from, ASN1OBJID& to);
};

class ASN1TObjId_traits::ASN1_C {
public:
    ASN1_C(ASN1MessageBufferIF& buffer, ASN1TObjId& record) : record_(record) { static_cast<void>(buffer); }
    [[nodiscard]] int EncodeTo(ASN1BEREncodeBuffer& buffer);
    [[nodiscard]] int DecodeFrom(ASN1BERDecodeBuffer& buffer);

private:
    ASN1TObjId& record_;
};

/// IA5String and narrow text. A null text stays null, and cannot be encoded.
struct ASN1IA5String_traits {
    using ASN1_T = const char*;

    static void set(ASN1CTXT* ctxt, const char*& record, const char* value);
    static void get(const char* record, CStringProxy& value);
    /// `to` shares the text of `from` and must not outlive it.
    static void copy(ASN1CTXT* ctxt, const char* from, const char*& to);
};

/// UTF8String and wide text. A character that has no UTF-8 form throws kInvalidArgument, malformed UTF-8 kAsn1Error.
struct ASN1UTF8String_traits {
    using ASN1_T = const char*;

    static void set(ASN1CTXT* ctxt, const char*& record, const wchar_t* value);
    static void get(const char* record, CWStringProxy& value);
    static void copy(ASN1CTXT* ctxt, const char* from, const char*& to);
};

/// OCTET STRING and its octets.
struct ASN1TDynOctStr_traits {
    using ASN1_T = ASN1TDynOctStr;

    static void set(ASN1CTXT* ctxt, ASN1TDynOctStr& record, const CBlob& value);
    static void get(const ASN1TDynOctStr& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const ASN1TDynOctStr& from, ASN1TDynOctStr& to);
};

/// BIT STRING and its whole octets: the number of unused bits is lost.
struct ASN1TDynBitStr_traits {
    using ASN1_T = ASN1TDynBitStr;

    static void set(ASN1CTXT* ctxt, ASN1TDynBitStr& record, const CBlob& value);
    static void get(const ASN1TDynBitStr& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const ASN1TDynBitStr& from, ASN1TDynBitStr& to);
};

/// Open type and its encoded element.
struct ASN1TOpenType_traits {
    using ASN1_T = ASN1TOpenType;

    static void set(ASN1CTXT* ctxt, ASN1TOpenType& record, const CBlob& value);
    static void get(const ASN1TOpenType& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const ASN1TOpenType& from, ASN1TOpenType& to);
};

/// The same for an open type that the schema may decode: the encoded element only.
struct Asn1TObject_traits {
    using ASN1_T = Asn1TObject;

    static void set(ASN1CTXT* ctxt, Asn1TObject& record, const CBlob& value);
    static void get(const Asn1TObject& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to);
};

/// GeneralizedTime and a point in time, cut to whole seconds when it is written. Malformed text throws as the
/// constructor of CDateTime does.
struct ASN1GeneralizedTime_traits {
    using ASN1_T = const char*;
    class ASN1_C;

    static void set(ASN1CTXT* ctxt, const char*& record, const CDateTime& value);
    static void get(const char* record, CDateTime& value);
    static void copy(ASN1CTXT* ctxt, const char* from, const char*& to);

    /// The length of the message, or a negative status.
    [[nodiscard]] static int encode(ASN1BEREncodeBuffer& buffer, const char* record);
    /// 0 or a negative status.
    [[nodiscard]] static int decode(ASN1BERDecodeBuffer& buffer, const char*& record);
};

class ASN1GeneralizedTime_traits::ASN1_C {
public:
    ASN1_C(ASN1MessageBufferIF& buffer, const char*& record) : record_(record) { static_cast<void>(buffer); }
    [[nodiscard]] int EncodeTo(ASN1BEREncodeBuffer& buffer) { return encode(buffer, record_); }
    [[nodiscard]] int DecodeFrom(ASN1BERDecodeBuffer& buffer) { return decode(buffer, record_); }

private:
    const char*& record_;
};

}  // namespace Orvane::ASN1
