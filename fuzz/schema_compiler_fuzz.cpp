// Compiles any text: the result is an error or generated code, never a crash. A NUL byte splits the input into two
// modules, so that imports are covered.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "schema/compiler/compile.h"
#include "schema/compiler/emit.h"
#include "schema/compiler/layout.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t split = text.find('\0');
    schemac::Sources sources;
    sources.add("first.asn1", text.substr(0, split));
    if (split != std::string::npos) {
        sources.add("second.asn1", text.substr(split + 1));
    }
    schemac::Diagnostics diagnostics;
    const auto compilation = schemac::compile(sources, diagnostics);
    schemac::Layout layout;
    if (diagnostics.empty()) {
        layout = schemac::layOut(compilation->model, sources, diagnostics);
    }
    std::ostringstream messages;
    diagnostics.print(messages, sources);
    if (diagnostics.empty()) {
        for (const schemac::ModuleLayout& module : layout.modules) {
            schemac::emitHeader(module, sources);
            schemac::emitSources(module, 2);
        }
        schemac::emitIdentifiersSource(layout.constants);
    }
    return 0;
}
