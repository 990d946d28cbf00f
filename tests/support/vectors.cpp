#include "tests/support/vectors.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <set>

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

}  // namespace

void expectVectors(const std::string& file, const VectorFunctions& functions) {
    const bool updates = std::getenv("TALLOW_UPDATE_VECTORS") != nullptr;
    const std::string path = "data/" + file;
    std::ifstream in(path);
    ASSERT_TRUE(in) << path;
    std::set<std::string> used;
    std::string updated;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string row = line.substr(0, line.rfind("#", 0) == 0 ? 0 : line.find(" # "));
        const std::size_t first = row.find('|');
        const std::size_t second = row.find('|', first + 1);
        if (second == std::string::npos) {
            EXPECT_EQ(trimmed(row), "") << path << ":" << number;
        } else {
            const std::string name = trimmed(row.substr(0, first));
            const auto function = functions.find(name);
            ASSERT_NE(function, functions.end()) << path << ":" << number << ": " << name;
            used.insert(name);
            const std::string answer =
                trimmed(escaped(function->second(unescaped(trimmed(row.substr(first + 1, second - first - 1))))));
            if (updates) {
                line = row.substr(0, second + 2) + answer + line.substr(row.size());
            } else if (answer != trimmed(row.substr(second + 1))) {
                ADD_FAILURE_AT(path.c_str(), number) << row << "\nanswered: " << answer;
            }
        }
        updated += line + "\n";
    }
    EXPECT_EQ(used.size(), functions.size()) << path << " has no row for a function";
    if (updates) {
        std::ofstream(path) << updated;
    }
}

}  // namespace testkit
