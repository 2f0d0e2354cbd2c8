# Debian's build flags (dpkg-buildflags: hardening, format checks, path mapping), as a
# Debian package build passes them, for the build that makes the Debian packages
# (OVX_DEBIAN_BUILD_FLAGS, on in the linux-sdk preset). A builder that exports them
# itself (debhelper does) leaves the option off: CMake takes CXXFLAGS and LDFLAGS from the
# environment on its own.

find_program(OVX_DPKG_BUILDFLAGS dpkg-buildflags)
if(NOT OVX_DPKG_BUILDFLAGS)
  message(FATAL_ERROR "OVX_DEBIAN_BUILD_FLAGS needs dpkg-buildflags: install dpkg-dev")
endif()
# The path mapping it adds is the one of the folder it runs in: the source tree's.
foreach(kind CPPFLAGS CXXFLAGS LDFLAGS)
  execute_process(COMMAND ${OVX_DPKG_BUILDFLAGS} --get ${kind} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE debian_${kind} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endforeach()
string(APPEND CMAKE_CXX_FLAGS " ${debian_CPPFLAGS} ${debian_CXXFLAGS}")
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS " ${debian_LDFLAGS}")
endforeach()
message(STATUS "Debian's build flags: ${debian_CPPFLAGS} ${debian_CXXFLAGS} ${debian_LDFLAGS}")
