// Where unpacked extensions live below the manager's platform folder:
//
//   <platform folder>/{DOCUMENT-ID}/<version>/installed_copy.OrvexExtension
//   <platform folder>/{DOCUMENT-ID}/<version>/unpacked/...
#pragma once

#include "platform/cstring.h"
#include "platform/guid.h"
#include "platform/version.h"

#include <vector>

namespace OvxComponent::InstallLayout {

OVX_API CString ExtensionFolder(const CString& platformFolder, const OvxUtils::Guid& documentId);
OVX_API CString VersionFolder(const CString& platformFolder, const OvxUtils::Guid& documentId, const OvxUtils::Version& version);
OVX_API CString InstalledCopy(const CString& versionFolder);
OVX_API CString UnpackedFolder(const CString& versionFolder);

// One version folder of an extension.
struct ExistingCopy {
    OvxUtils::Version version;  // read from the folder's name
    CString installedCopy;      // the installed copy's path in it (which may be missing)
};

// The version folders of the extension folder, sorted by version (then by name); empty
// when the folder does not exist. Folders under a temporary name are left out. Names that are not versions read leniently (as 0...).
OVX_API std::vector<ExistingCopy> ExistingCopies(const CString& extensionFolder);

}  // namespace OvxComponent::InstallLayout
