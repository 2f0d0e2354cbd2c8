// Where the manager works, and where unpacked extensions live below its platform folder:
//
//   <data folder>/x64                        the platform folder
//   <platform folder>/orvex_extensions.log   the log, unless the host gives a stream
//   <platform folder>/orvex_extensions.lock  held while a session installs or removes
//   <platform folder>/orvex_extensions.XXXXXXXX.session   a session's marker
//   <platform folder>/{DOCUMENT-ID}/<version>/installed_copy.OrvexExtension
//   <platform folder>/{DOCUMENT-ID}/<version>/unpacked/...
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/version.h"

#include <vector>

namespace OvxComponent::InstallLayout {

CString PlatformFolder(const CString& dataFolder);
CString LogFile(const CString& platformFolder);
CString InstallLock(const CString& platformFolder);
CString ExtensionFolder(const CString& platformFolder, const OvxUtils::Guid& documentId);
CString VersionFolder(const CString& platformFolder, const OvxUtils::Guid& documentId, const OvxUtils::Version& version);
CString InstalledCopy(const CString& versionFolder);
CString UnpackedFolder(const CString& versionFolder);

// One version folder of an extension.
struct ExistingCopy {
    OvxUtils::Version version;  // read from the folder's name
    CString installedCopy;      // the installed copy's path in it (which may be missing)
};

// The version folders of the extension folder, sorted by version (then by name); empty
// when the folder does not exist. Folders under a temporary name are left out. Names that are not versions read leniently (as 0...).
std::vector<ExistingCopy> ExistingCopies(const CString& extensionFolder);

}  // namespace OvxComponent::InstallLayout
