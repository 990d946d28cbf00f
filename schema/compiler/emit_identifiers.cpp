// Emits the object identifier constants of all modules.
#include <string>

#include "schema/compiler/emit.h"
#include "schema/compiler/text_writer.h"

namespace schemac {

std::string emitIdentifiersHeader(const std::vector<ConstantLayout>& constants) {
    TextWriter out;
    out.line("// Object identifier constants: generated from the schema modules; changes made here are lost.");
    out.line("#pragma once");
    out.line();
    out.line("#include \"asn1rt/types.h\"");
    out.line();
    out.line("// clang-format off");
    out.line("namespace asn1data {");
    out.line();
    out.line("// Constants in meaning: nothing changes them.");
    for (const ConstantLayout& constant : constants) {
        out.line("extern ASN1OBJID " + constant.name + ";");
    }
    out.line();
    out.line("}  // namespace asn1data");
    return out.text();
}

std::string emitIdentifiersSource(const std::vector<ConstantLayout>& constants) {
    TextWriter out;
    out.line("// Object identifier constants: generated from the schema modules; changes made here are lost.");
    out.line("#include \"schema/generated/identifiers.h\"");
    out.line();
    out.line("// clang-format off");
    out.line("namespace asn1data {");
    out.line();
    for (const ConstantLayout& constant : constants) {
        std::string arcs;
        for (const std::uint32_t arc : constant.arcs) {
            arcs += (arcs.empty() ? "" : ", ") + std::to_string(arc);
        }
        out.line("ASN1OBJID " + constant.name + " = {" + std::to_string(constant.arcs.size()) + ", {" + arcs + "}};");
    }
    out.line();
    out.line("}  // namespace asn1data");
    return out.text();
}

}  // namespace schemac
