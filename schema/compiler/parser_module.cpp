// Modules, assignments and object classes.
#include <string>
#include <utility>

#include "schema/compiler/parser.h"

namespace schemac {
namespace {

class ModuleParser {
public:
    ModuleParser(const Sources& sources, std::uint32_t file, const TokenList& tokens, Diagnostics& diagnostics)
        : sources_(sources),
          range_{tokens.tokens.data(), tokens.tokens.data() + tokens.tokens.size()},
          diagnostics_(diagnostics),
          parser_(range_, diagnostics) {
        module_.file = file;
    }

    ModuleNode run() {
        if (parser_.isAtEnd()) {
            diagnostics_.error({module_.file, 0, 0}, "the file holds no module");
            return std::move(module_);
        }
        try {
            parseHeading();
            parseExports();
            parseImports();
        } catch (const SyntaxFailure&) {
            skipToAssignment();
        }
        while (!parser_.isAtEnd() && !parser_.peek().is("END")) {
            try {
                module_.assignments.push_back(parser_.parseAssignment());
            } catch (const SyntaxFailure&) {
                skipToAssignment();
            }
        }
        parseEnd();
        return std::move(module_);
    }

private:
    void parseHeading() {
        const Token& name = parser_.peek();
        if (name.kind != TokenKind::TypeWord) {
            parser_.fail("the name of the module expected");
        }
        module_.name = {name.text, name.span};
        parser_.next();
        if (parser_.peek().is("{")) {
            parser_.takeBraced();
        }
        parser_.expect("DEFINITIONS");
        if (parser_.accept("IMPLICIT")) {
            module_.tagDefault = TagMode::Implicit;
            parser_.expect("TAGS");
        } else if (parser_.accept("EXPLICIT")) {
            parser_.expect("TAGS");
        } else if (parser_.accept("AUTOMATIC")) {
            module_.tagDefault = TagMode::Implicit;
            module_.hasAutomaticTags = true;
            parser_.expect("TAGS");
        }
        parser_.expect("::=");
        parser_.expect("BEGIN");
    }

    // Everything is exported; the list is ignored.
    void parseExports() {
        if (parser_.accept("EXPORTS")) {
            while (!parser_.isAtEnd() && !parser_.accept(";")) {
                parser_.next();
            }
        }
    }

    void parseImports() {
        if (!parser_.accept("IMPORTS")) {
            return;
        }
        std::vector<Name> symbols;
        while (!parser_.accept(";")) {
            if (parser_.accept("FROM")) {
                parseImportSource(symbols);
                continue;
            }
            const Token& symbol = parser_.peek();
            if (symbol.kind != TokenKind::Word && symbol.kind != TokenKind::TypeWord) {
                parser_.fail("a name to import, FROM or ';' expected");
            }
            parser_.next();
            symbols.push_back({symbol.text, symbol.span});
            if (parser_.peek().is("{")) {
                parser_.takeBraced();  // marks a type with parameters
            }
            parser_.accept(",");
        }
        if (!symbols.empty()) {
            diagnostics_.error(symbols.front().span, "no FROM says where this is imported from");
        }
    }

    void parseImportSource(std::vector<Name>& symbols) {
        const Token& module = parser_.peek();
        if (module.kind != TokenKind::TypeWord) {
            parser_.fail("the name of a module expected");
        }
        parser_.next();
        for (const Name& symbol : symbols) {
            module_.imports.push_back({symbol, {module.text, module.span}});
        }
        symbols.clear();
        if (parser_.peek().is("{")) {
            parser_.takeBraced();
        } else if (parser_.peek().kind == TokenKind::Word && !parser_.peek(1).is(",") && !parser_.peek(1).is("FROM")) {
            parser_.next();  // the module's identifier by name; a word before a comma is the next import
        }
    }

    void parseEnd() {
        if (parser_.isAtEnd()) {
            diagnostics_.error(parser_.peek().span, "END expected");
            return;
        }
        parser_.next();
        if (!parser_.isAtEnd()) {
            diagnostics_.error(parser_.peek().span, "one file holds one module; here begins something else");
        }
    }

    // Continues after an error with the next tokens that look like the start of an assignment.
    void skipToAssignment() {
        const Token* const from = parser_.position();
        for (const Token* at = from; at != range_.end; ++at) {
            if (at->is("END")) {
                parser_.seek(at);
                return;
            }
            const Token* const head = at->is("::=") ? headBefore(at, from) : nullptr;
            if (head != nullptr) {
                parser_.seek(head);
                return;
            }
        }
        parser_.seek(range_.end);
    }

