// Sample: what the schema compiler makes of sample.asn1, written by hand.
//
// Remarks for the emitter stand behind "EMIT:"; they are no part of a generated file.
// EMIT: three files a module: <module>.h, <module>.cpp, and one identifiers.h/.cpp for the constants of all modules.
// EMIT: names: "-" becomes "_". ASN1T_, ASN1C_, kType_, kMembers_ and the ASN.1 name. The lifted types keep the names
//       that the modules' rules give them (_SeqOfX, T_member, _object_Type).
// EMIT: order: forward declarations of all records and control classes; extern declarations of all TypeInfos; then, in
//       an order in which an embedded record is complete (definition order where possible), type after type.
#pragma once

#include "schema/control.h"
#include "schema/object_set.h"

// EMIT: lines are as long as they are; one function is one line.
// clang-format off

namespace asn1data {

// EMIT: identifiers.h. Global, in the data segment, const in meaning only.
extern ASN1OBJID id_sample;
extern ASN1OBJID id_sample_text;
extern ASN1OBJID id_sample_label;
extern ASN1OBJID id_sample_flag;
extern ASN1OBJID id_sample_bare;

// EMIT: forward declarations: records that are a struct of their own (not the `using` ones) and their control classes.
struct ASN1T_Label;
struct ASN1T_Labels;
struct ASN1T_LabelSet;
struct ASN1T_Purposes;
struct ASN1T_Typed;
struct ASN1T_TypedList;
struct ASN1T_Message;
struct ASN1T_Blob;
struct ASN1T_Pair;
class ASN1C_Label;
class ASN1C_Labels;
class ASN1C_LabelSet;
class ASN1C_Purposes;
class ASN1C_Typed;
class ASN1C_TypedList;
class ASN1C_Message;
class ASN1C_Blob;
class ASN1C_Pair;

extern const schema::TypeInfo kType_Level;
extern const schema::TypeInfo kType_Serial;
extern const schema::TypeInfo kType_Salt;
extern const schema::TypeInfo kType_Purpose;
extern const schema::TypeInfo kType_When;
extern const schema::TypeInfo kType_Marks;
extern const schema::TypeInfo kType_Label;
extern const schema::TypeInfo kType_Labels;
extern const schema::TypeInfo kType_LabelSet;
extern const schema::TypeInfo kType_Purposes;
extern const schema::TypeInfo kType_TypedList_values;
extern const schema::TypeInfo kType_Typed;
extern const schema::TypeInfo kType_TypedList;
extern const schema::TypeInfo kType_Message;
extern const schema::TypeInfo kType_Blob;
extern const schema::TypeInfo kType_Pair;
extern const schema::TypeInfo kType__text_Type;

// Level ::= ENUMERATED { low(0), middle(1), high(4) }                                                   sample.asn1:18
// EMIT: alias of a primitive: a `using`, and the four functions over a pointer to the primitive. Enumerators and named
//       numbers and bits are constants <Type>_<name> for the reader; the codec checks the largest enumerator only.
// EMIT: bases of control classes: RecordBase (SEQUENCE, SET, CHOICE, array, primitives), ListBase (linked lists),
//       BitStringBase (BIT STRING), GeneralizedTimeBase (GeneralizedTime), UtcTimeBase (UTCTime).
using ASN1T_Level = std::uint32_t;
enum : std::uint32_t { Level_low = 0, Level_middle = 1, Level_high = 4 };
inline int asn1E_Level(ASN1CTXT* ctxt, ASN1T_Level* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Level, value, tagType); }
inline int asn1D_Level(ASN1CTXT* ctxt, ASN1T_Level* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Level, value, tagType, length); }
inline void asn1Copy_Level(ASN1CTXT* ctxt, const ASN1T_Level* source, ASN1T_Level* destination) { schema::copyValue(ctxt, kType_Level, source, destination); }
inline void asn1Free_Level(ASN1CTXT* ctxt, ASN1T_Level* value) { schema::freeValue(ctxt, kType_Level, value); }
class ASN1C_Level : public schema::Control<schema::RecordBase, ASN1T_Level, kType_Level> { using Control::Control; };

