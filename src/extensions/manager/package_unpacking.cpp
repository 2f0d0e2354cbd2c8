// ExtensionManagerImpl: opening packages, the unpack decision and the unpack work.
#include "extensions/manager/extension_manager_impl.h"

#include "OvxComponent/extensions/format/check_requirements.h"
#include "OvxComponent/extensions/format/extension_packing.h"
#include "container/extract_folder.h"
#include "extensions/manager/install_layout.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using VdcContainer::Error;
using namespace LogMessages;

CString SubjectOf(const OpenedPackage& package) { return package.path.value_or(CString(kManagerSubject)); }

// The package's metadata record, or the logged reason why it has none.
VdcContainer::Result<const ExtensionContainerInfo*> ExtractData(ExtensionLog& log, const OpenedPackage& package) {
    const ExtensionContainerInfo* info = package.container ? package.container->GetInfo() : nullptr;
    if (info != nullptr) {
        log.Write(kOpening, info->GetDocumentID());
        return info;
    }
    if (package.path) {
        const CString text = log.Write(kNoValidInfo, *package.path);
        if (package.container) log.Reason(kNoValidInfo.level, *package.path, package.container->GetInfoError());
        return Error{text};
    }
    return Error{log.Write(kWithoutInfo, CString(kManagerSubject))};
}

}  // namespace

OpenResult ExtensionManagerImpl::OpenPackage(const CString& path, PackageUse use) {
    log.Write(kOpeningPackage, path);
    const auto cannotOpen = [&](const CString& reason) {
        const CString text = log.Information(path, u"Cannot open " + path + u" as an extension");
        log.Reason(ExtensionLogLevel::Information, path, reason);
        return Error{text};
    };
    // A name without the package extension is refused without touching the file.
    if (!SystemIO::Path::HasExtension(path, Get_Extension_FileExtension())) return cannotOpen(CString());
    // The identity is taken before anything is read: a file that changes while it is read
    // does not match it afterwards, and is read again.
    const auto identity = SystemIO::File::GetIdentity(path);
    OpenedPackage package{identity ? packageCache.FindOpened(path, *identity) : nullptr, path};
    if (!package.container && use == PackageUse::RecordOnly && identity) {
        if (auto record = packageCache.Find(path, *identity)) {
            package.container = std::make_shared<ExtensionContainer>();
            package.container->SetInfo(std::move(record));
        }
    }
    if (!package.container) {
        auto opened = ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::ReadOnly);
        if (!opened) return cannotOpen(opened.ErrorText());
        package.container = std::make_shared<ExtensionContainer>(std::move(*opened));
        if (identity && package.container->GetInfo()) {
            packageCache.Remember(path, *identity, *package.container->GetInfo());
            packageCache.KeepOpened(path, *identity, package.container);
        }
    }
    if (const ExtensionContainerInfo* info = package.container->GetInfo();
        info != nullptr && !CheckRequirements(info->GetRequirements(), requirementText, appSupported)) {
        return Error{log.Information(path, path + u" does not work on this system")};
    }
    if (auto data = ExtractData(log, package); !data) return data.TakeError();
    return package;
}

VdcContainer::Result<void> ExtensionManagerImpl::ShouldUnpack(const OpenedPackage& package, std::uint64_t packageTime) {
    const CString subject = SubjectOf(package);
    log.Information(subject, u"should I unpack?");
    const ExtensionContainerInfo* info = InfoOf(package);
    if (info == nullptr) return Error{log.Write(kFileFormatError, subject)};
    const OvxUtils::Guid documentId = info->GetDocumentID();
    if (loadedExtensions.contains(documentId)) return Error{log.Write(kAlreadyLoaded, subject)};

    const auto copies = InstallLayout::ExistingCopies(InstallLayout::ExtensionFolder(platformFolder, documentId));
    if (copies.empty()) return {};
    const OvxUtils::Version version = info->GetVersion();
    for (const InstallLayout::ExistingCopy& copy : copies) {
        const int order = OvxUtils::Version::Compare(copy.version, version);
        if (order > 0) {
            log.Information(subject, u"newer version already unpacked");
            return Error{log.Information(subject, u"Already unpacked.")};
        }
        if (order < 0) {
            log.Information(subject, u"older version already unpacked");
            continue;
        }
        if (SystemIO::File::GetLastWriteTime(copy.installedCopy).value_or(0) >= packageTime) {
            log.Write(kSameVersionNotOlder, subject);
            return Error{log.Information(subject, u"Already unpacked.")};
        }
    }
    log.Information(subject, u"I should unpack!");
    return {};
}

