// The Python module `tallow`. It adds no rule of its own: every verdict comes from tallow::Checker.
#include "python/module.h"

#include "checker/checker.h"
#include "python/calls.h"

namespace tallow::python {

namespace {

namespace py = pybind11;

constexpr const char* kBadInputDoc =
    "An argument that cannot be used; the text names it, the cause and a remedy. `status` is the number.";

py::handle badInput;

void defineBadInput(py::module_& module) {
    py::dict members;
    members["status"] = static_cast<std::uint32_t>(-1);
    badInput = PyErr_NewExceptionWithDoc("tallow.BadInput", kBadInputDoc, PyExc_ValueError, members.ptr());
    if (!badInput) {
        throw py::error_already_set();
    }
    module.attr("BadInput") = badInput;
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(std::move(thrown));
        } catch (const BadInput& failure) {
            const py::object error = badInput(failure.what());
            error.attr("status") = static_cast<std::uint32_t>(failure.status());
            PyErr_SetObject(badInput.ptr(), error.ptr());
        }
    });
}

}  // namespace

}  // namespace tallow::python

PYBIND11_MODULE(tallow, module) {
    module.doc() =
        R"(Whether certificates are still good: a complete OCSP check (RFC 6960) in one call.

    checker = tallow.Checker(tallow.Trust().add_roots(root_pem), timeout=5)
    verdict = checker.check(certificate, issuer)
    if verdict.answer is not tallow.Answer.GOOD:
        log(verdict.why())

A revoked certificate, a silent network and a malformed certificate are verdicts, not exceptions. Setting something up
(Trust, Checker, ask, issuer_of) raises BadInput, a ValueError, for arguments that cannot be used.

Certificates and CRLs are bytes (DER or PEM) or str (PEM), not paths; requests and responses are bytes. Datetimes are
aware: UTC in results, any time zone in arguments. A status is an unsigned number such as 0x80092010; 0 is success.

Calls that may block release the GIL, and one Checker serves any number of threads. A call is not interrupted by
Ctrl-C: KeyboardInterrupt is raised when it returns, at the latest after `timeout`.)";
    module.attr("__version__") = TALLOW_VERSION;
    tallow::python::defineBadInput(module);
    tallow::python::defineEnums(module);
    tallow::python::defineResults(module);
    tallow::python::defineChecker(module);
    tallow::python::RunningCall::watchTheEnd();
}
