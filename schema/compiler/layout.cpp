// Lays out modules, types and objects and their order. Members are laid out in layout_member.cpp.
#include "schema/compiler/layout.h"

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "schema/compiler/embedding.h"
#include "schema/compiler/layout_member.h"
#include "schema/compiler/queries.h"

namespace schemac {
namespace {

using TypeSet = std::unordered_set<const Type*>;

bool isRecord(const Type& type) {
    return type.use.kind == Kind::Sequence || type.use.kind == Kind::Set;
}

bool isList(const Type& type) {
    return type.use.kind == Kind::SequenceOf || type.use.kind == Kind::SetOf;
}

class Layouter {
public:
    Layouter(const Model& model, const Sources& sources, Diagnostics& diagnostics)
        : model_(model), sources_(sources), diagnostics_(diagnostics), embedding_(model) {}

    Layout run() {
        Layout layout;
        for (const Module& module : model_.modules) {
            for (const ObjectId& id : module.objectIds) {
                const bool isNew = !id.isLocal && constants_.emplace(id.cppName, id.arcs).second;
                if (isNew) {
                    layout.constants.push_back({id.cppName, id.arcs});
                }
            }
        }
        for (const Module& module : model_.modules) {
            if (!module.isBuiltin) {
                layout.modules.push_back(layOutModule(module));
            }
        }
        reportIncludeCircles(layout);
        return layout;
    }

private:
    ModuleLayout layOutModule(const Module& module) {
        current_ = ModuleLayout();
        current_.module = &module;
        current_.stem = sources_.stem(module.file);
        header_.clear();
        source_.clear();
        foreign_.clear();
        foreignValues_.clear();
        placed_.clear();
        for (const Class* objectClass : module.classes) {
            if (!objectClass->keyField.empty() && !objectClass->typeField.empty()) {
                current_.classes.push_back({objectClass, objectClass->cppName, objectClass->typeField});
            }
        }
        for (const Type* type : module.types) {
            place(*type);
        }
        for (const Object* object : module.objects) {
            current_.objects.push_back(layOutObject(*object));
        }
        for (const ObjectSet* set : module.sets) {
            current_.sets.push_back(layOutSet(*set));
        }
        current_.headerIncludes = stems(header_);
        current_.sourceIncludes = stems(source_);
        for (const Type* type : foreign_) {
            if (header_.count(type->module) == 0 && foreignValues_.count(type) == 0) {
                current_.foreignStructs.push_back("ASN1T_" + type->cppName);
            }
        }
        for (const Type* type : foreignValues_) {
            if (header_.count(type->module) == 0) {
                current_.foreignValues.push_back(type->cppName);
            }
        }
        std::sort(current_.foreignStructs.begin(), current_.foreignStructs.end());
        std::sort(current_.foreignValues.begin(), current_.foreignValues.end());
        return std::move(current_);
    }

