# The API reference of the public headers, built with Doxygen by the target "docs" (and
# by "all" when OVX_BUILD_DOCS is on). Any Doxygen warning fails it. It covers the
# headers installed for this platform, as that platform's compiler sees them: on Linux
# those without the Windows-only COM, automation and host service headers.

find_package(Doxygen)
if(NOT DOXYGEN_FOUND)
  if(OVX_BUILD_DOCS)
    message(FATAL_ERROR "OVX_BUILD_DOCS needs Doxygen: install doxygen")
  endif()
  return()
endif()

set(OVX_API_REFERENCE_DIR ${PROJECT_BINARY_DIR}/api-reference)
set(OVX_API_REFERENCE_HTML ${OVX_API_REFERENCE_DIR}/html)
set(OVX_API_REFERENCE_EXCLUDE)
set(OVX_API_REFERENCE_PREDEFINED)
if(WIN32)
  set(OVX_API_REFERENCE_PREDEFINED _WIN32)
else()
  set(OVX_API_REFERENCE_EXCLUDE "*/automation/* */component/* */comsupport/*")
endif()
configure_file(${PROJECT_SOURCE_DIR}/docs/api/Doxyfile.in ${OVX_API_REFERENCE_DIR}/Doxyfile @ONLY)

file(GLOB_RECURSE public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/*.h)
set(all)
if(OVX_BUILD_DOCS)
  set(all ALL)
endif()
add_custom_command(OUTPUT ${OVX_API_REFERENCE_HTML}/index.html
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${OVX_API_REFERENCE_HTML}
  COMMAND Doxygen::doxygen ${OVX_API_REFERENCE_DIR}/Doxyfile
  DEPENDS ${public_headers} ${PROJECT_SOURCE_DIR}/docs/api/mainpage.md ${OVX_API_REFERENCE_DIR}/Doxyfile
  WORKING_DIRECTORY ${OVX_API_REFERENCE_DIR}
  COMMENT "Building the API reference with Doxygen")
add_custom_target(docs ${all} DEPENDS ${OVX_API_REFERENCE_HTML}/index.html)
