// Resolves names across modules: a module's own definitions first, then its imports.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "schema/compiler/tree.h"

namespace schemac {

class Scope {
public:
    // Reports repeated definitions, repeated modules and imports of undefined names. `modules` must outlive this
    // object.
    Scope(const std::vector<ModuleNode>& modules, Diagnostics& diagnostics);

    // The definition of the name in its file. Reports an error and returns null if there is none.
    const AssignmentNode* find(const Name& name) const;
    // The same without a report.
    const AssignmentNode* findQuietly(const Name& name) const;
    const AssignmentNode* findIn(const Name& module, const Name& name) const;

    // True for a repeated definition, which has been reported and is otherwise ignored.
    bool isRepeated(const AssignmentNode& node) const { return repeated_.count(&node) != 0; }

    // True when the name or one that it renames is undefined. The error is reported where the undefined name appears.
    bool leadsNowhere(const Name& name) const;

    const ModuleNode& moduleOf(Span span) const { return modules_[span.file]; }

private:
    struct Entry {
        const AssignmentNode* own = nullptr;
        const ModuleNode* from = nullptr;
    };
    const AssignmentNode* findFrom(std::uint32_t file, std::string_view name) const;
    const ModuleNode* findModule(std::string_view name) const;

    const std::vector<ModuleNode>& modules_;
    Diagnostics& diagnostics_;
    std::uint32_t builtin_ = 0;
    std::unordered_map<std::string_view, const ModuleNode*> byName_;
    std::vector<std::unordered_map<std::string_view, Entry>> entries_;
    std::unordered_set<const AssignmentNode*> repeated_;
};

}  // namespace schemac
