// Parses tokens into the tree. An error ends the assignment; parsing continues with the next one.
//
// Nesting is limited to kMaxDepth levels, so that no input can exhaust the stack.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "schema/compiler/tree.h"

namespace schemac {

constexpr int kMaxDepth = 64;

// Thrown after the error has been reported; caught where parsing can continue.
struct SyntaxFailure {};

// Parses the module of one file. Its name is empty if the heading could not be parsed.
ModuleNode parseModule(const Sources& sources, std::uint32_t file, const TokenList& tokens, Diagnostics& diagnostics);

class Parser {
public:
    Parser(TokenRange range, Diagnostics& diagnostics);

    // All of these throw SyntaxFailure.
    std::unique_ptr<TypeNode> parseType();
    ValueNode parseValue();

    const Token& peek(std::size_t ahead = 0) const;
    bool isAtEnd() const { return at_ == range_.end; }
    const Token* position() const { return at_; }
    void seek(const Token* position) { at_ = position; }
    const Token& next();
    bool accept(std::string_view symbol);
    const Token& expect(std::string_view symbol);
    // Consumes a braced range and returns the tokens between the braces.
    TokenRange takeBraced();
    [[noreturn]] void fail(const std::string& text);

    AssignmentNode parseAssignment();

private:
    // Counts the nesting level for the lifetime of the object.
    class Depth {
    public:
        explicit Depth(Parser& parser);
        ~Depth() { --depth_; }
        Depth(const Depth&) = delete;
        Depth& operator=(const Depth&) = delete;

    private:
        int& depth_;
    };

    void parseTags(TypeNode& type);
    bool parseConstructed(TypeNode& type);
    bool parseBuiltin(TypeNode& type);
    void parseReference(TypeNode& type);
    void parseInstanceOf(TypeNode& type);
    void parseListOrComponents(TypeNode& type, bool isSet);
    void parseComponents(TypeNode& type, bool isChoice);
    void parseExtensionMarker(TypeNode& type, MemberPart& part);
    ComponentNode parseComponent(bool isChoice);
    void parseNamedNumbers(TypeNode& type);
    void parseConstraints(TypeNode& type);
    void parseConstraint(TypeNode& type);
    void parseConstraintElement(std::vector<ConstraintNode>& constraints);
    bool parseRanges(ConstraintNode& constraint);
    void parseTable(ConstraintNode& constraint);
    void skipUncarried(ConstraintNode& constraint);
    bool parseBound(std::optional<ValueNode>& bound, std::string_view open);

    std::unique_ptr<ClassNode> parseClass();
    FieldNode parseField();
    std::vector<SyntaxNode> parseSyntax(std::string_view close);
    std::vector<Name> parseParameters();
    Name expectName(TokenKind kind, const char* what);

    TokenRange range_;
    const Token* at_;
    Token end_;
    Diagnostics& diagnostics_;
    int depth_ = 0;
};

// Returns the annotations of a token and marks them as used.
Annotations takeAnnotations(const Token& token);

}  // namespace schemac
