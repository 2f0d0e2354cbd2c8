/// \file
/// The C++ headers of OvxComponent need C++20. Every one of them includes this header
/// first, so that a host built with an older standard (g++ 12 defaults to C++17) is told
/// so in one sentence instead of in pages of errors from deep inside the headers. C code
/// includes <OvxComponent/ovx_component.h>, which (with ovx_export.h) is plain C.
#pragma once

#if !defined(__cplusplus)
#  error "OvxComponent: this is a C++20 header; C code includes <OvxComponent/ovx_component.h>"
#  include <OvxComponent/stop-here-see-the-error-above>
#elif (defined(_MSVC_LANG) && _MSVC_LANG < 202002L) || (!defined(_MSVC_LANG) && __cplusplus < 202002L)
#  error "OvxComponent: the C++ headers need C++20 or later; compile with -std=c++20 (GCC, Clang) or /std:c++20 (MSVC)"
// The rest of the headers cannot compile under an older standard; a missing include is
// the one thing every compiler stops at, so the sentence above is all the host sees.
#  include <OvxComponent/stop-here-see-the-error-above>
#endif
