// Sample: the tables of sample.asn1, written by hand. See sample.h for the remarks.
#include "tests/schema/sample/sample.h"

// EMIT: records have a base with a data member; offsetof is defined for them by both compilers.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// clang-format off

namespace asn1data {

using namespace schema;

// EMIT: identifiers.cpp.
ASN1OBJID id_sample = {2, {2, 999}};
ASN1OBJID id_sample_text = {3, {2, 999, 1}};
ASN1OBJID id_sample_label = {3, {2, 999, 2}};
ASN1OBJID id_sample_flag = {3, {2, 999, 3}};
ASN1OBJID id_sample_bare = {3, {2, 999, 4}};

// EMIT: alias of a primitive: kind of the primitive, size, the one MemberInfo that describes it.
static constexpr MemberInfo kMembers_Level[] = {
    {.kind = Kind::Enumerated, .flags = kBounded, .tag = 0x0000000A, .upper = 4, .path = "*pvalue"},
};
const TypeInfo kType_Level = {.kind = Kind::Enumerated, .numMembers = 1, .size = sizeof(ASN1T_Level), .members = kMembers_Level};

static constexpr MemberInfo kMembers_Serial[] = {
    {.kind = Kind::BigInteger, .tag = 0x00000002},
};
const TypeInfo kType_Serial = {.kind = Kind::BigInteger, .numMembers = 1, .size = sizeof(ASN1T_Serial), .members = kMembers_Serial};

static constexpr MemberInfo kMembers_Salt[] = {
    {.kind = Kind::FixedOctetString, .flags = kBounded, .tag = 0x00000004, .lower = 1, .upper = 8, .path = "pvalue->numocts"},
};
const TypeInfo kType_Salt = {.kind = Kind::FixedOctetString, .numMembers = 1, .size = sizeof(ASN1T_Salt), .members = kMembers_Salt};

static constexpr MemberInfo kMembers_Purpose[] = {
    {.kind = Kind::ObjectId, .tag = 0x00000006},
};
const TypeInfo kType_Purpose = {.kind = Kind::ObjectId, .numMembers = 1, .size = sizeof(ASN1T_Purpose), .members = kMembers_Purpose};

static constexpr MemberInfo kMembers_When[] = {
    {.kind = Kind::CharString, .universal = 24, .tag = 0x00000018},
};
const TypeInfo kType_When = {.kind = Kind::CharString, .numMembers = 1, .size = sizeof(ASN1T_When), .members = kMembers_When};

static constexpr MemberInfo kMembers_Marks[] = {
    {.kind = Kind::BitString, .tag = 0x00000003},
};
const TypeInfo kType_Marks = {.kind = Kind::BitString, .numMembers = 1, .size = sizeof(ASN1T_Marks), .members = kMembers_Marks};

// EMIT: a CHOICE: alternatives in definition order, `tag` the whole tag word with the constructed bit as DER has it.
static constexpr MemberInfo kMembers_Label[] = {
    /* printable */ {.kind = Kind::CharString, .flags = kBounded, .universal = 19, .tag = 0x00000013, .offset = offsetof(ASN1T_Label, u.printable), .lower = 1, .upper = 8, .path = "pvalue->u.printable"},
    /* utf8 */ {.kind = Kind::Utf8String, .flags = kBounded, .tag = 0x0000000C, .offset = offsetof(ASN1T_Label, u.utf8), .lower = 1, .upper = 8, .path = "pvalue->u.utf8"},
    /* number */ {.kind = Kind::Unsigned, .flags = kImplicit, .tag = 0x80000000, .offset = offsetof(ASN1T_Label, u.number)},
    /* octets */ {.kind = Kind::OctetString, .flags = kImplicit | kPointer, .tag = 0x80000001, .offset = offsetof(ASN1T_Label, u.octets)},
    /* message */ {.kind = Kind::Sequence, .flags = kImplicit | kPointer, .tag = 0xA0000002, .offset = offsetof(ASN1T_Label, u.message), .type = &kType_Message},
    /* nothing */ {.kind = Kind::Null, .flags = kImplicit, .tag = 0x80000003},
    /* wrapped */ {.kind = Kind::BitString, .flags = kExplicit | kPointer, .tag = 0xA0000004, .offset = offsetof(ASN1T_Label, u.wrapped)},
};
const TypeInfo kType_Label = {.kind = Kind::Choice, .numMembers = 7, .size = sizeof(ASN1T_Label), .members = kMembers_Label};
ASN1T_Label::ASN1T_Label(ASN1C_Label& control) { schema::copyFromControl(*this, kType_Label, control, &control.msgData); }

// EMIT: a list: the one element; `size` is that of the list record, the element's comes from its own type.
static constexpr MemberInfo kMembers_Labels[] = {
    /* element */ {.kind = Kind::Choice, .type = &kType_Label},
};
const TypeInfo kType_Labels = {.kind = Kind::SequenceOf, .bounded = true, .numMembers = 1, .size = sizeof(ASN1T_Labels), .listOffset = offsetof(ASN1T_Labels, count), .lower = 1, .members = kMembers_Labels};
ASN1T_Labels::ASN1T_Labels(ASN1C_Labels& control) { schema::copyFromControl(*this, kType_Labels, control, &control.msgData); }

static constexpr MemberInfo kMembers_LabelSet[] = {
    /* element */ {.kind = Kind::Choice, .type = &kType_Label},
};
const TypeInfo kType_LabelSet = {.kind = Kind::SetOf, .numMembers = 1, .size = sizeof(ASN1T_LabelSet), .listOffset = offsetof(ASN1T_LabelSet, count), .members = kMembers_LabelSet};
ASN1T_LabelSet::ASN1T_LabelSet(ASN1C_LabelSet& control) { schema::copyFromControl(*this, kType_LabelSet, control, &control.msgData); }

static constexpr MemberInfo kMembers_Purposes[] = {
    /* element */ {.kind = Kind::ObjectId, .tag = 0x00000006},
};
const TypeInfo kType_Purposes = {.kind = Kind::Array, .numMembers = 1, .size = sizeof(ASN1T_Purposes), .listOffset = offsetof(ASN1T_Purposes, n), .members = kMembers_Purposes};
ASN1T_Purposes::ASN1T_Purposes(ASN1C_Purposes& control) { schema::copyFromControl(*this, kType_Purposes, control, &control.msgData); }

// EMIT: a table constraint: behind the member table.
static constexpr MemberInfo kMembers_Typed[] = {
    /* type */ {.kind = Kind::ObjectId, .tag = 0x00000006, .offset = offsetof(ASN1T_Typed, type)},
    /* value */ {.kind = Kind::OpenType, .flags = kOptional, .bit = 0, .offset = offsetof(ASN1T_Typed, value)},
};
static constexpr TableInfo kTable_Typed = {.set = &kAccess<SampleValues, SAMPLE_VALUE>, .keyOffset = offsetof(ASN1T_Typed, type), .rawOffset = offsetof(ASN1T_Typed, value), .objectOffset = offsetof(ASN1T_Typed, valueObject)};
const TypeInfo kType_Typed = {.kind = Kind::Sequence, .numMembers = 2, .numRequired = 1, .size = sizeof(ASN1T_Typed), .presenceOffset = offsetof(ASN1T_Typed, m), .members = kMembers_Typed, .table = &kTable_Typed};
ASN1T_Typed::ASN1T_Typed(ASN1C_Typed& control) { schema::copyFromControl(*this, kType_Typed, control, &control.msgData); }

static constexpr MemberInfo kMembers_TypedList_values[] = {
    /* element */ {.kind = Kind::TypedValue},
};
const TypeInfo kType_TypedList_values = {.kind = Kind::SetOf, .numMembers = 1, .size = sizeof(ASN1T_TypedList_values), .members = kMembers_TypedList_values};

static constexpr MemberInfo kMembers_TypedList[] = {
    /* type */ {.kind = Kind::ObjectId, .tag = 0x00000006, .offset = offsetof(ASN1T_TypedList, type)},
    /* values */ {.kind = Kind::SetOf, .tag = 0x20000011, .offset = offsetof(ASN1T_TypedList, values), .type = &kType_TypedList_values},
};
static constexpr TableInfo kTable_TypedList = {.set = &kAccess<SampleValues, SAMPLE_VALUE>, .keyOffset = offsetof(ASN1T_TypedList, type), .rawOffset = offsetof(ASN1T_TypedList, values), .objectOffset = 0, .isList = true};
const TypeInfo kType_TypedList = {.kind = Kind::Sequence, .numMembers = 2, .numRequired = 2, .size = sizeof(ASN1T_TypedList), .members = kMembers_TypedList, .table = &kTable_TypedList};
ASN1T_TypedList::ASN1T_TypedList(ASN1C_TypedList& control) { schema::copyFromControl(*this, kType_TypedList, control, &control.msgData); }

// EMIT: a member of a type that aliases a primitive gets that primitive's kind and bounds (with its own path); a member
//       of a type with a record gets the form and the type. IMPLICIT on a CHOICE or an open type is EXPLICIT.

static constexpr MemberInfo kMembers_Message[] = {
    /* version */ {.kind = Kind::Unsigned, .flags = kOptional | kExplicit, .bit = 0, .tag = 0xA0000000, .offset = offsetof(ASN1T_Message, version)},
    /* serial */ {.kind = Kind::BigInteger, .tag = 0x00000002, .offset = offsetof(ASN1T_Message, serial)},
    /* critical */ {.kind = Kind::Boolean, .flags = kDefaultFalse, .tag = 0x00000001, .offset = offsetof(ASN1T_Message, critical)},
    /* level */ {.kind = Kind::Enumerated, .flags = kBounded, .tag = 0x0000000A, .offset = offsetof(ASN1T_Message, level), .upper = 4, .path = "pvalue->level"},
    /* labels */ {.kind = Kind::SequenceOf, .tag = 0x20000010, .offset = offsetof(ASN1T_Message, labels), .type = &kType_Labels},
    /* marks */ {.kind = Kind::BitString, .flags = kOptional | kImplicit, .bit = 1, .tag = 0x80000001, .offset = offsetof(ASN1T_Message, marks)},
    /* typed */ {.kind = Kind::Sequence, .flags = kOptional, .bit = 2, .tag = 0x20000010, .offset = offsetof(ASN1T_Message, typed), .type = &kType_Typed},
    /* inner */ {.kind = Kind::Sequence, .flags = kOptional | kImplicit | kPointer, .bit = 3, .tag = 0xA0000002, .offset = offsetof(ASN1T_Message, inner), .type = &kType_Message},
};
const TypeInfo kType_Message = {.kind = Kind::Sequence, .numMembers = 8, .numRequired = 3, .size = sizeof(ASN1T_Message), .presenceOffset = offsetof(ASN1T_Message, m), .members = kMembers_Message};
ASN1T_Message::ASN1T_Message(ASN1C_Message& control) { schema::copyFromControl(*this, kType_Message, control, &control.msgData); }

static constexpr MemberInfo kMembers_Blob[] = {
    /* salt */ {.kind = Kind::FixedOctetString, .flags = kBounded, .tag = 0x00000004, .offset = offsetof(ASN1T_Blob, salt), .lower = 1, .upper = 8, .path = "pvalue->salt.numocts"},
    /* when */ {.kind = Kind::CharString, .flags = kOptional, .bit = 0, .universal = 24, .tag = 0x00000018, .offset = offsetof(ASN1T_Blob, when)},
};
const TypeInfo kType_Blob = {.kind = Kind::Sequence, .extensible = true, .numMembers = 2, .numRequired = 1, .size = sizeof(ASN1T_Blob), .presenceOffset = offsetof(ASN1T_Blob, m), .extensionOffset = offsetof(ASN1T_Blob, extensionAdditions), .members = kMembers_Blob};
ASN1T_Blob::ASN1T_Blob(ASN1C_Blob& control) { schema::copyFromControl(*this, kType_Blob, control, &control.msgData); }

// EMIT: a SET: `tag` is compared whole, as in a CHOICE.
static constexpr MemberInfo kMembers_Pair[] = {
    /* first */ {.kind = Kind::Integer, .flags = kImplicit, .tag = 0x80000000, .offset = offsetof(ASN1T_Pair, first)},
    /* second */ {.kind = Kind::Utf8String, .flags = kOptional | kImplicit, .bit = 0, .tag = 0x80000001, .offset = offsetof(ASN1T_Pair, second)},
};
const TypeInfo kType_Pair = {.kind = Kind::Set, .numMembers = 2, .numRequired = 1, .size = sizeof(ASN1T_Pair), .presenceOffset = offsetof(ASN1T_Pair, m), .members = kMembers_Pair};
ASN1T_Pair::ASN1T_Pair(ASN1C_Pair& control) { schema::copyFromControl(*this, kType_Pair, control, &control.msgData); }

static constexpr MemberInfo kMembers__text_Type[] = {
    {.kind = Kind::Utf8String, .tag = 0x0000000C},
};
const TypeInfo kType__text_Type = {.kind = Kind::Utf8String, .numMembers = 1, .size = sizeof(ASN1T__text_Type), .members = kMembers__text_Type};

text::text() : SAMPLE_VALUE_of(id_sample_text) {}
label::label() : SAMPLE_VALUE_of(id_sample_label) {}
flag::flag() : SAMPLE_VALUE_of(id_sample_flag) {}
bare::bare() : SAMPLE_VALUE_of(id_sample_bare) {}

SampleValues* SampleValues::mpInstance = nullptr;
static pthread_once_t onceSampleValues = PTHREAD_ONCE_INIT;
void SampleValuesOnce() {
    auto* set = new SampleValues;
    set->mObjects[0] = new text;
    set->mObjects[1] = new label;
    set->mObjects[2] = new flag;
    set->mObjects[3] = new bare;
    SampleValues::mpInstance = set;
}
SampleValues* SampleValues::instance(ASN1CTXT* /*ctxt*/) {
    pthread_once(&onceSampleValues, SampleValuesOnce);
    return mpInstance;
}

}  // namespace asn1data
