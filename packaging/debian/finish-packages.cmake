# Run by CPack after it has made the packages: finishes the .deb files among them
# (finish_packages.py says how).
set(debs ${CPACK_PACKAGE_FILES})
list(FILTER debs INCLUDE REGEX "\\.deb$")
if(debs)
  execute_process(COMMAND ${CPACK_OVX_FINISH_COMMAND} ${debs} COMMAND_ERROR_IS_FATAL ANY)
endif()
