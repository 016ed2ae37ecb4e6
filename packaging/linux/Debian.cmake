# Four Debian packages: libcqapi1, libcqapi-dev, cqapi-tools and python3-cqapi.
set(CQAPI_MAINTAINER "CQApi maintainers <cqapi@localhost.localdomain>" CACHE STRING
  "Who answers for the packages")
set(CQAPI_DEBIAN_REVISION 1 CACHE STRING "Revision of the packages of one version")
set(CQAPI_SOURCE_DATE "" CACHE STRING "Date of the sources as date -R prints it, for changelogs")
find_program(GZIP gzip REQUIRED)

set(library_package libcqapi${PROJECT_VERSION_MAJOR})
set(dev_package libcqapi-dev)
set(tools_package cqapi-tools)
set(python_package python3-cqapi)
set(debian_version ${PROJECT_VERSION}-${CQAPI_DEBIAN_REVISION})

# -n: without name and time, so that the same sources give the same file.
function(compressed output input)
  execute_process(COMMAND ${GZIP} -9nc ${input} OUTPUT_FILE ${output} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

compressed(${CMAKE_CURRENT_BINARY_DIR}/changelog.gz ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
configure_file(linux/copyright.in copyright @ONLY)
foreach(component IN ITEMS library dev tools python)
  set(package ${${component}_package})
  set(documentation ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${package})
  configure_file(linux/changelog.in ${folder}/changelog @ONLY)
  compressed(${folder}/changelog.Debian.gz ${folder}/changelog)
  install(FILES ${folder}/changelog.Debian.gz ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
    ${CMAKE_CURRENT_BINARY_DIR}/copyright DESTINATION ${documentation} COMPONENT ${component})
endforeach()

set(documentation ${CMAKE_INSTALL_DATAROOTDIR}/doc)
install_guides(${documentation}/${dev_package})
file(CREATE_LINK ../../../include ${CMAKE_CURRENT_BINARY_DIR}/include SYMBOLIC)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/include DESTINATION ${documentation}/${dev_package} COMPONENT dev)
if(CQAPI_MCS)
  install(FILES ${CQAPI_NET_ASSEMBLY} DESTINATION lib/cli/CQApi.Net COMPONENT dev)
endif()

set(python_modules lib/python3/dist-packages)
install_python_package(${python_modules} python)
configure_file(linux/METADATA.in METADATA @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/METADATA
  DESTINATION ${python_modules}/cqapi-${PROJECT_VERSION}.dist-info COMPONENT python)

# Libraries that the tools have compiled in ask for their notices to go along.
foreach(used IN ITEMS libboost-dev libcli11-dev nlohmann-json3-dev)
  install(FILES /usr/share/doc/${used}/copyright DESTINATION ${documentation}/${tools_package}
    RENAME copyright.${used} COMPONENT tools)
endforeach()
install(CODE "file(GLOB pages \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share/man/man1/*.1\")
  if(pages)
    execute_process(COMMAND ${GZIP} -9nf \${pages} COMMAND_ERROR_IS_FATAL ANY)
  endif()" COMPONENT tools)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME cqapi)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package's description has its own first line
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library dev tools python)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${CQAPI_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CQAPI_DEBIAN_REVISION})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
# The tools' own library is not installed when their dependencies are looked up.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_SOURCE_DIR}/linux/triggers
  ${CMAKE_CURRENT_SOURCE_DIR}/linux/postinst
  ${CMAKE_CURRENT_SOURCE_DIR}/linux/postrm)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
"library that drives a spectrophotometer and computes colour data
It calibrates and measures with an instrument at a serial line or behind a
Bluetooth LE adapter, reads and writes stored records, and turns spectra, XYZ
and CIELAB values into nine colour spaces for 18 illuminants and two observers.
.
This package contains the library and the rules that let the person at the
machine use the instrument.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${dev_package})
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${library_package} (= ${debian_version})")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "cqapi-tools, mono-runtime")
set(CPACK_COMPONENT_DEV_DESCRIPTION
"library that drives a spectrophotometer (development files)
It calibrates and measures with an instrument at a serial line or behind a
Bluetooth LE adapter, reads and writes stored records, and computes colours.
.
This package contains the headers for C and C++, package files for CMake and
pkg-config, the assembly CQApi.Net for Mono and .NET, guides and examples.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${tools_package})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} (= ${debian_version})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
"spectrophotometer from the terminal, and a virtual one
The program cq drives a spectrophotometer: it measures, shows and compares
colours, and reads and writes what the instrument has stored.
.
The program cq-virtual-instrument is an instrument in software alone, wired or
wireless, to try things out and to develop against.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${python_package})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), ${library_package} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-numpy)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_SOURCE_DIR}/linux/python/postinst ${CMAKE_CURRENT_SOURCE_DIR}/linux/python/prerm)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
"spectrophotometer from Python
The package cqapi drives a spectrophotometer and computes colour data, as the
library does. With numpy installed, colours and spectra are arrays.")
include(CPack)
