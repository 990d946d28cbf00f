// Encoded values in text tables in tests/data/schema, one value per line:
//
//     [Extension]
//     same | known, well formed | 30{2.5.29.19 04{30{}}}
//     -3 | known, not what it should be | 30{2.5.29.19 04{02{05}}}
//
// The result is "same" if the decoded value is encoded to the same octets, the octets if they differ, or the status of
// the decoder. Octets are hexadecimal. Braces enclose contents, whose length is computed. 2.5.29.19 is a complete
// object identifier element, 'abc' is text, AA*64 a repetition, and $name was defined by "let name = ...". "#" starts a
// comment.
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

/// Converts octets in the notation above, without names.
testkit::Bytes octets(const std::string& notation);

/// Reads the values of a file of tests/data/schema. Ends the test program on a malformed line.
std::vector<Vector> readVectors(const std::string& file);

}  // namespace schematest
