// The files that an unpacked extension carries for its host: UI modifications
// ("appui.xslt", "userui.xslt") and resource files ("config.xml"), found anywhere below
// the extension's folder.
//
// A found file counts only beside an add-on marker: for some name N of the host's add-on
// names, "N/addon" or "N.x64/addon" (a file or a folder) exists next to it. With no
// add-on names, nothing counts.
#pragma once

#include "OvxComponent/platform/array_view.h"
#include "OvxComponent/platform/cstring.h"

#include <vector>

namespace OvxComponent {

struct UiModification {
    CString path;  // full path of the file

    friend bool operator==(const UiModification&, const UiModification&) = default;
};

struct UiModificationFiles {
    std::vector<UiModification> application;  // "appui.xslt"
    std::vector<UiModification> user;         // "userui.xslt"

    bool IsEmpty() const { return application.empty() && user.empty(); }
};

OVX_API UiModificationFiles FindUiModifications(const CString& folder, OvxUtils::array_view<const CString> addonNames);
OVX_API std::vector<CString> FindResourceFiles(const CString& folder, OvxUtils::array_view<const CString> addonNames);

}  // namespace OvxComponent
