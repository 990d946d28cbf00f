# Installs the libraries, the public headers in include/tallow, and the files that find_package(tallow) and
# pkg-config read.
include(CMakePackageConfigHelpers)

install(TARGETS tallow EXPORT tallow-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(NOT TALLOW_PLATFORM_LIBRARY)
  install(TARGETS tallow-platform EXPORT tallow-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(TARGETS tallow-http LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tallow)
endif()

# Programs write #include <tallow/client/request/request.h>, so that no directory named "client" or "message" is on their
# include path. Our own code includes the same headers in quotes, from the root of the sources. The copies below
# ${PROJECT_BINARY_DIR}/include, which the examples use and which are installed, differ only in their #include lines.
get_property(public_headers GLOBAL PROPERTY TALLOW_PUBLIC_HEADERS)
foreach(header export tallow checker checker_c)
  list(APPEND public_headers ${PROJECT_SOURCE_DIR}/${header}.h)
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${public_headers})
foreach(header ${public_headers})
  cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE relative)
  cmake_path(GET relative PARENT_PATH folder)
  set(copy ${PROJECT_BINARY_DIR}/include/tallow/${relative})
  file(READ ${header} text)
  string(REGEX REPLACE "#include \"([^\"\n]+)\"" "#include <tallow/\\1>" text "${text}")
  set(present "")
  if(EXISTS ${copy})
    file(READ ${copy} present)
  endif()
  if(NOT text STREQUAL present) # an unchanged copy is kept, so that nothing is recompiled
    file(WRITE ${copy} "${text}")
  endif()
  install(FILES ${copy} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tallow/${folder})
endforeach()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/tallow)
install(EXPORT tallow-targets NAMESPACE tallow:: DESTINATION ${package_folder})
configure_package_config_file(cmake/tallow-config.cmake.in ${PROJECT_BINARY_DIR}/tallow-config.cmake
                              INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO
                              NO_CHECK_REQUIRED_COMPONENTS_MACRO)
# Before version 1.0, minor versions may be incompatible with each other.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tallow-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tallow-config.cmake ${PROJECT_BINARY_DIR}/tallow-config-version.cmake
        DESTINATION ${package_folder})

# Written during installation: `cmake --install --prefix` may name another prefix than the configuration.
set(TALLOW_PC_PLATFORM -ltallow-platform)
if(TALLOW_PLATFORM_LIBRARY)
  set(TALLOW_PC_PLATFORM ${TALLOW_PLATFORM_LIBRARY})
endif()
foreach(part INCLUDEDIR LIBDIR)
  set(TALLOW_PC_${part} ${CMAKE_INSTALL_${part}})
  if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_${part}})
    set(TALLOW_PC_${part} "\${prefix}/${CMAKE_INSTALL_${part}}")
  endif()
endforeach()
install(CODE "
  set(TALLOW_PC_PLATFORM [==[${TALLOW_PC_PLATFORM}]==])
  set(TALLOW_PC_INCLUDEDIR [==[${TALLOW_PC_INCLUDEDIR}]==])
  set(TALLOW_PC_LIBDIR [==[${TALLOW_PC_LIBDIR}]==])
  set(PROJECT_DESCRIPTION [==[${PROJECT_DESCRIPTION}]==])
  set(PROJECT_VERSION ${PROJECT_VERSION})
  configure_file([==[${PROJECT_SOURCE_DIR}/cmake/tallow.pc.in]==] [==[${PROJECT_BINARY_DIR}/tallow.pc]==] @ONLY)")
install(FILES ${PROJECT_BINARY_DIR}/tallow.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