// Serial ::= INTEGER                                                                                      sample.asn1:21
using ASN1T_Serial = const char*;
inline int asn1E_Serial(ASN1CTXT* ctxt, ASN1T_Serial* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Serial, value, tagType); }
inline int asn1D_Serial(ASN1CTXT* ctxt, ASN1T_Serial* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Serial, value, tagType, length); }
inline void asn1Copy_Serial(ASN1CTXT* ctxt, const ASN1T_Serial* source, ASN1T_Serial* destination) { schema::copyValue(ctxt, kType_Serial, source, destination); }
inline void asn1Free_Serial(ASN1CTXT* ctxt, ASN1T_Serial* value) { schema::freeValue(ctxt, kType_Serial, value); }
class ASN1C_Serial : public schema::Control<schema::RecordBase, ASN1T_Serial, kType_Serial> { using Control::Control; };

// Salt ::= OCTET STRING (SIZE (1..8))                                                                      sample.asn1:23
// EMIT: an OCTET STRING with a largest size of 64 or less is held in place.
struct ASN1T_Salt { std::uint32_t numocts = 0; std::uint8_t data[8] = {}; };
inline int asn1E_Salt(ASN1CTXT* ctxt, ASN1T_Salt* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Salt, value, tagType); }
inline int asn1D_Salt(ASN1CTXT* ctxt, ASN1T_Salt* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Salt, value, tagType, length); }
inline void asn1Copy_Salt(ASN1CTXT* ctxt, const ASN1T_Salt* source, ASN1T_Salt* destination) { schema::copyValue(ctxt, kType_Salt, source, destination); }
inline void asn1Free_Salt(ASN1CTXT* ctxt, ASN1T_Salt* value) { schema::freeValue(ctxt, kType_Salt, value); }
class ASN1C_Salt : public schema::Control<schema::RecordBase, ASN1T_Salt, kType_Salt> { using Control::Control; };

// Purpose ::= OBJECT IDENTIFIER                                                                            sample.asn1:25
using ASN1T_Purpose = ASN1TObjId;
inline int asn1E_Purpose(ASN1CTXT* ctxt, ASN1T_Purpose* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Purpose, value, tagType); }
inline int asn1D_Purpose(ASN1CTXT* ctxt, ASN1T_Purpose* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Purpose, value, tagType, length); }
inline void asn1Copy_Purpose(ASN1CTXT* ctxt, const ASN1T_Purpose* source, ASN1T_Purpose* destination) { schema::copyValue(ctxt, kType_Purpose, source, destination); }
inline void asn1Free_Purpose(ASN1CTXT* ctxt, ASN1T_Purpose* value) { schema::freeValue(ctxt, kType_Purpose, value); }
class ASN1C_Purpose : public schema::Control<schema::RecordBase, ASN1T_Purpose, kType_Purpose> { using Control::Control; };

// When ::= GeneralizedTime                                                                                 sample.asn1:27
using ASN1T_When = const char*;
inline int asn1E_When(ASN1CTXT* ctxt, ASN1T_When* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_When, value, tagType); }
inline int asn1D_When(ASN1CTXT* ctxt, ASN1T_When* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_When, value, tagType, length); }
inline void asn1Copy_When(ASN1CTXT* ctxt, const ASN1T_When* source, ASN1T_When* destination) { schema::copyValue(ctxt, kType_When, source, destination); }
inline void asn1Free_When(ASN1CTXT* ctxt, ASN1T_When* value) { schema::freeValue(ctxt, kType_When, value); }
class ASN1C_When : public schema::Control<schema::GeneralizedTimeBase, ASN1T_When, kType_When> { using Control::Control; };

// Marks ::= BIT STRING { first(0), second(1) }                                                             sample.asn1:29
using ASN1T_Marks = ASN1TDynBitStr;
enum : std::uint32_t { Marks_first = 0, Marks_second = 1 };
inline int asn1E_Marks(ASN1CTXT* ctxt, ASN1T_Marks* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Marks, value, tagType); }
inline int asn1D_Marks(ASN1CTXT* ctxt, ASN1T_Marks* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Marks, value, tagType, length); }
inline void asn1Copy_Marks(ASN1CTXT* ctxt, const ASN1T_Marks* source, ASN1T_Marks* destination) { schema::copyValue(ctxt, kType_Marks, source, destination); }
inline void asn1Free_Marks(ASN1CTXT* ctxt, ASN1T_Marks* value) { schema::freeValue(ctxt, kType_Marks, value); }
class ASN1C_Marks : public schema::Control<schema::BitStringBase, ASN1T_Marks, kType_Marks> { using Control::Control; };

