# Writes ${PROJECT_BINARY_DIR}/tallow.spdx.json: the software bill of materials in SPDX 2.3, with the libraries and
# headers that this build uses. The same inputs give the same octets: the time is SOURCE_DATE_EPOCH, or that of the last
# commit, and the name of the document is derived from its content.
set(sbom_packages "")
set(sbom_relationships "")

# tallow_sbom_package(NAME VERSION LICENCE HOME RELATION): RELATION is DYNAMIC_LINK, or STATIC_LINK for headers whose
# code is compiled into our files. Nothing is added without a version.
function(tallow_sbom_package name version licence home relation)
  if(NOT version)
    return()
  endif()
  set(sbom_packages "${sbom_packages},
    {
      \"SPDXID\": \"SPDXRef-Package-${name}\",
      \"name\": \"${name}\",
      \"versionInfo\": \"${version}\",
      \"supplier\": \"NOASSERTION\",
      \"downloadLocation\": \"NOASSERTION\",
      \"homepage\": \"${home}\",
      \"filesAnalyzed\": false,
      \"licenseConcluded\": \"NOASSERTION\",
      \"licenseDeclared\": \"${licence}\",
      \"copyrightText\": \"NOASSERTION\",
      \"externalRefs\": [
        {
          \"referenceCategory\": \"PACKAGE-MANAGER\",
          \"referenceType\": \"purl\",
          \"referenceLocator\": \"pkg:generic/${name}@${version}\"
        }
      ]
    }" PARENT_SCOPE)
  set(sbom_relationships "${sbom_relationships},
    {
      \"spdxElementId\": \"SPDXRef-Package-tallow\",
      \"relationshipType\": \"${relation}\",
      \"relatedSpdxElement\": \"SPDXRef-Package-${name}\"
    }" PARENT_SCOPE)
endfunction()

# tallow_header_version(VARIABLE HEADER PATTERN...): the numbers that follow the patterns in a header of the system.
function(tallow_header_version variable header)
  unset(TALLOW_SBOM_HEADER)
  find_file(TALLOW_SBOM_HEADER ${header} NO_CACHE)
  set(numbers "")
  if(TALLOW_SBOM_HEADER)
    foreach(pattern ${ARGN})
      file(STRINGS ${TALLOW_SBOM_HEADER} line REGEX "define +${pattern} +\"?[0-9.]+" LIMIT_COUNT 1)
      string(REGEX REPLACE ".*define +${pattern} +\"?([0-9.]+).*" "\\1" number "${line}")
      list(APPEND numbers ${number})
    endforeach()
  endif()
  list(JOIN numbers "." version)
  set(${variable} "${version}" PARENT_SCOPE)
endfunction()

if(NOT TALLOW_PLATFORM_LIBRARY)
  tallow_header_version(toml_version toml++/impl/version.h TOML_LIB_MAJOR TOML_LIB_MINOR TOML_LIB_PATCH)
  tallow_sbom_package(openssl "${OPENSSL_VERSION}" Apache-2.0 https://www.openssl.org DYNAMIC_LINK)
  tallow_sbom_package(curl "${CURL_VERSION_STRING}" curl https://curl.se DYNAMIC_LINK)
  if(TALLOW_REDIS)
    tallow_sbom_package(hiredis "${tallow_hiredis_version}" BSD-3-Clause https://github.com/redis/hiredis DYNAMIC_LINK)
  endif()
  tallow_sbom_package(tomlplusplus "${toml_version}" MIT https://marzer.github.io/tomlplusplus DYNAMIC_LINK)
endif()
if(TALLOW_COMMAND)
  tallow_header_version(cli11_version CLI/Version.hpp CLI11_VERSION)
  tallow_header_version(json_version nlohmann/detail/abi_macros.hpp NLOHMANN_JSON_VERSION_MAJOR
                        NLOHMANN_JSON_VERSION_MINOR NLOHMANN_JSON_VERSION_PATCH)
  tallow_sbom_package(cli11 "${cli11_version}" BSD-3-Clause https://github.com/CLIUtils/CLI11 STATIC_LINK)
  tallow_sbom_package(nlohmann-json "${json_version}" MIT https://json.nlohmann.me STATIC_LINK)
endif()
if(TALLOW_PYTHON)
  tallow_header_version(pybind11_version pybind11/detail/common.h PYBIND11_VERSION_MAJOR PYBIND11_VERSION_MINOR
                        PYBIND11_VERSION_PATCH)
  tallow_sbom_package(pybind11 "${pybind11_version}" BSD-3-Clause https://pybind11.readthedocs.io STATIC_LINK)
endif()

set(kept_epoch "$ENV{SOURCE_DATE_EPOCH}")
if(kept_epoch STREQUAL "")
  execute_process(COMMAND git -C ${PROJECT_SOURCE_DIR} log -1 --format=%ct OUTPUT_VARIABLE commit_time
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE no_commit)
  if(no_commit EQUAL 0)
    set(ENV{SOURCE_DATE_EPOCH} ${commit_time})
  endif()
endif()
string(TIMESTAMP sbom_created "%Y-%m-%dT%H:%M:%SZ" UTC)
set(ENV{SOURCE_DATE_EPOCH} "${kept_epoch}")
if(kept_epoch STREQUAL "")
  unset(ENV{SOURCE_DATE_EPOCH})
endif()

string(UUID sbom_uuid NAMESPACE 6ba7b811-9dad-11d1-80b4-00c04fd430c8 TYPE SHA1
       NAME "${PROJECT_VERSION}${sbom_created}${sbom_packages}")
file(READ ${PROJECT_SOURCE_DIR}/LICENSE sbom_licence)
string(REPLACE "\\" "\\\\" sbom_licence "${sbom_licence}")
string(REPLACE "\"" "\\\"" sbom_licence "${sbom_licence}")
string(REPLACE "\n" "\\n" sbom_licence "${sbom_licence}")
file(STRINGS ${PROJECT_SOURCE_DIR}/LICENSE sbom_copyright LIMIT_COUNT 1)
configure_file(${PROJECT_SOURCE_DIR}/cmake/tallow.spdx.json.in ${PROJECT_BINARY_DIR}/tallow.spdx.json @ONLY)
