// Opening packages for the read-only commands, and reading a refused record again.
#include "package_reader.h"

#include "command_context.h"

#include "platform/system_io/file.h"

namespace Ovxext {

using VdcContainer::Error;
using OvxUtils::Result;

Result<OvxComponent::ExtensionContainer> OpenPackage(const std::string& path) {
    const CString file = FromUtf8(path);
    if (!OvxUtils::SystemIO::File::Exists(file)) return Error{u"no such file"};
    return OvxComponent::ExtensionContainer::Open(file, VdcContainer::ZipFile::OpenMode::ReadOnly);
}

std::unique_ptr<OvxComponent::ExtensionContainerInfo> ReadRecordAgain(const OvxComponent::ExtensionContainer& package,
                                                                      bool& complete) {
    complete = false;
    const VdcContainer::ZipContainer& container = package.Container();
    const VdcContainer::RootFileInfo* main = container.GetMainRootFile();
    if (main == nullptr) return nullptr;
    auto document = container.ReadXml(main->name);
    if (!document) return nullptr;
    const VdcContainer::ReadRootFileDelegate reader = [&container](VdcContainer::ZipFileLocation location,
                                                                   const VdcContainer::XmlNS::ElementDef& rootElement,
                                                                   OvxUtils::Delegate<bool(const VdcContainer::XmlNS::Node&)> read) {
        auto file = container.ReadXml(location.fileName);
        if (!file || !(*file)->Root().Is(rootElement) || !read) return false;
        return read((*file)->Root());
    };
    auto info = std::make_unique<OvxComponent::ExtensionContainerInfo>();
    complete = info->Deserialize(container.GetMetadata(), (*document)->Root(), reader);
    return info;
}

}  // namespace Ovxext
