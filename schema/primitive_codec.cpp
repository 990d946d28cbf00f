// Values of primitive types: one switch per direction over the runtime's readers and writers, plus the checks of the
// bounds that the schema declares.
#include <cstring>

#include "asn1rt/decode_core.h"
#include "asn1rt/decode_strings.h"
#include "asn1rt/decode_values.h"
#include "asn1rt/encode_strings.h"
#include "asn1rt/encode_values.h"
#include "asn1rt/open_type.h"
#include "schema/codec_steps.h"

namespace schema {

namespace {

/// FixedOctetString: the octets follow their count.
struct FixedOctets {
    std::uint32_t numocts;
    std::uint8_t data[1];
};

std::uint32_t countCharacters(const char* text) {
    std::uint32_t count = 0;
    for (; *text != '\0'; ++text) {
        count += (static_cast<std::uint8_t>(*text) & 0xC0U) != 0x80U ? 1 : 0;
    }
    return count;
}

/// The quantity that the bounds of the member limit.
std::uint32_t measure(const MemberInfo& member, const void* slot) {
    switch (member.kind) {
        case Kind::CharString: {
            const auto* text = *static_cast<const char* const*>(slot);
            return text == nullptr ? 0 : static_cast<std::uint32_t>(std::strlen(text));
        }
        case Kind::Utf8String: {
            const auto* text = *static_cast<const char* const*>(slot);
            return text == nullptr ? 0 : countCharacters(text);
        }
        default:
            return *static_cast<const std::uint32_t*>(slot);  // a number, or the count at the start of any other string
    }
}

bool isWithin(const MemberInfo& member, std::uint32_t measured) {
    if (member.kind == Kind::Integer) {
        const auto value = static_cast<std::int32_t>(measured);
        return value >= static_cast<std::int32_t>(member.lower) && value <= static_cast<std::int32_t>(member.upper);
    }
    return measured >= member.lower && measured <= member.upper;
}

int checkBounds(ASN1CTXT* ctxt, const MemberInfo& member, const void* slot) {
    const std::uint32_t measured = measure(member, slot);
    if (isWithin(member, measured)) {
        return 0;
    }
    return member.kind == Kind::Enumerated ? STATUS_BAD_ENUM : failConstraint(ctxt, member.path, measured);
}

int encodeUnchecked(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType) {
    switch (member.kind) {
        case Kind::Boolean:
            return xe_boolean(ctxt, static_cast<std::uint8_t*>(slot), tagType);
        case Kind::Integer:
            return xe_integer(ctxt, static_cast<std::int32_t*>(slot), tagType);
        case Kind::Unsigned:
            return xe_unsigned(ctxt, static_cast<std::uint32_t*>(slot), tagType);
        case Kind::Enumerated:
            return xe_enum(ctxt, static_cast<std::int32_t*>(slot), tagType);
        case Kind::BigInteger:
            return xe_bigint(ctxt, *static_cast<const char**>(slot), tagType);
        case Kind::Null:
            return xe_null(ctxt, tagType);
        case Kind::ObjectId:
            return xe_objid(ctxt, static_cast<ASN1TObjId*>(slot), tagType);
        case Kind::OctetString: {
            const auto* value = static_cast<ASN1TDynOctStr*>(slot);
            return xe_octstr(ctxt, value->data, value->numocts, tagType);
        }
        case Kind::FixedOctetString: {
            const auto* value = static_cast<FixedOctets*>(slot);
            return xe_octstr(ctxt, value->data, value->numocts, tagType);
        }
        case Kind::BitString: {
            const auto* value = static_cast<ASN1TDynBitStr*>(slot);
            return xe_bitstr(ctxt, value->data, value->numbits, tagType);
        }
        case Kind::CharString:
            return xe_charstr(ctxt, *static_cast<const char**>(slot), tagType, member.universal);
        case Kind::Utf8String:
            return xe_charstr(ctxt, *static_cast<const char**>(slot), tagType, kTagUtf8String);
        case Kind::BmpString:
            return xe_16BitCharStr(ctxt, static_cast<ASN1T16BitCharStr*>(slot), tagType, kTagBmpString);
        case Kind::UniversalString:
            return xe_32BitCharStr(ctxt, static_cast<ASN1T32BitCharStr*>(slot), tagType, kTagUniversalString);
        case Kind::OpenType:
        case Kind::TypedValue: {  // which starts with its raw octets
            const auto* value = static_cast<ASN1TOpenType*>(slot);
            return xe_OpenType(ctxt, value->data, value->numocts);
        }
        default:
            return STATUS_BAD_VALUE;
    }
}

int decodeOpenType(ASN1CTXT* ctxt, ASN1TOpenType& value) {
    value = {};
    return xd_OpenType(ctxt, &value.data, &value.numocts);
}

int decodeUnchecked(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType, int length) {
    switch (member.kind) {
        case Kind::Boolean:
            return xd_boolean(ctxt, static_cast<std::uint8_t*>(slot), tagType, length);
        case Kind::Integer:
            return xd_integer(ctxt, static_cast<std::int32_t*>(slot), tagType, length);
        case Kind::Unsigned:
            return xd_unsigned(ctxt, static_cast<std::uint32_t*>(slot), tagType, length);
        case Kind::Enumerated:
            return xd_enum(ctxt, static_cast<std::int32_t*>(slot), tagType, length);
        case Kind::BigInteger:
            return xd_bigint(ctxt, static_cast<const char**>(slot), tagType, length);
        case Kind::Null:
            return xd_null(ctxt, tagType);
        case Kind::ObjectId:
            return decoding::readObjectId(ctxt, static_cast<ASN1TObjId*>(slot), tagType, length);
        case Kind::OctetString: {
            auto* value = static_cast<ASN1TDynOctStr*>(slot);
            return xd_octstr(ctxt, &value->data, &value->numocts, tagType, length);
        }
        case Kind::FixedOctetString: {
            auto* value = static_cast<FixedOctets*>(slot);
            value->numocts = member.upper;
            return xd_octstr_s(ctxt, value->data, &value->numocts, tagType, length);
        }
        case Kind::BitString: {
            auto* value = static_cast<ASN1TDynBitStr*>(slot);
            return xd_bitstr(ctxt, &value->data, &value->numbits, tagType, length);
        }
        case Kind::CharString:
            return xd_charstr(ctxt, static_cast<const char**>(slot), tagType, member.universal, length);
        case Kind::Utf8String:
            return xd_charstr(ctxt, static_cast<const char**>(slot), tagType, kTagUtf8String, length);
        case Kind::BmpString:
            return xd_16BitCharStr(ctxt, static_cast<ASN1T16BitCharStr*>(slot), tagType, kTagBmpString, length);
        case Kind::UniversalString:
            return xd_32BitCharStr(ctxt, static_cast<ASN1T32BitCharStr*>(slot), tagType, kTagUniversalString, length);
        case Kind::OpenType:
            return decodeOpenType(ctxt, *static_cast<ASN1TOpenType*>(slot));
        case Kind::TypedValue:
            return decodeOpenType(ctxt, static_cast<Asn1TObject*>(slot)->encoded);
        default:
            return STATUS_BAD_VALUE;
    }
}

std::size_t primitiveSize(const MemberInfo& member) {
    switch (member.kind) {
        case Kind::Boolean:
        case Kind::Null:
            return sizeof(std::uint8_t);
        case Kind::Integer:
        case Kind::Unsigned:
        case Kind::Enumerated:
            return sizeof(std::uint32_t);
        case Kind::ObjectId:
            return sizeof(ASN1TObjId);
        case Kind::FixedOctetString:
            return sizeof(std::uint32_t) + (member.upper + 3U) / 4U * 4U;
        case Kind::BigInteger:
        case Kind::CharString:
        case Kind::Utf8String:
            return sizeof(const char*);
        case Kind::TypedValue:
            return sizeof(Asn1TObject);
        default:
            return sizeof(ASN1TDynOctStr);  // a count and a pointer
    }
}

}  // namespace

std::size_t storageSize(const MemberInfo& member) {
    return member.type != nullptr ? member.type->size : primitiveSize(member);
}

int failConstraint(ASN1CTXT* ctxt, const char* path, std::uint32_t count) {
    rtErrAddStrParm(&ctxt->errInfo, path);
    rtErrAddIntParm(&ctxt->errInfo, static_cast<int>(count));
    return STATUS_CONSTRAINT;
}

int encodePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType) {
    const int status = (member.flags & kBounded) != 0 ? checkBounds(ctxt, member, slot) : 0;
    return status != 0 ? status : encodeUnchecked(ctxt, member, slot, tagType);
}

int decodePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType, int length) {
    const int status = decodeUnchecked(ctxt, member, slot, tagType, length);
    return status == 0 && (member.flags & kBounded) != 0 ? checkBounds(ctxt, member, slot) : status;
}

}  // namespace schema
