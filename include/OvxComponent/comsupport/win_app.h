/// \file
/// CWinApp: the application object of a module, as far as the host services need one:
/// its name, which captions the message boxes shown without a host.
///
/// A host that has an application object of its own hands it to SetWinApp; otherwise
/// GetWinApp answers with the library's own, which is made when the library is loaded.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/ovx_export.h"

namespace OvxComponent {

/// The application object: its name, which message boxes show as their title.
class OVX_API CWinApp {
public:
    /// appName null: the file name of the program, without folder and extension.
    /// \param appName The application's name, or null.
    explicit CWinApp(const wchar_t* appName = nullptr);
    virtual ~CWinApp();
    CWinApp(const CWinApp&) = delete;
    CWinApp& operator=(const CWinApp&) = delete;

    /// The application's name; never null, valid for the object's life.
    const wchar_t* m_pszAppName;

private:
    CString m_appName;
};

}  // namespace OvxComponent
