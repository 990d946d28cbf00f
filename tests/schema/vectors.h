// Encoded values as text tables in tests/data/schema. A line holds one value:
//
//     [Extension]
//     same | known, well formed | 30{2.5.29.19 04{30{}}}
//     -3 | known, not what it should be | 30{2.5.29.19 04{02{05}}}
//
// The result is "same" when the value is written as it was read, the octets when they differ, or the status of the
// decoder. Octets are hexadecimal; braces enclose contents, whose length is computed; 2.5.29.19 is a whole object
// identifier, 'abc' text, AA*64 a repetition, and $name what a line "let name = ..." has defined. "#" begins a comment.
#pragma once

#include <string>
#include <vector>

#include "tests/support/bytes.h"

namespace schematest {

struct Vector {
    std::string type;
    std::string result;  // "same", a status, or octets in hexadecimal
    std::string name;
    testkit::Bytes input;
};

/// Octets in the notation above, without names.
testkit::Bytes octets(const std::string& notation);

/// The values of a file of tests/data/schema. A line that cannot be read ends the test program.
std::vector<Vector> readVectors(const std::string& file);

}  // namespace schematest