// Label ::= CHOICE { ... }                                                                                 sample.asn1:31
// EMIT: character strings, numbers and booleans stand in the union by value; everything else, primitive records such as
//       ASN1TDynOctStr and ASN1TObjId included, by pointer. NULL has no place in it.
struct ASN1T_Label : ASN1TPDU {
    enum : std::uint32_t { T_printable = 1, T_utf8 = 2, T_number = 3, T_octets = 4, T_message = 5, T_nothing = 6, T_wrapped = 7 };
    std::uint32_t t = 0;
    union {
        const char* printable = nullptr;  // t = 1
        const char* utf8;                 // t = 2
        std::uint32_t number;             // t = 3
        ASN1TDynOctStr* octets;           // t = 4
        ASN1T_Message* message;           // t = 5
        ASN1TDynBitStr* wrapped;          // t = 7
    } u;

    ASN1T_Label() = default;
    explicit ASN1T_Label(ASN1C_Label& control);
    ASN1T_Label(const ASN1T_Label&) = default;
    ASN1T_Label& operator=(const ASN1T_Label&) = default;
    ~ASN1T_Label() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_Label, this); }
};
inline int asn1E_Label(ASN1CTXT* ctxt, ASN1T_Label* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Label, value, tagType); }
inline int asn1D_Label(ASN1CTXT* ctxt, ASN1T_Label* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Label, value, tagType, length); }
inline void asn1Copy_Label(ASN1CTXT* ctxt, const ASN1T_Label* source, ASN1T_Label* destination) { schema::copyValue(ctxt, kType_Label, source, destination); }
inline void asn1Free_Label(ASN1CTXT* ctxt, ASN1T_Label* value) { schema::freeValue(ctxt, kType_Label, value); }
class ASN1C_Label : public schema::Control<schema::RecordBase, ASN1T_Label, kType_Label> { using Control::Control; };

// Labels ::= SEQUENCE SIZE (1..MAX) OF Label                                                               sample.asn1:41
// EMIT: a named list is a record of its own; a lifted one (_SeqOfX, T_member) is `using ... = ASN1TSeqOfList`.
struct ASN1T_Labels : ASN1TPDUSeqOfList {
    // elements: ASN1T_Label

    ASN1T_Labels() = default;
    explicit ASN1T_Labels(ASN1C_Labels& control);
    ASN1T_Labels(const ASN1T_Labels&) = default;
    ASN1T_Labels& operator=(const ASN1T_Labels&) = default;
    ~ASN1T_Labels() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_Labels, this); }
};
inline int asn1E_Labels(ASN1CTXT* ctxt, ASN1T_Labels* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Labels, value, tagType); }
inline int asn1D_Labels(ASN1CTXT* ctxt, ASN1T_Labels* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Labels, value, tagType, length); }
inline void asn1Copy_Labels(ASN1CTXT* ctxt, const ASN1T_Labels* source, ASN1T_Labels* destination) { schema::copyValue(ctxt, kType_Labels, source, destination); }
inline void asn1Free_Labels(ASN1CTXT* ctxt, ASN1T_Labels* value) { schema::freeValue(ctxt, kType_Labels, value); }
class ASN1C_Labels : public schema::Control<schema::ListBase, ASN1T_Labels, kType_Labels> { using Control::Control; };

// OtherLabels ::= Labels                                                                                   sample.asn1:43
// EMIT: alias of a type with a record: the same record and TypeInfo; the control class derives from the other one.
using ASN1T_OtherLabels = ASN1T_Labels;
inline int asn1E_OtherLabels(ASN1CTXT* ctxt, ASN1T_OtherLabels* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Labels, value, tagType); }
inline int asn1D_OtherLabels(ASN1CTXT* ctxt, ASN1T_OtherLabels* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Labels, value, tagType, length); }
inline void asn1Copy_OtherLabels(ASN1CTXT* ctxt, const ASN1T_OtherLabels* source, ASN1T_OtherLabels* destination) { schema::copyValue(ctxt, kType_Labels, source, destination); }
inline void asn1Free_OtherLabels(ASN1CTXT* ctxt, ASN1T_OtherLabels* value) { schema::freeValue(ctxt, kType_Labels, value); }
class ASN1C_OtherLabels : public ASN1C_Labels { using ASN1C_Labels::ASN1C_Labels; };

