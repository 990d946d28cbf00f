// What the modules mean: every name looked up, every nested type lifted out, every number evaluated. No behaviour.
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
    Unresolved,  // a mistake has been reported; nothing more is said about it
};

struct Type;
struct Module;
struct ObjectSet;

struct Tag {
    TagClass tagClass = TagClass::Context;
    std::uint32_t number = 0;
    bool isExplicit = true;
    bool isWritten = false;  // EXPLICIT or IMPLICIT stands there, it is not the module's default
    Span span;
};

struct SizeBounds {
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;  // MAX
    std::uint32_t low = 0;
    std::uint32_t high = kNone;
    Span span;
};

struct ValueBounds {
    std::optional<std::int64_t> low;   // none: MIN
    std::optional<std::int64_t> high;  // none: MAX
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

// The constraint that lets a key choose the type of an open value.
struct TableUse {
    Name setName;
    Name key;  // the member that holds the key
    const Class* objectClass = nullptr;
    const ObjectSet* set = nullptr;
};

// A type where it is used: by name, or spelled out when it needs no name.
struct Use {
    Span span;
    Kind kind = Kind::Unresolved;
    Type* type = nullptr;   // Named; for Open what would stand here were it not kept raw, if known
    std::vector<Tag> tags;  // outermost first, over those of the type itself
    std::optional<SizeBounds> size;
    std::optional<ValueBounds> range;
    std::optional<TableUse> table;  // Open, or OctetString around the open value
    bool isBig = false;             // Integer as text
};

struct Member {
    Name name;  // empty text for COMPONENTS OF until it is replaced
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

// How the octets of an open value are held.
enum class TableForm { Element, InOctetString, ListOfElements };

struct TypeTable {
    const ObjectSet* set = nullptr;
    std::size_t keyMember = 0;
    std::size_t valueMember = 0;
    TableForm form = TableForm::Element;
};

struct Type {
    std::string name;  // as in ASN.1, or made up for a lifted type
    std::string cppName;
    Module* module = nullptr;
    Span span;  // the definition, or the place where a lifted type stands
    bool isLifted = false;
    Use use;                      // its own kind, tags and bounds; Named for T ::= U
    std::vector<Member> members;  // Sequence, Set, Choice
    bool isExtensible = false;
    std::optional<Use> element;  // SequenceOf, SetOf
    bool isArray = false;
    std::vector<NamedNumber> named;     // Integer, Enumerated, BitString
    std::optional<std::int64_t> below;  // Enumerated: every value under this one passes
    std::string control;                // base of the control class, when the schema names it
    std::optional<TypeTable> table;
    bool takesAnyString = false;  // an open value of the table may be a string of another type, and stays raw then
    bool isRawIfTooBig = false;   // as an open value, it stays raw when a number does not fit its member
};

using Arcs = std::vector<std::uint32_t>;

struct Object {
    Name name;
    std::string cppName;
    Module* module = nullptr;
    Span span;
    const Class* objectClass = nullptr;
    std::optional<Arcs> key;
    std::string keyName;  // in C++, when the key is given by one name
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
    bool isLocal = false;  // no constant is made
};

struct Module {
    Name name;
    std::uint32_t file = 0;
    bool isBuiltin = false;    // what ASN.1 itself defines: nothing is made of it
    std::vector<Type*> types;  // in the order of definition, lifted ones before those they were lifted from
    std::vector<Class*> classes;
    std::vector<Object*> objects;
    std::vector<ObjectSet*> sets;
    std::vector<ObjectId> objectIds;
};

struct Model {
    std::deque<Module> modules;  // in the order of the files
    std::deque<Type> types;
    std::deque<Class> classes;
    std::deque<Object> objects;
    std::deque<ObjectSet> sets;
};

}  // namespace schemac
