// One table of the annotations, with their allowed places and numbers of arguments.
#include "schema/compiler/annotations.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>

namespace schemac {
namespace {

enum class Word { Open, Array, Big, AnyString, RawIfTooBig, Below, Name, Control, Key, LeftOut, Local };

struct WordRule {
    std::string_view text;
    std::size_t numArguments;
    Word word;
    unsigned places;
};

constexpr unsigned at(std::initializer_list<AnnotationPlace> places) {
    unsigned bits = 0;
    for (const AnnotationPlace place : places) {
        bits |= 1u << static_cast<unsigned>(place);
    }
    return bits;
}

using Place = AnnotationPlace;
constexpr WordRule kRules[] = {
    {"open", 0, Word::Open, at({Place::Type, Place::Member})},
    {"array", 0, Word::Array, at({Place::Type, Place::Member})},
    {"big", 0, Word::Big, at({Place::Type, Place::Member})},
    {"any-string", 0, Word::AnyString, at({Place::Type})},
    {"raw-if-too-big", 0, Word::RawIfTooBig, at({Place::Type})},
    {"below", 1, Word::Below, at({Place::Type})},
    {"name", 1, Word::Name, at({Place::Type, Place::Member, Place::Value, Place::Object, Place::Other})},
    {"control", 1, Word::Control, at({Place::Type})},
    {"key", 1, Word::Key, at({Place::Object})},
    {"left-out", 0, Word::LeftOut, at({Place::Object})},
    {"local", 0, Word::Local, at({Place::Value})},
};

bool isIdentifier(std::string_view text) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    return !text.empty() && isLetter(text[0]) &&
           std::all_of(text.begin(), text.end(), [&](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
}

void takeIdentifier(const AnnotationWord& word, std::string& target, Diagnostics& diagnostics) {
    if (isIdentifier(word.text)) {
        target = word.text;
    } else {
        diagnostics.error(word.span, "'" + std::string(word.text) + "' is no C++ name");
    }
}

void takeNumber(const AnnotationWord& word, std::optional<std::int64_t>& target, Diagnostics& diagnostics) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(word.text.data(), word.text.data() + word.text.size(), number);
    if (error == std::errc() && end == word.text.data() + word.text.size()) {
        target = number;
    } else {
        diagnostics.error(word.span, "a number from 0 to 4294967295 expected");
    }
}

void apply(Word word, const Annotation& annotation, AnnotationSet& set, Diagnostics& diagnostics) {
    switch (word) {
        case Word::Open:
            set.isOpen = true;
            break;
        case Word::Array:
            set.isArray = true;
            break;
        case Word::Big:
            set.isBig = true;
            break;
        case Word::AnyString:
            set.takesAnyString = true;
            break;
        case Word::RawIfTooBig:
            set.isRawIfTooBig = true;
            break;
        case Word::Below:
            takeNumber(annotation.arguments[0], set.below, diagnostics);
            break;
        case Word::Name:
            takeIdentifier(annotation.arguments[0], set.name, diagnostics);
            break;
        case Word::Control:
            takeIdentifier(annotation.arguments[0], set.control, diagnostics);
            break;
        case Word::Key:
            set.key = Name{annotation.arguments[0].text, annotation.arguments[0].span};
            break;
        case Word::LeftOut:
            set.isLeftOut = true;
            break;
        case Word::Local:
            set.isLocal = true;
            break;
    }
}

}  // namespace

AnnotationSet readAnnotations(const Annotations& annotations, AnnotationPlace place, Diagnostics& diagnostics) {
    AnnotationSet set;
    if (!annotations.empty()) {
        set.span = annotations.front()->word.span;
    }
    for (const Annotation* annotation : annotations) {
        const std::string word(annotation->word.text);
        const auto* const rule = std::find_if(std::begin(kRules), std::end(kRules),
                                              [&](const WordRule& one) { return one.text == annotation->word.text; });
        if (rule == std::end(kRules)) {
            diagnostics.error(annotation->word.span, "unknown annotation '" + word + "'");
        } else if ((rule->places & at({place})) == 0) {
            diagnostics.error(annotation->word.span, "annotation '" + word + "' means nothing here");
        } else if (annotation->arguments.size() != rule->numArguments) {
            diagnostics.error(annotation->word.span, "annotation '" + word + "' takes " +
                                                         std::to_string(rule->numArguments) + " argument" +
                                                         (rule->numArguments == 1 ? "" : "s"));
        } else {
            apply(rule->word, *annotation, set, diagnostics);
        }
    }
    return set;
}

}  // namespace schemac
