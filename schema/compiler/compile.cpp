// From source text to checked model.
#include "schema/compiler/compile.h"

#include "schema/compiler/check.h"
#include "schema/compiler/parser.h"
#include "schema/compiler/resolve.h"

namespace schemac {
namespace {

// The definitions of X.681: one class, and the type of INSTANCE OF (clause C.7).
constexpr const char* kBuiltin =
    "Builtin DEFINITIONS ::= BEGIN\n"
    "TYPE-IDENTIFIER ::= CLASS { &id OBJECT IDENTIFIER UNIQUE, &Type } WITH SYNTAX { &Type IDENTIFIED BY &id }\n"
    "INSTANCE-OF {KIND} ::= [UNIVERSAL 8] IMPLICIT SEQUENCE { type-id KIND.&id, value [0] EXPLICIT KIND.&Type }\n"
    "END\n";

void reportUnusedAnnotations(const std::vector<TokenList>& lists, Diagnostics& diagnostics) {
    for (const TokenList& list : lists) {
        for (const Annotation& annotation : list.annotations) {
            if (!annotation.isUsed) {
                diagnostics.error(annotation.word.span,
                                  "this annotation stands in front of nothing that could take it");
            }
        }
    }
}

}  // namespace

std::unique_ptr<Compilation> compile(Sources& sources, Diagnostics& diagnostics) {
    auto compilation = std::make_unique<Compilation>();
    const std::uint32_t builtin = sources.add("ASN.1", kBuiltin);
    compilation->tokens.reserve(sources.count());
    for (std::uint32_t file = 0; file < sources.count(); ++file) {
        compilation->tokens.push_back(lex(sources, file, diagnostics));
        compilation->modules.push_back(parseModule(sources, file, compilation->tokens.back(), diagnostics));
        compilation->modules.back().isBuiltin = file == builtin;
    }
    compilation->model = resolve(compilation->modules, diagnostics);
    check(compilation->model, diagnostics);
    reportUnusedAnnotations(compilation->tokens, diagnostics);
    return compilation;
}

}  // namespace schemac
