#include "tests/schema/vectors.h"

#include <cstdlib>
#include <map>
#include <sstream>

#include "tests/support/temp_dir.h"
#include "tests/support/tlv.h"

namespace schematest {

namespace {

using testkit::Bytes;

/// Parses the notation of vectors.h.
class Notation {
public:
    Bytes read(const std::string& text) {
        std::istringstream in(text);
        return contents(in);
    }
    void define(const std::string& name, const std::string& text) { names_["$" + name] = read(text); }

private:
    static std::string word(std::istream& in) {
        std::string text;
        for (in >> std::ws;
             in.peek() != EOF && std::string(" {}'").find(static_cast<char>(in.peek())) == std::string::npos;) {
            text += static_cast<char>(in.get());
        }
        return text;
    }

    Bytes octets(const std::string& text) const {
        const std::size_t star = text.find('*');
        if (text[0] == '$') {
            return names_.at(text);
        }
        if (text.find('.') != std::string::npos) {
            return testkit::tlv::oid(text);
        }
        const Bytes once = testkit::fromHex(text.substr(0, star));
        Bytes all;
        for (long i = star == std::string::npos ? 1 : std::stol(text.substr(star + 1)); i > 0; --i) {
            all.insert(all.end(), once.begin(), once.end());
        }
        return all;
    }

    /// Parses up to the closing brace or the end.
    Bytes contents(std::istream& in) const {
        Bytes all;
        const auto append = [&](const Bytes& more) { all.insert(all.end(), more.begin(), more.end()); };
        for (in >> std::ws; in.peek() != EOF && in.peek() != '}'; in >> std::ws) {
            if (in.peek() == '{') {
                in.get();
                const Bytes element = testkit::tlv::raw(0, contents(in));
                in.get();
                append({element.begin() + 1, element.end()});
            } else if (in.peek() == '\'') {
                std::string text;
                in.get();
                std::getline(in, text, '\'');
                append(testkit::bytesOf(text));
            } else {
                append(octets(word(in)));
            }
        }
        return all;
    }

    std::map<std::string, Bytes> names_;
};

std::vector<std::string> columns(const std::string& line) {
    std::vector<std::string> all;
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 3) {
        end = line.find(" | ", begin);
        all.push_back(line.substr(begin, end - begin));
    }
    return all;
}

}  // namespace

Bytes octets(const std::string& notation) {
    return Notation().read(notation);
}

std::vector<Vector> readVectors(const std::string& file) {
    const Bytes text = testkit::readFile("data/schema/" + file);
    std::istringstream lines(std::string(text.begin(), text.end()));
    std::vector<Vector> vectors;
    Notation notation;
    std::string type;
    for (std::string line; std::getline(lines, line);) {
        const std::vector<std::string> parts = columns(line);
        const bool isDefinition = line.rfind("let ", 0) == 0;
        if (line.empty() || line[0] == '#') {
            continue;
        }
        if (line[0] == '[') {
            type = line.substr(1, line.size() - 2);
        } else if (isDefinition) {
            const std::size_t equals = line.find(" = ");
            notation.define(line.substr(4, equals - 4), line.substr(equals + 3));
        } else if (parts.size() == 3) {
            const bool isOctets = parts[0] != "same" && parts[0][0] != '-';
            vectors.push_back({type, isOctets ? testkit::toHex(notation.read(parts[0])) : parts[0], parts[1],
                               notation.read(parts[2])});
        } else {
            std::abort();
        }
    }
    return vectors;
}

}  // namespace schematest
