// ExtensionScanner: the two scans of the manager. The verification scan lists the
// extensions unpacked below the platform folder and opens each installed copy, repairing
// what a crash left on the first scan of the manager's life; the source scan opens every
// package of the source folders.
//
// Works on the manager's folders, repair state and log through the unpacker and loader it
// is given, and owns nothing itself; the manager makes one for each operation.
#pragma once

#include "OvxComponent/extensions/manager/extension_manager.h"
#include "extensions/loading/extension_loader.h"
#include "extensions/loading/loaded_extension.h"
#include "extensions/manager/extension_log.h"
#include "extensions/manager/package_unpacker.h"
#include "platform/system_io/held_file.h"

#include <vector>

namespace OvxComponent {

// An unpacked extension found below the platform folder; no container when its installed
// copy is missing or unusable (it does not open, or its unpacked files are incomplete and
// cannot be extracted again).
struct UnpackedCandidate {
    CString folder;
    OpenedPackage package;
    bool unusable = false;  // the installed copy is there but cannot be loaded from
};

// The manager's repair state: whether the first scan has repaired, and whether work was
// left unfinished, so that the next start repairs thoroughly.
struct RepairState {
    bool& installRepairDone;
    bool& leftWorkBehind;
    OvxUtils::SystemIO::HeldFile& sessionMarker;  // held from the first scan on
};

class ExtensionScanner {
public:
    ExtensionScanner(ExtensionLog& log, const CString& platformFolder,
                     const std::vector<ExtensionSourceFolder>& sourceFolders, RepairState repair,
                     PackageUnpacker unpacker, ExtensionLoader loader)
        : m_log(log), m_platformFolder(platformFolder), m_sourceFolders(sourceFolders), m_repair(repair),
          m_unpacker(unpacker), m_loader(loader) {}

    // With skipLoaded, extensions that are loaded now are left out without being opened.
    // The first scan of the manager's life also repairs: it sweeps the debris of
    // interrupted work and extracts again the unpacked folders that are incomplete.
    std::vector<UnpackedCandidate> VerifyUnpacked(bool skipLoaded, PackageUse use);
    // The packages of every source folder that open, in the order of the folders.
    std::vector<OpenedPackage> ScanSourceFolders();

private:
    ExtensionLog& m_log;
    const CString& m_platformFolder;
    const std::vector<ExtensionSourceFolder>& m_sourceFolders;
    RepairState m_repair;
    PackageUnpacker m_unpacker;
    ExtensionLoader m_loader;
};

}  // namespace OvxComponent
