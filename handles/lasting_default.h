// The default value of a type, made when the library is loaded and never destroyed. A static object of a function would
// be made by the first call under a lock, which a child of fork could find held by a thread that it lacks.
#pragma once

namespace tallow {

template <typename T>
union LastingDefault {
    constexpr LastingDefault() : value() {}
    constexpr LastingDefault(const LastingDefault&) = delete;
    constexpr LastingDefault& operator=(const LastingDefault&) = delete;
    constexpr ~LastingDefault() {}  // NOLINT(modernize-use-equals-default): that one would be deleted

    T value;
};

}  // namespace tallow
