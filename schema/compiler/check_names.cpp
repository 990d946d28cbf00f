// See check_names.h.
#include "schema/compiler/check_names.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "schema/compiler/queries.h"

namespace schemac {
namespace {

// C++ keywords that are valid ASN.1 names. Sorted.
constexpr std::string_view kKeywords[] = {
    "alignas",  "alignof",  "and",     "asm",     "auto",     "bool",     "break",    "case",      "catch",
    "char",     "class",    "compl",   "concept", "const",    "continue", "decltype", "default",   "delete",
    "do",       "double",   "else",    "enum",    "explicit", "export",   "extern",   "false",     "float",
    "for",      "friend",   "goto",    "if",      "inline",   "int",      "long",     "mutable",   "namespace",
    "new",      "noexcept", "not",     "nullptr", "operator", "or",       "private",  "protected", "public",
    "register", "requires", "return",  "short",   "signed",   "sizeof",   "static",   "struct",    "switch",
    "template", "this",     "throw",   "true",    "try",      "typedef",  "typeid",   "typename",  "union",
    "unsigned", "using",    "virtual", "void",    "volatile", "while",    "xor"};

void checkArcs(const Arcs& arcs, Span where, Diagnostics& diagnostics) {
    if (arcs.size() < 2 || arcs[0] > 2 || (arcs[0] < 2 && arcs[1] > 39)) {
        diagnostics.error(where, dotted(arcs) +
                                     " is no object identifier: the first arc is 0, 1 or 2, the second under "
                                     "40 below the first two");
    }
}

void checkSet(const ObjectSet& set, Diagnostics& diagnostics) {
    std::map<Arcs, const Object*> keys;
    for (const ObjectSet::Entry& entry : set.objects) {
        const Object& object = *entry.object;
        if (object.objectClass != set.objectClass && set.objectClass != nullptr) {
            diagnostics.error(entry.span, quoted(object.name.text) + " is of another class than the set");
        }
        if (object.isLeftOut) {
            diagnostics.error(entry.span, quoted(object.name.text) + " is annotated as left out, but stands here");
        }
        if (!object.key) {
            continue;
        }
        const auto [twin, isNew] = keys.emplace(*object.key, &object);
        if (!isNew) {
            diagnostics.error(entry.span, quoted(object.name.text) + " would never be found: " +
                                              quoted(twin->second->name.text) + " has the same key");
        }
    }
}

// The set's class determines the names of the operations that the codecs call.
void checkClassIsUsable(const ObjectSet& set, Diagnostics& diagnostics) {
    if (set.objectClass == nullptr) {
        return;
    }
    if (set.objectClass->keyField.empty()) {
        diagnostics.error(set.name.span, "the class of this set has no unique OBJECT IDENTIFIER");
    } else if (set.objectClass->typeField.empty()) {
        diagnostics.error(set.name.span, "the class of this set has no field for a type");
    }
}

}  // namespace

void checkCppName(const std::string& name, Span where, Diagnostics& diagnostics) {
    if (std::find(std::begin(kKeywords), std::end(kKeywords), name) != std::end(kKeywords)) {
        diagnostics.error(where, quoted(name) + " means something in C++: give it another name with 'name'");
    }
}

void checkObjects(const Model& model, Diagnostics& diagnostics) {
    std::unordered_set<const Object*> inSet;
    std::unordered_set<const Class*> withSet;
    for (const ObjectSet& set : model.sets) {
        checkClassIsUsable(set, diagnostics);
        checkSet(set, diagnostics);
        withSet.insert(set.objectClass);
        for (const ObjectSet::Entry& entry : set.objects) {
            inSet.insert(entry.object);
        }
    }
    for (const Object& object : model.objects) {
        const bool isExpected = !object.isLeftOut && withSet.count(object.objectClass) != 0;
        if (isExpected && inSet.count(&object) == 0) {
            diagnostics.error(object.name.span,
                              quoted(object.name.text) + " is in no set: list it, or annotate it with 'left-out'");
        }
        if (object.key) {
            checkArcs(*object.key, object.name.span, diagnostics);
        }
        if (object.objectClass != nullptr && object.objectClass->keyField.empty()) {
            diagnostics.error(object.name.span, "the class of this object has no unique OBJECT IDENTIFIER");
        }
    }
}

// Types have their own prefixes. Classes, objects, sets and identifiers of all modules share one name space.
void checkGlobalNames(const Model& model, Diagnostics& diagnostics) {
    std::unordered_map<std::string, Span> types;
    for (const Type& type : model.types) {
        if (!types.emplace(type.cppName, type.span).second) {
            diagnostics.error(type.span, "a second type is called " + quoted(type.cppName));
        }
    }
    std::unordered_set<std::string> others;
    const auto claim = [&](const std::string& name, Span where) {
        checkCppName(name, where, diagnostics);
        if (!others.insert(name).second) {
            diagnostics.error(where, "something else is already called " + quoted(name));
        }
    };
    for (const Class& objectClass : model.classes) {
        claim(objectClass.cppName, objectClass.name.span);
    }
    for (const Object& object : model.objects) {
        claim(object.cppName, object.name.span);
    }
    for (const ObjectSet& set : model.sets) {
        claim(set.cppName, set.name.span);
    }
    std::map<std::string, Arcs> constants;  // modules may repeat a constant with the same value
    for (const Module& module : model.modules) {
        for (const ObjectId& id : module.objectIds) {
            checkArcs(id.arcs, id.name.span, diagnostics);
            if (id.isLocal) {
                continue;
            }
            const auto [known, isNew] = constants.emplace(id.cppName, id.arcs);
            if (isNew) {
                claim(id.cppName, id.name.span);
            } else if (known->second != id.arcs) {
                diagnostics.error(id.name.span, quoted(id.cppName) + " has the value " + dotted(known->second) +
                                                    " elsewhere, and here " + dotted(id.arcs));
            }
        }
    }
}

}  // namespace schemac
