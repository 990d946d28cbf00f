// Definitions and imports by name.
#include "schema/compiler/scope.h"

#include <string>

#include "schema/compiler/parser.h"

namespace schemac {
namespace {

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

}  // namespace

Scope::Scope(const std::vector<ModuleNode>& modules, Diagnostics& diagnostics)
    : modules_(modules), diagnostics_(diagnostics), entries_(modules.size()) {
    for (const ModuleNode& module : modules) {
        if (module.isBuiltin) {
            builtin_ = module.file;
        }
        if (!module.name.text.empty() && !byName_.emplace(module.name.text, &module).second) {
            diagnostics.error(module.name.span, "a second module named " + quoted(module.name.text));
        }
        for (const AssignmentNode& assignment : module.assignments) {
            Entry& entry = entries_[module.file][assignment.name.text];
            if (entry.own != nullptr) {
                diagnostics.error(assignment.name.span, quoted(assignment.name.text) + " is already defined");
                repeated_.insert(&assignment);
            } else {
                entry.own = &assignment;
            }
        }
    }
    for (const ModuleNode& module : modules) {
        for (const ImportNode& import : module.imports) {
            Entry& entry = entries_[module.file][import.symbol.text];
            const ModuleNode* const from = findModule(import.module.text);
            if (from == nullptr) {
                diagnostics.error(import.module.span, "there is no module " + quoted(import.module.text));
            } else if (entry.own != nullptr || (entry.from != nullptr && entry.from != from)) {
                diagnostics.error(import.symbol.span, quoted(import.symbol.text) + " is already defined or imported");
            } else {
                entry.from = from;
            }
        }
    }
    for (const ModuleNode& module : modules) {
        for (const ImportNode& import : module.imports) {
            if (findModule(import.module.text) != nullptr && findFrom(module.file, import.symbol.text) == nullptr) {
                diagnostics.error(import.symbol.span,
                                  quoted(import.module.text) + " does not define " + quoted(import.symbol.text));
            }
        }
    }
}

const ModuleNode* Scope::findModule(std::string_view name) const {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second;
}

// A module may re-export an import; the bound ends cycles of such imports. A name unknown to the module may be built
// in.
const AssignmentNode* Scope::findFrom(std::uint32_t file, std::string_view name) const {
    for (int hops = 0; hops < kMaxDepth; ++hops) {
        const auto found = entries_[file].find(name);
        if (found == entries_[file].end()) {
            return file != builtin_ ? findFrom(builtin_, name) : nullptr;
        }
        if (found->second.own != nullptr || found->second.from == nullptr) {
            return found->second.own;
        }
        file = found->second.from->file;
    }
    return nullptr;
}

const AssignmentNode* Scope::findQuietly(const Name& name) const {
    return findFrom(name.span.file, name.text);
}

bool Scope::leadsNowhere(const Name& name) const {
    const AssignmentNode* found = findQuietly(name);
    for (int hops = 0; found != nullptr && hops < kMaxDepth; ++hops) {
        const bool isAlias = found->kind == AssignmentNode::Kind::Type && found->type != nullptr &&
                             found->type->syntax == TypeSyntax::Reference && found->type->module.text.empty();
        if (!isAlias) {
            break;
        }
        found = findQuietly(found->type->name);
    }
    return found == nullptr;
}

const AssignmentNode* Scope::find(const Name& name) const {
    const AssignmentNode* const found = findQuietly(name);
    const auto& entries = entries_[name.span.file];
    if (found == nullptr && entries.find(name.text) == entries.end()) {  // a failed import has been reported
        diagnostics_.error(name.span, quoted(name.text) + " is not defined here, nor imported");
    }
    return found;
}

const AssignmentNode* Scope::findIn(const Name& module, const Name& name) const {
    const ModuleNode* const from = findModule(module.text);
    if (from == nullptr) {
        diagnostics_.error(module.span, "there is no module " + quoted(module.text));
        return nullptr;
    }
    const AssignmentNode* const found = findFrom(from->file, name.text);
    if (found == nullptr) {
        diagnostics_.error(name.span, quoted(module.text) + " does not define " + quoted(name.text));
    }
    return found;
}

}  // namespace schemac
