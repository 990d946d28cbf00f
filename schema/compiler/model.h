// The meaning of the modules: names resolved, nested types lifted out, numbers evaluated. Data only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "schema/compiler/source.h"
#include "schema/compiler/tree.h"

namespace schemac {

enum class Kind {
    Boolean,
    Integer,
    Enumerated,
    Null,
    ObjectIdentifier,
    OctetString,
    BitString,
    NumericString,
    PrintableString,
    TeletexString,
    VisibleString,
    IA5String,
    UTF8String,
    BMPString,
    UniversalString,
    UTCTime,
    GeneralizedTime,
    Open,  // any one element, kept raw
    Sequence,
    Set,
    Choice,
    SequenceOf,
    SetOf,
    Named,       // another type, by name
    Unresolved,  // an error has been reported; causes no further errors
};

struct Type;
struct Module;
struct ObjectSet;

struct Tag {
    TagClass tagClass = TagClass::Context;
    std::uint32_t number = 0;
    bool isExplicit = true;
    bool isWritten = false;  // EXPLICIT or IMPLICIT is written, not the module's default
    Span span;
};

struct SizeBounds {
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;  // MAX
    std::uint32_t low = 0;
    std::uint32_t high = kNone;
    Span span;
};

struct ValueBounds {
    std::optional<std::int64_t> low;   // MIN when absent
    std::optional<std::int64_t> high;  // MAX when absent
    Span span;
};

struct Class {
    Name name;
    std::string cppName;
    Module* module = nullptr;
    Span span;
    const ClassNode* node = nullptr;
    std::string keyField;   // the unique OBJECT IDENTIFIER field, without &
    std::string typeField;  // the field that holds a type, without &; empty when there is none
};

// The constraint by which a key selects the type of an open value.
struct TableUse {
    Name setName;
    Name key;  // the member that holds the key
    const Class* objectClass = nullptr;
    const ObjectSet* set = nullptr;
};

// A type where it is used: by name, or written in place.
struct Use {
    Span span;
    Kind kind = Kind::Unresolved;
    Type* type = nullptr;   // Named; for Open the type that is kept raw, if known
    std::vector<Tag> tags;  // outermost first, over those of the type itself
    std::optional<SizeBounds> size;
    std::optional<ValueBounds> range;
    std::optional<TableUse> table;  // Open, or OctetString that contains the open value
    bool isBig = false;             // Integer as text
};

struct Member {
    Name name;  // empty for COMPONENTS OF until it is replaced
    std::string cppName;
    Span span;
    Use use;
    Presence presence = Presence::Required;
    MemberPart part = MemberPart::FirstRoot;
    ValueNode defaultValue;
};

struct NamedNumber {
    Name name;
    std::int64_t value = 0;
};

// How the octets of an open value are stored.
enum class TableForm { Element, InOctetString, ListOfElements };

struct TypeTable {
    const ObjectSet* set = nullptr;
    std::size_t keyMember = 0;
    std::size_t valueMember = 0;
    TableForm form = TableForm::Element;
};

struct Type {
    std::string name;  // as in ASN.1, or generated for a lifted type
    std::string cppName;
    Module* module = nullptr;
    Span span;  // the definition, or where a lifted type is written
    bool isLifted = false;
    Use use;                      // its own kind, tags and bounds; Named for T ::= U
    std::vector<Member> members;  // Sequence, Set, Choice
    bool isExtensible = false;
    std::optional<Use> element;  // SequenceOf, SetOf
    bool isArray = false;
    std::vector<NamedNumber> named;     // Integer, Enumerated, BitString
    std::optional<std::int64_t> below;  // Enumerated: accepts all values below this one
    std::string control;                // base of the control class, when the schema names it
    std::optional<TypeTable> table;
    bool takesAnyString = false;  // open values that are strings of another type stay raw
    bool isRawIfTooBig = false;   // as an open value, stays raw when a number does not fit
};

using Arcs = std::vector<std::uint32_t>;

struct Object {
    Name name;
    std::string cppName;
    Module* module = nullptr;
    Span span;
    const Class* objectClass = nullptr;
    std::optional<Arcs> key;
    std::string keyName;  // in C++, when the key is a single name
    Use value;            // Unresolved when the object has no type
    bool hasValue = false;
    bool isLeftOut = false;
};

struct ObjectSet {
    Name name;
    std::string cppName;
    Module* module = nullptr;
    Span span;
    const Class* objectClass = nullptr;
    struct Entry {
        const Object* object;
        Span span;
    };
    std::vector<Entry> objects;
};

struct ObjectId {
    Name name;
    std::string cppName;
    Arcs arcs;
    bool isLocal = false;  // no constant is generated
};

struct Module {
    Name name;
    std::uint32_t file = 0;
    bool isBuiltin = false;    // definitions of ASN.1 itself: generates nothing
    std::vector<Type*> types;  // in definition order, lifted types before their parents
    std::vector<Class*> classes;
    std::vector<Object*> objects;
    std::vector<ObjectSet*> sets;
    std::vector<ObjectId> objectIds;
};

struct Model {
    std::deque<Module> modules;  // in file order
    std::deque<Type> types;
    std::deque<Class> classes;
    std::deque<Object> objects;
    std::deque<ObjectSet> sets;
};

}  // namespace schemac
