#include "tests/support/vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/support/tlv.h"

namespace testkit {
namespace {

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text.compare(i, 2, "\\x") == 0;
        result += isEscape ? static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16)) : text[i];
        i += isEscape ? 3 : 0;
    }
    return result;
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        char octet[8];
        std::snprintf(octet, sizeof octet, c >= ' ' && c <= '~' ? "%c" : "\\x%02X", static_cast<unsigned char>(c));
        result += octet;
    }
    return result;
}

/// `text` with the names replaced.
std::string withTexts(std::string text, const std::map<std::string, std::string>& texts) {
    for (std::size_t at = text.find('$'); at != std::string::npos; at = text.find('$', at)) {
        const std::size_t end = std::min(text.find_first_of(" {}", at), text.size());
        text.replace(at, end - at, texts.at(text.substr(at + 1, end - at - 1)));
    }
    return text;
}

/// The octets of one word of the notation.
Bytes octetsOf(const std::string& word) {
    if (word.find('.') != std::string::npos) {
        return tlv::oid(word);
    }
    const std::size_t star = word.find('*');
    const long count = star == std::string::npos ? 1 : std::stol(word.substr(star + 1));
    return concat(std::vector<Bytes>(static_cast<std::size_t>(count), fromHex(word.substr(0, star))));
}

/// Parses up to the closing brace or the end.
Bytes contentsOf(std::istream& in) {
    Bytes all;
    for (in >> std::ws; in.peek() != EOF && in.peek() != '}'; in >> std::ws) {
        Bytes more;
        std::string word;
        if (in.peek() == '{') {
            in.get();
            more = tlv::raw(0, contentsOf(in));
            more.erase(more.begin());
            in.get();
        } else if (in.peek() == '\'') {
            in.get();
            std::getline(in, word, '\'');
            more = bytesOf(word);
        } else {
            while (in.peek() != EOF && std::string(" {}'").find(static_cast<char>(in.peek())) == std::string::npos) {
                word += static_cast<char>(in.get());
            }
            more = octetsOf(word);
        }
        all.insert(all.end(), more.begin(), more.end());
    }
    return all;
}

}  // namespace

Bytes octets(const std::string& notation) {
    std::istringstream in(notation);
    return contentsOf(in);
}

void expectVectors(const std::string& file, const VectorFunctions& functions) {
    VectorFunctions unused = functions;
    expectVectors(file, [&](const std::string& name, const std::string& input) {
        unused.erase(name);
        return functions.at(name)(input);
    });
    EXPECT_TRUE(unused.empty()) << file << " has no row for " << unused.begin()->first;
}

void expectVectors(const std::string& file,
                   const std::function<std::string(const std::string& name, const std::string& input)>& function) {
    const bool updates = std::getenv("TALLOW_UPDATE_VECTORS") != nullptr;
    const std::string path = "data/" + file;
    std::ifstream in(path);
    ASSERT_TRUE(in) << path;
    std::map<std::string, std::string> texts;
    std::string updated;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        testing::ScopedTrace trace(path.c_str(), number, line);
        const std::string row = line.substr(0, line.rfind("#", 0) == 0 ? 0 : line.find(" # "));
        const std::size_t first = row.find('|');
        const std::size_t second = row.find('|', first + 1);
        const std::size_t equals = row.find(" = ");
        if (row.rfind("let ", 0) == 0) {
            texts[row.substr(4, equals - 4)] = withTexts(row.substr(equals + 3), texts);
        } else if (second == std::string::npos) {
            EXPECT_EQ(trimmed(row), "");
        } else {
            const std::string input = withTexts(trimmed(row.substr(first + 1, second - first - 1)), texts);
            const std::string answer = trimmed(escaped(function(trimmed(row.substr(0, first)), unescaped(input))));
            const std::string listed = withTexts(trimmed(row.substr(second + 1)), texts);
            const bool isNotation = listed.find('{') != std::string::npos && listed.front() != '"';
            const std::string expected = isNotation ? toHex(octets(listed)) : listed;
            if (updates && answer != expected) {
                line = row.substr(0, second + 2) + answer + line.substr(row.size());
            } else {
                EXPECT_EQ(answer, expected);
            }
        }
        updated += line + "\n";
    }
    if (updates) {
        std::ofstream(path) << updated;
    }
}

}  // namespace testkit
