// How everything in the model looks in C++: names, forms of records, presence bits, member kinds, table entries, files
// and the order in them. The emitters print what stands here and decide nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "schema/compiler/model.h"

namespace schemac {

// One entry of a member table, and the field that it describes.
struct MemberLayout {
    std::string name;
    std::string cppType;          // empty when nothing is stored
    std::string initializer;      // " = 0", " = nullptr" or empty
    std::string octetsStruct;     // a struct for octets held in place that `cppType` points to; empty for most
    std::uint32_t maxOctets = 0;  // of octetsStruct
    std::string kind;
    std::vector<std::string> flags;
    std::optional<unsigned> bit;
    unsigned universal = 0;
    std::uint32_t tag = 0;
    std::optional<std::uint32_t> lower;
    std::optional<std::uint32_t> upper;
    std::string typeInfo;  // empty for primitives
    std::string path;      // empty without bounds
};

enum class TypeForm {
    Plain,   // another name for a C++ type
    Octets,  // octets held in place
    Record,  // SEQUENCE, SET
    Choice,
    List,        // a linked list of its own name
    LiftedList,  // a linked list that is only another name for the list of the runtime
    Array,       // count and pointer
    Alias,       // another type's record, table and control class
};

struct TableLayout {
    std::string setName;
    std::string className;
    std::string keyMember;
    std::string rawMember;
    std::string objectMember;  // empty for a list
    bool anyString = false;
};

struct TypeLayout {
    const Type* type = nullptr;
    TypeForm form = TypeForm::Plain;
    std::string name;
    std::string functionName;  // behind asn1E_ and its like
    std::string kind;
    std::string cppType;      // Plain; Array: of an element
    std::string aliasOf;      // Alias: name of the other type
    std::string typeInfo;     // what the functions pass on
    std::string controlBase;  // what stands behind schema::Control<
    std::string shape;        // name of the TypeInfo of the record; differs from typeInfo for a tagged type
    std::uint32_t maxOctets = 0;
    std::vector<MemberLayout> members;
    std::vector<std::string> presenceBits;
    std::size_t numRequired = 0;
    std::optional<std::size_t> numBeforeAdditions;  // members in front of unknown additions, when extensible
    std::optional<std::uint32_t> lower;             // sizes of a list
    std::optional<std::uint32_t> upper;
    std::optional<TableLayout> table;
    std::optional<MemberLayout> tag;  // the tag in the definition of a type with a record
    std::string elementName;          // lists, for the comment

    bool hasStruct() const {
        return form == TypeForm::Record || form == TypeForm::Choice || form == TypeForm::List ||
               form == TypeForm::Array;
    }
};

struct ClassLayout {
    const Class* objectClass = nullptr;
    std::string name;
    std::string operation;  // what ends the names of the operations: "Type", "ExtnType"
};

struct ObjectLayout {
    const Object* object = nullptr;
    std::string name;
    std::string className;
    std::string value;  // the class with the operations on the value
    std::string key;    // a constant, or the value itself
};

struct SetLayout {
    const ObjectSet* set = nullptr;
    std::string name;
    std::string className;
    std::vector<std::string> objects;
};

struct ModuleLayout {
    const Module* module = nullptr;
    std::string stem;
    std::vector<std::string> headerIncludes;  // stems
    std::vector<std::string> sourceIncludes;
    std::vector<std::string> foreignStructs;  // records of other modules that only pointers lead to
    std::vector<std::string> foreignValues;   // types of other modules that are the values of objects, without ASN1T_
    std::vector<TypeLayout> types;            // an embedded record stands before the one that embeds it
    std::vector<ClassLayout> classes;
    std::vector<ObjectLayout> objects;
    std::vector<SetLayout> sets;

    bool isEmpty() const { return types.empty() && classes.empty() && objects.empty() && sets.empty(); }
};

struct ConstantLayout {
    std::string name;
    Arcs arcs;
};

struct Layout {
    std::vector<ModuleLayout> modules;
    std::vector<ConstantLayout> constants;
};

// For a model that passed check. Reports modules whose records embed each other in a circle.
Layout layOut(const Model& model, const Sources& sources, Diagnostics& diagnostics);

}  // namespace schemac
