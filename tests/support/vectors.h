// Tests against text tables of inputs and expected answers, for units with many vectors.
//
//   integer | 0203000001 | 1          # not minimal, accepted
//   integer | 020201     | END_OF_BUFFER
//
// A row names a function of the test and gives its input and its answer. "\xNN" stands for an octet. With the
// environment variable TALLOW_UPDATE_VECTORS set, the answers in the file are rewritten instead of compared.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace testkit {

using VectorFunctions = std::map<std::string, std::function<std::string(const std::string& input)>>;

/// Compares all rows of tests/data/`file`. Fails for rows without a function and for functions without a row.
void expectVectors(const std::string& file, const VectorFunctions& functions);

}  // namespace testkit
