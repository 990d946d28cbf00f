# What an installation is: the command, the two libraries, the public headers below include/tallow, and what
# find_package(tallow) and pkg-config read. Programs include headers from that root, as our own code does.
include(CMakePackageConfigHelpers)

install(TARGETS tallow EXPORT tallow-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(NOT TALLOW_PLATFORM_LIBRARY)
  install(TARGETS tallow-platform EXPORT tallow-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

get_property(public_headers GLOBAL PROPERTY TALLOW_PUBLIC_HEADERS)
foreach(header ${public_headers} ${PROJECT_SOURCE_DIR}/export.h)
  cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE relative)
  cmake_path(GET relative PARENT_PATH folder)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tallow/${folder})
endforeach()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/tallow)
install(EXPORT tallow-targets NAMESPACE tallow:: DESTINATION ${package_folder})
configure_package_config_file(cmake/tallow-config.cmake.in ${PROJECT_BINARY_DIR}/tallow-config.cmake
                              INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO
                              NO_CHECK_REQUIRED_COMPONENTS_MACRO)
# Below 1.0 a minor version may change what programs were built against.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tallow-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tallow-config.cmake ${PROJECT_BINARY_DIR}/tallow-config-version.cmake
        DESTINATION ${package_folder})

# Written when installing, since `cmake --install --prefix` may name another prefix than configuring did.
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
