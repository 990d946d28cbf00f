# libtallow.so: the objects of the eleven subsystems behind one shared library that links the services and nothing else.
set(tallow_subsystems asn1rt schema handles foundation asn1 message policy request transport response flat)
set(tallow_objects)
foreach(subsystem ${tallow_subsystems})
  list(APPEND tallow_objects $<TARGET_OBJECTS:tallow_${subsystem}>)
endforeach()

add_library(tallow SHARED ${tallow_objects})
set_target_properties(tallow PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION 1)
target_link_libraries(tallow PRIVATE tallow_options PUBLIC tallow-platform)
# Calls inside the library stay inside it: no detour over the table that would let another object step in.
target_link_options(tallow PRIVATE -Wl,-Bsymbolic-functions)
if(NOT TALLOW_SANITIZE)
  # Not so under a sanitizer: clang leaves its runtime to the program.
  target_link_options(tallow PRIVATE -Wl,--no-undefined)
endif()

install(TARGETS tallow LIBRARY)
if(NOT TALLOW_PLATFORM_LIBRARY)
  install(TARGETS tallow-platform LIBRARY)
endif()

# Public headers keep their folders below include/tallow; includes are written from that root.
get_property(public_headers GLOBAL PROPERTY TALLOW_PUBLIC_HEADERS)
foreach(header ${public_headers} ${PROJECT_SOURCE_DIR}/export.h)
  cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE relative)
  cmake_path(GET relative PARENT_PATH folder)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tallow/${folder})
endforeach()
