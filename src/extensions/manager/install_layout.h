// Where the manager works, and where unpacked extensions live below its platform folder:
//
//   <data folder>/x64                        the platform folder
//   <platform folder>/orvex_extensions.log   the log, unless the host gives a stream
//   <platform folder>/orvex_extensions.lock  held while a session installs or removes
//   <platform folder>/orvex_extensions.XXXXXXXX.session   a session's marker
//   <platform folder>/{DOCUMENT-ID}/<version>/installed_copy.OrvexExtension
//   <platform folder>/{DOCUMENT-ID}/<version>/unpacked/...
//   <platform folder>/orvex_extensions.refused   packages the trust policy refused
//   <platform folder>/orvex_extensions.verified  what was verified of each installed copy
//   <platform folder>/orvex_extensions.quarantine  extensions kept off after the host died in them
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/version.h"
#include "platform/system_io/held_file.h"

#include <vector>

namespace OvxComponent::InstallLayout {

CString PlatformFolder(const CString& dataFolder);
CString LogFile(const CString& platformFolder);
CString InstallLock(const CString& platformFolder);
CString RefusedPackagesFile(const CString& platformFolder);
CString VerificationRecordFile(const CString& platformFolder);
CString QuarantineFile(const CString& platformFolder);
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

// Two sessions in one platform folder (two hosts sharing their extensions) see the same
// drops and the same leftovers: what installs, removes or clears a version is done while
// the session holds the install lock, so that one session never deletes what another is
// installing. Waits for another session's turn for at most 30 seconds; past that, or where
// the lock cannot be made, the session goes on without it (the result is then not valid).
OvxUtils::SystemIO::HeldFile TakeInstallTurn(const CString& platformFolder);

}  // namespace OvxComponent::InstallLayout
