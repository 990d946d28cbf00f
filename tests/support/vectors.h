// Tests against text tables of inputs and expected answers, for units with many vectors.
//
//   let seven = 0201 07
//   integer | 0203000001 | 1          # not minimal, accepted
//   integer | $seven     | 7
//   integer | 020201     | END_OF_BUFFER
//
// A row names a function of the test and gives its input and its answer. "\xNN" stands for an octet, and "$name" for
// the text that a line before defined. An answer with braces is in the notation of `octets`,
// unless it is in quotes. With the environment
// variable TALLOW_UPDATE_VECTORS set, wrong answers in the file are rewritten instead of reported.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "tests/support/bytes.h"

namespace testkit {

using VectorFunctions = std::map<std::string, std::function<std::string(const std::string& input)>>;

/// Compares all rows of tests/data/`file`. Fails for rows without a function and for functions without a row.
void expectVectors(const std::string& file, const VectorFunctions& functions);
/// The same with one function for all names.
void expectVectors(const std::string& file,
                   const std::function<std::string(const std::string& name, const std::string& input)>& function);

/// The octets of a message as text: hexadecimal with blanks; braces around contents, whose length is computed; complete
/// object identifier elements; text in quotes; repetitions: 30{1.3.14.3.2.26 04{'abc' AA*64}}.
Bytes octets(const std::string& notation);

}  // namespace testkit