// LabelSet ::= SET OF Label                                                                                sample.asn1:45
struct ASN1T_LabelSet : ASN1TPDUSeqOfList {
    // elements: ASN1T_Label

    ASN1T_LabelSet() = default;
    explicit ASN1T_LabelSet(ASN1C_LabelSet& control);
    ASN1T_LabelSet(const ASN1T_LabelSet&) = default;
    ASN1T_LabelSet& operator=(const ASN1T_LabelSet&) = default;
    ~ASN1T_LabelSet() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_LabelSet, this); }
};
inline int asn1E_LabelSet(ASN1CTXT* ctxt, ASN1T_LabelSet* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_LabelSet, value, tagType); }
inline int asn1D_LabelSet(ASN1CTXT* ctxt, ASN1T_LabelSet* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_LabelSet, value, tagType, length); }
inline void asn1Copy_LabelSet(ASN1CTXT* ctxt, const ASN1T_LabelSet* source, ASN1T_LabelSet* destination) { schema::copyValue(ctxt, kType_LabelSet, source, destination); }
inline void asn1Free_LabelSet(ASN1CTXT* ctxt, ASN1T_LabelSet* value) { schema::freeValue(ctxt, kType_LabelSet, value); }
class ASN1C_LabelSet : public schema::Control<schema::ListBase, ASN1T_LabelSet, kType_LabelSet> { using Control::Control; };

// Purposes ::= SEQUENCE OF Purpose                                                                         sample.asn1:48
struct ASN1T_Purposes : ASN1TPDU {
    std::uint32_t n = 0;
    ASN1TObjId* elem = nullptr;

    ASN1T_Purposes() = default;
    explicit ASN1T_Purposes(ASN1C_Purposes& control);
    ASN1T_Purposes(const ASN1T_Purposes&) = default;
    ASN1T_Purposes& operator=(const ASN1T_Purposes&) = default;
    ~ASN1T_Purposes() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_Purposes, this); }
};
inline int asn1E_Purposes(ASN1CTXT* ctxt, ASN1T_Purposes* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Purposes, value, tagType); }
inline int asn1D_Purposes(ASN1CTXT* ctxt, ASN1T_Purposes* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Purposes, value, tagType, length); }
inline void asn1Copy_Purposes(ASN1CTXT* ctxt, const ASN1T_Purposes* source, ASN1T_Purposes* destination) { schema::copyValue(ctxt, kType_Purposes, source, destination); }
inline void asn1Free_Purposes(ASN1CTXT* ctxt, ASN1T_Purposes* value) { schema::freeValue(ctxt, kType_Purposes, value); }
class ASN1C_Purposes : public schema::Control<schema::RecordBase, ASN1T_Purposes, kType_Purposes> { using Control::Control; };

// SAMPLE-VALUE ::= CLASS { ... }                                                                           sample.asn1:13
// EMIT: operations are named after the type field: &Type gives ...Type, &ExtnType gives ...ExtnType. The key is `id`,
//       whatever the class calls it.
// EMIT: kAccess of object_set.h reaches the operations through the four static functions.
class SAMPLE_VALUE {
public:
    ASN1TObjId id;
    virtual void* constructASN1TType(ASN1CTXT* ctxt) = 0;
    virtual ASN1CType* constructASN1CType(ASN1MessageBufferIF& buffer, void* record) = 0;
    virtual void destructASN1CType(ASN1CType* control) = 0;
    virtual ~SAMPLE_VALUE() = default;
    virtual int encodeBERType(ASN1CTXT* ctxt, Asn1TObject& object) = 0;
    virtual int decodeBERType(ASN1CTXT* ctxt, Asn1TObject& object) = 0;
    virtual void copyType(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) = 0;
    virtual void freeType(ASN1CTXT* ctxt, Asn1TObject& object) = 0;

    static int encodeValue(SAMPLE_VALUE& self, ASN1CTXT* ctxt, Asn1TObject& object) { return self.encodeBERType(ctxt, object); }
    static int decodeValue(SAMPLE_VALUE& self, ASN1CTXT* ctxt, Asn1TObject& object) { return self.decodeBERType(ctxt, object); }
    static void copyValue(SAMPLE_VALUE& self, ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) { self.copyType(ctxt, from, to); }
    static void freeValue(SAMPLE_VALUE& self, ASN1CTXT* ctxt, Asn1TObject& object) { self.freeType(ctxt, object); }

protected:
    explicit SAMPLE_VALUE(const ASN1OBJID& key) : id(key) {}
};

