# Programs write #include <tallow/client/request/request.h>, so that no directory named "client" or "message" is on their
# include path. Our own code includes the same headers in quotes, from the root of the sources. The copies below
# ${PROJECT_BINARY_DIR}/include, which the examples and other projects use and which are installed, differ only in their
# #include lines.
get_property(public_headers GLOBAL PROPERTY TALLOW_PUBLIC_HEADERS)
foreach(header export tallow checker checker_c)
  list(APPEND public_headers ${PROJECT_SOURCE_DIR}/${header}.h)
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${public_headers})
foreach(header ${public_headers})
  cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE relative)
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
endforeach()
