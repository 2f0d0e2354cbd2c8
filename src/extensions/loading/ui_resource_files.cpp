// Finding UI modification and resource files.
#include "OvxComponent/extensions/loading/ui_resource_files.h"

#include "OvxComponent/extensions/format/runtime_bits.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <algorithm>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;

// The marker may be a file or a folder: authors make either.
bool MarkerExists(const CString& path) { return SystemIO::File::Exists(path) || SystemIO::Folder::Exists(path); }

bool HasAddonMarker(const CString& file, OvxUtils::array_view<const CString> addonNames) {
    static const CString kPlatformWord = OvxUtils::ToString(OvxUtils::runtime_bits::x64);
    const CString folder = SystemIO::Path::GetParentFolder(file);
    return std::any_of(addonNames.begin(), addonNames.end(), [&](const CString& name) {
        return MarkerExists(SystemIO::Path::Combine(folder, name, u"addon")) ||
               MarkerExists(SystemIO::Path::Combine(folder, name + u"." + kPlatformWord, u"addon"));
    });
}

std::vector<CString> FindWithMarker(const CString& folder, const CString& fileName,
                                    OvxUtils::array_view<const CString> addonNames) {
    std::vector<CString> found = SystemIO::File::Find(folder, fileName, true);
    std::erase_if(found, [&](const CString& file) { return !HasAddonMarker(file, addonNames); });
    return found;
}

std::vector<UiModification> ToModifications(std::vector<CString> paths) {
    std::vector<UiModification> modifications;
    modifications.reserve(paths.size());
    for (CString& path : paths) modifications.push_back({std::move(path)});
    return modifications;
}

}  // namespace

UiModificationFiles FindUiModifications(const CString& folder, OvxUtils::array_view<const CString> addonNames) {
    UiModificationFiles files;
    files.application = ToModifications(FindWithMarker(folder, u"appui.xslt", addonNames));
    files.user = ToModifications(FindWithMarker(folder, u"userui.xslt", addonNames));
    return files;
}

std::vector<CString> FindResourceFiles(const CString& folder, OvxUtils::array_view<const CString> addonNames) {
    return FindWithMarker(folder, u"config.xml", addonNames);
}

}  // namespace OvxComponent
