/// \file
/// The files that an unpacked extension carries for its host: UI modifications
/// ("appui.xslt", "userui.xslt") and resource files ("config.xml"), found anywhere below
/// the extension's folder.
///
/// A found file counts only beside an add-on marker: for some name N of the host's add-on
/// names, "N/addon" or "N.x64/addon" (a file or a folder) exists next to it. With no
/// add-on names, nothing counts.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/array_view.h"
#include "OvxComponent/platform/cstring.h"

#include <vector>

namespace OvxComponent {

/// A UI modification file of an extension.
struct UiModification {
    CString path;  ///< full path of the file

    /// Equal when every field is.
    friend bool operator==(const UiModification&, const UiModification&) = default;
};

/// The UI modification files of one extension, for the application and for the user.
struct UiModificationFiles {
    std::vector<UiModification> application;  ///< "appui.xslt"
    std::vector<UiModification> user;         ///< "userui.xslt"

    /// Whether the extension has no UI modification file.
    /// \return Whether both lists are empty.
    bool IsEmpty() const { return application.empty() && user.empty(); }
};

/// The UI modification files below folder, in the add-on folders of addonNames.
/// \param folder The unpacked extension's folder.
/// \param addonNames The names of the add-on folders to look in.
/// \return The files found.
OVX_API UiModificationFiles FindUiModifications(const CString& folder, OvxUtils::array_view<const CString> addonNames);
/// The resource files below folder, in the add-on folders of addonNames.
/// \param folder The unpacked extension's folder.
/// \param addonNames The names of the add-on folders to look in.
/// \return The files found.
OVX_API std::vector<CString> FindResourceFiles(const CString& folder, OvxUtils::array_view<const CString> addonNames);

}  // namespace OvxComponent
