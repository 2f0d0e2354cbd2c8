/// \file
/// The binding of the library to its host: the host's application object, the host's main
/// thread, and the application object of the class library.
///
/// The host calls SetAppInterface (and SetWinApp when it has an application object of its
/// own) once on its main thread at start-up, before anything of the library shows UI or
/// asks IsOnMainThread. The values are never cleared; calling a setter again replaces them.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

namespace OvxComponent {

class CWinApp;
class IOrvexCmn_App;

/// Stores app (not owned; no reference taken) and records the calling thread as the main
/// thread.
/// \param app The host's application interface, or null.
OVX_API void SetAppInterface(IOrvexCmn_App* app);
/// \return The application interface given to SetAppInterface, or null.
OVX_API IOrvexCmn_App* GetAppInterface();

/// Stores app (not owned); null goes back to the library's own application object.
/// \param app The application object, or null.
OVX_API void SetWinApp(CWinApp* app);
/// The application object given to SetWinApp, else the library's own; never null.
/// \return The application object.
OVX_API CWinApp* GetWinApp();

/// Whether the calling thread is the one that last called SetAppInterface; false on every
/// thread before the first call. Safe on any thread.
/// \return Whether the calling thread is the main thread.
OVX_API bool IsOnMainThread();

}  // namespace OvxComponent
