# ovx_compile_idl(<idl> <tlb-var> <header-var>): compiles an IDL file with widl into a type
# library and a C++ header in the current binary folder, and names both in the variables.
#
# widl comes with mingw-w64-tools; the system IDL files that ours import (oaidl.idl ...)
# with libwine-dev, and stdole2.tlb, which libraries import, with Wine itself.

find_program(OVX_WIDL NAMES x86_64-w64-mingw32-widl widl REQUIRED)
set(OVX_WINE_IDL_DIR /usr/include/wine/wine/windows CACHE PATH "Wine's system IDL files (libwine-dev)")
set(OVX_WINE_TLB_DIR /usr/lib/x86_64-linux-gnu/wine/x86_64-windows CACHE PATH "Folder holding stdole2.tlb (Wine)")
foreach(needed ${OVX_WINE_IDL_DIR}/oaidl.idl ${OVX_WINE_TLB_DIR}/stdole2.tlb)
  if(NOT EXISTS ${needed})
    message(FATAL_ERROR "${needed} is missing: run scripts/install-deps.sh")
  endif()
endforeach()

function(ovx_compile_idl idl tlb_var header_var)
  get_filename_component(name ${idl} NAME_WE)
  get_filename_component(idl ${idl} ABSOLUTE)
  set(tlb ${CMAKE_CURRENT_BINARY_DIR}/${name}.tlb)
  set(header ${CMAKE_CURRENT_BINARY_DIR}/${name}.h)
  add_custom_command(
    OUTPUT ${tlb} ${header}
    COMMAND ${OVX_WIDL} -m64 -I${OVX_WINE_IDL_DIR} -L${OVX_WINE_TLB_DIR} -t -T ${tlb} -h -H ${header} ${idl}
    DEPENDS ${idl}
    COMMENT "Compiling ${name}.idl into a type library"
    VERBATIM)
  set(${tlb_var} ${tlb} PARENT_SCOPE)
  set(${header_var} ${header} PARENT_SCOPE)
endfunction()