template <class Value>
class SAMPLE_VALUE_of : public SAMPLE_VALUE {
public:
    void* constructASN1TType(ASN1CTXT* ctxt) override { return Value::construct(ctxt); }
    ASN1CType* constructASN1CType(ASN1MessageBufferIF& buffer, void* record) override { return Value::constructControl(buffer, record); }
    void destructASN1CType(ASN1CType* control) override { Value::destructControl(control); }
    int encodeBERType(ASN1CTXT* ctxt, Asn1TObject& object) override { return Value::encode(ctxt, object); }
    int decodeBERType(ASN1CTXT* ctxt, Asn1TObject& object) override { return Value::decode(ctxt, object); }
    void copyType(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) override { Value::copy(ctxt, from, to); }
    void freeType(ASN1CTXT* ctxt, Asn1TObject& object) override { Value::free(ctxt, object); }

protected:
    using SAMPLE_VALUE::SAMPLE_VALUE;
};

// Typed ::= SEQUENCE { ... }                                                                               sample.asn1:50
// EMIT: the member with the open value keeps the raw octets under its own name; behind the last member stands
//       <member>Object with the decoded form. An OCTET STRING member with a table constraint (a type field in CONTAINING
//       position, as in an extension) is ASN1TDynOctStr in place of ASN1TOpenType; nothing else differs.
struct ASN1T_Typed : ASN1TPDU {
    struct { unsigned valuePresent : 1; } m = {};
    ASN1TObjId type;
    ASN1TOpenType value;
    Asn1TObject valueObject;

    ASN1T_Typed() = default;
    explicit ASN1T_Typed(ASN1C_Typed& control);
    ASN1T_Typed(const ASN1T_Typed&) = default;
    ASN1T_Typed& operator=(const ASN1T_Typed&) = default;
    ~ASN1T_Typed() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_Typed, this); }
};
inline int asn1E_Typed(ASN1CTXT* ctxt, ASN1T_Typed* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Typed, value, tagType); }
inline int asn1D_Typed(ASN1CTXT* ctxt, ASN1T_Typed* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Typed, value, tagType, length); }
inline void asn1Copy_Typed(ASN1CTXT* ctxt, const ASN1T_Typed* source, ASN1T_Typed* destination) { schema::copyValue(ctxt, kType_Typed, source, destination); }
inline void asn1Free_Typed(ASN1CTXT* ctxt, ASN1T_Typed* value) { schema::freeValue(ctxt, kType_Typed, value); }
inline int asn1ETC_Typed(ASN1CTXT* ctxt, ASN1T_Typed* value) { return schema::encodeTable(ctxt, kType_Typed, value); }
inline int asn1DTC_Typed(ASN1CTXT* ctxt, ASN1T_Typed* value) { return schema::decodeTable(ctxt, kType_Typed, value); }
class ASN1C_Typed : public schema::Control<schema::RecordBase, ASN1T_Typed, kType_Typed> { using Control::Control; };

// TypedList.values ::= SET OF SAMPLE-VALUE.&Type                                                           sample.asn1:57
// EMIT: a list of open values under a table constraint has Asn1TObject elements: `encoded` is the raw element.
using ASN1T_TypedList_values = ASN1TSeqOfList;
inline int asn1E_TypedList_values(ASN1CTXT* ctxt, ASN1T_TypedList_values* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_TypedList_values, value, tagType); }
inline int asn1D_TypedList_values(ASN1CTXT* ctxt, ASN1T_TypedList_values* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_TypedList_values, value, tagType, length); }
inline void asn1Copy_TypedList_values(ASN1CTXT* ctxt, const ASN1T_TypedList_values* source, ASN1T_TypedList_values* destination) { schema::copyValue(ctxt, kType_TypedList_values, source, destination); }
inline void asn1Free_TypedList_values(ASN1CTXT* ctxt, ASN1T_TypedList_values* value) { schema::freeValue(ctxt, kType_TypedList_values, value); }
class ASN1C_TypedList_values : public schema::Control<schema::ListBase, ASN1T_TypedList_values, kType_TypedList_values> { using Control::Control; };

