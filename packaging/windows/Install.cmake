# Windows: one folder with everything, to be unpacked anywhere.
configure_file(windows/README.txt.in README.txt @ONLY NEWLINE_STYLE CRLF)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/README.txt DESTINATION . COMPONENT dev)
install_guides(.)
install_python_package(bindings/python dev)
install(FILES
  ${PROJECT_SOURCE_DIR}/bindings/python/README.md ${PROJECT_SOURCE_DIR}/bindings/python/pyproject.toml
  DESTINATION bindings/python COMPONENT dev)
if(CQAPI_MCS)
  install(FILES ${CQAPI_NET_ASSEMBLY} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
endif()

# Visual Studio makes its import library itself; MinGW's linker makes none that Visual Studio reads well.
set(exports ${PROJECT_SOURCE_DIR}/src/api/win32/CQApi.def)
install(FILES ${exports} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
find_program(CQAPI_DLLTOOL llvm-dlltool DOC "Makes import libraries of Visual Studio's form")
if(MINGW AND CQAPI_DLLTOOL)
  set(import_library ${CMAKE_BINARY_DIR}/CQApi.lib)
  add_custom_command(OUTPUT ${import_library}
    COMMAND ${CQAPI_DLLTOOL} -m i386:x86-64 -D CQApi.dll -d ${exports} -l ${import_library}
    DEPENDS ${exports} VERBATIM)
  add_custom_target(cqapi-import-library ALL DEPENDS ${import_library})
  install(FILES ${import_library} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
endif()

# Libraries that are compiled in ask for their notices to go along.
foreach(used IN ITEMS libboost-dev libcli11-dev nlohmann-json3-dev mingw-w64-x86-64-dev)
  if(EXISTS /usr/share/doc/${used}/copyright)
    install(FILES /usr/share/doc/${used}/copyright DESTINATION docs/third-party
      RENAME ${used}.txt COMPONENT dev)
  endif()
endforeach()
