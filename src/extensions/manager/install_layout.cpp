// The install layout: the paths below the platform folder, and the versions installed there.
#include "extensions/manager/install_layout.h"

#include "OvxComponent/extensions/format/extension_packing.h"
#include "OvxComponent/extensions/format/runtime_bits.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"

#include <algorithm>
#include <chrono>

namespace OvxComponent::InstallLayout {

namespace Path = OvxUtils::SystemIO::Path;

CString PlatformFolder(const CString& dataFolder) {
    return Path::Combine(dataFolder, OvxUtils::ToString(OvxUtils::runtime_bits::x64));
}

CString LogFile(const CString& platformFolder) { return Path::Combine(platformFolder, u"orvex_extensions.log"); }

CString InstallLock(const CString& platformFolder) { return Path::Combine(platformFolder, u"orvex_extensions.lock"); }

CString VerificationRecordFile(const CString& platformFolder) {
    return Path::Combine(platformFolder, u"orvex_extensions.verified");
}

CString QuarantineFile(const CString& platformFolder) {
    return Path::Combine(platformFolder, u"orvex_extensions.quarantine");
}

CString RefusedPackagesFile(const CString& platformFolder) {
    return Path::Combine(platformFolder, u"orvex_extensions.refused");
}

OvxUtils::SystemIO::HeldFile TakeInstallTurn(const CString& platformFolder) {
    constexpr std::chrono::seconds kPatience{30};
    auto held = OvxUtils::SystemIO::HeldFile::Hold(InstallLock(platformFolder), kPatience);
    return held ? std::move(*held) : OvxUtils::SystemIO::HeldFile();
}

CString ExtensionFolder(const CString& platformFolder, const OvxUtils::Guid& documentId) {
    return Path::Combine(platformFolder, documentId.ToString());
}

CString VersionFolder(const CString& platformFolder, const OvxUtils::Guid& documentId, const OvxUtils::Version& version) {
    return Path::Combine(ExtensionFolder(platformFolder, documentId), version.ToString());
}

CString InstalledCopy(const CString& versionFolder) {
    return Path::SetExtension(Path::Combine(versionFolder, u"installed_copy"), Get_Extension_FileExtension());
}

CString UnpackedFolder(const CString& versionFolder) { return Path::Combine(versionFolder, u"unpacked"); }


std::vector<ExistingCopy> ExistingCopies(const CString& extensionFolder) {
    std::vector<ExistingCopy> copies;
    for (const CString& folder : OvxUtils::SystemIO::Folder::GetSubfolders(extensionFolder, false)) {
        // Work in progress (a version being deleted) is no copy.
        if (OvxUtils::SystemIO::TemporaryName::IsTemporary(Path::GetFileName(folder))) continue;
        copies.push_back({OvxUtils::Version::Parse(Path::GetFileName(folder)), InstalledCopy(folder)});
    }
    std::sort(copies.begin(), copies.end(), [](const ExistingCopy& a, const ExistingCopy& b) {
        const int order = OvxUtils::Version::Compare(a.version, b.version);
        return order != 0 ? order < 0 : a.installedCopy < b.installedCopy;
    });
    return copies;
}

}  // namespace OvxComponent::InstallLayout