// TypedList ::= SEQUENCE { ... }                                                                           sample.asn1:55
struct ASN1T_TypedList : ASN1TPDU {
    ASN1TObjId type;
    ASN1T_TypedList_values values;

    ASN1T_TypedList() = default;
    explicit ASN1T_TypedList(ASN1C_TypedList& control);
    ASN1T_TypedList(const ASN1T_TypedList&) = default;
    ASN1T_TypedList& operator=(const ASN1T_TypedList&) = default;
    ~ASN1T_TypedList() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_TypedList, this); }
};
inline int asn1E_TypedList(ASN1CTXT* ctxt, ASN1T_TypedList* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_TypedList, value, tagType); }
inline int asn1D_TypedList(ASN1CTXT* ctxt, ASN1T_TypedList* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_TypedList, value, tagType, length); }
inline void asn1Copy_TypedList(ASN1CTXT* ctxt, const ASN1T_TypedList* source, ASN1T_TypedList* destination) { schema::copyValue(ctxt, kType_TypedList, source, destination); }
inline void asn1Free_TypedList(ASN1CTXT* ctxt, ASN1T_TypedList* value) { schema::freeValue(ctxt, kType_TypedList, value); }
inline int asn1ETC_TypedList(ASN1CTXT* ctxt, ASN1T_TypedList* value) { return schema::encodeTable(ctxt, kType_TypedList, value); }
inline int asn1DTC_TypedList(ASN1CTXT* ctxt, ASN1T_TypedList* value) { return schema::decodeTable(ctxt, kType_TypedList, value); }
class ASN1C_TypedList : public schema::Control<schema::RecordBase, ASN1T_TypedList, kType_TypedList> { using Control::Control; };

// Message ::= SEQUENCE { ... }                                                                             sample.asn1:60
// EMIT: bits in definition order, OPTIONAL and DEFAULT other than boolean; at most 32. A member through which the type
//       reaches itself without a list between is a pointer.
struct ASN1T_Message : ASN1TPDU {
    struct { unsigned versionPresent : 1, marksPresent : 1, typedPresent : 1, innerPresent : 1; } m = {};
    std::uint32_t version = 0;
    ASN1T_Serial serial = nullptr;
    std::uint8_t critical = 0;
    ASN1T_Level level = 0;
    ASN1T_Labels labels;
    ASN1T_Marks marks;
    ASN1T_Typed typed;
    ASN1T_Message* inner = nullptr;

    ASN1T_Message() = default;
    explicit ASN1T_Message(ASN1C_Message& control);
    ASN1T_Message(const ASN1T_Message&) = default;
    ASN1T_Message& operator=(const ASN1T_Message&) = default;
    ~ASN1T_Message() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_Message, this); }
};
inline int asn1E_Message(ASN1CTXT* ctxt, ASN1T_Message* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Message, value, tagType); }
inline int asn1D_Message(ASN1CTXT* ctxt, ASN1T_Message* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Message, value, tagType, length); }
inline void asn1Copy_Message(ASN1CTXT* ctxt, const ASN1T_Message* source, ASN1T_Message* destination) { schema::copyValue(ctxt, kType_Message, source, destination); }
inline void asn1Free_Message(ASN1CTXT* ctxt, ASN1T_Message* value) { schema::freeValue(ctxt, kType_Message, value); }
class ASN1C_Message : public schema::Control<schema::RecordBase, ASN1T_Message, kType_Message> { using Control::Control; };

// Blob ::= SEQUENCE { ..., ... }                                                                           sample.asn1:71
struct ASN1T_Blob : ASN1TPDU {
    struct { unsigned whenPresent : 1; } m = {};
    ASN1T_Salt salt;
    ASN1T_When when = nullptr;
    ASN1TSeqOfList extensionAdditions;  // elements: ASN1TOpenType

    ASN1T_Blob() = default;
    explicit ASN1T_Blob(ASN1C_Blob& control);
    ASN1T_Blob(const ASN1T_Blob&) = default;
    ASN1T_Blob& operator=(const ASN1T_Blob&) = default;
    ~ASN1T_Blob() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_Blob, this); }
};
inline int asn1E_Blob(ASN1CTXT* ctxt, ASN1T_Blob* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Blob, value, tagType); }
inline int asn1D_Blob(ASN1CTXT* ctxt, ASN1T_Blob* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Blob, value, tagType, length); }
inline void asn1Copy_Blob(ASN1CTXT* ctxt, const ASN1T_Blob* source, ASN1T_Blob* destination) { schema::copyValue(ctxt, kType_Blob, source, destination); }
inline void asn1Free_Blob(ASN1CTXT* ctxt, ASN1T_Blob* value) { schema::freeValue(ctxt, kType_Blob, value); }
class ASN1C_Blob : public schema::Control<schema::RecordBase, ASN1T_Blob, kType_Blob> { using Control::Control; };

