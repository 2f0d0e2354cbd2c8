# Release archives with CPack (run "cpack" in a build folder, or scripts/sdk-check.sh):
# a .tar.gz and a .deb on Linux, a .zip on Windows. They hold what "cmake --install"
# installs: the library, ovxext, the public headers, the CMake and pkg-config files, the
# licences and, on Windows, the MinGW runtime DLLs.

set(CPACK_PACKAGE_NAME OvxComponent)
set(CPACK_PACKAGE_VENDOR "OvxComponent developers")
set(CPACK_PACKAGE_CONTACT "OvxComponent developers <ovxcomponent@example.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_OUTPUT_FILE_PREFIX "${PROJECT_BINARY_DIR}/packages")

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_SYSTEM_NAME windows-x64)
else()
  set(CPACK_GENERATOR TGZ DEB)
  set(CPACK_SYSTEM_NAME linux-x86_64)
  set(CPACK_DEBIAN_PACKAGE_NAME libovxcomponent-dev)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
  # The package depends on the shared libraries that its binaries link, as dpkg finds them.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CPACK_SYSTEM_NAME}")

include(CPack)