    // The first token of the assignment with this "::=": the first token on its line.
    const Token* headBefore(const Token* assign, const Token* from) const {
        const Token* head = assign;
        const std::size_t line = sources_.position(assign->span).line;
        while (head != range_.begin && head != from && sources_.position((head - 1)->span).line == line) {
            --head;
        }
        const bool isHead = head != assign && (head->kind == TokenKind::Word || head->kind == TokenKind::TypeWord);
        return isHead ? head : nullptr;
    }

    const Sources& sources_;
    TokenRange range_;
    Diagnostics& diagnostics_;
    Parser parser_;
    ModuleNode module_;
};

}  // namespace

ModuleNode parseModule(const Sources& sources, std::uint32_t file, const TokenList& tokens, Diagnostics& diagnostics) {
    return ModuleParser(sources, file, tokens, diagnostics).run();
}

AssignmentNode Parser::parseAssignment() {
    AssignmentNode assignment;
    const Token& head = peek();
    assignment.annotations = takeAnnotations(head);
    if (head.kind != TokenKind::Word && head.kind != TokenKind::TypeWord) {
        diagnostics_.error(next().span, "the name of a definition expected");
        throw SyntaxFailure{};
    }
    assignment.name = {head.text, head.span};
    next();
    if (peek().is("{")) {
        assignment.hasParameters = true;
        assignment.parameters = parseParameters();
    }
    if (head.kind == TokenKind::Word) {
        assignment.kind = AssignmentNode::Kind::Value;
        assignment.type = parseType();
        expect("::=");
        assignment.value = parseValue();
    } else if (accept("::=")) {
        const Token* const body = at_;
        if (accept("CLASS")) {
            assignment.kind = AssignmentNode::Kind::Class;
            assignment.objectClass = parseClass();
        } else {
            assignment.type = parseType();
        }
        assignment.body = {body, at_};
    } else {
        assignment.kind = AssignmentNode::Kind::Set;
        assignment.type = parseType();
        expect("::=");
        assignment.value = parseValue();
    }
    assignment.span = join(head.span, (at_ - 1)->span);
    return assignment;
}

// "{Name, Governor:name, ...}": only the names matter, since the body is parsed again for each use.
std::vector<Name> Parser::parseParameters() {
    const TokenRange inside = takeBraced();
    std::vector<Name> names;
    std::size_t depth = 0;
    for (const Token* at = inside.begin; at != inside.end; ++at) {
        depth += at->is("{") ? 1 : 0;
        depth -= at->is("}") && depth > 0 ? 1 : 0;
        const bool endsParameter = at + 1 == inside.end || ((at + 1)->is(",") && depth == 0);
        if (endsParameter && (at->kind == TokenKind::Word || at->kind == TokenKind::TypeWord)) {
            names.push_back({at->text, at->span});
        }
    }
    return names;
}

std::unique_ptr<ClassNode> Parser::parseClass() {
    auto objectClass = std::make_unique<ClassNode>();
    expect("{");
    do {
        objectClass->fields.push_back(parseField());
    } while (accept(","));
    expect("}");
    if (accept("WITH")) {
        expect("SYNTAX");
        expect("{");
        objectClass->syntax = parseSyntax("}");
    }
    return objectClass;
}

FieldNode Parser::parseField() {
    FieldNode field;
    const Token& name = peek();
    if (name.kind != TokenKind::TypeField && name.kind != TokenKind::ValueField) {
        fail("the name of a field expected");
    }
    next();
    field.name = {name.text, name.span};
    const bool hasType = !peek().is(",") && !peek().is("}") && !peek().is("OPTIONAL") && !peek().is("DEFAULT");
    field.isType = name.kind == TokenKind::TypeField && !hasType;
    if (!field.isType) {
        field.type = parseType();
    }
    field.isUnique = accept("UNIQUE");
    if (accept("OPTIONAL")) {
        field.presence = Presence::Optional;
    } else if (accept("DEFAULT")) {
        field.presence = Presence::Default;
        if (field.isType) {
            parseType();
        } else {
            parseValue();
        }
    }
    return field;
}

std::vector<SyntaxNode> Parser::parseSyntax(std::string_view close) {
    const Depth depth(*this);
    std::vector<SyntaxNode> nodes;
    while (!accept(close)) {
        SyntaxNode node;
        const Token& token = peek();
        node.word = {token.text, token.span};
        if (accept("[")) {
            node.kind = SyntaxNode::Kind::Group;
            node.inside = parseSyntax("]");
        } else if (token.kind == TokenKind::TypeField || token.kind == TokenKind::ValueField) {
            node.kind = SyntaxNode::Kind::Field;
            next();
        } else if (token.kind == TokenKind::TypeWord || token.is(",")) {
            next();
        } else {
            fail("a capital word, a field or a group expected");
        }
        nodes.push_back(std::move(node));
    }
    return nodes;
}

}  // namespace schemac
