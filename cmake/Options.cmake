# Build options, and interface targets: tallow_flags sets warnings, visibility and instrumentation for all our code;
# tallow_options adds the source root, from which everything but the examples includes; tallow_product is for what is
# installed. Only targets of this project link them, so that no flag reaches a project that adds this one.
option(TALLOW_WERROR "Treat warnings as errors" OFF)
option(TALLOW_SANITIZE "Build with sanitizers" OFF)
set(TALLOW_SANITIZERS "address,undefined" CACHE STRING "Those of TALLOW_SANITIZE; thread excludes all others")
option(TALLOW_COVERAGE "Build with coverage counters" OFF)
option(TALLOW_FUZZ "Build the fuzz targets (clang only)" OFF)
option(TALLOW_HARDENING "Harden optimised builds: checked buffers, stack protection, PIE, read-only relocations" ON)
# In another project only the libraries are built, and nothing is installed. A static library has no test programs: in
# them, services and allocation are replaced by others.
option(TALLOW_INSTALL "Install the libraries and what else is built" ${PROJECT_IS_TOP_LEVEL})
option(TALLOW_COMMAND "Build the command" ${PROJECT_IS_TOP_LEVEL})
option(TALLOW_EXAMPLES "Build the examples" ${PROJECT_IS_TOP_LEVEL})
option(TALLOW_MAN "Build the manual pages (needs scdoc)" ${PROJECT_IS_TOP_LEVEL})
option(TALLOW_API_REFERENCE "Build the API reference (needs Doxygen)" OFF)
set(tallow_library_type SHARED)
set(tallow_tests_default ${PROJECT_IS_TOP_LEVEL})
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
  set(tallow_library_type STATIC)
  set(tallow_tests_default OFF)
endif()
option(TALLOW_TESTS "Build the tests" ${tallow_tests_default})
option(TALLOW_BENCH "Build the benchmarks" ${tallow_tests_default})
option(TALLOW_PROOF "Build the programs of proof/" OFF)
if(TALLOW_TESTS AND NOT (TALLOW_COMMAND AND TALLOW_EXAMPLES AND tallow_library_type STREQUAL SHARED))
  message(FATAL_ERROR "TALLOW_TESTS needs TALLOW_COMMAND, TALLOW_EXAMPLES and shared libraries")
endif()
# The cache of downloads that several machines share. A name without a path goes into the targets that static libraries
# export.
find_path(TALLOW_HIREDIS_INCLUDE hiredis/hiredis.h)
find_library(TALLOW_HIREDIS_LIBRARY hiredis)
mark_as_advanced(TALLOW_HIREDIS_INCLUDE TALLOW_HIREDIS_LIBRARY)
set(tallow_redis_default OFF)
if(TALLOW_HIREDIS_INCLUDE AND TALLOW_HIREDIS_LIBRARY)
  set(tallow_redis_default ON)
endif()
option(TALLOW_REDIS "Build the client of Redis servers (needs hiredis)" ${tallow_redis_default})
if(TALLOW_REDIS AND NOT tallow_redis_default)
  message(FATAL_ERROR "TALLOW_REDIS needs hiredis (Debian: libhiredis-dev)")
endif()
set(tallow_hiredis "")
if(TALLOW_REDIS)
  set(tallow_hiredis hiredis)
  file(STRINGS ${TALLOW_HIREDIS_INCLUDE}/hiredis/hiredis.h lines REGEX "define HIREDIS_(MAJOR|MINOR|PATCH) ")
  string(REGEX REPLACE "[^0-9;]" "" tallow_hiredis_version "${lines}")
  list(JOIN tallow_hiredis_version "." tallow_hiredis_version)
endif()
option(TALLOW_PYTHON "Build the Python module (needs pybind11)" OFF)
set(TALLOW_PLATFORM_LIBRARY "" CACHE FILEPATH
    "Another implementation of the Crypto and Support services to link in place of libtallow-platform")

add_library(tallow_flags INTERFACE)
target_compile_features(tallow_flags INTERFACE cxx_std_20)
target_compile_options(tallow_flags INTERFACE -Wall -Wextra -Wpedantic -fvisibility=hidden
                                              $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>
                                              -fno-strict-aliasing
                                              "$<$<CONFIG:Release>:-fno-semantic-interposition;-ffunction-sections;-fdata-sections>")
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 reports overlapping copies in inlined std::string concatenations (GCC bug 105651).
  target_compile_options(tallow_flags INTERFACE -Wno-restrict)
endif()
if(TALLOW_WERROR)
  target_compile_options(tallow_flags INTERFACE -Werror)
endif()
if(TALLOW_SANITIZE)
  target_compile_options(tallow_flags INTERFACE -fsanitize=${TALLOW_SANITIZERS} -fno-sanitize-recover=all
                                                -fno-omit-frame-pointer)
  target_link_options(tallow_flags INTERFACE -fsanitize=${TALLOW_SANITIZERS})
endif()
if(TALLOW_FUZZ)
  target_compile_options(tallow_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(TALLOW_COVERAGE)
  target_compile_options(tallow_flags INTERFACE --coverage)
  target_link_options(tallow_flags INTERFACE --coverage)
endif()

add_library(tallow_options INTERFACE)
target_link_libraries(tallow_options INTERFACE tallow_flags)
target_include_directories(tallow_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/generated)
# A compiler cache recognises the same command in another directory only if all directories in it exist.
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/generated)

include(cmake/Product.cmake)

# tallow_subsystem(NAME SOURCES ... [PUBLIC_HEADERS ...] [LINK ...])
# One subsystem: an archive tallow_NAME for the tests, whose objects also go into the library. PUBLIC_HEADERS are
# installed, and compiled one by one by the house tests.
function(tallow_subsystem name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC_HEADERS;LINK" ${ARGN})
  add_library(tallow_${name} STATIC ${arg_SOURCES})
  set_target_properties(tallow_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(tallow_${name} PUBLIC tallow_options ${arg_LINK} PRIVATE tallow_product)
  list(TRANSFORM arg_PUBLIC_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  set_property(GLOBAL APPEND PROPERTY TALLOW_PUBLIC_HEADERS ${arg_PUBLIC_HEADERS})
endfunction()

# tallow_test(NAME SOURCES ... LINK ...): one GoogleTest program, registered with CTest under its name.
function(tallow_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE tallow_options ${arg_LINK} GTest::gmock GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/tests)
  # Otherwise a program in which no test runs would pass.
  set_tests_properties(${name} PROPERTIES TIMEOUT 300 FAIL_REGULAR_EXPRESSION "Running 0 tests from")
endfunction()