// Pair ::= SET { ... }                                                                                     sample.asn1:77
struct ASN1T_Pair : ASN1TPDU {
    struct { unsigned secondPresent : 1; } m = {};
    std::int32_t first = 0;
    const char* second = nullptr;

    ASN1T_Pair() = default;
    explicit ASN1T_Pair(ASN1C_Pair& control);
    ASN1T_Pair(const ASN1T_Pair&) = default;
    ASN1T_Pair& operator=(const ASN1T_Pair&) = default;
    ~ASN1T_Pair() { if (getContext() != nullptr) schema::freeValue(getContext(), kType_Pair, this); }
};
inline int asn1E_Pair(ASN1CTXT* ctxt, ASN1T_Pair* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType_Pair, value, tagType); }
inline int asn1D_Pair(ASN1CTXT* ctxt, ASN1T_Pair* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType_Pair, value, tagType, length); }
inline void asn1Copy_Pair(ASN1CTXT* ctxt, const ASN1T_Pair* source, ASN1T_Pair* destination) { schema::copyValue(ctxt, kType_Pair, source, destination); }
inline void asn1Free_Pair(ASN1CTXT* ctxt, ASN1T_Pair* value) { schema::freeValue(ctxt, kType_Pair, value); }
class ASN1C_Pair : public schema::Control<schema::RecordBase, ASN1T_Pair, kType_Pair> { using Control::Control; };

// text.&Type ::= UTF8String                                                                                sample.asn1:82
// EMIT: a builtin type in an object is lifted to _<object>_Type; a named one is used as it is.
using ASN1T__text_Type = const char*;
inline int asn1E__text_Type(ASN1CTXT* ctxt, ASN1T__text_Type* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, kType__text_Type, value, tagType); }
inline int asn1D__text_Type(ASN1CTXT* ctxt, ASN1T__text_Type* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, kType__text_Type, value, tagType, length); }
inline void asn1Copy__text_Type(ASN1CTXT* ctxt, const ASN1T__text_Type* source, ASN1T__text_Type* destination) { schema::copyValue(ctxt, kType__text_Type, source, destination); }
inline void asn1Free__text_Type(ASN1CTXT* ctxt, ASN1T__text_Type* value) { schema::freeValue(ctxt, kType__text_Type, value); }
class ASN1C__text_Type : public schema::Control<schema::RecordBase, ASN1T__text_Type, kType__text_Type> { using Control::Control; };

// text SAMPLE-VALUE ::= { TYPE UTF8String IDENTIFIED BY id-sample-text }                                    sample.asn1:82
class text : public SAMPLE_VALUE_of<schema::ValueOf<ASN1T__text_Type, ASN1C__text_Type, kType__text_Type>> { public: text(); };
// label SAMPLE-VALUE ::= { TYPE Label IDENTIFIED BY id-sample-label }                                      sample.asn1:83
class label : public SAMPLE_VALUE_of<schema::ValueOf<ASN1T_Label, ASN1C_Label, kType_Label>> { public: label(); };
// flag SAMPLE-VALUE ::= { TYPE NULL IDENTIFIED BY id-sample-flag }                                         sample.asn1:84
class flag : public SAMPLE_VALUE_of<schema::NullValue> { public: flag(); };
// bare SAMPLE-VALUE ::= { IDENTIFIED BY id-sample-bare }                                                   sample.asn1:85
class bare : public SAMPLE_VALUE_of<schema::RawValue> { public: bare(); };

// SampleValues SAMPLE-VALUE ::= { text | label | flag | bare }                                             sample.asn1:87
class SampleValues : public schema::ObjectSet<SAMPLE_VALUE, 4> {
public:
    static SampleValues* instance(ASN1CTXT* ctxt);
    static SampleValues* mpInstance;

private:
    friend void SampleValuesOnce();
};

}  // namespace asn1data
