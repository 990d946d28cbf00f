#include "python/conversions.h"

#include <cmath>

namespace tallow::python {

namespace {

using Microseconds = std::chrono::duration<std::int64_t, std::micro>;

constexpr double kLongestPeriod = 100.0 * 366 * 24 * 3600;  // seconds

py::object epoch() {
    const py::module_ datetime = py::module_::import("datetime");
    return datetime.attr("datetime")(1970, 1, 1, py::arg("tzinfo") = datetime.attr("timezone").attr("utc"));
}

// The buffer of an object, given back at the end.
class Buffer {
public:
    explicit Buffer(py::handle source) {
        if (PyObject_GetBuffer(source.ptr(), &view_, PyBUF_SIMPLE) != 0) {
            throw py::error_already_set();
        }
    }
    ~Buffer() { PyBuffer_Release(&view_); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    std::string octets() const { return {static_cast<const char*>(view_.buf), static_cast<std::size_t>(view_.len)}; }

private:
    Py_buffer view_{};
};

}  // namespace

bool readOctets(py::handle source, bool isTextAllowed, std::string& octets) {
    if (isTextAllowed && PyUnicode_Check(source.ptr()) != 0) {
        Py_ssize_t size = 0;
        const char* const text = PyUnicode_AsUTF8AndSize(source.ptr(), &size);
        if (text == nullptr) {
            throw py::error_already_set();
        }
        octets.assign(text, static_cast<std::size_t>(size));
        return true;
    }
    if (PyObject_CheckBuffer(source.ptr()) == 0) {
        return false;
    }
    octets = Buffer(source).octets();
    return true;
}

py::bytes bytesOf(const Bytes& octets) {
    return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

py::object datetimeOf(Time time) {
    const auto sinceEpoch = std::chrono::floor<Microseconds>(time.time_since_epoch()).count();
    return epoch() + py::module_::import("datetime").attr("timedelta")(py::arg("microseconds") = sinceEpoch);
}

bool readDatetime(py::handle source, Time& time) {
    const py::module_ datetime = py::module_::import("datetime");
    if (!py::isinstance(source, datetime.attr("datetime"))) {
        return false;
    }
    if (source.attr("utcoffset")().is_none()) {
        throw py::value_error("the datetime " + py::str(source).cast<std::string>() +
                              " has no time zone; use an aware one, such as datetime.now(timezone.utc)");
    }
    const py::object count = (py::reinterpret_borrow<py::object>(source) - epoch())
                                 .attr("__floordiv__")(datetime.attr("timedelta")(py::arg("microseconds") = 1));
    const Microseconds sinceEpoch(count.cast<std::int64_t>());
    if (sinceEpoch < std::chrono::ceil<Microseconds>(Time::min().time_since_epoch()) ||
        sinceEpoch > std::chrono::floor<Microseconds>(Time::max().time_since_epoch())) {
        throw py::value_error("the datetime " + py::str(source).cast<std::string>() +
                              " is out of range; use one of the years 1678 to 2261");
    }
    time = Time(sinceEpoch);
    return true;
}

py::object timedeltaOf(std::chrono::milliseconds duration) {
    return py::module_::import("datetime").attr("timedelta")(py::arg("milliseconds") = duration.count());
}

bool readPeriod(py::handle source, Period& period) {
    if (py::isinstance(source, py::module_::import("datetime").attr("timedelta"))) {
        period.seconds = source.attr("total_seconds")().cast<double>();
    } else if (PyFloat_Check(source.ptr()) != 0 || (PyLong_Check(source.ptr()) != 0 && !PyBool_Check(source.ptr()))) {
        period.seconds = PyFloat_AsDouble(source.ptr());
        if (PyErr_Occurred() != nullptr) {
            throw py::error_already_set();
        }
    } else {
        return false;
    }
    if (!(std::abs(period.seconds) <= kLongestPeriod)) {
        throw py::value_error("a length of time is not a number or exceeds 100 years; pass seconds or a timedelta");
    }
    return true;
}

}  // namespace tallow::python
