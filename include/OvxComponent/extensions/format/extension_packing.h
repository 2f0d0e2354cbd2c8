/// \file
/// Packing: building a new extension package from files on disk, and the package file
/// extension. Both packing functions report failure only through an empty handle.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/format/extension_container.h"
#include "OvxComponent/extensions/format/extension_data.h"
#include "OvxComponent/platform/array_view.h"
#include "OvxComponent/platform/cstring.h"

#include <functional>

namespace OvxComponent {

/// Opens the container to pack into.
using ExtensionContainerOpener = std::function<ExtensionContainer()>;

/// "OrvexExtension", without a dot.
/// \return The file extension, without the dot.
OVX_API CString Get_Extension_FileExtension();

/// Calls opener once for the target package; an empty handle from it gives an empty
/// handle. Otherwise attaches a new record holding data (its InstanceID is made on the
/// first save) and adds files under "content", with their paths relative to the folder
/// part of folder (SystemIO::Path::GetFolderName: "a/b/" and "a/b/x" both mean "a/b").
/// The package is written when the returned handle is saved or closed; when a file cannot
/// be added, nothing is written and the handle is empty.
/// \param opener Opens the target package.
/// \param data The record of the package.
/// \param folder The folder the files' paths are relative to.
/// \param files The files to pack.
/// \return The package, to be saved; empty when a file cannot be added.
OVX_API ExtensionContainer PackFiles(ExtensionContainerOpener opener, ExtensionData data, CString folder,
                                     OvxUtils::array_view<const CString> files);
/// PackFiles of the one file, relative to its own folder.
/// \param opener Opens the target package.
/// \param data The record of the package.
/// \param file The file to pack.
/// \return The package, to be saved; empty when the file cannot be added.
OVX_API ExtensionContainer PackFile(ExtensionContainerOpener opener, ExtensionData data, CString file);

}  // namespace OvxComponent
