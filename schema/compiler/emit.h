// Prints a layout as C++: one header and one or more sources per module, and the constants of all modules.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "schema/compiler/layout.h"

namespace schemac {

// The longest source. A longer module must be split into several sources.
constexpr std::size_t kMaxLines = 2000;

std::string emitHeader(const ModuleLayout& module, const Sources& sources);

// Splits the module evenly into `numParts` sources.
std::vector<std::string> emitSources(const ModuleLayout& module, std::size_t numParts);

std::string emitIdentifiersHeader(const std::vector<ConstantLayout>& constants);
std::string emitIdentifiersSource(const std::vector<ConstantLayout>& constants);

}  // namespace schemac
