/// \file
/// OVX_API marks what the OvxComponent shared library exports; everything else stays
/// inside it. A program that links the library's objects statically (its own tests and
/// tools) defines OVX_COMPONENT_STATIC, and the mark expands to nothing.
#pragma once

#if defined(OVX_COMPONENT_STATIC)
#  define OVX_API
#elif defined(_WIN32)
#  if defined(OVX_BUILDING_COMPONENT)
#    define OVX_API __declspec(dllexport)
#  else
/// Marks what the library exports.
#    define OVX_API __declspec(dllimport)
#  endif
#else
/// Marks what the library exports.
#  define OVX_API __attribute__((visibility("default")))
#endif
