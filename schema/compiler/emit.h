// Prints a layout as C++: one header and one or more sources a module, and the constants of all modules.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "schema/compiler/layout.h"

namespace schemac {

// No source is longer than this; a module that needs more is spread over several.
constexpr std::size_t kMaxLines = 2000;

std::string emitHeader(const ModuleLayout& module, const Sources& sources);

// The lines of the module spread evenly over `numParts` sources.
std::vector<std::string> emitSources(const ModuleLayout& module, std::size_t numParts);

std::string emitIdentifiersHeader(const std::vector<ConstantLayout>& constants);
std::string emitIdentifiersSource(const std::vector<ConstantLayout>& constants);

}  // namespace schemac
