# Install rules and the CMake package of OvxComponent.
#
# A host finds the installed library with find_package(OvxComponent 18 CONFIG) and links
# OvxComponent::OvxComponent, or asks pkg-config for "OvxComponent". Only the public
# headers of include/ are installed (on Linux without the Windows-only COM and host
# service headers), with the generated version header beside them.

include(CMakePackageConfigHelpers)

set(OVX_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/OvxComponent
  CACHE STRING "Where the CMake package files are installed, below the prefix")

install(TARGETS OvxComponent EXPORT OvxComponentTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

set(windows_only_headers)
if(NOT WIN32)
  set(windows_only_headers PATTERN automation EXCLUDE PATTERN component EXCLUDE PATTERN comsupport EXCLUDE)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ ${PROJECT_BINARY_DIR}/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h" ${windows_only_headers})

install(EXPORT OvxComponentTargets NAMESPACE OvxComponent::
  DESTINATION ${OVX_INSTALL_CMAKEDIR} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OvxComponentConfig.cmake.in
  ${PROJECT_BINARY_DIR}/OvxComponentConfig.cmake INSTALL_DESTINATION ${OVX_INSTALL_CMAKEDIR})
# A host built against major version N works with every N.x: the ABI only changes with
# the major version.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OvxComponentConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OvxComponentConfig.cmake ${PROJECT_BINARY_DIR}/OvxComponentConfigVersion.cmake
  DESTINATION ${OVX_INSTALL_CMAKEDIR} COMPONENT development)

# Relocatable: the prefix is found from where the .pc file lies. The C++ headers need
# -std=c++20 (or later), which a .pc file cannot ask of C++ only.
file(RELATIVE_PATH OVX_PC_PREFIX_FROM_PCDIR /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/OvxComponent.pc.in ${PROJECT_BINARY_DIR}/OvxComponent.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/OvxComponent.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/src/OvxComponent.def DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endif()

if(TARGET ovxext)
  install(TARGETS ovxext RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()

# The MinGW runtime that the DLL and ovxext need, beside them.
if(OVX_MINGW_RUNTIME_DLLS)
  install(FILES ${OVX_MINGW_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES.md
  ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

# Installed binaries are stripped; their debug information goes into a .debug file beside
# each, linked to it by a debug link that debuggers follow.
if(CMAKE_BUILD_TYPE MATCHES "Deb" AND CMAKE_OBJCOPY AND CMAKE_STRIP)
  set(debug_binaries "$<TARGET_FILE_NAME:OvxComponent>")
  set(debug_folders "${CMAKE_INSTALL_LIBDIR}")
  if(WIN32)
    set(debug_folders "${CMAKE_INSTALL_BINDIR}")
  endif()
  if(TARGET ovxext)
    list(APPEND debug_binaries "$<TARGET_FILE_NAME:ovxext>")
    list(APPEND debug_folders "${CMAKE_INSTALL_BINDIR}")
  endif()
  install(CODE "
    set(OVX_OBJCOPY \"${CMAKE_OBJCOPY}\")
    set(OVX_STRIP \"${CMAKE_STRIP}\")
    set(OVX_DEBUG_BINARIES \"${debug_binaries}\")
    set(OVX_DEBUG_FOLDERS \"${debug_folders}\")
    include(\"${PROJECT_SOURCE_DIR}/cmake/OvxSplitDebugInfo.cmake\")"
    COMPONENT runtime)
endif()

# The full copyright files of what the binaries contain, as Debian ships them.
if(WIN32)
  set(notice_packages libzip4 libpugixml1v5 libz-mingw-w64 gcc-mingw-w64-base mingw-w64-common nlohmann-json3-dev)
else()
  set(notice_packages libzip4 libpugixml1v5 zlib1g nlohmann-json3-dev)
endif()
foreach(package IN LISTS notice_packages)
  set(copyright /usr/share/doc/${package}/copyright)
  if(EXISTS ${copyright})
    install(FILES ${copyright} RENAME ${package}.copyright
      DESTINATION ${CMAKE_INSTALL_DOCDIR}/third-party COMPONENT runtime)
  else()
    message(WARNING "${copyright} is missing; the release would lack that notice")
  endif()
endforeach()
