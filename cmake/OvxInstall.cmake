# Install rules and the CMake package of OvxComponent.
#
# A host finds the installed library with find_package(OvxComponent 18 CONFIG) and links
# OvxComponent::OvxComponent, or asks pkg-config for "OvxComponent". Only the public
# headers of include/ are installed (on Linux without the Windows-only COM and host
# service headers), with the generated version header beside them.
#
# Every file belongs to one component, which on Linux becomes one Debian package
# (OvxPackaging.cmake):
#   runtime        the shared library                                   libovxcomponent18
#   development    headers, link, CMake and pkg-config files, reference libovxcomponent-dev
#   tool           ovxext with its manual page and bash completion      ovxext
#   documentation  the API reference (Linux; with doc-base registration) libovxcomponent-doc
#   *-debug        the debug information of the runtime and the tool    <package>-dbgsym
# On Windows every component goes into the one .zip.

set(OVX_RUNTIME_PACKAGE libovxcomponent${PROJECT_VERSION_MAJOR})
set(OVX_DEVELOPMENT_PACKAGE libovxcomponent-dev)
set(OVX_TOOL_PACKAGE ovxext)
set(OVX_DOCUMENTATION_PACKAGE libovxcomponent-doc)

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

# The pkg-config file. The C++ headers need -std=c++20 (or later), which a .pc file cannot
# ask of C++ only; the headers say so themselves. On Linux it names the prefix the files
# are installed to (written at install time, so "cmake --install --prefix" and the
# packages get their own), and pkg-config recognises /usr's folders as the system's; an
# SDK unpacked elsewhere asks "pkg-config --define-prefix". The Windows .zip is always
# unpacked elsewhere: its prefix is found from where the .pc file lies.
set(pc_file ${PROJECT_BINARY_DIR}/OvxComponent.pc)
set(pc_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(WIN32)
  set(OVX_PC_DESCRIPTION "${PROJECT_DESCRIPTION}")
  file(RELATIVE_PATH prefix_from_pc_folder /prefix/${pc_folder} /prefix)
  set(OVX_PC_PREFIX "\${pcfiledir}/${prefix_from_pc_folder}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/OvxComponent.pc.in ${pc_file} @ONLY)
  install(FILES ${pc_file} DESTINATION ${pc_folder} COMPONENT development)
else()
  set(OVX_PC_DESCRIPTION "Extension manager and package format for desktop hosts")
  set(OVX_PC_PREFIX "@OVX_INSTALLED_PREFIX@")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/OvxComponent.pc.in ${pc_file}.in @ONLY)
  install(CODE "
    set(OVX_INSTALLED_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
    set(pc_file \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${pc_folder}/OvxComponent.pc\")
    message(STATUS \"Installing: \${pc_file}\")
    configure_file(\"${pc_file}.in\" \"\${pc_file}\" @ONLY)" COMPONENT development)
endif()

if(WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/src/OvxComponent.def DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endif()

if(TARGET ovxext)
  install(TARGETS ovxext RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  if(TARGET ovxext_manual)
    install(FILES ${OVX_OVXEXT_MANUAL} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES ${PROJECT_SOURCE_DIR}/tools/ovxext/completion/ovxext.bash RENAME ovxext
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions COMPONENT tool)
  endif()
endif()

# The MinGW runtime that the DLL and ovxext need, beside them.
if(OVX_MINGW_RUNTIME_DLLS)
  install(FILES ${OVX_MINGW_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()

# Licence, notices and changes. On Linux each package has its own documentation folder, as
# Debian wants it: the copyright file in Debian's machine-readable format, the Debian
# changelog and the upstream one. On Windows there is one folder, with the licence, the
# notices and the copyright files of the libraries the .zip contains.
include(OvxReleaseNotes)
# The components that become packages of their own (the debug components follow below).
set(OVX_PACKAGE_COMPONENTS runtime development)
if(TARGET ovxext)
  list(APPEND OVX_PACKAGE_COMPONENTS tool)
endif()
if(OVX_BUILD_DOCS)
  list(APPEND OVX_PACKAGE_COMPONENTS documentation)
endif()
if(WIN32)
  install(FILES ${OVX_COPYRIGHT_FILE} ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES.md
    ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
else()
  foreach(component IN LISTS OVX_PACKAGE_COMPONENTS)
    string(TOUPPER ${component} upper)
    install(FILES ${OVX_COPYRIGHT_FILE} ${OVX_DEBIAN_CHANGELOG} ${OVX_UPSTREAM_CHANGELOG}
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${OVX_${upper}_PACKAGE} COMPONENT ${component})
    set(overrides ${PROJECT_SOURCE_DIR}/packaging/debian/${OVX_${upper}_PACKAGE}.lintian-overrides)
    if(EXISTS ${overrides})
      install(FILES ${overrides} RENAME ${OVX_${upper}_PACKAGE}
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides COMPONENT ${component})
    endif()
  endforeach()
endif()

# The API reference (target docs). On Windows it goes into the .zip. On Linux it is the
# architecture-independent documentation package: its jquery.js is a link to Debian's
# libjs-jquery, and doc-base registers it with the system's documentation browsers.
if(OVX_BUILD_DOCS)
  if(WIN32)
    install(DIRECTORY ${OVX_API_REFERENCE_HTML} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
  else()
    set(reference_folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${OVX_DOCUMENTATION_PACKAGE}/html)
    install(DIRECTORY ${OVX_API_REFERENCE_HTML}/ DESTINATION ${reference_folder} COMPONENT documentation
      PATTERN jquery.js EXCLUDE)
    install(CODE "
      set(link \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${reference_folder}/jquery.js\")
      message(STATUS \"Installing: \${link} -> Debian's libjs-jquery\")
      file(CREATE_LINK ../../../javascript/jquery/jquery.js \"\${link}\" SYMBOLIC)" COMPONENT documentation)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/doc-base.in
      ${PROJECT_BINARY_DIR}/doc-base/${OVX_DOCUMENTATION_PACKAGE} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/doc-base/${OVX_DOCUMENTATION_PACKAGE}
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc-base COMPONENT documentation)
  endif()
endif()

# Installed binaries are stripped. On Windows their debug information goes into a .debug
# file beside each, linked to it by a debug link that debuggers follow; on Linux it goes
# into its own component, below lib/debug/.build-id where debuggers look it up by the
# binary's build ID.
if(CMAKE_BUILD_TYPE MATCHES "Deb" AND CMAKE_OBJCOPY AND CMAKE_STRIP)
  set(OVX_DEBUG_COMPONENTS)
  set(binary_targets OvxComponent ovxext)
  set(binary_components runtime tool)
  foreach(target component IN ZIP_LISTS binary_targets binary_components)
    if(NOT TARGET ${target})
      continue()
    endif()
    set(folder ${CMAKE_INSTALL_BINDIR})
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "SHARED_LIBRARY" AND NOT WIN32)
      set(folder ${CMAKE_INSTALL_LIBDIR})
    endif()
    set(split_settings "
      set(OVX_OBJCOPY \"${CMAKE_OBJCOPY}\")
      set(OVX_STRIP \"${CMAKE_STRIP}\")
      set(OVX_READELF \"${CMAKE_READELF}\")
      set(OVX_BUILT_BINARY \"$<TARGET_FILE:${target}>\")
      set(OVX_INSTALLED_BINARY \"${folder}/$<TARGET_FILE_NAME:${target}>\")")
    if(WIN32)
      install(CODE "${split_settings}
        set(OVX_DEBUG_STEP strip-and-link-beside)
        include(\"${PROJECT_SOURCE_DIR}/cmake/OvxSplitDebugInfo.cmake\")" COMPONENT ${component})
    else()
      install(CODE "${split_settings}
        set(OVX_DEBUG_STEP strip)
        include(\"${PROJECT_SOURCE_DIR}/cmake/OvxSplitDebugInfo.cmake\")" COMPONENT ${component})
      install(CODE "${split_settings}
        set(OVX_DEBUG_STEP extract-by-build-id)
        set(OVX_DEBUG_FOLDER \"lib/debug\")
        include(\"${PROJECT_SOURCE_DIR}/cmake/OvxSplitDebugInfo.cmake\")" COMPONENT ${component}-debug)
      # As in Debian's debug packages, whose only other file is their documentation
      # folder: a link to that of the package they describe, on which they depend.
      string(TOUPPER ${component} upper)
      set(package ${OVX_${upper}_PACKAGE})
      install(CODE "
        set(link \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}-dbgsym\")
        message(STATUS \"Installing: \${link} -> ${package}\")
        if(IS_DIRECTORY \"\${link}\" AND NOT IS_SYMLINK \"\${link}\")
          file(REMOVE_RECURSE \"\${link}\")  # the folder that earlier releases installed
        endif()
        get_filename_component(folder \"\${link}\" DIRECTORY)
        file(MAKE_DIRECTORY \"\${folder}\")
        file(CREATE_LINK ${package} \"\${link}\" SYMBOLIC)" COMPONENT ${component}-debug)
      list(APPEND OVX_DEBUG_COMPONENTS ${component}-debug)
    endif()
  endforeach()
endif()
