// PackageUnpacker under a trust policy: an install made only of verified bytes, and the
// check, at every start, that an installed extension is one the policy trusts now.
#include "extensions/manager/package_unpacker.h"

#include "extensions/manager/install_layout.h"
#include "extensions/manager/package_extraction.h"
#include "extensions/trust/install_check.h"
#include "platform/system_io/file.h"
#include "platform/system_io/file_system.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using OvxUtils::Error;
using namespace LogMessages;

}  // namespace

OvxUtils::Result<void> PackageUnpacker::UnpackVerified(const OpenedPackage& package, const ExtensionContainerInfo& info) {
    const OvxUtils::Guid documentId = info.GetDocumentID();
    const CString extensionFolder = InstallLayout::ExtensionFolder(m_platformFolder, documentId);
    const CString versionFolder = InstallLayout::VersionFolder(m_platformFolder, documentId, info.GetVersion());
    // Work in progress lives beside the extension folder under temporary names, which a
    // start after a crash sweeps away; what is installed stays as it is until the end.
    const CString stagedCopy = SystemIO::TemporaryName::Beside(extensionFolder, SystemIO::TemporaryName::kWriting);
    const CString stagedFolder = SystemIO::TemporaryName::Beside(extensionFolder, SystemIO::TemporaryName::kPartial);
    const CString stagedUnpacked = InstallLayout::UnpackedFolder(stagedFolder);
    const auto clearStaged = [&] {
        SystemIO::File::Delete(stagedCopy);
        static_cast<void>(SystemIO::Folder::DeleteTree(stagedFolder));
    };
    const auto refuse = [&](const CString& reason, ExtensionLogLevel level) {
        clearStaged();
        const CString text = m_log.Write(kErrorWhenUnpacking, documentId);
        m_log.Reason(level, documentId, reason);
        if (package.path && level == ExtensionLogLevel::Error && m_trust.WhenUntrusted() == Untrusted::Refused) {
            m_refused.Remember(*package.path, m_trust.Fingerprint(), reason);
        }
        return Error{text};
    };

    // The copy is made first and checked itself: a file put in the package's place after it
    // was opened is checked as what it is, and only the bytes checked are installed.
    auto platform = SystemIO::Folder::EnsureExists(m_platformFolder);
    auto clone = platform ? package.container->Clone(stagedCopy)
                          : OvxUtils::Result<VdcContainer::ZipContainer>(platform.TakeError());
    if (!clone) {
        const CString text = m_log.Write(kCloneFailed, documentId);
        m_log.Reason(kCloneFailed.level, documentId, clone.ErrorText());
        clearStaged();
        return Error{text};
    }
    clone->Discard();
    m_log.Write(kCloned, documentId);
    auto opened = ExtensionContainer::Open(stagedCopy, VdcContainer::ZipFile::OpenMode::ReadOnly);
    if (!opened) return refuse(u"the copy of the package cannot be opened: " + opened.ErrorText(), ExtensionLogLevel::Error);
    const ExtensionContainerInfo* copyInfo = opened->GetInfo();
    if (copyInfo == nullptr || copyInfo->GetDocumentID() != documentId || copyInfo->GetVersion() != info.GetVersion()) {
        return refuse(u"the package changed while it was being installed: its copy is another package",
                      ExtensionLogLevel::Error);
    }
    OpenedPackage copy{std::make_shared<ExtensionContainer>(std::move(*opened)), stagedCopy, package.fileTime, nullptr};
    copy.trust = std::make_shared<const Trust::SignatureVerdict>(
        Trust::CheckSignature(copy.container->Container(), copyInfo, m_trust));
    if (!copy.trust->Holds()) {
        if (m_trust.WhenUntrusted() == Untrusted::Refused) {
            return refuse(copy.trust->problems.front(), ExtensionLogLevel::Error);
        }
        if (package.trust && package.trust->Holds()) {  // warned already when it did not hold at opening
            m_log.Write(kUntrustedButWarned, *package.path);
            m_log.Reason(kUntrustedButWarned.level, *package.path, copy.trust->problems.front());
        }
    }
    PackageExtraction extraction(copy, m_trust.WhenUntrusted());
    if (auto extracted = extraction.Into(stagedUnpacked); !extracted) {
        return refuse(extracted.ErrorText(), extraction.ReasonLevel(kErrorWhenUnpacking.level));
    }
    const std::unique_ptr<ExtensionContainerInfo> copyRecord = copyInfo->Modify();
    copy.container.reset();  // a file still open cannot be renamed on Windows

    // Every version of the extension that is there goes, older and equal ones alike.
    if (auto deleted = SystemIO::Folder::DeleteTree(extensionFolder); !deleted) {
        m_log.Write(kCannotDeleteData, documentId);
        m_log.Reason(kCannotDeleteData.level, documentId, deleted.ErrorText());
        m_repair.LeaveWorkBehind();
        // What stays (a file that its program still holds open) is swept at the next start;
        // the new files are not mixed with it.
        if (SystemIO::Folder::Exists(versionFolder)) {
            clearStaged();
            return Error{m_log.Write(kEarlierInstallStays, documentId)};
        }
    }
    if (SystemIO::File::Exists(extensionFolder)) SystemIO::File::Delete(extensionFolder);
    if (auto made = SystemIO::Folder::EnsureExists(versionFolder); !made) {
        clearStaged();
        const CString text = m_log.Write(kCannotOpenUnpackLocation, documentId);
        m_log.Reason(kCannotOpenUnpackLocation.level, documentId, made.ErrorText());
        return Error{text};
    }
    const CString installedCopy = InstallLayout::InstalledCopy(versionFolder);
    if (!SystemIO::Detail::MoveEntry(stagedCopy, installedCopy) ||
        !SystemIO::Detail::MoveEntry(stagedUnpacked, InstallLayout::UnpackedFolder(versionFolder))) {
        const CString reason = OvxUtils::SystemError(u"cannot move the checked files into " + versionFolder).text;
        clearStaged();
        static_cast<void>(SystemIO::Folder::DeleteTree(versionFolder));
        const CString text = m_log.Write(kErrorWhenUnpacking, documentId);
        m_log.Reason(kErrorWhenUnpacking.level, documentId, reason);
        return Error{text};
    }
    clearStaged();
    // What was read from the copy stays its record under its new name: it is not read again.
    if (const auto identity = SystemIO::File::GetIdentity(installedCopy)) {
        m_packageCache.Remember(installedCopy, *identity, *copyRecord, copy.trust);
    }
    extraction.ReportMismatches(m_log, documentId);
    if (copy.trust->Holds() && !extraction.HasMismatches()) {
        RememberVerifiedFiles(versionFolder, *copy.trust);
        m_log.Information(documentId, CString(kSignedByPrefix) +
                                          CString::FromUtf8(Minisign::KeyIdText(copy.trust->signer->keyId)));
    }
    return {};
}

