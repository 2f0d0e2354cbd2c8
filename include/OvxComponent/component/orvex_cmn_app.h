/// \file
/// IOrvexCmn_App: the host application object, as the library uses it. The host
/// implements it and registers it with SetAppInterface.
///
/// QueryInterface answers IID_IAppUIService when the host presents message boxes and menus
/// itself. The library takes no reference on the object: the host keeps it alive for as
/// long as the library may use it.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <windows.h>
#include <unknwn.h>

namespace OvxComponent {

class CWnd;
class IAppUIMode;

/// What the host application offers the component: its lifetime lock, its user interface
/// mode, its main window and its title.
class IOrvexCmn_App : public IUnknown {
public:
    /// Keeps the application from shutting down until the matching UnlockApplication;
    /// calls nest. An exception thrown here makes the object that asked fail to be created.
    virtual void LockApplication() = 0;
    /// Ends one LockApplication.
    virtual void UnlockApplication() = 0;
    /// How the host runs its user interface; null when it cannot tell.
    /// \return The mode, host-owned; or null.
    virtual IAppUIMode* GetUIMode() = 0;
    /// The window that owns the host's dialogs; null when there is none.
    /// \return The window, host-owned; or null.
    virtual CWnd* GetMainWindow() = 0;
    /// \return The application's title, as dialogs show it.
    virtual CString GetApplicationTitle() = 0;

protected:
    ~IOrvexCmn_App() = default;
};

}  // namespace OvxComponent
