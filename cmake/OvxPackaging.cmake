# Release packages with CPack (run "cpack" in a build folder, or scripts/sdk-check.sh).
#
# Linux: a .tar.gz of everything, and Debian packages split as Debian splits a library
# (see OvxInstall.cmake for the components): libovxcomponent18, libovxcomponent-dev,
# ovxext, libovxcomponent-doc and the -dbgsym packages. Configure with
# CMAKE_INSTALL_PREFIX=/usr (the linux-sdk preset does) so that the library lands in the
# multiarch folder; packaging/debian/finish_packages.py finishes the .deb files.
# Windows: one .zip of everything, with the MinGW runtime DLLs.
# Both are reproducible: every time in them is OVX_SOURCE_DATE_EPOCH
# (OvxReproducibleBuild.cmake), which CPack is handed through its project config file.

set(CPACK_PACKAGE_NAME OvxComponent)
set(CPACK_PACKAGE_VENDOR "OvxComponent developers")
set(CPACK_PACKAGE_CONTACT "${OVX_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_OUTPUT_FILE_PREFIX "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES OFF)  # the install rules strip, and keep the debug information
set(CPACK_OVX_SOURCE_DATE_EPOCH ${OVX_SOURCE_DATE_EPOCH})
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/CPackSourceDate.cmake
  CONTENT "set(ENV{SOURCE_DATE_EPOCH} \"\${CPACK_OVX_SOURCE_DATE_EPOCH}\")\n")
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_BINARY_DIR}/CPackSourceDate.cmake)

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
# Installed as into the final prefix (with DESTDIR), so that what is written at install
# time (the pkg-config file) names the prefix, not CPack's staging folder.
set(CPACK_SET_DESTDIR ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)  # the .tar.gz holds every component
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${OVX_PACKAGE_COMPONENTS} ${OVX_DEBUG_COMPONENTS})

if(NOT CMAKE_INSTALL_LIBDIR MATCHES "^lib/.+-linux-gnu")
  message(WARNING "The Debian packages want the multiarch library folder; configure with "
    "CMAKE_INSTALL_PREFIX=/usr (now ${CMAKE_INSTALL_PREFIX}, library folder ${CMAKE_INSTALL_LIBDIR})")
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${OVX_PACKAGE_HOMEPAGE}")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${OVX_DEBIAN_REVISION})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)  # for the runtime package, the one with a library
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SOURCE ovxcomponent)
set(exact_version "${PROJECT_VERSION}-${OVX_DEBIAN_REVISION}")
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
# scripts, which Debian no longer wants: finish_packages.py takes those out.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/runtime/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "extension manager for desktop graphics hosts (library)\n${about_library}\n\nThis package holds the shared library.")

# The development files.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${OVX_DEVELOPMENT_PACKAGE})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${OVX_RUNTIME_PACKAGE} (= ${exact_version})")
if(OVX_BUILD_DOCS)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "${OVX_DOCUMENTATION_PACKAGE}")
endif()
string(JOIN "\n" CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "extension manager for desktop graphics hosts (development files)"
  "${about_library}" ""
  "This package holds what a host needs to build against the library: the C++"
  "and C headers, the CMake package (find_package(OvxComponent)) and the"
  "pkg-config file.")

# The author tool.
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ${OVX_TOOL_PACKAGE})
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION devel)
# ovxext is built from the library's internal parts, not linked to the shared library,
# so it does not depend on the runtime package (docs/packages.md says why).
string(JOIN "\n" CPACK_DEBIAN_TOOL_DESCRIPTION
  "author tool for OvxComponent extension packages"
  "ovxext makes, signs, verifies, checks and inspects the extension packages"
  "that hosts built on the OvxComponent library load, and runs such a host over"
  "real folders for testing." "" "${about_library}")

# The API reference.
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME ${OVX_DOCUMENTATION_PACKAGE})
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_DEPENDS libjs-jquery)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
string(JOIN "\n" CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION
  "extension manager for desktop graphics hosts (API reference)"
  "${about_library}" ""
  "This package holds the HTML reference of the library's public C++ and C"
  "interface, registered with doc-base.")

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

# What CPack cannot write, finish_packages.py does after it: Multi-Arch (the library and
# its development files install beside those of other architectures; the tool and the
# reference serve any architecture), the debug packages' fields, the symbols file, and
# every file time at the source date.
set(CPACK_OVX_FINISH_COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/packaging/debian/finish_packages.py
  --epoch ${OVX_SOURCE_DATE_EPOCH}
  --multi-arch ${OVX_RUNTIME_PACKAGE}=same --multi-arch ${OVX_DEVELOPMENT_PACKAGE}=same
  --multi-arch ${OVX_TOOL_PACKAGE}=foreign --multi-arch ${OVX_DOCUMENTATION_PACKAGE}=foreign
  --symbols ${OVX_RUNTIME_PACKAGE}=${PROJECT_SOURCE_DIR}/packaging/debian/${OVX_RUNTIME_PACKAGE}.symbols)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/finish-packages.cmake)

include(CPack)
