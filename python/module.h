// The parts of the module `tallow`, in the order in which they are defined.
#pragma once

#include <pybind11/pybind11.h>

namespace tallow::python {

/// Answer, Step, Freshness, Authority, Reason, Nonce and Signer.
void defineEnums(pybind11::module_& module);
/// Attempt, Verdict, Asked, ReceivedRequest and Sent.
void defineResults(pybind11::module_& module);
/// Trust, Question and Checker.
void defineChecker(pybind11::module_& module);

}  // namespace tallow::python
