// InstallRepair: puts right what an interrupted install, update or removal left below the
// platform folder, so that nothing is loaded without its files and nothing is left behind.
//
// Every step that writes there becomes visible in one rename (a copy written under a
// temporary name, a folder filled under one, a tree renamed away before it is deleted),
// so a crash leaves either the old state, the new one, or work in progress under a
// temporary name. The manager repairs once per start, in its first verification scan:
// quickly after a clean session, thoroughly after one that did not end cleanly.
//
// A long-lived part of the manager that owns the session: its marker in the platform
// folder, whether the first scan has repaired, and whether work was left unfinished (a tree
// that could not be deleted), which keeps the marker at the end so that the next start
// repairs thoroughly. The other parts tell it when they leave work behind.
#pragma once

#include "OvxComponent/container/zip_container.h"
#include "extensions/loading/call_guard.h"
#include "extensions/log/extension_log.h"
#include "extensions/manager/quarantine.h"
#include "extensions/manager/package_extraction.h"
#include "platform/system_io/held_file.h"

#include <optional>

#include <string_view>

namespace OvxComponent {

class InstallRepair {
public:
    // While a manager works in a platform folder it holds a marker file there, named
    // kSessionMarkerPrefix + a tag of its own + kSessionMarkerSuffix (the system lets go of
    // it when the process ends, however it ends). A marker that nobody holds is the trace of
    // a session that ended without cleaning up: a crash, or work it could not finish. Each
    // session has its own, so that two processes working in one folder (two hosts of a suite
    // sharing their extensions, say) never take each other for a crash.
    static constexpr std::u16string_view kSessionMarkerPrefix = u"orvex_extensions.";
    static constexpr std::u16string_view kSessionMarkerSuffix = u".session";

    enum class Depth {
        Quick,     // the last session ended cleanly: check that each unpacked folder is there
        Thorough,  // it did not: also sweep temporary names, and check every unpacked file
    };

    // calls gets the session marker's memory for its notes; quarantine counts the crashes
    // that the markers of ended sessions name.
    InstallRepair(ExtensionLog& log, const CString& platformFolder, CallGuard& calls, Quarantine& quarantine)
        : m_log(log), m_platformFolder(platformFolder), m_calls(calls), m_quarantine(quarantine) {}
    // Ends the session: its marker goes unless work was left behind.
    ~InstallRepair();
    InstallRepair(const InstallRepair&) = delete;
    InstallRepair& operator=(const InstallRepair&) = delete;

    // For the first verification scan of the manager's life (the platform folder exists):
    // begins the session and answers how deeply this scan repairs; a thorough repair has
    // swept the platform folder already, and the crashes in extension calls that ended
    // sessions left in their markers are counted. Nothing for every later scan.
    std::optional<Depth> BeginScan();
    // Deletes the entries of folder (not below it) that carry a temporary name, and logs each
    // under its path; one that cannot be deleted is work left behind. The manager sweeps the
    // platform folder, the extension folders and the version folders, never an unpacked
    // folder, which belongs to the extension.
    void Sweep(const CString& folder);
    // Work could not be finished (a tree that could not be deleted): the next start repairs
    // thoroughly.
    void LeaveWorkBehind() { m_leftWorkBehind = true; }

    // Whether unpackedFolder is there (Quick) or holds every file of the installed copy, at
    // its size (Thorough). The folder is renamed into place only when complete, so after a
    // clean session its presence says enough; a look at every file costs a system call per
    // file.
    static bool IsComplete(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder, Depth depth);
    // Opens the archive of an installed copy that was opened from its record only.
    static OvxUtils::Result<void> ReadArchive(OpenedPackage& installedCopy);
    // Replaces unpackedFolder by a fresh extraction of the installed copy.
    static OvxUtils::Result<void> ExtractAgain(PackageExtraction& installedCopy, const CString& unpackedFolder);
    // Deletes a version folder, and its extension folder when nothing else is left in it.
    static OvxUtils::Result<void> DeleteVersion(const CString& versionFolder);

private:
    ExtensionLog& m_log;
    const CString& m_platformFolder;
    CallGuard& m_calls;
    Quarantine& m_quarantine;
    bool m_begun = false;
    bool m_leftWorkBehind = false;
    OvxUtils::SystemIO::HeldFile m_marker;  // not valid when it could not be written
};

}  // namespace OvxComponent
