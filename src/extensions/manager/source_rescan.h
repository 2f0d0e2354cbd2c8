// SourceRescan: what a change in a source folder leads to. New or newer packages are
// unpacked and loaded at once ("auto load"), and extensions whose package has gone from
// every source folder are unloaded and their unpacked data deleted.
//
// A long-lived part of the manager that works through the others: the unpacker (which
// owns the package records), the loader (the loaded extensions and the loading phase), the
// scanner, and the install repair, which it tells when it leaves work behind.
#pragma once

#include "extensions/loading/extension_loader.h"
#include "extensions/log/extension_log.h"
#include "extensions/manager/extension_scanner.h"
#include "extensions/manager/install_repair.h"
#include "extensions/manager/package_unpacker.h"

namespace OvxComponent {

class SourceRescan {
public:
    SourceRescan(ExtensionLog& log, InstallRepair& repair, PackageUnpacker& unpacker, ExtensionLoader& loader,
                 ExtensionScanner& scanner)
        : m_log(log), m_repair(repair), m_unpacker(unpacker), m_loader(loader), m_scanner(scanner) {}
    SourceRescan(const SourceRescan&) = delete;
    SourceRescan& operator=(const SourceRescan&) = delete;

    // Visits every package file below folder, in the order of the listing, and unpacks and
    // loads what should be; then removes the extensions that no source folder holds.
    void Rescan(const CString& folder);
    // Unpacks the package at path and, when the loader is active, loads it.
    void AutoLoad(const CString& path);
    // Unloads the extension and deletes its folder below the platform folder; a delayed
    // unload keeps the folder.
    UnloadOutcome RemoveExtension(const OvxUtils::Guid& documentId);

private:
    // AutoLoad's steps; decidedToUnpack when the rescan has just decided to unpack path.
    void Install(const CString& path, bool decidedToUnpack);
    // When another session installed the package between the two decisions: what it
    // installed, unless this session has the extension loaded already.
    void LoadWhatAnotherSessionInstalled(const CString& path, const OvxUtils::Guid& documentId);
    // Loads an unpacked package that path brought, when the loader is active.
    void Load(const CString& path, const OpenedPackage& unpacked);

    ExtensionLog& m_log;
    InstallRepair& m_repair;
    PackageUnpacker& m_unpacker;
    ExtensionLoader& m_loader;
    ExtensionScanner& m_scanner;
};

}  // namespace OvxComponent
