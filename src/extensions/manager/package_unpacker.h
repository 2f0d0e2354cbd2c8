// PackageUnpacker: opens packages, decides whether they are to be unpacked, and unpacks
// them into the install layout below the platform folder.
//
// A long-lived part of the manager. It owns what opening and unpacking keep between
// operations: the host's trust policy, the records of the package files read so far, the
// packages that the policy refused, and the verification record of the installed copies.
// It reads the manager's folder, requirement predicates and loaded records, and tells the
// install repair when it leaves work behind.
#pragma once

#include "extensions/loading/loaded_extension.h"
#include "extensions/log/extension_log.h"
#include "extensions/manager/install_repair.h"
#include "extensions/manager/package_cache.h"
#include "extensions/manager/refused_packages.h"
#include "extensions/manager/verification_record.h"
#include "extensions/trust/trust_store.h"

#include <cstdint>
#include <functional>

namespace OvxComponent {

using OpenResult = OvxUtils::Result<OpenedPackage>;

// What an opened package is for: reading its files (unpacking, loading), or only its
// record (deciding, scanning), which a file unchanged since it was last read answers from
// the manager's PackageCache without reading it again.
enum class PackageUse { Readable, RecordOnly };

// The host's answers to requirement checks, as the manager holds them.
struct RequirementPredicates {
    const std::function<bool(CString)>& requirementText;
    const std::function<bool(ExtensionAppSupport)>& appSupported;
};

class PackageUnpacker {
public:
    using FileIdentity = OvxUtils::SystemIO::File::FileIdentity;

    using Untrusted = Trust::TrustStore::Untrusted;

    PackageUnpacker(ExtensionLog& log, const CString& platformFolder, RequirementPredicates host,
                    const LoadedExtensions& loadedExtensions, InstallRepair& repair, Trust::TrustStore trust);
    PackageUnpacker(const PackageUnpacker&) = delete;
    PackageUnpacker& operator=(const PackageUnpacker&) = delete;

    // With RecordOnly the container may be a record without an open archive; the log
    // lines and the requirement check are the same either way. Under a trust policy the
    // package's signature is checked once per file state: Require refuses a package whose
    // signature does not hold, Warn logs it as an error and goes on.
    OpenResult Open(const CString& path, PackageUse use);
    // Whether the package should be unpacked; the error text says why not.
    OvxUtils::Result<void> ShouldUnpack(const OpenedPackage& package, std::uint64_t packageTime);
    // Unpacks into installFolder, which must be the platform folder; the result is the
    // installed copy with the unpacked folder as its path.
    OpenResult Unpack(const OpenedPackage& package, const CString& installFolder);

    const CString& PlatformFolder() const { return m_platformFolder; }
    // What the host's policy makes of a package or an install that does not hold.
    Untrusted WhenUntrusted() const { return m_trust.WhenUntrusted(); }

    // A rescan's bounds: the records of package files that the rescan did not meet are
    // dropped at its end, when what it verified is written too.
    void BeginRescan() { m_packageCache.BeginScan(); }
    void EndRescan();
    // Writes what was verified since the last time, when anything changed.
    void SaveVerified() { m_verified.Save(); }

    // An installed copy, opened as Open does. When the verification record answers for the
    // file as it is, RecordOnly reads nothing of it; under a trust policy the record answers
    // only when its files were verified under a key that the policy trusts now, and the
    // signature is not checked again then.
    OpenResult OpenInstalled(const CString& installedCopy, PackageUse use);
    // The same with the copy's identity, just taken by the caller (nothing when it is missing).
    OpenResult OpenInstalled(const CString& installedCopy, PackageUse use, const std::optional<FileIdentity>& identity);
    // Under a trust policy, whether the unpacked files of an installed package opened by
    // OpenInstalled may be loaded: files that the verification record does not vouch for are
    // compared with the signed digests (and noted there when they match). Require refuses files
    // that differ, Warn logs them as an error and lets them load.
    OvxUtils::Result<void> TrustInstall(const OpenedPackage& installed, const CString& unpackedFolder);
    // Under Require, whether the package, unchanged, was refused while it was unpacked before;
    // logs the refusal again so that the failure report shows it.
    bool RefusedBefore(const CString& path);

private:
    // Open and Unpack themselves; the public ones turn a failed allocation into a refusal.
    // identity, when given, is the file's, taken by the caller before anything was read.
    OpenResult OpenChecked(const CString& path, PackageUse use, const std::optional<FileIdentity>* identity = nullptr,
                           const Trust::SignatureVerdict* vouched = nullptr);
    OpenResult UnpackChecked(const OpenedPackage& package, const CString& installFolder);
    // The unpack work with the policy off: what is there is replaced, the package copied
    // and extracted into the version folder.
    OvxUtils::Result<void> UnpackInPlace(const OpenedPackage& package, const ExtensionContainerInfo& info);
    // The unpack work under a trust policy: the package is copied, the copy checked and
    // extracted under temporary names, and only then does it replace what was installed.
    OvxUtils::Result<void> UnpackVerified(const OpenedPackage& package, const ExtensionContainerInfo& info);
    // Notes in the verification record that the unpacked files of the version folder
    // matched the digests of verdict's signer.
    void RememberVerifiedFiles(const CString& versionFolder, const Trust::SignatureVerdict& verdict);
    // The verdict that recorded files verified under a key that the policy trusts now stand
    // for; nothing when the policy is off or they do not count.
    std::optional<Trust::SignatureVerdict> VouchedVerdict(const VerificationRecord::Entry* recorded) const;

    ExtensionLog& m_log;
    const CString& m_platformFolder;
    RequirementPredicates m_host;
    const LoadedExtensions& m_loadedExtensions;
    InstallRepair& m_repair;  // told when a tree could not be deleted: the next start repairs
    const Trust::TrustStore m_trust;  // off unless the host gave a policy
    PackageCache m_packageCache;
    RefusedPackages m_refused;
    VerificationRecord m_verified;
};

}  // namespace OvxComponent
