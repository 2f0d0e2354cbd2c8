// InstallRepair: puts right what an interrupted install, update or removal left below the
// platform folder, so that nothing is loaded without its files and nothing is left behind.
//
// Every step that writes there becomes visible in one rename (a copy written under a
// temporary name, a folder filled under one, a tree renamed away before it is deleted),
// so a crash leaves either the old state, the new one, or work in progress under a
// temporary name. The manager sweeps such names once per start, and checks each version
// it verifies in that first pass for the files its installed copy holds.
#pragma once

#include "container/zip_container.h"
#include "extensions/manager/extension_log.h"

namespace OvxComponent::InstallRepair {

// Deletes every temporary name below the platform folder, in it, in its extension
// folders and in their version folders (never inside an unpacked folder, which belongs
// to the extension), and logs each under its path.
void SweepDebris(ExtensionLog& log, const CString& platformFolder);

// Whether unpackedFolder holds every file of the installed copy, at its size.
bool IsComplete(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder);

// Replaces unpackedFolder by a fresh extraction of the installed copy.
OvxUtils::Result<void> ExtractAgain(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder);

// Deletes a version folder, and its extension folder when nothing else is left in it.
OvxUtils::Result<void> DeleteVersion(const CString& versionFolder);

}  // namespace OvxComponent::InstallRepair
