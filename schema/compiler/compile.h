// The stages up to a checked model, for the program, the tests and the fuzz target alike.
#pragma once

#include <memory>

#include "schema/compiler/model.h"

namespace schemac {

// A model with all that it points into. Good for use only when `diagnostics` stayed empty.
struct Compilation {
    std::vector<TokenList> tokens;
    std::vector<ModuleNode> modules;
    Model model;
};

// Takes what `sources` holds; adds the definitions of ASN.1 itself to them.
std::unique_ptr<Compilation> compile(Sources& sources, Diagnostics& diagnostics);

}  // namespace schemac
