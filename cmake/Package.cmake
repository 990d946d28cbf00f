# What is installed, in four components: runtime (the shared libraries), development (what programs are built with),
# tools (the command), documentation. The Python module is a component of its own.
include(CMakePackageConfigHelpers)

# Archives and the links without a version are for development.
install(TARGETS tallow EXPORT tallow-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
if(NOT TALLOW_PLATFORM_LIBRARY)
  install(TARGETS tallow-platform EXPORT tallow-targets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  foreach(module tallow-http tallow-redis)
    if(TARGET ${module})
      install(TARGETS ${module} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tallow COMPONENT runtime)
    endif()
  endforeach()
endif()
foreach(header ${public_headers})
  cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE relative)
  cmake_path(GET relative PARENT_PATH folder)
  install(FILES ${PROJECT_BINARY_DIR}/include/tallow/${relative} COMPONENT development
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tallow/${folder})
endforeach()

if(TALLOW_COMMAND)
  install(TARGETS tallow-command RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(DIRECTORY cli/schemas DESTINATION ${CMAKE_INSTALL_DATADIR}/tallow COMPONENT tools)
  install(FILES completions/tallow.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tallow
          COMPONENT tools)
  install(FILES completions/_tallow DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tools)
  # The service names the command, whose directory `cmake --install --prefix` may change.
  set(TALLOW_COMMAND_PATH ${CMAKE_INSTALL_BINDIR}/tallow)
  if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_BINDIR})
    set(TALLOW_COMMAND_PATH "\${CMAKE_INSTALL_PREFIX}/${TALLOW_COMMAND_PATH}")
  endif()
  install(CODE "set(TALLOW_COMMAND_PATH \"${TALLOW_COMMAND_PATH}\")
    configure_file([==[${PROJECT_SOURCE_DIR}/systemd/tallow-staple@.service.in]==] [==[${PROJECT_BINARY_DIR}/tallow-staple@.service]==] @ONLY)"
    COMPONENT tools)
  install(FILES ${PROJECT_BINARY_DIR}/tallow-staple@.service systemd/tallow-staple@.timer DESTINATION lib/systemd/system
          COMPONENT tools)
endif()

# The documents link to each other as in the repository.
set(documentation ${CMAKE_INSTALL_DATADIR}/doc/tallow)
install(FILES LICENSE DESTINATION ${documentation} COMPONENT runtime)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md settings.example.toml DESTINATION ${documentation}
        COMPONENT documentation)
install(FILES bench/README.md DESTINATION ${documentation}/bench COMPONENT documentation)
install(DIRECTORY docs DESTINATION ${documentation} COMPONENT documentation PATTERN docs/api EXCLUDE)
install(DIRECTORY examples DESTINATION ${documentation} COMPONENT documentation
        REGEX "/(make-pki|serve\\.py|apache-staple)$"
        PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

include(cmake/Sbom.cmake)
install(FILES ${PROJECT_BINARY_DIR}/tallow.spdx.json DESTINATION ${documentation} COMPONENT runtime)

# find_package(tallow CONFIG)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/tallow)
install(EXPORT tallow-targets NAMESPACE tallow:: DESTINATION ${package_folder} COMPONENT development)
configure_package_config_file(cmake/tallow-config.cmake.in ${PROJECT_BINARY_DIR}/tallow-config.cmake
                              INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO)
# Before version 1.0, minor versions may be incompatible with each other.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tallow-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tallow-config.cmake ${PROJECT_BINARY_DIR}/tallow-config-version.cmake
        DESTINATION ${package_folder} COMPONENT development)

# pkg-config. Written during installation: `cmake --install --prefix` may name another prefix than the configuration.
set(TALLOW_PC_REQUIRES tallow-platform)
set(TALLOW_PC_LIBS "")
set(TALLOW_PC_PLATFORM_REQUIRES "")
set(TALLOW_PC_PLATFORM_LIBS "")
if(tallow_library_type STREQUAL STATIC)
  # Programs link everything themselves, also those in C.
  set(TALLOW_PC_LIBS " -lstdc++ -lm")
  set(TALLOW_PC_PLATFORM_REQUIRES "libcurl libssl libcrypto tomlplusplus")
  set(TALLOW_PC_PLATFORM_LIBS " -lstdc++ -pthread")
  if(TALLOW_REDIS)
    string(APPEND TALLOW_PC_PLATFORM_REQUIRES " hiredis")
  endif()
endif()
set(packages tallow tallow-platform)
if(TALLOW_PLATFORM_LIBRARY)
  set(packages tallow)
  set(TALLOW_PC_REQUIRES "")
  string(APPEND TALLOW_PC_LIBS " ${TALLOW_PLATFORM_LIBRARY}")
endif()
foreach(part INCLUDEDIR LIBDIR)
  set(TALLOW_PC_${part} ${CMAKE_INSTALL_${part}})
  if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_${part}})
    set(TALLOW_PC_${part} "\${prefix}/${CMAKE_INSTALL_${part}}")
  endif()
endforeach()
set(settings "")
foreach(name TALLOW_PC_REQUIRES TALLOW_PC_LIBS TALLOW_PC_PLATFORM_REQUIRES TALLOW_PC_PLATFORM_LIBS TALLOW_PC_INCLUDEDIR
             TALLOW_PC_LIBDIR PROJECT_DESCRIPTION PROJECT_VERSION)
  string(APPEND settings "set(${name} [==[${${name}}]==])\n")
endforeach()
foreach(package ${packages})
  install(CODE "${settings}
    configure_file([==[${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in]==] [==[${PROJECT_BINARY_DIR}/${package}.pc]==] @ONLY)"
    COMPONENT development)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT development)
endforeach()
