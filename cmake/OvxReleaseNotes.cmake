# The licence and change files that every release carries, made at configure time:
#   OVX_COPYRIGHT_FILE    the licence, the third-party notices, and the full copyright file
#                         of each library that the binaries contain, as its Debian package
#                         states it
#   OVX_DEBIAN_CHANGELOG  (Linux) CHANGELOG.md in Debian's changelog format, compressed as
#                         Debian wants it (packaging/debian/changelog.py)
# On Windows the third-party copyright files are also installed one by one, in third-party/.

if(WIN32)
  set(notice_packages libzip4 libpugixml1v5 libsodium23 libz-mingw-w64 gcc-mingw-w64-base mingw-w64-common
    nlohmann-json3-dev)
else()
  set(notice_packages libzip4 libpugixml1v5 libsodium23 zlib1g nlohmann-json3-dev)
endif()

# Who answers for the packages: the changelog's trailer lines and the packages' Maintainer.
set(OVX_PACKAGE_MAINTAINER "OvxComponent developers <ovxcomponent@example.invalid>")

set(OVX_COPYRIGHT_FILE ${PROJECT_BINARY_DIR}/release-notes/copyright)
file(READ ${PROJECT_SOURCE_DIR}/LICENSE license)
file(READ ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES.md notices)
set(copyright "OvxComponent ${PROJECT_VERSION}: ${PROJECT_DESCRIPTION}\n\n${license}\n${notices}")
foreach(package IN LISTS notice_packages)
  set(source /usr/share/doc/${package}/copyright)
  if(NOT EXISTS ${source})
    message(FATAL_ERROR "${source} is missing: install ${package}, whose notice every release carries")
  endif()
  file(READ ${source} text)
  string(APPEND copyright "\n\nThe copyright file of the Debian package ${package}:\n\n${text}")
  if(WIN32)
    install(FILES ${source} RENAME ${package}.copyright DESTINATION ${CMAKE_INSTALL_DOCDIR}/third-party COMPONENT runtime)
  endif()
endforeach()
file(CONFIGURE OUTPUT ${OVX_COPYRIGHT_FILE} CONTENT "${copyright}" @ONLY)
set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md)

if(NOT WIN32)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(OVX_DEBIAN_CHANGELOG ${PROJECT_BINARY_DIR}/release-notes/changelog.gz)
  # The date of the newest entry: SOURCE_DATE_EPOCH when set, so that packages are reproducible.
  string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  execute_process(
    COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/packaging/debian/changelog.py
      ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${OVX_DEBIAN_CHANGELOG}
      --source ovxcomponent --date "${changelog_date}"
      --maintainer "${OVX_PACKAGE_MAINTAINER}"
    COMMAND_ERROR_IS_FATAL ANY)
endif()
