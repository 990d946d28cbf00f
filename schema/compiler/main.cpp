// tallow-schema: compiles all schema modules to C++.
//
//   tallow-schema --out DIRECTORY [--parts STEM=N]... MODULE.asn1...
//
// Writes STEM.h and STEM.cpp for each module that defines more than values (STEM_1.cpp to STEM_N.cpp with --parts), and
// identifiers.h and identifiers.cpp for all object identifiers. Exit status: 0; 1 when a module has errors, which are
// reported on standard error (nothing is written); 2 for wrong usage or a file that cannot be read or written.
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "schema/compiler/compile.h"
#include "schema/compiler/emit.h"
#include "schema/compiler/layout.h"

namespace {

struct Arguments {
    std::filesystem::path directory;
    std::map<std::string, std::size_t> parts;
    std::vector<std::string> modules;
};

bool readParts(const std::string& text, Arguments& arguments) {
    const std::size_t equals = text.find('=');
    std::size_t count = 0;
    const char* const end = text.data() + text.size();
    if (equals == std::string::npos || std::from_chars(text.data() + equals + 1, end, count).ptr != end || count < 1 ||
        count > 99) {
        return false;
    }
    arguments.parts[text.substr(0, equals)] = count;
    return true;
}

bool readArguments(int argc, char** argv, Arguments& arguments) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool isOption = word == "--out" || word == "--parts";
        if (isOption && i + 1 == argc) {
            return false;
        }
        if (word == "--out") {
            arguments.directory = argv[++i];
        } else if (word == "--parts") {
            if (!readParts(argv[++i], arguments)) {
                return false;
            }
        } else if (word.rfind("--", 0) == 0) {
            return false;
        } else {
            arguments.modules.push_back(word);
        }
    }
    return !arguments.directory.empty() && !arguments.modules.empty();
}

// All texts by file name. Reports a source that is too long and returns nothing.
bool emitAll(const schemac::Layout& layout, const schemac::Sources& sources, const Arguments& arguments,
             std::map<std::string, std::string>& files) {
    files["identifiers.h"] = schemac::emitIdentifiersHeader(layout.constants);
    files["identifiers.cpp"] = schemac::emitIdentifiersSource(layout.constants);
    for (const schemac::ModuleLayout& module : layout.modules) {
        if (module.isEmpty()) {
            continue;
        }
        files[module.stem + ".h"] = schemac::emitHeader(module, sources);
        const auto parts = arguments.parts.find(module.stem);
        const std::size_t numParts = parts == arguments.parts.end() ? 1 : parts->second;
        const std::vector<std::string> texts = schemac::emitSources(module, numParts);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const auto numLines = static_cast<std::size_t>(std::count(texts[i].begin(), texts[i].end(), '\n'));
            if (numLines > schemac::kMaxLines) {
                std::cerr << module.stem << ": " << numLines << " lines in one source; spread it with --parts\n";
                return false;
            }
            const std::string suffix = numParts == 1 ? "" : "_" + std::to_string(i + 1);
            files[module.stem + suffix + ".cpp"] = texts[i];
        }
    }
    return true;
}

// Does not touch a file that already has this text, so that its dependents are not rebuilt.
bool write(const std::filesystem::path& path, const std::string& text) {
    std::ifstream old(path, std::ios::binary);
    const std::string present{std::istreambuf_iterator<char>(old), std::istreambuf_iterator<char>()};
    if (old && present == text) {
        return true;
    }
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        std::cerr << path.string() << ": cannot be written\n";
    }
    return static_cast<bool>(out);
}

int run(const Arguments& arguments) {
    schemac::Sources sources;
    for (const std::string& module : arguments.modules) {
        if (!sources.load(module)) {
            std::cerr << module << ": cannot be read\n";
            return 2;
        }
    }
    schemac::Diagnostics diagnostics;
    const auto compilation = schemac::compile(sources, diagnostics);
    schemac::Layout layout;
    if (diagnostics.empty()) {
        layout = schemac::layOut(compilation->model, sources, diagnostics);
    }
    if (!diagnostics.empty()) {
        diagnostics.print(std::cerr, sources);
        return 1;
    }
    std::map<std::string, std::string> files;
    if (!emitAll(layout, sources, arguments, files)) {
        return 1;
    }
    std::error_code ignored;
    std::filesystem::create_directories(arguments.directory, ignored);
    for (const auto& [name, text] : files) {
        if (!write(arguments.directory / name, text)) {
            return 2;
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    if (!readArguments(argc, argv, arguments)) {
        std::cerr << "usage: tallow-schema --out DIRECTORY [--parts STEM=N]... MODULE.asn1...\n";
        return 2;
    }
    return run(arguments);
}
