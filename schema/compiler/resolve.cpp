// Declares all names, defines their types, objects and sets, and links them.
#include "schema/compiler/resolve.h"

#include <algorithm>
#include <utility>

#include "schema/compiler/queries.h"
#include "schema/compiler/resolver.h"

namespace schemac {

Model resolve(const std::vector<ModuleNode>& modules, Diagnostics& diagnostics) {
    return Resolver(modules, diagnostics).run();
}

Resolver::Resolver(const std::vector<ModuleNode>& modules, Diagnostics& diagnostics)
    : nodes_(modules), diagnostics_(diagnostics), scope_(modules, diagnostics), values_(scope_, diagnostics) {}

Model Resolver::run() {
    for (const ModuleNode& node : nodes_) {
        Module& module = model_.modules.emplace_back();
        module.name = node.name;
        module.file = node.file;
        module.isBuiltin = node.isBuiltin;
    }
    for (const ModuleNode& node : nodes_) {
        for (const AssignmentNode& assignment : node.assignments) {
            if (!scope_.isRepeated(assignment)) {
                declare(model_.modules[node.file], assignment);
            }
        }
    }
    for (const ModuleNode& node : nodes_) {
        for (const AssignmentNode& assignment : node.assignments) {
            Module& module = model_.modules[node.file];
            if (const auto type = types_.find(&assignment); type != types_.end()) {
                const Place place{&module, std::string(assignment.name.text), 0};
                define(*type->second, *assignment.type, place,
                       readAnnotations(assignment.annotations, AnnotationPlace::Type, diagnostics_));
                module.types.push_back(type->second);
            } else if (const auto object = objects_.find(&assignment); object != objects_.end()) {
                defineObject(*object->second, assignment);
            }
        }
    }
    for (const ModuleNode& node : nodes_) {
        for (const AssignmentNode& assignment : node.assignments) {
            if (const auto set = sets_.find(&assignment); set != sets_.end()) {
                defineSet(*set->second, assignment, 0);
            }
        }
    }
    placeSharedLists();
    for (Type& type : model_.types) {
        replaceComponentsOf(type, 0);
    }
    for (Type& type : model_.types) {
        linkTables(type);
    }
    forEachUse([this](Use& use) { settleTags(use); });
    return std::move(model_);
}

void Resolver::declare(Module& module, const AssignmentNode& node) {
    switch (node.kind) {
        case AssignmentNode::Kind::Type:
            declareType(module, node);
            break;
        case AssignmentNode::Kind::Class:
            declareClass(node);
            break;
        case AssignmentNode::Kind::Value:
            declareValue(module, node);
            break;
        case AssignmentNode::Kind::Set:
            declareSet(module, node);
            break;
    }
}

void Resolver::declareType(Module& module, const AssignmentNode& node) {
    if (node.hasParameters || findClass(node.name, true) != nullptr) {
        // A parameterized type or another name for a class generates nothing by itself.
        readAnnotations(node.annotations, AnnotationPlace::Other, diagnostics_);
        return;
    }
    const AnnotationSet annotations = readAnnotations(node.annotations, AnnotationPlace::Type, diagnostics_);
    const std::string name(node.name.text);
    Type& type =
        newType(module, name, annotations.name.empty() ? cppIdentifier(name) : annotations.name, node.span, false);
    type.control = annotations.control;
    types_.emplace(&node, &type);
}

void Resolver::declareClass(const AssignmentNode& node) {
    if (node.hasParameters) {
        diagnostics_.error(node.name.span, "a class with parameters is not carried");
    } else if (classes_.find(&node) == classes_.end()) {  // an earlier definition may have requested it
        makeClass(node, *node.objectClass);
    }
}

void Resolver::makeClass(const AssignmentNode& node, const ClassNode& body) {
    Class& objectClass = model_.classes.emplace_back();
    const AnnotationSet annotations = readAnnotations(node.annotations, AnnotationPlace::Other, diagnostics_);
    objectClass.name = node.name;
    objectClass.cppName = annotations.name.empty() ? cppIdentifier(node.name.text) : annotations.name;
    objectClass.module = &model_.modules[node.name.span.file];
    objectClass.span = node.span;
    objectClass.node = &body;
    defineClass(objectClass);
    objectClass.module->classes.push_back(&objectClass);
    classes_.emplace(&node, &objectClass);
}

// The governor of a value determines its kind: an object of a class, an object identifier, or a number.
void Resolver::declareValue(Module& module, const AssignmentNode& node) {
    const TypeNode& governor = *node.type;
    if (governor.syntax == TypeSyntax::Reference && scope_.leadsNowhere(governor.name)) {
        scope_.find(governor.name);  // reports the undefined name; the kind of the value is unknown
        return;
    }
    if (governor.syntax == TypeSyntax::Reference && findClass(governor.name, true) != nullptr) {
        const AnnotationSet annotations = readAnnotations(node.annotations, AnnotationPlace::Object, diagnostics_);
        Object& object = model_.objects.emplace_back();
        object.name = node.name;
        object.cppName = annotations.name.empty() ? cppIdentifier(node.name.text) : annotations.name;
        object.module = &module;
        object.span = node.span;
        object.isLeftOut = annotations.isLeftOut;
        if (annotations.key) {
            ValueNode key;
            key.kind = ValueNode::Kind::Reference;
            key.name = *annotations.key;
            key.span = annotations.key->span;
            object.key = values_.objectId(key);
            object.keyName = cppIdentifier(key.name.text);
        }
        module.objects.push_back(&object);
        objects_.emplace(&node, &object);
        return;
    }
    const AnnotationSet annotations = readAnnotations(node.annotations, AnnotationPlace::Value, diagnostics_);
    const bool isObjectId = node.value.kind == ValueNode::Kind::Braced || governor.builtin == "OBJECT IDENTIFIER";
    if (node.hasParameters) {
        diagnostics_.error(node.name.span, "a value with parameters is not carried");
    } else if (isObjectId) {
        if (std::optional<Arcs> arcs = values_.objectId(node.value)) {
            module.objectIds.push_back({node.name,
                                        annotations.name.empty() ? cppIdentifier(node.name.text) : annotations.name,
                                        std::move(*arcs), annotations.isLocal});
        }
    } else if (governor.builtin == "INTEGER") {
        values_.integer(node.value);
    }
}

void Resolver::declareSet(Module& module, const AssignmentNode& node) {
    const AnnotationSet annotations = readAnnotations(node.annotations, AnnotationPlace::Other, diagnostics_);
    const Class* const objectClass =
        node.type->syntax == TypeSyntax::Reference ? findClass(node.type->name, false) : nullptr;
    if (node.type->syntax != TypeSyntax::Reference) {
        diagnostics_.error(node.type->span, "a set holds objects of a class; sets of values are not carried");
    }
    if (node.hasParameters) {
        diagnostics_.error(node.name.span, "a set with parameters is not carried");
    }
    ObjectSet& set = model_.sets.emplace_back();
    set.name = node.name;
    set.cppName = annotations.name.empty() ? cppIdentifier(node.name.text) : annotations.name;
    set.module = &module;
    set.span = node.span;
    set.objectClass = objectClass;
    module.sets.push_back(&set);
    sets_.emplace(&node, &set);
}

// A shared list follows its element type, in that type's module.
void Resolver::placeSharedLists() {
    for (Module& module : model_.modules) {
        std::vector<Type*> placed;
        placed.reserve(module.types.size());
        for (Type* type : module.types) {
            placed.push_back(type);
            for (const auto* lists : {&sequenceLists_, &setLists_}) {
                if (const auto list = lists->find(type); list != lists->end()) {
                    placed.push_back(list->second);
                }
            }
        }
        module.types = std::move(placed);
    }
}

// "COMPONENTS OF X" becomes the members of X without its additions (X.680, clause 25.5).
void Resolver::replaceComponentsOf(Type& type, int depth) {
    const auto isPlaceholder = [](const Member& member) { return member.name.text.empty(); };
    if (std::none_of(type.members.begin(), type.members.end(), isPlaceholder)) {
        return;
    }
    std::vector<Member> members;
    for (Member& member : type.members) {
        if (!isPlaceholder(member)) {
            members.push_back(std::move(member));
            continue;
        }
        Type* const source = const_cast<Type*>(underlyingType(member.use));
        if (source == nullptr || source->use.kind != type.use.kind || depth >= kMaxDepth || source == &type) {
            if (member.use.kind != Kind::Unresolved) {
                diagnostics_.error(member.span, "COMPONENTS OF takes another SEQUENCE, or in a SET another SET");
            }
            continue;
        }
        member.use.kind = Kind::Unresolved;  // ends a cycle
        replaceComponentsOf(*source, depth + 1);
        for (const Member& copied : source->members) {
            if (copied.part != MemberPart::Additions) {
                members.push_back(copied);
                members.back().part = member.part;
            }
        }
    }
    type.members = std::move(members);
    type.members.erase(std::remove_if(type.members.begin(), type.members.end(), isPlaceholder), type.members.end());
}

void Resolver::linkTables(Type& type) {
    const bool isRecord = type.use.kind == Kind::Sequence || type.use.kind == Kind::Set;
    for (std::size_t i = 0; isRecord && i < type.members.size(); ++i) {
        const Use& use = type.members[i].use;
        const Type* const list = use.kind == Kind::Named && use.type->isLifted ? use.type : nullptr;
        if (use.table) {
            linkTable(type, i, *use.table,
                      use.kind == Kind::OctetString ? TableForm::InOctetString : TableForm::Element);
        } else if (list != nullptr && list->element && list->element->table) {
            linkTable(type, i, *list->element->table, TableForm::ListOfElements);
        }
    }
}

void Resolver::linkTable(Type& type, std::size_t memberIndex, const TableUse& table, TableForm form) {
    if (table.key.text.empty()) {
        return;  // only limits the keys; has no effect here
    }
    const AssignmentNode* const found = scope_.find(table.setName);
    const auto set = found == nullptr ? sets_.end() : sets_.find(found);
    if (set == sets_.end()) {
        if (found != nullptr) {
            diagnostics_.error(table.setName.span, quoted(table.setName.text) + " is not a set of objects");
        }
        return;
    }
    const auto key = std::find_if(type.members.begin(), type.members.end(),
                                  [&](const Member& member) { return member.name.text == table.key.text; });
    if (key == type.members.end()) {
        diagnostics_.error(table.key.span, quoted(type.name) + " has no member " + quoted(table.key.text));
    } else if (type.table) {
        diagnostics_.error(table.setName.span, quoted(type.name) + " has a second table constraint; one is carried");
    } else if (set->second->objectClass != table.objectClass) {
        diagnostics_.error(table.setName.span, quoted(table.setName.text) + " holds objects of another class");
    } else {
        type.table = TypeTable{set->second, static_cast<std::size_t>(key - type.members.begin()), memberIndex, form};
    }
}

// An untagged CHOICE or open type cannot be tagged implicitly: its tag is explicit, whatever the module's default.
void Resolver::settleTags(Use& use) {
    if (use.tags.empty() || use.tags.back().isExplicit) {
        return;
    }
    Use inner = use;
    inner.tags.clear();
    if (isUntagged(inner)) {
        if (use.tags.back().isWritten) {
            diagnostics_.error(use.tags.back().span, "IMPLICIT cannot tag a CHOICE or an open type");
        }
        use.tags.back().isExplicit = true;
    }
}

template <class Action>
void Resolver::forEachUse(Action action) {
    for (Type& type : model_.types) {
        action(type.use);
        if (type.element) {
            action(*type.element);
        }
        for (Member& member : type.members) {
            action(member.use);
        }
    }
}

}  // namespace schemac
