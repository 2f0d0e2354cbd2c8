# Release packages with CPack (run "cpack" in a build folder, or scripts/sdk-check.sh).
#
# Linux: a .tar.gz of everything, and Debian packages split as Debian splits a library
# (see OvxInstall.cmake for the components): libovxcomponent18, libovxcomponent-dev,
# ovxext and their -dbgsym packages. Configure with CMAKE_INSTALL_PREFIX=/usr (the
# linux-sdk preset does) so that the library lands in the multiarch folder.
# Windows: one .zip of everything, with the MinGW runtime DLLs.

set(CPACK_PACKAGE_NAME OvxComponent)
set(CPACK_PACKAGE_VENDOR "OvxComponent developers")
set(CPACK_PACKAGE_CONTACT "${OVX_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_OUTPUT_FILE_PREFIX "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES OFF)  # the install rules strip, and keep the debug information

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_SYSTEM_NAME windows-x64)
  set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CPACK_SYSTEM_NAME}")
  include(CPack)
  return()
endif()

set(CPACK_GENERATOR TGZ DEB)
set(CPACK_SYSTEM_NAME linux-x86_64)
set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CPACK_SYSTEM_NAME}")
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)  # the .tar.gz holds every component
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET ovxext)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
list(APPEND CPACK_COMPONENTS_ALL ${OVX_DEBUG_COMPONENTS})

if(NOT CMAKE_INSTALL_LIBDIR MATCHES "^lib/.+-linux-gnu")
  message(WARNING "The Debian packages want the multiarch library folder; configure with "
    "CMAKE_INSTALL_PREFIX=/usr (now ${CMAKE_INSTALL_PREFIX}, library folder ${CMAKE_INSTALL_LIBDIR})")
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://ovxcomponent.example.org/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)  # for the runtime package, the one with a library
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SOURCE ovxcomponent)
set(exact_version "${PROJECT_VERSION}")
# Each package's description: its own synopsis, then these paragraphs (CPack indents
# the lines and marks the empty ones as Debian wants). CPack puts the common summary in
# front of every description unless that summary is its own default.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
string(JOIN "\n" about_library
  "OvxComponent is a library that desktop graphics applications load into"
  "their own process to manage extensions: packages dropped into watched"
  "folders are opened, checked against the running host and its trust policy,"
  "unpacked into versioned install folders, loaded through the installers that"
  "the host registers, and unloaded and deleted when they disappear, with every"
  "step in a log.")

# The runtime library.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${OVX_RUNTIME_PACKAGE})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The ldconfig trigger, instead of the ldconfig calls that CPack writes into maintainer
# scripts, which Debian no longer wants: a script run after CPack takes those out.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/runtime/triggers)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/drop-ldconfig-calls.cmake)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "extension manager for desktop graphics hosts (library)\n${about_library}\n\nThis package holds the shared library.")

# The development files.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${OVX_DEVELOPMENT_PACKAGE})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${OVX_RUNTIME_PACKAGE} (= ${exact_version})")
string(JOIN "\n" CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "extension manager for desktop graphics hosts (development files)"
  "${about_library}" ""
  "This package holds what a host needs to build against the library: the C++"
  "and C headers, the CMake package (find_package(OvxComponent)), the pkg-config"
  "file and the API reference.")

# The author tool.
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ${OVX_TOOL_PACKAGE})
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${OVX_RUNTIME_PACKAGE} (= ${exact_version})")
string(JOIN "\n" CPACK_DEBIAN_TOOL_DESCRIPTION
  "author tool for OvxComponent extension packages"
  "ovxext makes, signs, verifies, checks and inspects the extension packages"
  "that hosts built on the OvxComponent library load, and runs such a host over"
  "real folders for testing." "" "${about_library}")

# The debug information, one -dbgsym package per package with binaries.
foreach(component IN LISTS OVX_DEBUG_COMPONENTS)
  string(REPLACE "-debug" "" owner ${component})
  string(TOUPPER ${owner} upper_owner)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper_owner}_PACKAGE_NAME})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package}-dbgsym)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION debug)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${package} (= ${exact_version})")
  set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS OFF)
  string(JOIN "\n" CPACK_DEBIAN_${upper}_DESCRIPTION "debug symbols for ${package}"
    "The debug information of the binaries in ${package}, which"
    "debuggers find by their build IDs below /usr/lib/debug/.build-id.")
endforeach()

include(CPack)
