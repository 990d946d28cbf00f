// Untrusted names in certificates, addresses and file names: control characters and bidirectional control characters
// are escaped in the output, and octets that are not UTF-8 leave the JSON valid.
#include <algorithm>

#include "tests/cli/command.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using HostileText = CommandTest;

constexpr const char* kOverride = "\xE2\x80\xAE";       // U+202E, right to left
constexpr const char* kIsolate = "\xE2\x81\xA6";        // U+2066
constexpr const char* kControlOfC1 = "\xC2\x9B";        // U+009B, begins a terminal's control sequence
constexpr const char* kLineSeparator = "\xE2\x80\xA8";  // U+2028

std::string controlsIn(const std::string& text) {
    std::string found;
    for (const char c : text) {
        if ((static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F) {
            found += std::to_string(static_cast<int>(c)) + " ";
        }
    }
    return found;
}

void expectHarmless(const std::string& text) {
    EXPECT_EQ(controlsIn(text), "");
    for (const char* harmful : {kOverride, kIsolate, kControlOfC1, kLineSeparator}) {
        EXPECT_THAT(text, Not(HasSubstr(harmful)));
    }
}

// Replaces the common name by other octets of the same number; the signature is then wrong, but is not verified here.
Identity withSubject(const std::string& octets) {
    const std::string marker(octets.size(), '@');
    Identity identity = issue(certs().root, {.commonName = marker});
    Bytes& der = identity.certificate;
    std::ranges::copy(octets, std::search(der.begin(), der.end(), marker.begin(), marker.end()));
    return identity;
}

TEST_F(HostileText, InTheSubjectIsEscaped) {
    const std::string url = "http://127.0.0.1:9/";
    struct Row {
        const char* name;
        std::string subject;
        const char* shown;  // in the text form
    };
    for (const Row& row :
         {Row{"escape sequence", "x\x1B]0;owned\x07y", "\\u{1B}"}, Row{"line feed", "x\nleaf.pem: good\ny", "\\u{A}"},
          Row{"override", std::string("x") + kOverride + "doog" + kIsolate, "\\u{202E}doog\\u{2066}"},
          Row{"C1 control", std::string("x") + kControlOfC1 + "2J", "\\u{9B}2J"},
          Row{"blanks", "x\xE3\x85\xA4\xE1\x85\x9F\xE2\xA0\x80 y", "x\\u{3164}\\u{115F}\\u{2800} y"},
          Row{"line separator", std::string("x") + kLineSeparator + "y", "\\u{2028}y"},
          Row{"zero", std::string("x\0yz", 4), "CN=x\\u{0}yz"},
          Row{"no UTF-8", "x\xFF\xC3(\xED\xA0\x80y", "CN=x\\x{FF}\\x{C3}(\\x{ED}\\x{A0}\\x{80}y"}}) {
        SCOPED_TRACE(row.name);
        const std::string file = tallow.file("leaf.pem", withSubject(row.subject));
        const ProcessResult text = tallow.check({"--url", url, file});
        expectHarmless(text.out);
        expectHarmless(text.err);
        EXPECT_THAT(text.out, AllOf(testing::StartsWith(file + ": error\n"), HasSubstr(row.shown)));
        const ProcessResult json = tallow.check({"--json", "--url", url, file});
        expectHarmless(json.out);
        EXPECT_EQ(parseResults(json.out).at(0).at("status"), "error");
    }
}

TEST_F(HostileText, InFileNamesAndAddressesIsEscaped) {
    for (const std::string& name : {std::string("a\x1B[2Jb"), std::string("a\nb: good"), std::string("a\xFF\xFE") + "b",
                                    std::string("a") + kOverride + "mep.b"}) {
        const std::string file = tallow.file(name, certs().good);
        const std::string missing = tallow.folder().file("missing-" + name);
        const ProcessResult text = tallow.check({"--url", "http://127.0.0.1:9/" + name, file, missing});
        expectHarmless(text.out + text.err);
        EXPECT_EQ(text.exitStatus, 3);
        EXPECT_EQ(numLines(text.err), 2U) << text.err;
        const ProcessResult json = tallow.check({"--json", "--url", "http://127.0.0.1:9/", file, missing});
        expectHarmless(json.out);
        EXPECT_EQ(parseResults(json.out).size(), 2U);
        const ProcessResult usage = tallow.check({"--trust", missing, file});
        expectHarmless(usage.err);
        EXPECT_EQ(usage.exitStatus, 64);
        expectHarmless(tallow.check({"--" + name, file}).err);
    }
}

}  // namespace
