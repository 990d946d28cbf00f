// The stages up to a checked model, used by the program, the tests and the fuzz target.
#pragma once

#include <memory>

#include "schema/compiler/model.h"

namespace schemac {

// A model and everything it points into. Only valid if `diagnostics` is empty.
struct Compilation {
    std::vector<TokenList> tokens;
    std::vector<ModuleNode> modules;
    Model model;
};

// Compiles all texts in `sources`. Adds the built-in definitions of ASN.1 to `sources`.
std::unique_ptr<Compilation> compile(Sources& sources, Diagnostics& diagnostics);

}  // namespace schemac
