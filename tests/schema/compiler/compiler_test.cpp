// Tests of the schema compiler with small modules. Each file in modules/ shows one construct; its name starts with the
// verdict, and the expected output or errors are next to it. With TALLOW_REWRITE=1 in the environment, the tests
// rewrite all expectations; review the difference.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "schema/compiler/compile.h"
#include "schema/compiler/emit.h"
#include "schema/compiler/layout.h"
#include "schema/compiler/queries.h"

namespace {

namespace fs = std::filesystem;

const fs::path kModules = "schema/compiler/modules";
const fs::path kWhole = "accept_sequence";

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

struct Outcome {
    bool isAccepted = false;
    std::string text;  // the concatenated generated files, or the errors
};

Outcome compileTexts(schemac::Sources& sources) {
    schemac::Diagnostics diagnostics;
    const auto compilation = schemac::compile(sources, diagnostics);
    schemac::Layout layout;
    if (diagnostics.empty()) {
        layout = schemac::layOut(compilation->model, sources, diagnostics);
    }
    std::ostringstream out;
    if (!diagnostics.empty()) {
        diagnostics.print(out, sources);
        return {false, out.str()};
    }
    for (const schemac::ModuleLayout& module : layout.modules) {
        out << "==== " << module.stem << ".h\n" << schemac::emitHeader(module, sources);
        out << "==== " << module.stem << ".cpp\n" << schemac::emitSources(module, 1).front();
    }
    if (!layout.constants.empty()) {
        out << "==== identifiers.h\n" << schemac::emitIdentifiersHeader(layout.constants);
        out << "==== identifiers.cpp\n" << schemac::emitIdentifiersSource(layout.constants);
    }
    return {true, out.str()};
}

// NAME_second.asn1 is the second module of the case NAME.asn1.
bool isSecond(const fs::path& path) {
    return path.stem().string().find("_second") != std::string::npos;
}

std::vector<fs::path> modulesIn(const fs::path& directory) {
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(directory)) {
        if (entry.path().extension() == ".asn1" && !isSecond(entry.path())) {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::vector<fs::path> cases() {
    return modulesIn(kModules);
}

// Removes the lines that are the same for every module and type, so that the expectations show the construct. One
// module keeps them.
std::string withoutFrames(const std::string& text) {
    static const auto kIsFrame = testing::Matches(
        testing::MatchesRegex(R"((    SCHEMA_SPECIAL_MEMBERS\(\w+\))"
                              R"(|(struct ASN1T_\w+; class ASN1C_\w+; )?extern const schema::TypeInfo kType_\w+;)"
                              R"(|namespace asn1data \{|\}  // namespace asn1data|using namespace schema;)"
                              R"(|#pragma .*|#include "schema/(declare|describe|generated/identifiers)\.h")"
                              R"(|// (clang-format off|\w+: generated from .*))?)"));
    std::istringstream in(text);
    std::string kept;
    for (std::string line; std::getline(in, line);) {
        kept += kIsFrame(line) ? "" : line + "\n";
    }
    return kept;
}

Outcome compileCase(const fs::path& path) {
    schemac::Sources sources;
    sources.add(path.filename().string(), readFile(path));
    const fs::path second = kModules / (path.stem().string() + "_second.asn1");
    if (fs::exists(second)) {
        sources.add(second.filename().string(), readFile(second));
    }
    Outcome outcome = compileTexts(sources);
    if (outcome.isAccepted && path.stem() != kWhole) {
        outcome.text = withoutFrames(outcome.text);
    }
    return outcome;
}

Outcome compileText(const std::string& text) {
    schemac::Sources sources;
    sources.add("test.asn1", text);
    return compileTexts(sources);
}

// Compares, or rewrites the expectation.
void expectText(const std::string& text, const fs::path& expected) {
    if (std::getenv("TALLOW_REWRITE") != nullptr) {
        std::ofstream(expected, std::ios::binary) << text;
    }
    EXPECT_EQ(text, readFile(expected)) << expected;
}

TEST(SchemaCompiler, EveryModuleGivesTheExpectedOutput) {
    ASSERT_FALSE(cases().empty());
    for (const fs::path& path : cases()) {
        const Outcome outcome = compileCase(path);
        const bool isToBeAccepted = path.filename().string().rfind("accept_", 0) == 0;
        EXPECT_EQ(outcome.isAccepted, isToBeAccepted) << path << '\n' << outcome.text;
        const fs::path expected = fs::path(path).replace_extension(".expected");
        expectText(outcome.text, expected);
    }
}

// One line for each member: kind, flags, tag and bounds.
std::string describe(const schemac::MemberLayout& member) {
    std::ostringstream out;
    out << "//     " << member.name << ' ' << member.kind;
    for (const std::string& flag : member.flags) {
        out << ' ' << flag;
    }
    out << std::hex << " 0x" << member.tag << std::dec;
    if (member.lower || member.upper) {
        out << " (" << member.lower.value_or(0) << ".." << member.upper.value_or(schemac::SizeBounds::kNone) << ')';
    }
    out << (member.typeInfo.empty() ? "" : " ") << member.typeInfo << '\n';
    return out.str();
}

std::string describe(const schemac::ModuleLayout& module) {
    std::ostringstream out;
    out << "\n// " << module.stem << '\n';
    for (const schemac::TypeLayout& type : module.types) {
        out << "TYPE(" << type.name << ", " << type.functionName << ")  // " << type.kind << type.aliasOf << '\n';
        for (const schemac::MemberLayout& member : type.members) {
            out << describe(member);
        }
        out << (type.tag ? describe(*type.tag) : "");
        if (type.table) {
            out << "//     values from " << type.table->setName << " by " << type.table->keyMember << '\n';
        }
    }
    for (const schemac::ClassLayout& objectClass : module.classes) {
        out << "// class " << objectClass.name << ' ' << objectClass.operation << '\n';
    }
    for (const schemac::ObjectLayout& object : module.objects) {
        out << "// " << object.name << ' ' << schemac::dotted(*object.object->key) << ' ' << object.value << '\n';
    }
    for (const schemac::SetLayout& set : module.sets) {
        out << "SET(" << set.name << ", " << set.className << ")\n";
        for (const std::string& object : set.objects) {
            out << "MEMBER(" << object << ")\n";
        }
    }
    return out.str();
}

// The golden file of the library's modules shows every change of a module. test_schema takes its types from it.
TEST(SchemaModules, MatchTheGoldenFile) {
    schemac::Sources sources;
    for (const fs::path& path : modulesIn("../schema/modules")) {
        ASSERT_TRUE(sources.load(path.string()));
    }
    schemac::Diagnostics diagnostics;
    const auto compilation = schemac::compile(sources, diagnostics);
    const schemac::Layout layout = schemac::layOut(compilation->model, sources, diagnostics);
    ASSERT_TRUE(diagnostics.empty());
    std::string text = "// What the schema modules define; written by test_schema_compiler with TALLOW_REWRITE=1.\n";
    for (const schemac::ModuleLayout& module : layout.modules) {
        text += describe(module);
    }
    text += "\n// Object identifiers\n";
    for (const schemac::ConstantLayout& constant : layout.constants) {
        text += "// " + constant.name + ' ' + schemac::dotted(constant.arcs) + '\n';
    }
    expectText(text, "data/schema/catalogue.inc");
}

// Truncated modules are rejected; modules with missing text are rejected or compile. Neither crashes.
TEST(SchemaCompiler, DamagedModulesAreSafe) {
    for (const fs::path& path : cases()) {
        const std::string whole = readFile(path);
        const std::size_t end = whole.rfind("END");
        for (std::size_t size = 0; size < end; size += 11) {
            EXPECT_FALSE(compileText(whole.substr(0, size)).isAccepted) << path << " cut after " << size;
        }
        for (std::size_t at = 0; at < whole.size(); at += 13) {
            const Outcome outcome = compileText(whole.substr(0, at) + whole.substr(std::min(at + 3, whole.size())));
            EXPECT_FALSE(outcome.text.empty()) << path << " without the text at " << at;
        }
    }
}

TEST(SchemaCompiler, RejectsNestingBeyondTheLimit) {
    const auto repeat = [](const std::string& text, std::size_t count) {
        std::string all;
        for (std::size_t i = 0; i < count; ++i) {
            all += text;
        }
        return all;
    };
    const struct {
        const char* name;
        std::string body;
    } rows[] = {
        {"lists", "A ::= " + repeat("SEQUENCE OF ", 100000) + "INTEGER"},
        {"records", "A ::= " + repeat("SEQUENCE { a ", 50000) + "INTEGER" + repeat("}", 50000)},
        {"tags", "A ::= " + repeat("[1] ", 50000) + "INTEGER"},
        {"braces in a value", "a INTEGER ::= " + repeat("{", 100000)},
        {"groups", "A ::= CLASS { &id NULL } WITH SYNTAX { " + repeat("[X ", 100000)},
        {"comments", repeat("/* ", 100000)},
        {"contained types", "A ::= " + repeat("OCTET STRING (CONTAINING ", 50000)},
        {"classes of fields", "K ::= CLASS { &a K.&a } A ::= K.&a"},
        {"parameters", "P {T} ::= SEQUENCE { a P {P {T}}, b P {T} } A ::= P {NULL}"},
        {"sets", "K ::= TYPE-IDENTIFIER A K ::= {B|B} B K ::= {C|C} C K ::= {D|D} D K ::= {A|A}"},
    };
    for (const auto& row : rows) {
        EXPECT_FALSE(compileText("M DEFINITIONS ::= BEGIN " + row.body + " END").isAccepted) << row.name;
    }
}

// A long chain of records, each embedding the next, is not a cycle.
TEST(SchemaCompiler, LongChainsOfDefinitionsCompile) {
    std::string text = "M DEFINITIONS ::= BEGIN\n";
    for (int i = 0; i < 2000; ++i) {
        text += "A" + std::to_string(i) + " ::= SEQUENCE { next A" + std::to_string(i + 1) + " }\n";
    }
    EXPECT_TRUE(compileText(text + "A2000 ::= SEQUENCE { last INTEGER }\nEND\n").isAccepted);
}

TEST(SchemaCompiler, RecordsHaveAtMost1024Members) {
    std::string members = "m0 [0] INTEGER";
    for (int i = 1; i < 1024; ++i) {
        members += ", m" + std::to_string(i) + " [" + std::to_string(i) + "] INTEGER";
    }
    for (const char* kind : {"SEQUENCE", "SET", "CHOICE"}) {
        const std::string text = std::string("M DEFINITIONS ::= BEGIN A ::= ") + kind + " { " + members;
        EXPECT_TRUE(compileText(text + " } END").isAccepted) << kind;
        EXPECT_FALSE(compileText(text + ", last [1024] INTEGER } END").isAccepted) << kind;
    }
}

TEST(SchemaCompiler, SplitSourcesContainTheSameDefinitions) {
    schemac::Sources sources;
    sources.add("lists.asn1", readFile(kModules / "accept_lists.asn1"));
    schemac::Diagnostics diagnostics;
    const auto compilation = schemac::compile(sources, diagnostics);
    const schemac::Layout layout = schemac::layOut(compilation->model, sources, diagnostics);
    const auto definitions = [](const std::vector<std::string>& texts) {
        std::vector<std::string> lines;
        for (const std::string& text : texts) {
            std::istringstream in(text);
            for (std::string line; std::getline(in, line);) {
                if (line.rfind("const TypeInfo ", 0) == 0) {
                    lines.push_back(line);
                }
            }
        }
        return lines;
    };
    const std::vector<std::string> one = schemac::emitSources(layout.modules.front(), 1);
    const std::vector<std::string> three = schemac::emitSources(layout.modules.front(), 3);
    ASSERT_EQ(three.size(), 3u);
    EXPECT_EQ(definitions(one), definitions(three));
    for (const std::string& part : three) {
        EXPECT_FALSE(definitions({part}).empty());
    }
}

}  // namespace
