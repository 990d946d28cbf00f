// The lexical rules of X.680, as far as the modules need them.
#include "schema/compiler/lexer.h"

#include <string>
#include <utility>

namespace schemac {
namespace {

bool isSmall(char c) {
    return c >= 'a' && c <= 'z';
}
bool isCapital(char c) {
    return c >= 'A' && c <= 'Z';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isWordPart(char c) {
    return isSmall(c) || isCapital(c) || isDigit(c);
}
bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

class Lexer {
public:
    Lexer(const Sources& sources, std::uint32_t file, Diagnostics& diagnostics)
        : text_(sources.text(file)), file_(file), diagnostics_(diagnostics) {}

    TokenList run() {
        while (at_ < text_.size()) {
            const char c = text_[at_];
            if (isBlank(c)) {
                ++at_;
            } else if (startsWith("--")) {
                lineComment();
            } else if (startsWith("/*")) {
                blockComment();
            } else {
                token(c);
            }
        }
        return std::move(list_);
    }

private:
    bool startsWith(std::string_view what) const { return text_.substr(at_, what.size()) == what; }
    char peek(std::size_t ahead) const { return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0'; }
    Span span(std::size_t begin) const {
        return {file_, static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(at_)};
    }

    void push(TokenKind kind, std::size_t begin) {
        list_.tokens.push_back({kind, span(begin), text_.substr(begin, at_ - begin), std::move(waiting_)});
        waiting_.clear();
    }

    // A comment ends at the end of the line or at the next pair of hyphens.
    void lineComment() {
        const bool isAnnotation = startsWith("--@");
        const std::size_t begin = at_ + (isAnnotation ? 3 : 2);
        std::size_t end = text_.find('\n', begin);
        end = end == std::string_view::npos ? text_.size() : end;
        const std::size_t hyphens = text_.substr(0, end).find("--", begin);
        at_ = hyphens == std::string_view::npos ? end : hyphens + 2;
        if (isAnnotation) {
            annotation(begin, hyphens == std::string_view::npos ? end : hyphens);
        }
    }

    void annotation(std::size_t begin, std::size_t end) {
        std::vector<AnnotationWord> words;
        for (std::size_t i = begin; i < end;) {
            const std::size_t start = i;
            while (i < end && !isBlank(text_[i])) {
                ++i;
            }
            if (i > start) {
                words.push_back({text_.substr(start, i - start),
                                 {file_, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(i)}});
            } else {
                ++i;
            }
        }
        if (words.empty()) {
            diagnostics_.error({file_, static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end)},
                               "an annotation without a word");
            return;
        }
        list_.annotations.push_back({words.front(), {words.begin() + 1, words.end()}, false});
        waiting_.push_back(&list_.annotations.back());
    }

    // Block comments nest.
    void blockComment() {
        const std::size_t begin = at_;
        std::size_t depth = 0;
        while (at_ < text_.size()) {
            if (startsWith("/*")) {
                ++depth;
                at_ += 2;
            } else if (startsWith("*/")) {
                at_ += 2;
                if (--depth == 0) {
                    return;
                }
            } else {
                ++at_;
            }
        }
        diagnostics_.error({file_, static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(begin + 2)},
                           "this comment has no end");
    }

    void token(char c) {
        const std::size_t begin = at_;
        if (isSmall(c) || isCapital(c)) {
            word();
            push(isSmall(c) ? TokenKind::Word : TokenKind::TypeWord, begin);
        } else if (isDigit(c)) {
            while (isDigit(peek(0))) {
                ++at_;
            }
            push(TokenKind::Number, begin);
        } else if (c == '&' && (isSmall(peek(1)) || isCapital(peek(1)))) {
            ++at_;
            const bool isValue = isSmall(peek(0));
            word();
            push(isValue ? TokenKind::ValueField : TokenKind::TypeField, begin);
        } else if (c == '"') {
            quoted(begin);
        } else if (c == '\'') {
            bits(begin);
        } else {
            symbol(begin);
        }
    }

    // Letters, digits and single hyphens. A hyphen is never last; two hyphens start a comment.
    void word() {
        while (isWordPart(peek(0)) || (peek(0) == '-' && isWordPart(peek(1)))) {
            ++at_;
        }
    }

    void quoted(std::size_t begin) {
        ++at_;
        while (at_ < text_.size()) {
            if (text_[at_] != '"') {
                ++at_;
            } else if (peek(1) == '"') {
                at_ += 2;
            } else {
                ++at_;
                push(TokenKind::Text, begin);
                return;
            }
        }
        diagnostics_.error({file_, static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(begin + 1)},
                           "this string has no end");
    }

    void bits(std::size_t begin) {
        const std::size_t end = text_.find('\'', begin + 1);
        if (end == std::string_view::npos) {
            at_ = begin + 1;
            diagnostics_.error(span(begin), "this string has no end");
            return;
        }
        at_ = end + 1;
        if (peek(0) != 'B' && peek(0) != 'H') {
            diagnostics_.error(span(begin), "a quoted number ends in 'B or 'H");
            return;
        }
        ++at_;
        push(TokenKind::Bits, begin);
    }

    void symbol(std::size_t begin) {
        static constexpr std::string_view kLong[] = {"::=", "...", ".."};
        static constexpr std::string_view kSingle = "{}()[],;:.|@!^<>=-*";
        for (const std::string_view one : kLong) {
            if (startsWith(one)) {
                at_ += one.size();
                push(TokenKind::Symbol, begin);
                return;
            }
        }
        ++at_;
        if (kSingle.find(text_[begin]) != std::string_view::npos) {
            push(TokenKind::Symbol, begin);
            return;
        }
        diagnostics_.error(span(begin), "a character that has no meaning here");
    }

    std::string_view text_;
    std::uint32_t file_;
    Diagnostics& diagnostics_;
    std::size_t at_ = 0;
    std::vector<Annotation*> waiting_;
    TokenList list_;
};

}  // namespace

TokenList lex(const Sources& sources, std::uint32_t file, Diagnostics& diagnostics) {
    return Lexer(sources, file, diagnostics).run();
}

}  // namespace schemac
