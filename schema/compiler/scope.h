// Which definition a name means, over all modules: the module's own, else what it imports.
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
    // Reports names defined twice, modules given twice and imports of what is not there. `modules` must outlive this.
    Scope(const std::vector<ModuleNode>& modules, Diagnostics& diagnostics);

    // The definition that the name means in the file it stands in; null, with a mistake reported, when there is none.
    const AssignmentNode* find(const Name& name) const;
    // The same, silent.
    const AssignmentNode* findQuietly(const Name& name) const;
    const AssignmentNode* findIn(const Name& module, const Name& name) const;

    // True for the second definition of a name, which is reported and otherwise ignored.
    bool isRepeated(const AssignmentNode& node) const { return repeated_.count(&node) != 0; }

    // True when the name, or one that it stands for, is not defined. That is reported where the missing name stands.
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
