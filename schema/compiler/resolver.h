// The state of one run of resolve(). Private to the resolve*.cpp files.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "schema/compiler/annotations.h"
#include "schema/compiler/model.h"
#include "schema/compiler/parser.h"
#include "schema/compiler/scope.h"
#include "schema/compiler/values.h"

namespace schemac {

class Resolver {
public:
    Resolver(const std::vector<ModuleNode>& modules, Diagnostics& diagnostics);
    Model run();

private:
    // The position of a type: the name of a type lifted from here, and the number of expansions that led here.
    struct Place {
        Module* module = nullptr;
        std::string path;
        int depth = 0;
    };

    // resolve.cpp
    void declare(Module& module, const AssignmentNode& node);
    void declareType(Module& module, const AssignmentNode& node);
    void declareClass(const AssignmentNode& node);
    void makeClass(const AssignmentNode& node, const ClassNode& body);
    void declareValue(Module& module, const AssignmentNode& node);
    void declareSet(Module& module, const AssignmentNode& node);
    void placeSharedLists();
    void replaceComponentsOf(Type& type, int depth);
    void linkTables(Type& type);
    void linkTable(Type& type, std::size_t memberIndex, const TableUse& table, TableForm form);
    void settleTags(Use& use);
    template <class Action>
    void forEachUse(Action action);

    // resolve_types.cpp
    void define(Type& type, const TypeNode& node, const Place& place, const AnnotationSet& annotations);
    void defineShape(Type& type, const TypeNode& node, const Place& place, const AnnotationSet& annotations);
    void defineMembers(Type& type, const TypeNode& node, const Place& place);
    Member makeMember(const ComponentNode& node, const Place& place);
    void tagAutomatically(Type& type, const TypeNode& node);
    void defineNumbers(Type& type, const TypeNode& node);
    Use resolveUse(const TypeNode& node, const Place& place, const AnnotationSet& annotations);
    Use liftedUse(const TypeNode& node, const Place& place, const AnnotationSet& annotations);
    Use openUse(const TypeNode& node);
    Use plainUse(const TypeNode& node, const Place& place);
    Use referenceUse(const TypeNode& node);
    Use fieldUse(const TypeNode& node, const Place& place);
    Type& newType(Module& module, std::string name, std::string cppName, Span span, bool isLifted);
    Type& sharedList(Type& element, bool isSet, Span span);
    const TypeNode* expand(const TypeNode& node, const Place& place);
    std::vector<TokenRange> splitActuals(const TokenRange& range) const;
    void addTags(const TypeNode& node, Use& use);
    void applyConstraints(const TypeNode& node, Use& use, const std::vector<NamedNumber>* named);
    void applySize(const ConstraintNode& constraint, Use& use);
    void applyRange(const ConstraintNode& constraint, Use& use, const std::vector<NamedNumber>* named);
    void applyTable(const ConstraintNode& constraint, Use& use);
    void applyContaining(const ConstraintNode& constraint, Use& use);

    // resolve_objects.cpp
    const Class* findClass(const Name& name, bool isQuiet);
    const Class* classOf(const AssignmentNode& node, const AssignmentNode* alias);
    void defineClass(Class& objectClass);
    struct ObjectFields;
    bool readSyntax(Parser& parser, const std::vector<SyntaxNode>& syntax, const Class& objectClass,
                    ObjectFields& fields);
    bool readField(Parser& parser, const Name& field, const Class& objectClass, ObjectFields& fields);
    bool readDefaultSyntax(Parser& parser, const Class& objectClass, ObjectFields& fields);
    void defineObject(Object& object, const AssignmentNode& node);
    Use objectValue(const Object& object, const TypeNode& node);
    void defineSet(ObjectSet& set, const AssignmentNode& node, int depth);
    void addToSet(ObjectSet& set, const Name& name, int depth);

    const std::vector<ModuleNode>& nodes_;
    Diagnostics& diagnostics_;
    Scope scope_;
    Values values_;
    Model model_;
    std::unordered_map<const AssignmentNode*, Type*> types_;
    std::unordered_map<const AssignmentNode*, Class*> classes_;
    std::unordered_map<const AssignmentNode*, Object*> objects_;
    std::unordered_map<const AssignmentNode*, ObjectSet*> sets_;
    std::unordered_map<const Type*, Type*> sequenceLists_;
    std::unordered_map<const Type*, Type*> setLists_;
    std::deque<std::vector<Token>> expandedTokens_;
    std::vector<std::unique_ptr<TypeNode>> expandedNodes_;
    std::size_t numExpandedTokens_ = 0;
    std::size_t numSetSteps_ = 0;
};

}  // namespace schemac
