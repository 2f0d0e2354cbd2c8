# The licence and change files that every release carries, made at configure time:
#   OVX_COPYRIGHT_FILE    Linux: packaging/debian/copyright.in, Debian's machine-readable
#                         copyright format, naming what the packages really embed.
#                         Windows: the licence, the third-party notices, and the full
#                         copyright file of each library that the binaries contain (the .zip
#                         links them statically), as its Debian package states it; they are
#                         also installed one by one, in third-party/.
#   OVX_DEBIAN_CHANGELOG  (Linux) the Debian changelog of the packages (changelog.Debian.gz,
#                         made from CHANGELOG.md by packaging/debian/changelog.py)
#   OVX_UPSTREAM_CHANGELOG (Linux) CHANGELOG.md itself, compressed (changelog.gz)

# Who answers for the packages (the changelog's trailer lines, the packages' Maintainer,
# the copyright file's contact) and where the project lives. A distribution that builds
# the packages itself sets its own.
set(OVX_PACKAGE_MAINTAINER "OvxComponent developers <developers@ovxcomponent.org>"
  CACHE STRING "Maintainer of the release packages: Name <address>")
set(OVX_PACKAGE_HOMEPAGE "https://ovxcomponent.org/" CACHE STRING "Homepage of the release packages")
# The Debian revision: 1 for the first packaging of an upstream release.
set(OVX_DEBIAN_REVISION 1 CACHE STRING "Debian revision of the packages (VERSION-REVISION)")

set(OVX_COPYRIGHT_FILE ${PROJECT_BINARY_DIR}/release-notes/copyright)
set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  ${PROJECT_SOURCE_DIR}/packaging/debian/copyright.in)

if(NOT WIN32)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/copyright.in ${OVX_COPYRIGHT_FILE} @ONLY)

  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(OVX_DEBIAN_CHANGELOG ${PROJECT_BINARY_DIR}/release-notes/changelog.Debian.gz)
  set(OVX_UPSTREAM_CHANGELOG ${PROJECT_BINARY_DIR}/release-notes/changelog.gz)
  # The date of the newest entry: SOURCE_DATE_EPOCH, so that packages are reproducible.
  string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  execute_process(
    COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/packaging/debian/changelog.py
      ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${OVX_DEBIAN_CHANGELOG} --upstream ${OVX_UPSTREAM_CHANGELOG}
      --source ovxcomponent --revision ${OVX_DEBIAN_REVISION} --date "${changelog_date}"
      --maintainer "${OVX_PACKAGE_MAINTAINER}"
    COMMAND_ERROR_IS_FATAL ANY)
  return()
endif()

set(notice_packages libzip4 libpugixml1v5 libsodium23 libz-mingw-w64 gcc-mingw-w64-base mingw-w64-common
  nlohmann-json3-dev)
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
  install(FILES ${source} RENAME ${package}.copyright DESTINATION ${CMAKE_INSTALL_DOCDIR}/third-party COMPONENT runtime)
endforeach()
file(CONFIGURE OUTPUT ${OVX_COPYRIGHT_FILE} CONTENT "${copyright}" @ONLY)