    std::vector<std::string> stems(const std::set<const Module*>& modules) const {
        std::vector<std::string> names;
        names.reserve(modules.size());
        for (const Module* module : modules) {
            names.push_back(sources_.stem(module->file));
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    void needHeader(const Module* module) {
        if (module != current_.module) {
            header_.insert(module);
        }
        needSource(module);
    }
    void needSource(const Module* module) {
        if (module != current_.module) {
            source_.insert(module);
        }
    }
    // The record is held by pointer, so a forward declaration is enough.
    void needName(const Use& use) {
        const Type* const record = isStructuredUse(use) ? underlyingType(use) : nullptr;
        if (record == nullptr) {
            if (use.kind == Kind::Named && describePlain(use).kind == "FixedOctetString") {
                needHeader(use.type->module);
            }
            return;
        }
        needSource(record->module);
        if (record->module != current_.module && hasStruct(*record)) {
            foreign_.insert(record);
        }
    }
    // The value type of an object. Only the sources use its definition. Otherwise a module with objects of many types
    // would include all their headers.
    void needValue(const Type& type) {
        const bool isDeclarable = type.use.kind != Kind::Named && isStructuredUse(type.use) && hasStruct(type);
        if (type.module == current_.module || !isDeclarable) {
            needHeader(type.module);
            return;
        }
        needSource(type.module);
        foreignValues_.insert(&type);
    }
    static bool hasStruct(const Type& record) { return !isList(record) || record.isArray || !record.isLifted; }

    // Places the type after those whose definitions it needs. An explicit stack instead of recursion: a chain of
    // records may be as long as the schema.
    void place(const Type& root) {
        struct Step {
            const Type* type;
            std::vector<const Type*> needed;
            std::size_t next;
        };
        std::vector<Step> path;
        const auto enter = [&](const Type& type) {
            if (type.module != current_.module) {
                needHeader(type.module);
            } else if (placed_.insert(&type).second) {
                path.push_back({&type, needs(type), 0});
            }
        };
        enter(root);
        while (!path.empty()) {
            Step& step = path.back();
            if (step.next < step.needed.size()) {
                enter(*step.needed[step.next++]);
            } else {
                current_.types.push_back(layOutType(*step.type));
                path.pop_back();
            }
        }
    }

    std::vector<const Type*> needs(const Type& type) {
        std::vector<const Type*> needed;
        if (type.use.kind == Kind::Named) {
            needed.push_back(type.use.type);
        }
        for (const Member& member : type.members) {
            const bool isEmbedded = isRecord(type) && !embedding_.isCircular(type, member.use);
            if (isEmbedded && member.use.kind == Kind::Named) {
                needed.push_back(member.use.type);
            }
        }
        return needed;
    }

    TypeLayout layOutType(const Type& type) {
        TypeLayout layout;
        layout.type = &type;
        layout.name = type.cppName;
        layout.functionName = type.cppName;
        layout.typeInfo = typeInfoName(type);
        const bool isTaggedRecord = !type.use.tags.empty() && type.use.kind != Kind::Named && isStructuredUse(type.use);
        layout.shape = (isTaggedRecord ? "kShape_" : "kType_") + type.cppName;
        layout.controlBase = type.control.empty() ? "schema::RecordBase" : type.control;
        if (const Type* const target = aliasTarget(type)) {
            layout.form = TypeForm::Alias;
            layout.aliasOf = target->cppName;
            setFunctionName(type, layout);
            return layout;
        }
        if (isRecord(type) || type.use.kind == Kind::Choice) {
            layOutRecord(type, layout);
        } else if (isList(type)) {
            layOutList(type, layout);
        } else {
            layOutPlain(type, layout);
        }
        if (isStructuredUse(type.use) && !type.use.tags.empty()) {
            Use whole;
            whole.kind = Kind::Named;
            whole.type = const_cast<Type*>(&type);
            layout.tag = describeMember(whole, "*pvalue", false);
        }
        return layout;
    }

    // The names of functions of NULL types end in "_".
    static void setFunctionName(const Type& type, TypeLayout& layout) {
        if (underlyingKind(type.use) == Kind::Null) {
            layout.functionName += "_";
        }
    }

    void layOutRecord(const Type& type, TypeLayout& layout) {
        const bool isChoice = type.use.kind == Kind::Choice;
        layout.form = isChoice ? TypeForm::Choice : TypeForm::Record;
        layout.kind = isChoice ? "Choice" : type.use.kind == Kind::Set ? "Set" : "Sequence";
        if (type.isExtensible && !isChoice) {
            const auto second = std::find_if(type.members.begin(), type.members.end(), [](const Member& member) {
                return member.part == MemberPart::SecondRoot;
            });
            layout.numBeforeAdditions = static_cast<std::size_t>(second - type.members.begin());
        }
        for (const Member& member : type.members) {
            layout.members.push_back(isChoice ? layOutAlternative(member) : layOutField(type, member, layout));
        }
        if (type.table) {
            layOutTable(type, layout);
        }
    }

    MemberLayout layOutField(const Type& type, const Member& member, TypeLayout& layout) {
        const bool isPointer = embedding_.isCircular(type, member.use);
        MemberLayout result = describeMember(member.use, "pvalue->" + member.cppName, isPointer);
        result.name = member.cppName;
        const bool isBoolean = underlyingKind(member.use) == Kind::Boolean;
        if (member.presence == Presence::Default && isBoolean) {
            const bool isTrue = member.defaultValue.text == "TRUE";
            result.flags.emplace(result.flags.begin(), isTrue ? "kDefaultTrue" : "kDefaultFalse");
        } else if (!isAlwaysPresent(member)) {
            result.flags.emplace(result.flags.begin(), "kOptional");
            result.bit = static_cast<unsigned>(layout.presenceBits.size());
            layout.presenceBits.push_back(member.cppName + "Present");
        } else {
            ++layout.numRequired;
        }
        if (isPointer) {
            result.cppType = pointeeType(member.use) + "*";
            result.initializer = " = nullptr";
            needName(member.use);
            return result;
        }
        result.cppType = fieldType(member.use);
        if (result.typeInfo.empty()) {
            const bool isTrue = !result.flags.empty() && result.flags.front() == "kDefaultTrue";
            result.initializer = isTrue ? " = 1" : describePlain(member.use).initializer;
        } else {
            needSource(underlyingType(member.use)->module);
        }
        nameOctets(result);
        return result;
    }

    // Inline octets without a named type get a struct inside the record.
    static void nameOctets(MemberLayout& member) {
        if (member.kind == "FixedOctetString" && member.cppType.empty()) {
            member.octetsStruct = member.name + "Octets";
            member.maxOctets = member.upper.value_or(0);
            member.cppType = member.octetsStruct;
        }
    }

    // The union holds numbers and text by value, everything else by pointer.
    MemberLayout layOutAlternative(const Member& member) {
        const bool isStructured = isStructuredUse(member.use);
        const Kind kind = underlyingKind(member.use);
        const bool isPointer = isStructured || (kind != Kind::Null && !describePlain(member.use).isWord);
        MemberLayout result = describeMember(member.use, "pvalue->u." + member.cppName, isPointer);
        result.name = member.cppName;
        result.cppType = pointeeType(member.use);
        nameOctets(result);
        if (isPointer) {
            result.cppType += "*";
            result.initializer = " = nullptr";
            needName(member.use);
        } else if (kind != Kind::Null) {
            result.initializer = describePlain(member.use).initializer;
        }
        return result;
    }

    void layOutTable(const Type& type, TypeLayout& layout) {
        const TypeTable& table = *type.table;
        needSource(table.set->module);
        needSource(table.set->objectClass->module);
        TableLayout result;
        result.setName = table.set->cppName;
        result.className = table.set->objectClass->cppName;
        result.keyMember = type.members[table.keyMember].cppName;
        result.rawMember = type.members[table.valueMember].cppName;
        result.anyString = type.takesAnyString;
        if (table.form != TableForm::ListOfElements) {
            result.objectMember = result.rawMember + "Object";
        }
        if (table.form == TableForm::InOctetString) {
            MemberLayout& raw = layout.members[table.valueMember];
            raw.cppType = "ASN1TDynOctStr";
            raw.initializer = " = {}";
        }
        layout.table = result;
    }

    void layOutList(const Type& type, TypeLayout& layout) {
        const bool isSet = type.use.kind == Kind::SetOf;
        const Use& element = *type.element;
        layout.kind = type.isArray ? "Array" : isSet ? "SetOf" : "SequenceOf";
        layout.form = type.isArray ? TypeForm::Array : type.isLifted ? TypeForm::LiftedList : TypeForm::List;
        if (!type.isArray && type.control.empty()) {
            layout.controlBase = "schema::ListBase";
        }
        if (type.use.size) {
            layout.lower = type.use.size->low;
            layout.upper = type.use.size->high;
        }
        MemberLayout member = describeMember(element, "pvalue->elem[xx1]", false);
        member.name = "element";
        if (element.table) {
            member.kind = "TypedValue";
        }
        layout.elementName = element.table ? "Asn1TObject" : elementType(element);
        needName(element);
        if (type.isArray) {
            layout.cppType = pointeeType(element);
            member.cppType = layout.cppType;
            nameOctets(member);
            layout.cppType = member.cppType;
        }
        layout.members.push_back(std::move(member));
    }

    static std::string elementType(const Use& use) {
        return use.kind == Kind::Named ? "ASN1T_" + use.type->cppName : describePlain(use).cppType;
    }

    void layOutPlain(const Type& type, TypeLayout& layout) {
        setFunctionName(type, layout);
        if (isStructuredUse(type.use)) {  // a tagged alias of a record
            layout.cppType = "ASN1T_" + type.use.type->cppName;
            layout.kind = "Tagged";
            needSource(underlyingType(type.use)->module);
            return;
        }
        Use whole;
        whole.kind = Kind::Named;
        whole.type = const_cast<Type*>(&type);
        const Plain plain = describePlain(whole);
        const Kind kind = underlyingKind(whole);
        layout.kind = plain.kind;
        layout.cppType = kind == Kind::Null ? "std::uint8_t" : plain.cppType;
        layout.members.push_back(describeMember(whole, "*pvalue", false));
        if (plain.kind == "FixedOctetString") {
            layout.form = TypeForm::Octets;
            layout.maxOctets = plain.upper.value_or(0);
        }
        if (!type.control.empty()) {
            return;
        }
        layout.controlBase = kind == Kind::BitString         ? "schema::BitStringBase"
                             : kind == Kind::GeneralizedTime ? "schema::GeneralizedTimeBase"
                             : kind == Kind::UTCTime         ? "schema::UtcTimeBase"
                                                             : "schema::RecordBase";
    }

    ObjectLayout layOutObject(const Object& object) {
        ObjectLayout layout;
        layout.object = &object;
        layout.name = object.cppName;
        layout.className = object.objectClass->cppName;
        needHeader(object.objectClass->module);
        layout.value = "schema::RawValue";
        if (object.hasValue && underlyingKind(object.value) == Kind::Null) {
            layout.value = "schema::NullValue";
        } else if (object.hasValue) {
            const Type& type = *object.value.type;
            needValue(type);
            layout.value =
                "schema::ValueOf<ASN1T_" + type.cppName + ", ASN1C_" + type.cppName + ", " + typeInfoName(type) + ">";
        }
        const auto constant = constants_.find(object.keyName);
        const bool isNamed = constant != constants_.end() && constant->second == *object.key;
        layout.key = isNamed ? object.keyName : literal(*object.key);
        return layout;
    }

    static std::string literal(const Arcs& arcs) {
        std::string text = "ASN1OBJID{" + std::to_string(arcs.size()) + ", {";
        for (std::size_t i = 0; i < arcs.size(); ++i) {
            text += (i == 0 ? "" : ", ") + std::to_string(arcs[i]);
        }
        return text + "}}";
    }

    SetLayout layOutSet(const ObjectSet& set) {
        SetLayout layout;
        layout.set = &set;
        layout.name = set.cppName;
        layout.className = set.objectClass->cppName;
        needHeader(set.objectClass->module);
        for (const ObjectSet::Entry& entry : set.objects) {
            layout.objects.push_back(entry.object->cppName);
            needSource(entry.object->module);
        }
        return layout;
    }

    // Headers that include each other would not compile.
    void reportIncludeCircles(const Layout& layout) {
        std::map<std::string, const ModuleLayout*> byStem;
        for (const ModuleLayout& module : layout.modules) {
            const auto [twin, isNew] = byStem.emplace(module.stem, &module);
            const bool isTaken = module.stem == "identifiers" && !module.isEmpty();
            if ((!isNew && !module.isEmpty()) || isTaken) {
                diagnostics_.error(module.module->name.span, "the file name " + quoted(module.stem) + " is taken");
            }
        }
        for (const ModuleLayout& module : layout.modules) {
            std::set<std::string> seen;
            std::vector<std::string> waiting = module.headerIncludes;
            while (!waiting.empty()) {
                const std::string stem = waiting.back();
                waiting.pop_back();
                if (stem == module.stem) {
                    diagnostics_.error(
                        module.module->name.span,
                        "this module and others need each other's records complete: " + circle(module, byStem));
                    break;
                }
                if (seen.insert(stem).second) {
                    const auto& next = byStem.at(stem)->headerIncludes;
                    waiting.insert(waiting.end(), next.begin(), next.end());
                }
            }
        }
    }

    static std::string circle(const ModuleLayout& module, const std::map<std::string, const ModuleLayout*>& byStem) {
        std::string text;
        for (const std::string& stem : module.headerIncludes) {
            text += (text.empty() ? "" : ", ") + std::string(byStem.at(stem)->module->name.text);
        }
        return text;
    }

    const Model& model_;
    const Sources& sources_;
    Diagnostics& diagnostics_;
    Embedding embedding_;
    std::map<std::string, Arcs> constants_;
    ModuleLayout current_;
    std::set<const Module*> header_;
    std::set<const Module*> source_;
    std::set<const Type*> foreign_;
    std::set<const Type*> foreignValues_;
    TypeSet placed_;
};

}  // namespace

Layout layOut(const Model& model, const Sources& sources, Diagnostics& diagnostics) {
    return Layouter(model, sources, diagnostics).run();
}

}  // namespace schemac
