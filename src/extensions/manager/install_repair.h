// InstallRepair: puts right what an interrupted install, update or removal left below the
// platform folder, so that nothing is loaded without its files and nothing is left behind.
//
// Every step that writes there becomes visible in one rename (a copy written under a
// temporary name, a folder filled under one, a tree renamed away before it is deleted),
// so a crash leaves either the old state, the new one, or work in progress under a
// temporary name. The manager repairs once per start, in its first verification scan:
// quickly after a clean session, thoroughly after one that did not end cleanly.
#pragma once

#include "OvxComponent/container/zip_container.h"
#include "extensions/manager/extension_log.h"

#include <string_view>

namespace OvxComponent::InstallRepair {

// The file that is in the platform folder while a manager works there: a start that finds
// it knows that the last session ended without cleaning up (a crash, or work it could not
// finish) and repairs thoroughly.
inline constexpr std::u16string_view kSessionMarker = u"orvex_extensions.session";

enum class Depth {
    Quick,     // the last session ended cleanly: check that each unpacked folder is there
    Thorough,  // it did not: also sweep temporary names, and check every unpacked file
};

// Starts a session in the platform folder (which must exist): the depth of the repair
// that it needs, and the marker written.
Depth BeginSession(const CString& platformFolder);
// Ends a session that left nothing to repair: the marker goes.
void EndSession(const CString& platformFolder);

// Deletes the entries of folder (not below it) that carry a temporary name, and logs each
// under its path; false when one of them could not be deleted. The manager sweeps the platform folder, the extension folders and the
// version folders, never an unpacked folder, which belongs to the extension.
bool SweepFolder(ExtensionLog& log, const CString& folder);

// Whether unpackedFolder is there (Quick) or holds every file of the installed copy, at its
// size (Thorough). The folder is renamed into place only when complete, so after a clean
// session its presence says enough; a look at every file costs a system call per file.
bool IsComplete(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder, Depth depth);

// Replaces unpackedFolder by a fresh extraction of the installed copy.
OvxUtils::Result<void> ExtractAgain(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder);

// Deletes a version folder, and its extension folder when nothing else is left in it.
OvxUtils::Result<void> DeleteVersion(const CString& versionFolder);

}  // namespace OvxComponent::InstallRepair
