#include "python/calls.h"

#include <cxxabi.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "python/conversions.h"

namespace tallow::python {

namespace {

// While Python shuts down, a daemon thread that needs the GIL is ended by unwinding its stack, which would run
// destructors that need the GIL, and pass through functions that end the process. Such a thread waits for the end of
// the process instead. `run` must not own anything.
template <typename Run>
auto untilShutdown(Run run) {
    try {
        return run();
    } catch (abi::__forced_unwind&) {
        for (;;) {
            pause();
        }
    }
}

class Gil {
public:
    Gil() : state_(untilShutdown([] { return PyGILState_Ensure(); })) {}
    ~Gil() { PyGILState_Release(state_); }
    Gil(const Gil&) = delete;
    Gil& operator=(const Gil&) = delete;

private:
    PyGILState_STATE state_;
};

std::string textOf(const py::error_already_set& error) {
    try {
        const auto name = error.type().attr("__name__").cast<std::string>();
        const auto message = py::str(error.value()).cast<std::string>();
        return message.empty() ? name : name + ": " + message;
    } catch (const std::exception&) {  // from its __str__, or no valid text
        return "an exception without a readable text";
    }
}

std::optional<Bytes> call(const py::object& callable, const std::string& url, const Bytes& body, double secondsLeft) {
    const py::tuple arguments = py::make_tuple(url, bytesOf(body), secondsLeft);
    PyObject* const returned = untilShutdown([&] { return PyObject_Call(callable.ptr(), arguments.ptr(), nullptr); });
    if (returned == nullptr) {
        throw py::error_already_set();
    }
    const auto answer = py::reinterpret_steal<py::object>(returned);
    if (answer.is_none()) {
        return std::nullopt;
    }
    std::string octets;
    if (!readOctets(answer, false, octets)) {
        throw py::type_error("exchange returned " + py::str(py::type::of(answer).attr("__name__")).cast<std::string>() +
                             "; return bytes or None");
    }
    return Bytes(octets.begin(), octets.end());
}

// Never destroyed: a daemon thread may still use it while the process ends.
struct Calls {
    std::mutex mutex;
    std::condition_variable ended;
    int numRunning = 0;
    bool isClosed = false;
    std::thread::id closer;  // the thread that ends the program
};
Calls*& instance() {
    static auto* current = new Calls;
    return current;
}
Calls& calls() {
    return *instance();
}

thread_local int numOwnCalls = 0;  // of those, the thread's own

}  // namespace

RunningCall::RunningCall() {
    {
        const std::lock_guard lock(calls().mutex);
        if (!calls().isClosed) {
            ++calls().numRunning;
            ++numOwnCalls;
            return;
        }
        if (calls().closer == std::this_thread::get_id()) {
            throw std::runtime_error("the program is about to end; make checks before");
        }
    }
    PyEval_SaveThread();
    for (;;) {
        pause();
    }
}

RunningCall::~RunningCall() {
    const std::lock_guard lock(calls().mutex);
    --calls().numRunning;
    --numOwnCalls;
    calls().ended.notify_all();
}

void RunningCall::watchTheEnd() {
    py::module_::import("atexit").attr("register")(py::cpp_function([] {
        // An exchange in Python needs the GIL to finish.
        const py::gil_scoped_release released;
        std::unique_lock lock(calls().mutex);
        calls().isClosed = true;
        calls().closer = std::this_thread::get_id();
        calls().ended.wait_for(lock, std::chrono::minutes(1), [] { return calls().numRunning == 0; });
    }));
    // Calls of other threads do not go on in a child, nor does the end of the program that another thread has begun:
    // that thread may even have had the lock.
    py::module_::import("os").attr("register_at_fork")(
        py::arg("after_in_child") = py::cpp_function([] {
            auto* const ofChild = new Calls;
            ofChild->numRunning = numOwnCalls;
            ofChild->closer = calls().closer;
            ofChild->isClosed = calls().isClosed && ofChild->closer == std::this_thread::get_id();
            instance() = ofChild;
        }));
}

thread_local PendingExit* PendingExit::current_ = nullptr;

void restoreThread(PyThreadState* state) {
    untilShutdown([state] { PyEval_RestoreThread(state); });
}

std::optional<Bytes> Callback::operator()(const std::string& url, const Bytes& body,
                                          std::chrono::steady_clock::time_point deadline) {
    PendingExit* const pending = PendingExit::current();
    if (pending != nullptr && pending->isSet()) {
        return std::nullopt;
    }
    const std::chrono::duration<double> left = deadline - std::chrono::steady_clock::now();
    const Gil gil;
    try {
        return call(callable_, url, body, std::max(0.0, left.count()));
    } catch (py::error_already_set& error) {
        if (pending != nullptr && !error.matches(PyExc_Exception)) {
            pending->set(std::move(error));
            return std::nullopt;
        }
        throw std::runtime_error(textOf(error));
    }
}

std::shared_ptr<Callback> makeCallback(py::object callable) {
    return {new Callback(std::move(callable)), [](Callback* callback) {
                if (_Py_IsFinalizing() == 0) {
                    const Gil gil;
                    delete callback;
                }
            }};
}

}  // namespace tallow::python
