// PackageUnpacker: opening packages, the unpack decision and the unpack work.
#include "extensions/manager/package_unpacker.h"

#include "OvxComponent/extensions/format/check_requirements.h"
#include "OvxComponent/extensions/format/extension_packing.h"
#include "container/archive_reader.h"
#include "container/extract_folder.h"
#include "extensions/manager/install_layout.h"
#include "extensions/manager/package_extraction.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using OvxUtils::Error;
using namespace LogMessages;

CString SubjectOf(const OpenedPackage& package) { return package.path.value_or(CString(kManagerSubject)); }

constexpr const char16_t* kOutOfMemory = u"there is not enough memory to read the package";

// The package's metadata record, or the logged reason why it has none.
OvxUtils::Result<const ExtensionContainerInfo*> ExtractData(ExtensionLog& log, const OpenedPackage& package) {
    auto info = MetadataOf(package);
    if (info) {
        log.Write(kOpening, (*info)->GetDocumentID());
        return info;
    }
    if (package.path) {
        const CString text = log.Write(kNoValidInfo, *package.path);
        if (package.container) log.Reason(kNoValidInfo.level, *package.path, info.ErrorText());
        return Error{text};
    }
    return Error{log.Write(kWithoutInfo, CString(kManagerSubject))};
}

}  // namespace

PackageUnpacker::PackageUnpacker(ExtensionLog& log, const CString& platformFolder, RequirementPredicates host,
                                 const LoadedExtensions& loadedExtensions, InstallRepair& repair,
                                 Trust::TrustStore trust)
    : m_log(log), m_platformFolder(platformFolder), m_host(host), m_loadedExtensions(loadedExtensions),
      m_repair(repair), m_trust(std::move(trust)), m_refused(InstallLayout::RefusedPackagesFile(platformFolder)),
      m_verified(platformFolder) {}

void PackageUnpacker::EndRescan() {
    m_packageCache.EndScan();
    m_verified.Save();
}

OpenResult PackageUnpacker::Open(const CString& path, PackageUse use) {
    try {
        return OpenChecked(path, use);
    } catch (const std::bad_alloc&) {
        // A package that asks for more memory than there is is refused; the host goes on.
        const CString text = m_log.Information(path, u"Cannot open " + path + u" as an extension");
        m_log.Reason(ExtensionLogLevel::Error, path, kOutOfMemory);
        return Error{text};
    }
}

OpenResult PackageUnpacker::Unpack(const OpenedPackage& package, const CString& installFolder) {
    try {
        return UnpackChecked(package, installFolder);
    } catch (const std::bad_alloc&) {
        const ExtensionContainerInfo* info = InfoOf(package);
        if (info == nullptr) return Error{CString(kOutOfMemory)};
        const CString text = m_log.Write(kErrorWhenUnpacking, info->GetDocumentID());
        m_log.Reason(ExtensionLogLevel::Error, info->GetDocumentID(), kOutOfMemory);
        return Error{text};
    }
}

