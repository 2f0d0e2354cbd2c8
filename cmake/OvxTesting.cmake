# GoogleTest, built from Debian's sources for both platforms, and ovx_add_test().
#
# On Windows every test program runs under Wine through CMAKE_CROSSCOMPILING_EMULATOR
# (cmake/wine-run.sh) in a prefix of the build tree. The fixture "wine" starts one
# persistent wineserver before the first test and stops it after the last.

set(OVX_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "GoogleTest sources")
if(NOT EXISTS ${OVX_GOOGLETEST_DIR}/CMakeLists.txt)
  message(FATAL_ERROR "GoogleTest sources not found in ${OVX_GOOGLETEST_DIR}: install the googletest package")
endif()
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
# GoogleTest's own sources are not ours to warn about or to hide symbols of.
set(CMAKE_CXX_VISIBILITY_PRESET default)
add_subdirectory(${OVX_GOOGLETEST_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports a false -Wrestrict inside GoogleTest's own sources in optimised builds.
  target_compile_options(gtest PRIVATE -Wno-restrict)
endif()

include(GoogleTest)

if(CMAKE_CROSSCOMPILING AND WIN32)
  add_test(NAME wine.start COMMAND ${PROJECT_SOURCE_DIR}/cmake/wine-session.sh start)
  add_test(NAME wine.stop COMMAND ${PROJECT_SOURCE_DIR}/cmake/wine-session.sh stop)
  set_tests_properties(wine.start PROPERTIES FIXTURES_SETUP wine ENVIRONMENT "${OVX_WINE_ENV}")
  set_tests_properties(wine.stop PROPERTIES FIXTURES_CLEANUP wine ENVIRONMENT "${OVX_WINE_ENV}")
  set(OVX_TEST_FIXTURES wine)
endif()

# ovx_add_test(<name> SOURCES ... [LIBS ...]): one GoogleTest program, each of its cases
# one CTest test.
function(ovx_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ovx_internal ovx_test_support GTest::gmock GTest::gtest_main ${arg_LIBS})
  target_link_libraries(${name} PRIVATE ovx_compile_options)
  set(properties TIMEOUT 120)
  if(OVX_TEST_FIXTURES)
    list(APPEND properties FIXTURES_REQUIRED ${OVX_TEST_FIXTURES})
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 PROPERTIES ${properties})
endfunction()
