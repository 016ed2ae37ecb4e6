# Windows: one folder with everything, to be unpacked anywhere.
configure_file(windows/README.txt.in README.txt @ONLY NEWLINE_STYLE CRLF)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/README.txt DESTINATION . COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION doc COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/src/api/win32/CQApi.def DESTINATION ${CMAKE_INSTALL_LIBDIR}
  COMPONENT dev)
file(GLOB guides ${PROJECT_SOURCE_DIR}/docs/*.md)
install(FILES ${guides} DESTINATION doc COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION . COMPONENT dev)

# Libraries that are compiled in ask for their notices to go along.
foreach(used IN ITEMS libcli11-dev nlohmann-json3-dev mingw-w64-x86-64-dev)
  if(EXISTS /usr/share/doc/${used}/copyright)
    install(FILES /usr/share/doc/${used}/copyright DESTINATION doc/third-party
      RENAME ${used}.txt COMPONENT dev)
  endif()
endforeach()
