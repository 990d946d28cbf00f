// A message as `show` prints it: a tree of named fields. output.h turns it into text or JSON.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tallow::cli {

/// A text, an object of named fields, or a list. Texts are UTF-8 and may contain any character: they are made safe when
/// printed. Names are those of the standard, and constants.
struct Shown {
    enum class Kind { kText, kObject, kList };

    const char* name = "";  // empty in a list
    Kind kind = Kind::kText;
    std::string text;
    std::vector<Shown> parts;
    bool isOnlyInJson = false;  // what people read as part of another text

    static Shown field(const char* name, std::string text) { return {name, Kind::kText, std::move(text), {}, false}; }
    static Shown object(const char* name) { return {name, Kind::kObject, {}, {}, false}; }
    static Shown list(const char* name) { return {name, Kind::kList, {}, {}, false}; }

    void add(Shown part) { parts.push_back(std::move(part)); }
    void add(const char* partName, std::string partText) { add(field(partName, std::move(partText))); }
    void addForJson(const char* partName, std::string partText) {
        add({partName, Kind::kText, std::move(partText), {}, true});
    }
};

}  // namespace tallow::cli
