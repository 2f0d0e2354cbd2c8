# Third-party libraries. On Linux they come from Debian's packages (the libzip package's
# CMake config names the zipcmp, zipmerge and ziptool programs, so those packages are
# needed too). For Windows, scripts/build-windows-deps.sh cross-builds libzip, pugixml and
# libsodium into a prefix that the windows preset passes as CMAKE_PREFIX_PATH. GoogleTest
# is built from Debian's sources on both.

find_package(libzip CONFIG)
find_package(pugixml CONFIG)
if(NOT libzip_FOUND OR NOT pugixml_FOUND)
  if(CMAKE_CROSSCOMPILING AND WIN32)
    message(FATAL_ERROR "libzip or pugixml for Windows not found in CMAKE_PREFIX_PATH "
      "(${CMAKE_PREFIX_PATH}). Build them with: scripts/build-windows-deps.sh build/windows-deps/prefix")
  else()
    message(FATAL_ERROR "libzip or pugixml not found: run scripts/install-deps.sh")
  endif()
endif()
find_package(Threads REQUIRED)

# libsodium, for package signatures: Debian's libsodium-dev on Linux, the static library
# that scripts/build-windows-deps.sh cross-builds for Windows. It has no CMake package.
find_path(OVX_SODIUM_INCLUDE_DIR sodium.h)
find_library(OVX_SODIUM_LIBRARY NAMES sodium libsodium)
if(NOT OVX_SODIUM_INCLUDE_DIR OR NOT OVX_SODIUM_LIBRARY)
  if(CMAKE_CROSSCOMPILING AND WIN32)
    message(FATAL_ERROR "libsodium for Windows not found in CMAKE_PREFIX_PATH "
      "(${CMAKE_PREFIX_PATH}). Build it with: scripts/build-windows-deps.sh build/windows-deps/prefix")
  else()
    message(FATAL_ERROR "libsodium not found: run scripts/install-deps.sh")
  endif()
endif()
add_library(ovx_sodium INTERFACE IMPORTED)
target_include_directories(ovx_sodium INTERFACE ${OVX_SODIUM_INCLUDE_DIR})
target_link_libraries(ovx_sodium INTERFACE ${OVX_SODIUM_LIBRARY})
if(WIN32)
  # The static Windows build; its header must not declare dllimport.
  target_compile_definitions(ovx_sodium INTERFACE SODIUM_STATIC)
endif()

# nlohmann-json reads the update channel's metadata and gives ovxext's --json its output.
# It is header-only: a native build takes Debian's package; a cross build takes a copy of
# that package's headers, since the host's include folder cannot be searched by the cross
# compiler.
if(CMAKE_CROSSCOMPILING)
  find_path(OVX_NLOHMANN_JSON_INCLUDE nlohmann/json.hpp PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT OVX_NLOHMANN_JSON_INCLUDE)
    message(FATAL_ERROR "nlohmann/json.hpp not found in /usr/include: install nlohmann-json3-dev")
  endif()
  file(COPY ${OVX_NLOHMANN_JSON_INCLUDE}/nlohmann DESTINATION ${PROJECT_BINARY_DIR}/nlohmann-json/include)
  add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
  target_include_directories(nlohmann_json::nlohmann_json SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/nlohmann-json/include)
else()
  find_package(nlohmann_json 3 REQUIRED)
endif()

# The update channel's transport and its RSA and ECDSA keys: libcurl and OpenSSL on Linux
# (Debian's libcurl4-openssl-dev and libssl-dev); on Windows the system's WinHTTP and CNG.
if(NOT WIN32)
  find_package(CURL REQUIRED)
  find_package(OpenSSL 3 REQUIRED COMPONENTS Crypto)
endif()

# The Windows libzip is a static library; its header must not declare dllimport then.
get_target_property(libzip_type libzip::zip TYPE)
if(libzip_type STREQUAL "STATIC_LIBRARY")
  set_property(TARGET libzip::zip APPEND PROPERTY INTERFACE_COMPILE_DEFINITIONS ZIP_STATIC)
endif()

if(TARGET pugixml::pugixml)
  set(OVX_PUGIXML_TARGET pugixml::pugixml)
else()
  set(OVX_PUGIXML_TARGET pugixml::static)
endif()

# The Windows programs and the DLL share one C++ runtime: the MinGW runtime DLLs are
# copied beside them, so every module of a process uses the same libstdc++ and heap.
if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(OVX_MINGW_RUNTIME_DLLS)
  foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
                    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${path}" OR NOT EXISTS "${path}")
      find_file(path_${dll} ${dll} PATHS /usr/x86_64-w64-mingw32/lib NO_CMAKE_FIND_ROOT_PATH)
      set(path "${path_${dll}}")
    endif()
    if(NOT EXISTS "${path}")
      message(FATAL_ERROR "MinGW runtime ${dll} not found")
    endif()
    list(APPEND OVX_MINGW_RUNTIME_DLLS "${path}")
  endforeach()
  if(CMAKE_RUNTIME_OUTPUT_DIRECTORY)
    file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    file(COPY ${OVX_MINGW_RUNTIME_DLLS} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  endif()
endif()
