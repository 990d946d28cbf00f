// Resolves all names and builds the model.
//
// Types written inside others are lifted out and named: `Parent_member` for the type of a member, `Parent_element` for
// that of an element, `_object_Field` for the type of an object, and `_SeqOfX` and `_SetOfX` for a plain list of a
// named type. Members with the same list share one type.
#pragma once

#include <vector>

#include "schema/compiler/model.h"

namespace schemac {

// Errors are reported and leave Kind::Unresolved in the model. `modules` must outlive the model, which points into it.
Model resolve(const std::vector<ModuleNode>& modules, Diagnostics& diagnostics);

}  // namespace schemac
