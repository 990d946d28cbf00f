#include "proof/limits/document.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace proof {

namespace {

constexpr const char* kHeading = "## Resource limits";

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

bool hasDigit(const std::string& text) {
    return text.find_first_of("0123456789") != std::string::npos;
}

// A row may say a number again in code or in a link, which is no promise of its own.
std::string withoutCode(std::string text) {
    for (std::size_t begin = 0; (begin = text.find('`', begin)) != std::string::npos;) {
        const std::size_t end = text.find('`', begin + 1);
        if (end == std::string::npos) {
            break;
        }
        text.erase(begin, end - begin + 1);
    }
    return text;
}

}  // namespace

std::vector<LimitRow> readLimits(const std::string& path) {
    std::ifstream file(path);
    std::vector<LimitRow> rows;
    bool isInSection = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("## ")) {
            isInSection = line == kHeading;
        }
        const std::size_t middle = line.find(" | ", 2);
        if (isInSection && line.starts_with("| ") && middle != std::string::npos) {
            rows.push_back({trimmed(line.substr(2, middle - 2)),
                            trimmed(line.substr(middle + 3, line.find_last_of('|') - middle - 3))});
        }
    }
    if (rows.size() < 2) {
        throw std::runtime_error(path + " has no table below \"" + kHeading + '"');
    }
    rows.erase(rows.begin());  // the heads of the columns
    return rows;
}

std::vector<std::string> disagreements(const std::vector<LimitRow>& rows, const std::vector<Driver>& drivers) {
    std::vector<std::string> found;
    for (const LimitRow& row : rows) {
        std::string rest = row.limit;
        bool isDriven = false;
        for (const Driver& driver : drivers) {
            if (driver.input != row.input) {
                continue;
            }
            isDriven = true;
            const std::size_t at = rest.find(driver.promise);
            if (at == std::string::npos) {
                found.push_back("the row \"" + row.input + "\" does not say \"" + driver.promise + '"');
            } else {
                rest.replace(at, std::string(driver.promise).size(), "...");
            }
        }
        if (!isDriven) {
            found.push_back("the row \"" + row.input + "\" has no driver");
        } else if (hasDigit(withoutCode(rest))) {
            found.push_back("no driver holds these words of the row \"" + row.input + "\": " + rest);
        }
    }
    for (const Driver& driver : drivers) {
        if (std::none_of(rows.begin(), rows.end(), [&](const LimitRow& row) { return row.input == driver.input; })) {
            found.push_back(std::string("there is no row \"") + driver.input + '"');
        }
    }
    return found;
}

}  // namespace proof
