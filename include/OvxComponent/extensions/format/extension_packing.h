// Packing: building a new extension package from files on disk, and the package file
// extension. Both packing functions report failure only through an empty handle.
#pragma once

#include "OvxComponent/extensions/format/extension_container.h"
#include "OvxComponent/extensions/format/extension_data.h"
#include "OvxComponent/platform/array_view.h"
#include "OvxComponent/platform/cstring.h"

#include <functional>

namespace OvxComponent {

using ExtensionContainerOpener = std::function<ExtensionContainer()>;

// "OrvexExtension", without a dot.
OVX_API CString Get_Extension_FileExtension();

// Calls opener once for the target package; an empty handle from it gives an empty
// handle. Otherwise attaches a new record holding data (its InstanceID is made on the
// first save) and adds files under "content", with their paths relative to the folder
// part of folder (SystemIO::Path::GetFolderName: "a/b/" and "a/b/x" both mean "a/b").
// The package is written when the returned handle is saved or closed; when a file cannot
// be added, nothing is written and the handle is empty.
OVX_API ExtensionContainer PackFiles(ExtensionContainerOpener opener, ExtensionData data, CString folder,
                                     OvxUtils::array_view<const CString> files);
// PackFiles of the one file, relative to its own folder.
OVX_API ExtensionContainer PackFile(ExtensionContainerOpener opener, ExtensionData data, CString file);

}  // namespace OvxComponent
