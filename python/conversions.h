// How values cross between Python and C++, for all functions of the module. Each caster also names its type in the
// signatures that help() shows, which the tests compare with tallow.pyi.
#pragma once

#include <pybind11/pybind11.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <type_traits>

#include "checker/checker.h"

namespace tallow::python {

namespace py = pybind11;

/// A copy, because another thread may change a bytearray while the GIL is released.
struct Der {
    std::string octets;
};

/// Der, or text that contains PEM blocks.
struct DerOrPem {
    std::string octets;
    operator Input() const { return {octets}; }  // NOLINT(google-explicit-constructor)
};

/// A length of time. `seconds` is finite, and small enough for any unit of std::chrono.
struct Period {
    double seconds = 0;
};

/// Anything that can be called as Options::exchange.
struct Callable {
    py::object object;
};

/// Whether `source` was text or supports the buffer protocol. `octets` is unchanged if not.
bool readOctets(py::handle source, bool isTextAllowed, std::string& octets);
py::bytes bytesOf(const Bytes& octets);

/// An aware datetime in UTC, to the microsecond.
py::object datetimeOf(Time time);
/// Whether `source` is a datetime. Throws ValueError when it has no time zone, or Time cannot hold it.
bool readDatetime(py::handle source, Time& time);
py::object timedeltaOf(std::chrono::milliseconds duration);
/// Whether `source` is a number of seconds or a timedelta. Throws ValueError for NaN and more than 100 years.
bool readPeriod(py::handle source, Period& period);

// The enumerations of the module, by their names in signatures.
template <typename Enum>
inline constexpr std::nullptr_t kNameOf = nullptr;
template <>
inline constexpr auto kNameOf<Answer> = py::detail::const_name("tallow.Answer");
template <>
inline constexpr auto kNameOf<Step> = py::detail::const_name("tallow.Step");
template <>
inline constexpr auto kNameOf<Freshness> = py::detail::const_name("tallow.Freshness");
template <>
inline constexpr auto kNameOf<Authority> = py::detail::const_name("tallow.Authority");
template <>
inline constexpr auto kNameOf<Reason> = py::detail::const_name("tallow.Reason");
template <>
inline constexpr auto kNameOf<Nonce> = py::detail::const_name("tallow.Nonce");
template <>
inline constexpr auto kNameOf<ReceivedRequest::Signer> = py::detail::const_name("tallow.Signer");

template <typename Enum>
concept NamedEnum = !std::is_null_pointer_v<std::remove_const_t<decltype(kNameOf<Enum>)>>;

/// The Python class of an enumeration. Lives as long as the process, like the module.
template <typename Enum>
struct EnumClass {
    static inline py::handle type;
};

}  // namespace tallow::python

namespace pybind11::detail {

template <>
struct type_caster<tallow::python::Der> {
    PYBIND11_TYPE_CASTER(tallow::python::Der, const_name("bytes"));
    bool load(handle source, bool) { return tallow::python::readOctets(source, false, value.octets); }
};

template <>
struct type_caster<tallow::python::DerOrPem> {
    PYBIND11_TYPE_CASTER(tallow::python::DerOrPem, const_name("bytes | str"));
    bool load(handle source, bool) { return tallow::python::readOctets(source, true, value.octets); }
};

template <>
struct type_caster<tallow::python::Period> {
    PYBIND11_TYPE_CASTER(tallow::python::Period, const_name("float | datetime.timedelta"));
    bool load(handle source, bool) { return tallow::python::readPeriod(source, value); }
    static handle cast(tallow::python::Period period, return_value_policy, handle) {
        return pybind11::float_(period.seconds).release();
    }
};

template <>
struct type_caster<tallow::python::Callable> {
    PYBIND11_TYPE_CASTER(tallow::python::Callable, const_name("Callable[[str, bytes, float], bytes | None]"));
    bool load(handle source, bool) {
        value.object = reinterpret_borrow<object>(source);
        return PyCallable_Check(source.ptr()) != 0;
    }
};

template <>
struct type_caster<tallow::Time> {
    PYBIND11_TYPE_CASTER(tallow::Time, const_name("datetime.datetime"));
    bool load(handle source, bool) { return tallow::python::readDatetime(source, value); }
    static handle cast(tallow::Time time, return_value_policy, handle) {
        return tallow::python::datetimeOf(time).release();
    }
};

template <>
struct type_caster<std::chrono::milliseconds> {
    PYBIND11_TYPE_CASTER(std::chrono::milliseconds, const_name("datetime.timedelta"));
    static handle cast(std::chrono::milliseconds duration, return_value_policy, handle) {
        return tallow::python::timedeltaOf(duration).release();
    }
};

// Members of Python's own enum classes, so that `is`, `match` and iteration work.
template <tallow::python::NamedEnum Enum>
struct type_caster<Enum> {
    PYBIND11_TYPE_CASTER(Enum, tallow::python::kNameOf<Enum>);
    bool load(handle source, bool) {
        if (!isinstance(source, tallow::python::EnumClass<Enum>::type)) {
            return false;
        }
        value = static_cast<Enum>(source.attr("value").template cast<int>());
        return true;
    }
    static handle cast(Enum member, return_value_policy, handle) {
        return tallow::python::EnumClass<Enum>::type(static_cast<int>(member)).release();
    }
};

}  // namespace pybind11::detail
