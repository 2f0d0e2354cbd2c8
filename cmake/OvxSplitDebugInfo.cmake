# Run at install time for one binary: strips the installed copy, and keeps its debug
# information where debuggers find it.
# Inputs: OVX_OBJCOPY, OVX_STRIP, OVX_READELF, OVX_BUILT_BINARY (the unstripped binary of
# the build tree), OVX_INSTALLED_BINARY (its path below the prefix), and OVX_DEBUG_STEP:
#   strip-and-link-beside  BINARY.debug beside the installed binary, which is stripped and
#                          given a debug link to it (Windows)
#   strip                  strip the installed binary only (Linux; the build ID stays)
#   extract-by-build-id    write the debug information of the built binary to
#                          OVX_DEBUG_FOLDER/.build-id/NN/REST.debug (Linux)

set(root "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}")
set(binary "${root}/${OVX_INSTALLED_BINARY}")

if(OVX_DEBUG_STEP STREQUAL "extract-by-build-id")
  execute_process(COMMAND "${OVX_READELF}" -n "${OVX_BUILT_BINARY}" OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
  if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
    message(FATAL_ERROR "${OVX_BUILT_BINARY} has no build ID: link it with --build-id")
  endif()
  set(debug_file "${root}/${OVX_DEBUG_FOLDER}/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug")
  get_filename_component(debug_folder "${debug_file}" DIRECTORY)
  file(MAKE_DIRECTORY "${debug_folder}")
  message(STATUS "Installing debug information: ${debug_file}")
  execute_process(COMMAND "${OVX_OBJCOPY}" --only-keep-debug --compress-debug-sections "${OVX_BUILT_BINARY}" "${debug_file}"
                  COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD "${debug_file}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  return()
endif()

if(NOT EXISTS "${binary}")
  return()
endif()
if(OVX_DEBUG_STEP STREQUAL "strip-and-link-beside")
  message(STATUS "Splitting debug information: ${binary}.debug")
  execute_process(COMMAND "${OVX_OBJCOPY}" --only-keep-debug "${binary}" "${binary}.debug"
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
set(strip_options --strip-debug --strip-unneeded)
if(OVX_DEBUG_STEP STREQUAL "strip")
  list(APPEND strip_options --remove-section=.comment --remove-section=.note)  # as Debian strips
endif()
execute_process(COMMAND "${OVX_STRIP}" ${strip_options} "${binary}" COMMAND_ERROR_IS_FATAL ANY)
if(OVX_DEBUG_STEP STREQUAL "strip-and-link-beside")
  get_filename_component(folder "${binary}" DIRECTORY)
  get_filename_component(name "${binary}" NAME)
  execute_process(COMMAND "${OVX_OBJCOPY}" "--add-gnu-debuglink=${name}.debug" "${name}"
                  WORKING_DIRECTORY "${folder}" COMMAND_ERROR_IS_FATAL ANY)
endif()
