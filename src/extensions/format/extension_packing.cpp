// PackFiles and PackFile: packages made from files on disk; the package file extension.
#include "OvxComponent/extensions/format/extension_packing.h"

#include "OvxComponent/extensions/format/extension_container_schema.h"
#include "container/add_files.h"
#include "platform/system_io/path.h"

#include <map>
#include <memory>
#include <vector>

namespace OvxComponent {

CString Get_Extension_FileExtension() {
    static const CString extension(ExtensionContainerSchema::fileExtension);
    return extension;
}

ExtensionContainer PackFiles(ExtensionContainerOpener opener, ExtensionData data, CString folder,
                             OvxUtils::array_view<const CString> files) {
    auto info = std::make_unique<ExtensionContainerInfo>();
    info->data() = std::move(data);
    ExtensionContainer container = opener ? opener() : ExtensionContainer();
    if (!container) return ExtensionContainer();
    container.SetInfo(std::move(info));
    const std::map<CString, VdcContainer::ZipContainer::RootFileInfo> rootFiles;
    if (!VdcContainer::AddFiles(container, OvxUtils::SystemIO::Path::GetFolderName(folder), files, u"content",
                                rootFiles)) {
        // Released without saving, so that a failed pack leaves no package behind.
        container.Container().Discard();
        return ExtensionContainer();
    }
    return container;
}

ExtensionContainer PackFile(ExtensionContainerOpener opener, ExtensionData data, CString file) {
    const std::vector<CString> files{file};
    const CString folder = OvxUtils::SystemIO::Path::GetFolderName(file);
    return PackFiles(std::move(opener), std::move(data), folder, files);
}

}  // namespace OvxComponent
