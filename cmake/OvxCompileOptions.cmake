# Warnings and platform definitions for the project's own targets. They are linked
# privately everywhere, so that a host that builds the project as a subproject or links
# the installed library never receives them.

add_library(ovx_compile_options INTERFACE)

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_options(ovx_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
    -Woverloaded-virtual -Wimplicit-fallthrough)
endif()

# Hardening that a library loaded into other programs' processes owes them, as Debian
# builds its packages: checked string and memory functions where the optimizer can tell
# sizes, a read-only relocation table resolved at load.
if(NOT WIN32 AND CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_definitions(ovx_compile_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
  target_compile_options(ovx_compile_options INTERFACE -fstack-protector-strong)
  target_link_options(ovx_compile_options INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()

if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A COM object is destroyed by its own Release, never deleted through an interface
  # pointer, and the system's COM interfaces have no virtual destructor: every class that
  # implements one would draw this warning. Linux builds keep it for the portable code.
  target_compile_options(ovx_compile_options INTERFACE -Wno-non-virtual-dtor)
endif()

if(WIN32)
  # Unicode Win32 entry points, Windows 7 as the oldest supported system.
  target_compile_definitions(ovx_compile_options INTERFACE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601 WINVER=0x0601)
endif()

# Marks an object library as part of OvxComponent: OVX_API exports its symbols, and
# nothing else leaves the shared library.
function(ovx_component_part target)
  target_compile_definitions(${target} PRIVATE OVX_BUILDING_COMPONENT)
  target_link_libraries(${target} PRIVATE ovx_compile_options)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()
