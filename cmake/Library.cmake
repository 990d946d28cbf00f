# libtallow.so: the objects of all subsystems in one shared library that links the services and nothing else.
set(tallow_subsystems asn1rt schema handles foundation asn1 message policy client_shared request transport response flat
                      checker_text checker_rules checker)
set(tallow_objects)
foreach(subsystem ${tallow_subsystems})
  list(APPEND tallow_objects $<TARGET_OBJECTS:tallow_${subsystem}>)
endforeach()

add_library(tallow SHARED ${tallow_objects})
# $ORIGIN: the two libraries are installed in one directory, which may be moved.
set_target_properties(tallow PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION 1
                                        INSTALL_RPATH $ORIGIN)
target_link_libraries(tallow PRIVATE tallow_options tallow-platform INTERFACE $<BUILD_INTERFACE:tallow-platform>)
if(TALLOW_PLATFORM_LIBRARY)
  target_link_libraries(tallow INTERFACE $<INSTALL_INTERFACE:${TALLOW_PLATFORM_LIBRARY}>)
else()
  target_link_libraries(tallow INTERFACE $<INSTALL_INTERFACE:tallow::tallow-platform>)
endif()
target_compile_features(tallow INTERFACE cxx_std_20)
target_include_directories(tallow INTERFACE $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
                                            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
# Calls inside the library are bound directly, so that no other object can replace its functions. The schema describes
# more types than the library reads; separate sections let the linker remove the unused ones.
target_link_options(tallow PRIVATE -Wl,-Bsymbolic-functions -Wl,--gc-sections)
if(NOT TALLOW_SANITIZE)
  # Not with a sanitizer: clang links the sanitizer's runtime only into programs.
  target_link_options(tallow PRIVATE -Wl,--no-undefined)
endif()