void PackageUnpacker::RememberVerifiedFiles(const CString& versionFolder, const Trust::SignatureVerdict& verdict) {
    const CString installedCopy = InstallLayout::InstalledCopy(versionFolder);
    const auto identity = SystemIO::File::GetIdentity(installedCopy);
    const auto key = verdict.signer ? m_trust.KeyFor(verdict.signer->keyId) : OvxUtils::Error{CString()};
    if (identity && key) m_verified.RememberVerifiedFiles(installedCopy, *identity, **key);
}

OpenResult PackageUnpacker::OpenInstalled(const CString& installedCopy, PackageUse use) {
    return OpenInstalled(installedCopy, use, SystemIO::File::GetIdentity(installedCopy));
}

OpenResult PackageUnpacker::OpenInstalled(const CString& installedCopy, PackageUse use,
                                          const std::optional<FileIdentity>& identity) {
    // The identity was taken before anything is read, as Open takes it: what is noted below
    // answers for the file only as long as it stays what it was before it was read.
    const VerificationRecord::Entry* recorded = identity ? m_verified.Find(installedCopy, *identity) : nullptr;
    // Under a trust policy the record answers only for files verified under a key that the
    // policy trusts now; anything else is opened and its signature checked.
    const auto vouched = VouchedVerdict(recorded);
    const bool answers = recorded != nullptr && recorded->info && (!m_trust.IsOn() || vouched);
    if (answers && use == PackageUse::RecordOnly && !m_packageCache.Holds(installedCopy, *identity)) {
        m_packageCache.Remember(installedCopy, *identity, *recorded->info,
                                vouched ? std::make_shared<const Trust::SignatureVerdict>(*vouched) : nullptr);
    }
    auto opened = OpenChecked(installedCopy, use, &identity, vouched ? &*vouched : nullptr);
    if (opened && identity && (recorded == nullptr || !recorded->info)) {
        m_verified.Remember(installedCopy, *identity, InfoOf(*opened)->Modify());
    }
    return opened;
}

std::optional<Trust::SignatureVerdict> PackageUnpacker::VouchedVerdict(const VerificationRecord::Entry* recorded) const {
    if (!m_trust.IsOn() || recorded == nullptr || !recorded->filesVerifiedBy) return std::nullopt;
    if (!Trust::Vouches(*recorded->filesVerifiedBy, m_trust)) return std::nullopt;
    Trust::SignatureVerdict vouched;
    vouched.isSigned = true;
    vouched.signer = Trust::Signer{recorded->filesVerifiedBy->id, {}};
    vouched.vouchedByRecord = true;
    return vouched;
}

OvxUtils::Result<void> PackageUnpacker::TrustInstall(const OpenedPackage& installed, const CString& unpackedFolder) {
    const Trust::SignatureVerdict* verdict = installed.trust.get();
    // Off looks at nothing; an untrusted signature was refused or warned about at opening.
    if (!m_trust.IsOn() || verdict == nullptr || verdict->vouchedByRecord || !verdict->Holds()) {
        return {};
    }
    const CString versionFolder = SystemIO::Path::GetParentFolder(unpackedFolder);
    const CString installedCopy = InstallLayout::InstalledCopy(versionFolder);
    const auto identity = SystemIO::File::GetIdentity(installedCopy);
    if (identity && VouchedVerdict(m_verified.Find(installedCopy, *identity))) return {};

    // Installed under another policy, by another session, or before a key was trusted: the
    // files are compared with the signed list before anything of them runs.
    const std::vector<CString> problems = Trust::CheckUnpackedFiles(unpackedFolder, verdict->digests);
    if (problems.empty()) {
        RememberVerifiedFiles(versionFolder, *verdict);
        return {};
    }
    const bool refused = m_trust.WhenUntrusted() == Untrusted::Refused;
    const NameMessage& message = refused ? kInstallNotAsSigned : kInstallNotAsSignedButWarned;
    const CString text = m_log.Write(message, unpackedFolder);
    m_log.Reason(message.level, unpackedFolder, problems.front());
    if (refused) return Error{text};
    return {};
}

bool PackageUnpacker::RefusedBefore(const CString& path) {
    if (m_trust.WhenUntrusted() != Untrusted::Refused) return false;
    const auto reason = m_refused.Find(path, m_trust.Fingerprint());
    if (!reason) return false;
    m_log.Write(kRefusedBefore, path);
    m_log.Reason(kRefusedBefore.level, path, *reason);
    return true;
}

}  // namespace OvxComponent
