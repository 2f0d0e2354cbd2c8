# Run by CPack after it has made the packages: rebuilds the runtime library's .deb
# without the postinst and postrm that CPack writes to call ldconfig. The package
# activates dpkg's ldconfig trigger instead (runtime/triggers), as Debian packages do.

find_program(DPKG_DEB dpkg-deb REQUIRED)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(NOT package MATCHES "/libovxcomponent[0-9]+_[^/]*\\.deb$")
    continue()
  endif()
  set(tree "${CPACK_TOPLEVEL_DIRECTORY}/without-ldconfig-calls")
  file(REMOVE_RECURSE "${tree}")
  execute_process(COMMAND "${DPKG_DEB}" --raw-extract "${package}" "${tree}" COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE "${tree}/DEBIAN/postinst" "${tree}/DEBIAN/postrm")
  execute_process(COMMAND "${DPKG_DEB}" --root-owner-group --build "${tree}" "${package}"
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE "${tree}")
  message(STATUS "${package}: the ldconfig trigger only, no ldconfig calls")
endforeach()