OpenResult PackageUnpacker::OpenChecked(const CString& path, PackageUse use,
                                        const std::optional<FileIdentity>* takenIdentity,
                                        const Trust::SignatureVerdict* vouched) {
    m_log.Write(kOpeningPackage, path);
    const auto cannotOpen = [&](const CString& reason, ExtensionLogLevel reasonLevel) {
        const CString text = m_log.Information(path, u"Cannot open " + path + u" as an extension");
        m_log.Reason(reasonLevel, path, reason);
        return Error{text};
    };
    // A name without the package extension is refused without touching the file.
    if (!SystemIO::Path::HasExtension(path, Get_Extension_FileExtension())) {
        return cannotOpen(CString(), ExtensionLogLevel::Information);
    }
    // The identity is taken before anything is read: a file that changes while it is read
    // does not match it afterwards, and is read again.
    const auto identity = takenIdentity != nullptr ? *takenIdentity : SystemIO::File::GetIdentity(path);
    OpenedPackage package{nullptr, path, identity ? identity->lastWrite : 0, nullptr};
    if (identity) {
        auto opened = m_packageCache.FindOpened(path, *identity);
        package.container = std::move(opened.container);
        package.trust = std::move(opened.trust);
    }
    if (!package.container && use == PackageUse::RecordOnly && identity) {
        if (auto record = m_packageCache.Find(path, *identity); record.container) {
            package.container = std::move(record.container);
            package.trust = std::move(record.trust);
        }
    }
    if (!package.container) {
        auto opened = ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::ReadOnly);
        // A package refused for what it holds reaches the failure report through its
        // reason; one that may still be on its way in is looked at again at its next change.
        if (!opened) {
            return cannotOpen(opened.ErrorText(), VdcContainer::MayBeIncomplete(opened.ErrorText())
                                                      ? ExtensionLogLevel::Information
                                                      : ExtensionLogLevel::Error);
        }
        package.container = std::make_shared<ExtensionContainer>(std::move(*opened));
        if (vouched != nullptr) {
            package.trust = std::make_shared<const Trust::SignatureVerdict>(*vouched);
        } else if (m_trust.IsOn()) {
            package.trust = std::make_shared<const Trust::SignatureVerdict>(
                Trust::CheckSignature(package.container->Container(), package.container->GetInfo(), m_trust));
        }
        if (identity && package.container->GetInfo()) {
            m_packageCache.Remember(path, *identity, *package.container->GetInfo(), package.trust);
            m_packageCache.KeepOpened(path, *identity, {package.container, package.trust});
        }
    }
    if (package.trust && !package.trust->Holds()) {
        const CString& reason = package.trust->problems.front();
        if (m_trust.WhenUntrusted() == Untrusted::Refused) return cannotOpen(reason, ExtensionLogLevel::Error);
        m_log.Write(kUntrustedButWarned, path);
        m_log.Reason(kUntrustedButWarned.level, path, reason);
    }
    if (const ExtensionContainerInfo* info = package.container->GetInfo();
        info != nullptr && !CheckRequirements(info->GetRequirements(), m_host.requirementText, m_host.appSupported)) {
        return Error{m_log.Information(path, path + u" does not work on this system")};
    }
    if (auto data = ExtractData(m_log, package); !data) return data.TakeError();
    return package;
}

OvxUtils::Result<void> PackageUnpacker::ShouldUnpack(const OpenedPackage& package, std::uint64_t packageTime) {
    const CString subject = SubjectOf(package);
    m_log.Information(subject, u"should I unpack?");
    const ExtensionContainerInfo* info = InfoOf(package);
    if (info == nullptr) return Error{m_log.Write(kFileFormatError, subject)};
    const OvxUtils::Guid documentId = info->GetDocumentID();
    if (m_loadedExtensions.contains(documentId)) return Error{m_log.Write(kAlreadyLoaded, subject)};

    const auto copies = InstallLayout::ExistingCopies(InstallLayout::ExtensionFolder(m_platformFolder, documentId));
    if (copies.empty()) return {};
    const OvxUtils::Version version = info->GetVersion();
    for (const InstallLayout::ExistingCopy& copy : copies) {
        const int order = OvxUtils::Version::Compare(copy.version, version);
        if (order > 0) {
            m_log.Information(subject, u"newer version already unpacked");
            return Error{m_log.Information(subject, u"Already unpacked.")};
        }
        if (order < 0) {
            m_log.Information(subject, u"older version already unpacked");
            continue;
        }
        if (SystemIO::File::GetLastWriteTime(copy.installedCopy).value_or(0) >= packageTime) {
            m_log.Write(kSameVersionNotOlder, subject);
            return Error{m_log.Information(subject, u"Already unpacked.")};
        }
    }
    m_log.Information(subject, u"I should unpack!");
    return {};
}

