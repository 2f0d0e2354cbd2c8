# Run at install time: moves the debug information of each installed binary into
# BINARY.debug beside it, strips the binary and links it to its debug file.
# Inputs: OVX_OBJCOPY, OVX_STRIP, and the lists OVX_DEBUG_BINARIES (file names) and
# OVX_DEBUG_FOLDERS (their folders below the prefix), pairwise.

set(root "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}")
foreach(name folder IN ZIP_LISTS OVX_DEBUG_BINARIES OVX_DEBUG_FOLDERS)
  set(binary "${root}/${folder}/${name}")
  if(NOT EXISTS "${binary}")
    continue()
  endif()
  message(STATUS "Splitting debug information: ${binary}.debug")
  execute_process(COMMAND "${OVX_OBJCOPY}" --only-keep-debug "${binary}" "${binary}.debug"
                  COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${OVX_STRIP}" --strip-debug --strip-unneeded "${binary}" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${OVX_OBJCOPY}" "--add-gnu-debuglink=${binary}.debug" "${binary}"
                  WORKING_DIRECTORY "${root}/${folder}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