OpenResult ExtensionManagerImpl::Unpack(const OpenedPackage& package, const CString& installFolder) {
    log.Information(SubjectOf(package), u"unpack work:");
    auto data = ExtractData(log, package);
    if (!data) return data.TakeError();
    const ExtensionContainerInfo& info = **data;
    const OvxUtils::Guid documentId = info.GetDocumentID();
    if (package.path) log.Associate(*package.path, documentId);

    if (installFolder != platformFolder) return Error{log.Write(kBadInstallDirectory, documentId)};
    if (loadedExtensions.contains(documentId)) return Error{log.Write(kAlreadyInstalled, documentId)};

    // Every version of the extension that is there goes, older and equal ones alike.
    const CString extensionFolder = InstallLayout::ExtensionFolder(platformFolder, documentId);
    if (SystemIO::Folder::Exists(extensionFolder)) {
        // What stays is met by the next steps, and swept at the next start.
        if (!SystemIO::Folder::DeleteTree(extensionFolder)) leftWorkBehind = true;
    } else if (SystemIO::File::Exists(extensionFolder)) {
        SystemIO::File::Delete(extensionFolder);
    }
    const CString versionFolder = InstallLayout::VersionFolder(platformFolder, documentId, info.GetVersion());
    if (!SystemIO::Folder::EnsureExists(versionFolder)) {
        const OvxUtils::Error cause = OvxUtils::SystemError(u"cannot create " + versionFolder);
        const CString text = log.Write(kCannotOpenUnpackLocation, documentId);
        log.Reason(kCannotOpenUnpackLocation.level, documentId, cause.text);
        return Error{text};
    }

    // Each step below appears in one rename: the installed copy complete or not at all,
    // the unpacked folder likewise.
    const CString installedCopy = InstallLayout::InstalledCopy(versionFolder);
    // The installed copy is the package byte for byte, so the record read from the package
    // is the copy's too, as long as the package file stayed what it was when it was read.
    const auto unchangedSinceRead = [&] {
        const auto now = package.path ? SystemIO::File::GetIdentity(*package.path) : std::nullopt;
        return now && packageCache.FindOpened(*package.path, *now) == package.container;
    };
    const bool readBeforeCopy = unchangedSinceRead();
    if (auto clone = package.container->Clone(installedCopy)) {
        log.Write(kCloned, documentId);
        const auto copyIdentity = SystemIO::File::GetIdentity(installedCopy);
        if (readBeforeCopy && copyIdentity && unchangedSinceRead()) {
            auto copy = std::make_shared<ExtensionContainer>();
            copy->Adopt(std::move(*clone), info.Modify());
            packageCache.KeepOpened(installedCopy, *copyIdentity, std::move(copy));
        } else {
            clone->Discard();  // a fresh copy holds nothing unsaved
        }
    } else {
        log.Write(kCloneFailed, documentId);
        log.Reason(kCloneFailed.level, documentId, clone.ErrorText());
    }
    const CString unpackedFolder = InstallLayout::UnpackedFolder(versionFolder);
    if (auto extracted = VdcContainer::ExtractFolder(*package.container, u"", unpackedFolder); !extracted) {
        const CString text = log.Write(kErrorWhenUnpacking, documentId);
        log.Reason(kErrorWhenUnpacking.level, documentId, extracted.ErrorText());
        return Error{text};
    }

    auto installed = OpenPackage(installedCopy);
    if (!installed) return Error{log.Warning(documentId, installed.ErrorText())};
    installed->path = unpackedFolder;
    log.Associate(unpackedFolder, documentId);
    log.Information(unpackedFolder, u"unpacked successfully");
    return installed;
}

}  // namespace OvxComponent
