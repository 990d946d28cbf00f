# libtallow: the objects of all subsystems in one library that links the services and nothing else.
set(tallow_subsystems asn1rt schema handles foundation asn1 message policy client_shared request transport response flat
                      checker_text checker_rules checker)
set(tallow_objects)
foreach(subsystem ${tallow_subsystems})
  list(APPEND tallow_objects $<TARGET_OBJECTS:tallow_${subsystem}>)
endforeach()

add_library(tallow ${tallow_library_type} ${tallow_objects})
add_library(tallow::tallow ALIAS tallow)
tallow_versioned(tallow)
# $ORIGIN: the libraries are installed in one directory, which may be moved.
set_target_properties(tallow PROPERTIES INSTALL_RPATH $ORIGIN)
target_link_libraries(tallow PRIVATE $<BUILD_INTERFACE:tallow_options> $<BUILD_INTERFACE:tallow_product>
                             INTERFACE $<BUILD_INTERFACE:tallow-platform>)
if(TALLOW_PLATFORM_LIBRARY)
  target_link_libraries(tallow INTERFACE $<INSTALL_INTERFACE:${TALLOW_PLATFORM_LIBRARY}>)
else()
  target_link_libraries(tallow INTERFACE $<INSTALL_INTERFACE:tallow::platform>)
endif()
target_compile_features(tallow INTERFACE cxx_std_20)
target_include_directories(tallow INTERFACE $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
                                            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
if(tallow_library_type STREQUAL STATIC AND NOT TALLOW_PLATFORM_LIBRARY)
  foreach(subsystem policy client_shared checker_text checker) # those that include handles/optional_services.h
    target_compile_definitions(tallow_${subsystem} PRIVATE TALLOW_STATIC_PLATFORM)
  endforeach()
endif()
if(tallow_library_type STREQUAL SHARED)
  target_link_libraries(tallow PRIVATE $<BUILD_INTERFACE:tallow-platform>)
  if(NOT TALLOW_SANITIZE)
    # Not with a sanitizer: clang links the sanitizer's runtime only into programs.
    target_link_options(tallow PRIVATE -Wl,--no-undefined)
  endif()
endif()
