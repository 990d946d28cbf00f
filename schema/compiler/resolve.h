// Looks up every name and makes the model.
//
// Types written inside others are lifted out and named: `Parent_member` for the type of a member, `Parent_element` for
// that of an element, `_object_Field` for the type an object carries, and `_SeqOfX` and `_SetOfX` for a plain list of a
// named type, which all members that write the same list share.
#pragma once

#include <vector>

#include "schema/compiler/model.h"

namespace schemac {

// Mistakes are reported and leave Kind::Unresolved behind. The model points into `modules`, which must outlive it.
Model resolve(const std::vector<ModuleNode>& modules, Diagnostics& diagnostics);

}  // namespace schemac
