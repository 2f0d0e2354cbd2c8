# Cross-compiling for Windows x64 with MinGW-w64 (posix threads flavour).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(_ovx_mingw_triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_ovx_mingw_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_ovx_mingw_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${_ovx_mingw_triplet}-windres)

# Every prefix in CMAKE_PREFIX_PATH is also a find root, so packages
# installed there (e.g. the cross-built dependencies) are found in ONLY mode.
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${_ovx_mingw_triplet} ${CMAKE_PREFIX_PATH})
list(REMOVE_DUPLICATES CMAKE_FIND_ROOT_PATH)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
