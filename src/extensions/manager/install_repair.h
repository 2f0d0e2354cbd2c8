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
#include "extensions/manager/package_extraction.h"
#include "platform/system_io/held_file.h"

#include <string_view>

namespace OvxComponent::InstallRepair {

// While a manager works in a platform folder it holds a marker file there, named
// kSessionMarkerPrefix + a tag of its own + kSessionMarkerSuffix (the system lets go of it
// when the process ends, however it ends). A marker that nobody holds is the trace of a
// session that ended without cleaning up: a crash, or work it could not finish. Each
// session has its own, so that two processes working in one folder (two hosts of a suite
// sharing their extensions, say) never take each other for a crash.
inline constexpr std::u16string_view kSessionMarkerPrefix = u"orvex_extensions.";
inline constexpr std::u16string_view kSessionMarkerSuffix = u".session";

enum class Depth {
    Quick,     // the last session ended cleanly: check that each unpacked folder is there
    Thorough,  // it did not: also sweep temporary names, and check every unpacked file
};

struct Session {
    OvxUtils::SystemIO::HeldFile marker;  // not valid when it could not be written
    Depth depth = Depth::Quick;
    // Another session is at work in the folder: what looks unfinished may be its work in
    // progress, so the repair stays quick and the traces of ended sessions are left for a
    // start that finds no other session at work.
    bool othersAtWork = false;
};

// Starts a session in the platform folder (which must exist): its marker is written, and
// the traces of ended sessions are deleted when no other session is at work.
Session BeginSession(const CString& platformFolder);

// Deletes the entries of folder (not below it) that carry a temporary name, and logs each
// under its path; false when one of them could not be deleted. The manager sweeps the platform folder, the extension folders and the
// version folders, never an unpacked folder, which belongs to the extension.
bool SweepFolder(ExtensionLog& log, const CString& folder);

// Whether unpackedFolder is there (Quick) or holds every file of the installed copy, at its
// size (Thorough). The folder is renamed into place only when complete, so after a clean
// session its presence says enough; a look at every file costs a system call per file.
bool IsComplete(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder, Depth depth);

// Opens the archive of an installed copy that was opened from its record only.
OvxUtils::Result<void> ReadArchive(OpenedPackage& installedCopy);

// Replaces unpackedFolder by a fresh extraction of the installed copy.
OvxUtils::Result<void> ExtractAgain(PackageExtraction& installedCopy, const CString& unpackedFolder);

// Deletes a version folder, and its extension folder when nothing else is left in it.
OvxUtils::Result<void> DeleteVersion(const CString& versionFolder);

}  // namespace OvxComponent::InstallRepair
