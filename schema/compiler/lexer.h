// Splits a text into tokens. Comments are dropped, except annotations (`--@ word arguments`), which are attached to the
// next token.
#pragma once

#include <deque>
#include <string_view>
#include <vector>

#include "schema/compiler/diagnostics.h"
#include "schema/compiler/source.h"

namespace schemac {

enum class TokenKind {
    Word,        // starts with a lower-case letter
    TypeWord,    // starts with an upper-case letter; includes keywords
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
    bool isUsed = false;  // an unused annotation is an error
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
    std::deque<Annotation> annotations;  // in source order; never move
};

TokenList lex(const Sources& sources, std::uint32_t file, Diagnostics& diagnostics);

}  // namespace schemac
