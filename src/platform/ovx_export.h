// Export macro of the OvxComponent shared library.
#pragma once

#if defined(_WIN32)
#  if defined(OVX_BUILDING_COMPONENT)
#    define OVX_API __declspec(dllexport)
#  else
#    define OVX_API __declspec(dllimport)
#  endif
#else
#  define OVX_API __attribute__((visibility("default")))
#endif
