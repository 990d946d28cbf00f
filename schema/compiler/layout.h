// The C++ form of the model: names, record forms, presence bits, member kinds, table entries, files and their order.
// The emitters print the layout and make no decisions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "schema/compiler/model.h"

namespace schemac {

// One entry of a member table and the field it describes.
struct MemberLayout {
    std::string name;
    std::string cppType;          // empty when nothing is stored
    std::string initializer;      // " = 0", " = nullptr" or empty
    std::string octetsStruct;     // a struct of inline octets that `cppType` names; usually empty
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
    Plain,   // a C++ type under another name
    Octets,  // inline octets
    Record,  // SEQUENCE, SET
    Choice,
    List,        // a linked list with its own name
    LiftedList,  // another name for the runtime's list
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
    std::string functionName;  // after asn1E_, asn1D_, ...
    std::string kind;
    std::string cppType;      // Plain; Array: of an element
    std::string aliasOf;      // Alias: name of the other type
    std::string typeInfo;     // passed by the functions
    std::string controlBase;  // first argument of schema::Control
    std::string shape;        // name of the TypeInfo of the record; differs from typeInfo for a tagged type
    std::uint32_t maxOctets = 0;
    std::vector<MemberLayout> members;
    std::vector<std::string> presenceBits;
    std::size_t numRequired = 0;
    std::optional<std::size_t> numBeforeAdditions;  // members in front of unknown additions, when extensible
    std::optional<std::uint32_t> lower;             // sizes of a list
    std::optional<std::uint32_t> upper;
    std::optional<TableLayout> table;
    std::optional<MemberLayout> tag;  // the tag in the definition of a record type
    std::string elementName;          // lists, for the comment

    bool hasStruct() const {
        return form == TypeForm::Record || form == TypeForm::Choice || form == TypeForm::List ||
               form == TypeForm::Array;
    }
};

struct ClassLayout {
    const Class* objectClass = nullptr;
    std::string name;
    std::string operation;  // the suffix of the operations' names: "Type", "ExtnType"
};

struct ObjectLayout {
    const Object* object = nullptr;
    std::string name;
    std::string className;
    std::string value;  // the class with the operations on the value
    std::string key;    // a constant or the literal value
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
    std::vector<std::string> foreignStructs;  // records of other modules used only by pointer
    std::vector<std::string> foreignValues;   // value types of objects from other modules, without ASN1T_
    std::vector<TypeLayout> types;            // embedded records before those that embed them
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

// Expects a model that passed check(). Reports modules that embed each other's records.
Layout layOut(const Model& model, const Sources& sources, Diagnostics& diagnostics);

}  // namespace schemac
