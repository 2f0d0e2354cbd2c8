// ExtensionScanner: the two scans of the manager. The verification scan lists the
// extensions unpacked below the platform folder and opens each installed copy, repairing
// what a crash left on the first scan of the manager's life; the source scan opens every
// package of the source folders.
//
// A long-lived part of the manager; it reads the manager's source folders and works
// through the unpacker, the loader and the install repair, which own what it touches.
#pragma once

#include "OvxComponent/extensions/manager/extension_manager.h"
#include "extensions/loading/extension_loader.h"
#include "extensions/loading/loaded_extension.h"
#include "extensions/log/extension_log.h"
#include "extensions/manager/install_repair.h"
#include "extensions/manager/package_unpacker.h"

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

class ExtensionScanner {
public:
    ExtensionScanner(ExtensionLog& log, const std::vector<ExtensionSourceFolder>& sourceFolders, InstallRepair& repair,
                     PackageUnpacker& unpacker, const ExtensionLoader& loader)
        : m_log(log), m_sourceFolders(sourceFolders), m_repair(repair), m_unpacker(unpacker), m_loader(loader) {}
    ExtensionScanner(const ExtensionScanner&) = delete;
    ExtensionScanner& operator=(const ExtensionScanner&) = delete;

    // What a verification scan is for. Loading leaves out the extensions that are loaded
    // now without opening them; Removal asks only which extensions are installed, so an
    // unpacked folder that has gone does not make its extension unusable there.
    enum class Purpose { Loading, Report, Removal };
    // The first scan of the manager's life also repairs: it sweeps the debris of
    // interrupted work and extracts again the unpacked folders that are incomplete. Only
    // the repair reads archives; otherwise the installed copies' records answer.
    std::vector<UnpackedCandidate> VerifyUnpacked(Purpose purpose);
    // The packages of every source folder that open, in the order of the folders.
    std::vector<OpenedPackage> ScanSourceFolders();

private:
    ExtensionLog& m_log;
    const std::vector<ExtensionSourceFolder>& m_sourceFolders;
    InstallRepair& m_repair;
    PackageUnpacker& m_unpacker;
    const ExtensionLoader& m_loader;
};

}  // namespace OvxComponent
