// The rules that a resolved model must keep before anything is made of it. One function a rule.
#pragma once

#include "schema/compiler/model.h"

namespace schemac {

void check(const Model& model, Diagnostics& diagnostics);

}  // namespace schemac
