# Linux: device rules, manual page and completions, and what a Debian package needs besides.

set(CQAPI_UDEV_RULES_DIR lib/udev/rules.d CACHE STRING "Where the device rules go")
install(FILES linux/70-cqapi.rules DESTINATION ${CQAPI_UDEV_RULES_DIR} COMPONENT library)

if(CQAPI_BUILD_TOOLS)
  install(FILES linux/cq-station.service DESTINATION lib/systemd/system COMPONENT tools)
  set(CQAPI_ZSH_COMPLETIONS_DIR ${CMAKE_INSTALL_DATAROOTDIR}/zsh/site-functions CACHE STRING
    "Where completions for zsh go")
  # Written by the programs themselves, at the end of their build.
  install(DIRECTORY ${CMAKE_BINARY_DIR}/share/zsh/site-functions/ COMPONENT tools OPTIONAL
    DESTINATION ${CQAPI_ZSH_COMPLETIONS_DIR})
  foreach(folder IN ITEMS man/man1 bash-completion/completions fish/vendor_completions.d)
    install(DIRECTORY ${CMAKE_BINARY_DIR}/share/${folder}/ COMPONENT tools OPTIONAL
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/${folder})
  endforeach()
endif()

set(CQAPI_PACKAGE_SET "" CACHE STRING "Packages to prepare for: empty or deb; set by scripts/package")
if(CQAPI_PACKAGE_SET STREQUAL "deb")
  include(linux/Debian.cmake)
endif()
