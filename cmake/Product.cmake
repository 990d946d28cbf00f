# tallow_product: how the libraries, the command and the Python module are compiled and linked, beyond the flags of all
# our code. Hardening follows what distributions build with; tests/package checks the result.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

add_library(tallow_product INTERFACE)
# Unused parts of archives and libraries that nothing calls are left out.
target_link_options(tallow_product INTERFACE -Wl,--gc-sections -Wl,--as-needed)
# The same bytes from every directory: file names are recorded relative to the source root, and in build directories
# libraries are found relative to their users, since installation keeps the length of that text. A compiler cache may
# name the files relative to the build directory.
file(RELATIVE_PATH source_from_build ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
string(REGEX REPLACE "/$" "" source_from_build "${source_from_build}")
target_compile_options(tallow_product INTERFACE $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>
                                                $<$<CONFIG:Release>:-ffile-prefix-map=${source_from_build}=.>
                                                $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

if(TALLOW_HARDENING AND NOT TALLOW_SANITIZE AND NOT TALLOW_COVERAGE)
  set(fortify 2)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
    set(fortify 3)
  endif()
  # Some compilers define the macro themselves.
  set(hardening -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify} -fstack-protector-strong)
  foreach(flag -fstack-clash-protection -fcf-protection) # not on every processor
    string(MAKE_C_IDENTIFIER "TALLOW_HAS${flag}" supported)
    check_cxx_compiler_flag(${flag} ${supported})
    if(${supported})
      list(APPEND hardening ${flag})
    endif()
  endforeach()
  # Checked buffers need optimisation.
  target_compile_options(tallow_product INTERFACE "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${hardening}>")
  target_link_options(tallow_product INTERFACE
                      "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:LINKER:-z,relro;LINKER:-z,now;LINKER:-z,noexecstack>")
endif()

# tallow_versioned(TARGET): the version of a library, and of the symbols that it exports (docs/abi.md).
function(tallow_versioned target)
  # Below 1.0 every minor version may break compatibility, so it is part of the name that programs load.
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION}
                                             SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  if(tallow_library_type STREQUAL SHARED)
    set(script ${PROJECT_SOURCE_DIR}/abi/lib${target}.map)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
    # Calls inside the library are bound directly, so that no other object can replace its functions: a service that
    # stands in front of the platform, as the scripted one of the tests, answers the library alone.
    # It stays loaded after dlclose: caches, open connections and what OpenSSL keeps belong to the process.
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions -Wl,--version-script=${script} -Wl,-z,nodelete)
  endif()
endfunction()
