// Rules on objects, sets, identifiers and the names that all of them have in C++. Part of check().
#pragma once

#include <string>

#include "schema/compiler/diagnostics.h"
#include "schema/compiler/model.h"

namespace schemac {

// A keyword of C++ cannot be the name of anything.
void checkCppName(const std::string& name, Span where, Diagnostics& diagnostics);
void checkObjects(const Model& model, Diagnostics& diagnostics);
void checkGlobalNames(const Model& model, Diagnostics& diagnostics);

}  // namespace schemac
