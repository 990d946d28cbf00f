// Visibility. Everything is compiled with hidden visibility; what this macro marks is the
// public face of libtallow.so and libtallow-platform.so. On ELF the same attribute serves the library that defines a
// symbol and the program that uses it, so no build-time switch is needed.
#pragma once

#define TALLOW_EXPORT __attribute__((visibility("default")))

// For a private class within an exported one, whose visibility it would share.
#define TALLOW_HIDDEN __attribute__((visibility("hidden")))
