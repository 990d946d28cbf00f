# tallow_schema_modules(VARIABLE MODULES name... [PARTS name=N...])
# Compiles all schema/modules/name.asn1 in one run, since they import from each other, into
# ${PROJECT_BINARY_DIR}/generated/schema/generated, and lists the generated sources in VARIABLE. PARTS splits a module
# into N sources; the compiler reports when this is necessary. The module `identifiers` contains only values; its source
# contains the identifiers of all modules. Unchanged generated files are not rewritten, so that their dependents are not
# rebuilt.
function(tallow_schema_modules variable)
  cmake_parse_arguments(arg "" "" "MODULES;PARTS" ${ARGN})
  set(directory ${PROJECT_BINARY_DIR}/generated/schema/generated)
  set(headers ${directory}/identifiers.h)
  set(sources ${directory}/identifiers.cpp)
  set(inputs)
  set(options)
  foreach(module ${arg_MODULES})
    list(APPEND inputs ${PROJECT_SOURCE_DIR}/schema/modules/${module}.asn1)
    if(module STREQUAL "identifiers")
      continue()
    endif()
    list(APPEND headers ${directory}/${module}.h)
    set(parts 1)
    foreach(pair ${arg_PARTS})
      if(pair MATCHES "^${module}=([0-9]+)$")
        set(parts ${CMAKE_MATCH_1})
        list(APPEND options --parts ${pair})
      endif()
    endforeach()
    if(parts EQUAL 1)
      list(APPEND sources ${directory}/${module}.cpp)
    else()
      foreach(part RANGE 1 ${parts})
        list(APPEND sources ${directory}/${module}_${part}.cpp)
      endforeach()
    endif()
  endforeach()
  add_custom_command(
    OUTPUT ${headers} ${sources}
    COMMAND tallow-schema --out ${directory} ${options} ${inputs}
    DEPENDS tallow-schema ${inputs}
    COMMENT "Compiling the schema modules"
    VERBATIM)
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()
