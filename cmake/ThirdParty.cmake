# Libraries of the tools and tests; the library itself uses none of them.
#
# Debian installs their headers in /usr/include, which a cross build must not search as a whole, so
# each is linked into a folder of its own.

function(cqapi_header_library target folder header)
  find_path(${target}_DIR NAMES ${header} PATHS /usr/include
    NO_CMAKE_FIND_ROOT_PATH REQUIRED DOC "Folder that contains ${header}")
  set(include_dir ${CMAKE_BINARY_DIR}/third_party/${target})
  file(MAKE_DIRECTORY ${include_dir})
  file(CREATE_LINK ${${target}_DIR}/${folder} ${include_dir}/${folder} COPY_ON_ERROR SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${include_dir})
endfunction()

cqapi_header_library(boost boost boost/property_tree/xml_parser.hpp)
cqapi_header_library(cli11 CLI CLI/CLI.hpp)
cqapi_header_library(nlohmann_json nlohmann nlohmann/json.hpp)
