# The same sources build to the same bytes, in whatever folder and at whatever time they
# are built: the release packages of two builds of one commit are identical.
#
# OVX_SOURCE_DATE_EPOCH is the one date that generated files carry (the manual page, the
# changelog, the times inside the archives and the time stamps of the Windows binaries):
# SOURCE_DATE_EPOCH when the builder sets it, as distributions do; otherwise the time of
# the last commit; in a source tree without Git, the modification time of CHANGELOG.md.
# It is put back into this process's environment, so that everything run at configure
# time sees it; CPack, and the install steps it runs, are handed it (OvxPackaging.cmake).
# The API reference carries no date at all (HTML_TIMESTAMP is off).

if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(OVX_SOURCE_DATE_EPOCH "$ENV{SOURCE_DATE_EPOCH}")
else()
  find_package(Git QUIET)
  if(GIT_FOUND)
    execute_process(COMMAND ${GIT_EXECUTABLE} log -1 --format=%ct
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE OVX_SOURCE_DATE_EPOCH
      OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE git_result)
    execute_process(COMMAND ${GIT_EXECUTABLE} rev-parse --absolute-git-dir
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE git_folder
      OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT git_result EQUAL 0)
      set(OVX_SOURCE_DATE_EPOCH "")
    elseif(OVX_INSTALL AND EXISTS "${git_folder}/logs/HEAD")
      # A new commit is a new date: configure again after one.
      set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${git_folder}/logs/HEAD")
    endif()
  endif()
  if(NOT OVX_SOURCE_DATE_EPOCH)
    file(TIMESTAMP ${PROJECT_SOURCE_DIR}/CHANGELOG.md OVX_SOURCE_DATE_EPOCH "%s" UTC)
  endif()
endif()
if(NOT OVX_SOURCE_DATE_EPOCH MATCHES "^[0-9]+$")
  message(FATAL_ERROR "SOURCE_DATE_EPOCH must be a number of seconds since 1970 (it is \"${OVX_SOURCE_DATE_EPOCH}\")")
endif()
set(ENV{SOURCE_DATE_EPOCH} ${OVX_SOURCE_DATE_EPOCH})

# Paths of the source tree become relative in the debug information and in __FILE__ of
# release builds, as Debian's build flags make them. (Debug builds keep absolute paths,
# so that a debugger finds the sources from anywhere.)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>")
endif()
# A PE file carries a link time unless told not to.
if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_link_options(LINKER:--no-insert-timestamp)
endif()