OpenResult PackageUnpacker::UnpackChecked(const OpenedPackage& package, const CString& installFolder) {
    m_log.Information(SubjectOf(package), u"unpack work:");
    auto data = ExtractData(m_log, package);
    if (!data) return data.TakeError();
    const ExtensionContainerInfo& info = **data;
    const OvxUtils::Guid documentId = info.GetDocumentID();
    if (package.path) m_log.Associate(*package.path, documentId);

    if (installFolder != m_platformFolder) return Error{m_log.Write(kBadInstallDirectory, documentId)};
    if (m_loadedExtensions.contains(documentId)) return Error{m_log.Write(kAlreadyInstalled, documentId)};
    // Open checks every package under the policy; one that did not come through it is
    // refused before anything is written.
    if (m_trust.WhenUntrusted() == Untrusted::Refused && !(package.trust && package.trust->Holds())) {
        const CString text = m_log.Write(kErrorWhenUnpacking, documentId);
        m_log.Reason(ExtensionLogLevel::Error, documentId, u"the package's signature has not been checked");
        return Error{text};
    }
    const CString versionFolder = InstallLayout::VersionFolder(m_platformFolder, documentId, info.GetVersion());
    const CString unpackedFolder = InstallLayout::UnpackedFolder(versionFolder);
    auto unpacked = m_trust.IsOn() ? UnpackVerified(package, info) : UnpackInPlace(package, info);
    if (!unpacked) return unpacked.TakeError();
    // Loading needs the record only: the copy just made is not read again.
    auto installed = OpenInstalled(InstallLayout::InstalledCopy(versionFolder), PackageUse::RecordOnly);
    if (!installed) return Error{m_log.Warning(documentId, installed.ErrorText())};
    installed->path = unpackedFolder;
    m_log.Associate(unpackedFolder, documentId);
    m_log.Information(unpackedFolder, u"unpacked successfully");
    return installed;
}

OvxUtils::Result<void> PackageUnpacker::UnpackInPlace(const OpenedPackage& package, const ExtensionContainerInfo& info) {
    const OvxUtils::Guid documentId = info.GetDocumentID();
    const CString versionFolder = InstallLayout::VersionFolder(m_platformFolder, documentId, info.GetVersion());
    const CString installedCopy = InstallLayout::InstalledCopy(versionFolder);
    const CString unpackedFolder = InstallLayout::UnpackedFolder(versionFolder);

    // Every version of the extension that is there goes, older and equal ones alike.
    const CString extensionFolder = InstallLayout::ExtensionFolder(m_platformFolder, documentId);
    if (SystemIO::Folder::Exists(extensionFolder)) {
        // What stays (a file that its program still holds open) is swept at the next start.
        if (auto deleted = SystemIO::Folder::DeleteTree(extensionFolder); !deleted) {
            m_log.Write(kCannotDeleteData, documentId);
            m_log.Reason(kCannotDeleteData.level, documentId, deleted.ErrorText());
            m_repair.LeaveWorkBehind();
        }
    } else if (SystemIO::File::Exists(extensionFolder)) {
        SystemIO::File::Delete(extensionFolder);
    }
    // A folder that stays (a file of it still held open) would mix the old files with the new.
    if (SystemIO::Folder::Exists(unpackedFolder)) return Error{m_log.Write(kEarlierInstallStays, documentId)};
    if (auto made = SystemIO::Folder::EnsureExists(versionFolder); !made) {
        const CString text = m_log.Write(kCannotOpenUnpackLocation, documentId);
        m_log.Reason(kCannotOpenUnpackLocation.level, documentId, made.ErrorText());
        return Error{text};
    }

    // Each step below appears in one rename: the installed copy complete or not at all,
    // the unpacked folder likewise.
    // The installed copy is the package byte for byte, so the record read from the package
    // is the copy's too, as long as the package file stayed what it was when it was read.
    const auto unchangedSinceRead = [&] {
        const auto now = package.path ? SystemIO::File::GetIdentity(*package.path) : std::nullopt;
        return now && m_packageCache.FindOpened(*package.path, *now).container == package.container;
    };
    const bool readBeforeCopy = unchangedSinceRead();
    if (auto clone = package.container->Clone(installedCopy)) {
        m_log.Write(kCloned, documentId);
        const auto copyIdentity = SystemIO::File::GetIdentity(installedCopy);
        if (readBeforeCopy && copyIdentity && unchangedSinceRead()) {
            auto copy = std::make_shared<ExtensionContainer>();
            copy->Adopt(std::move(*clone), info.Modify());
            m_packageCache.KeepOpened(installedCopy, *copyIdentity, {std::move(copy), package.trust});
        } else {
            clone->Discard();  // a fresh copy holds nothing unsaved
        }
    } else {
        m_log.Write(kCloneFailed, documentId);
        m_log.Reason(kCloneFailed.level, documentId, clone.ErrorText());
    }
    if (auto extracted = VdcContainer::ExtractFolder(*package.container, u"", unpackedFolder); !extracted) {
        const CString text = m_log.Write(kErrorWhenUnpacking, documentId);
        m_log.Reason(kErrorWhenUnpacking.level, documentId, extracted.ErrorText());
        return Error{text};
    }
    return {};
}

}  // namespace OvxComponent
