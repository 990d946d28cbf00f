// Rules for objects, sets, identifiers and C++ names. Part of check().
#pragma once

#include <string>

#include "schema/compiler/diagnostics.h"
#include "schema/compiler/model.h"

namespace schemac {

// Reports names that are C++ keywords.
void checkCppName(const std::string& name, Span where, Diagnostics& diagnostics);
void checkObjects(const Model& model, Diagnostics& diagnostics);
void checkGlobalNames(const Model& model, Diagnostics& diagnostics);

}  // namespace schemac
