// The rules that a resolved model must satisfy before code is generated. One function per rule.
#pragma once

#include "schema/compiler/model.h"

namespace schemac {

void check(const Model& model, Diagnostics& diagnostics);

}  // namespace schemac
