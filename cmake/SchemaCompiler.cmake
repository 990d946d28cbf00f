# tallow_schema_modules(VARIABLE MODULES name... [PARTS name=N...])
# Compiles schema/modules/name.asn1, all in one run since they import from each other, into
# ${PROJECT_BINARY_DIR}/generated/schema/generated, and lists the generated sources in VARIABLE. PARTS spreads a module
# over N sources: the compiler says so when one grows too long. The module `identifiers` holds values alone; its source
# is the one with the identifiers of all modules. A generated file that comes out as before is left as it is, so that
# what includes it is not built again.
function(tallow_schema_modules variable)
  cmake_parse_arguments(arg "" "" "MODULES;PARTS" ${ARGN})
  set(folder ${PROJECT_BINARY_DIR}/generated/schema/generated)
  set(headers ${folder}/identifiers.h)
  set(sources ${folder}/identifiers.cpp)
  set(inputs)
  set(options)
  foreach(module ${arg_MODULES})
    list(APPEND inputs ${PROJECT_SOURCE_DIR}/schema/modules/${module}.asn1)
    if(module STREQUAL "identifiers")
      continue()
    endif()
    list(APPEND headers ${folder}/${module}.h)
    set(parts 1)
    foreach(pair ${arg_PARTS})
      if(pair MATCHES "^${module}=([0-9]+)$")
        set(parts ${CMAKE_MATCH_1})
        list(APPEND options --parts ${pair})
      endif()
    endforeach()
    if(parts EQUAL 1)
      list(APPEND sources ${folder}/${module}.cpp)
    else()
      foreach(part RANGE 1 ${parts})
        list(APPEND sources ${folder}/${module}_${part}.cpp)
      endforeach()
    endif()
  endforeach()
  add_custom_command(
    OUTPUT ${headers} ${sources}
    COMMAND tallow-schema --out ${folder} ${options} ${inputs}
    DEPENDS tallow-schema ${inputs}
    COMMENT "Compiling the schema modules"
    VERBATIM)
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()
