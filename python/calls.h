// Calls without the GIL, and calls back into Python while they last.
#pragma once

#include <pybind11/pybind11.h>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "checker/checker.h"

namespace tallow::python {

namespace py = pybind11;

/// What a callback threw that must end the program or the task, not count as a failed exchange: KeyboardInterrupt,
/// SystemExit, CancelledError. One for each running call of a thread; thrown when that call has returned.
class PendingExit {
public:
    PendingExit() : outer_(current_) { current_ = this; }
    ~PendingExit() { current_ = outer_; }
    PendingExit(const PendingExit&) = delete;
    PendingExit& operator=(const PendingExit&) = delete;

    /// That of the innermost call of this thread; null outside of calls.
    static PendingExit* current() { return current_; }
    bool isSet() const { return error_.has_value(); }
    /// Both with the GIL.
    void set(py::error_already_set error) { error_.emplace(std::move(error)); }
    void raise() const {
        if (error_) {
            throw py::error_already_set(*error_);
        }
    }

private:
    static thread_local PendingExit* current_;
    PendingExit* outer_;
    std::optional<py::error_already_set> error_;
};

/// Takes the GIL back after PyEval_SaveThread. Does not return while Python shuts down.
void restoreThread(PyThreadState* state);

/// Counts the calls that run without the GIL, since the process must not end under them: OpenSSL is gone then.
class RunningCall {
public:
    /// With the GIL. When the program is about to end, the thread that ends it gets a RuntimeError, and others wait for
    /// the end.
    RunningCall();
    ~RunningCall();
    RunningCall(const RunningCall&) = delete;
    RunningCall& operator=(const RunningCall&) = delete;

    /// Has the end of the program wait for running calls, up to a minute.
    static void watchTheEnd();
};

/// Returns what `run` returns, which is called without the GIL.
template <typename Run>
auto withoutGil(Run run) {
    const PendingExit pending;
    const RunningCall running;
    std::optional<std::invoke_result_t<Run>> result;
    std::exception_ptr failure;
    PyThreadState* const state = PyEval_SaveThread();
    try {
        result.emplace(run());
    } catch (...) {
        failure = std::current_exception();
    }
    restoreThread(state);
    pending.raise();
    if (failure) {
        std::rethrow_exception(failure);
    }
    return *std::move(result);
}

/// A callable as the exchange of a Checker: exchange(url, body, seconds left) -> body of the response, or None.
class Callback {
public:
    explicit Callback(py::object callable) : callable_(std::move(callable)) {}

    /// Called without the GIL. Throws std::runtime_error with the text of a Python exception.
    std::optional<Bytes> operator()(const std::string& url, const Bytes& body,
                                    std::chrono::steady_clock::time_point deadline);

    /// For Python's garbage collector: a Checker may refer to itself by its callable.
    py::object& callable() { return callable_; }

private:
    py::object callable_;
};

/// May be destroyed without the GIL.
std::shared_ptr<Callback> makeCallback(py::object callable);

}  // namespace tallow::python
