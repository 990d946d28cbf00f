// Cuts a text into tokens. Comments vanish, except our annotations (`--@ word arguments`), which hang on the token that
// follows them.
#pragma once

#include <deque>
#include <string_view>
#include <vector>

#include "schema/compiler/diagnostics.h"
#include "schema/compiler/source.h"

namespace schemac {

enum class TokenKind {
    Word,        // begins with a small letter
    TypeWord,    // begins with a capital letter; keywords too
    Number,      // digits
    Text,        // "..."
    Bits,        // '...'B or '...'H
    ValueField,  // &id
    TypeField,   // &Type
    Symbol,      // one character, or "::=", ".." or "..."
    End,
};

struct AnnotationWord {
    std::string_view text;
    Span span;
};

// One `--@` comment.
struct Annotation {
    AnnotationWord word;
    std::vector<AnnotationWord> arguments;
    bool isUsed = false;  // set by whoever takes it; one that stays unused is a mistake
};

struct Token {
    TokenKind kind = TokenKind::End;
    Span span;
    std::string_view text;
    std::vector<Annotation*> annotations;

    bool is(std::string_view symbol) const {
        return (kind == TokenKind::Symbol || kind == TokenKind::TypeWord) && text == symbol;
    }
};

struct TokenList {
    std::vector<Token> tokens;           // without an end token
    std::deque<Annotation> annotations;  // in the order of the text; never move
};

TokenList lex(const Sources& sources, std::uint32_t file, Diagnostics& diagnostics);

}  // namespace schemac
