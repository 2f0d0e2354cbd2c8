// ExtensionContainerClass: how the container library recognises an extension package and
// makes its record.
#include "OvxComponent/extensions/format/extension_container_class.h"

#include "OvxComponent/extensions/format/extension_container_info.h"
#include "OvxComponent/extensions/format/extension_container_schema.h"

namespace OvxComponent {

VdcContainer::SubtypeClass ExtensionContainerClass::operator()() const {
    VdcContainer::SubtypeClass subtypeClass;
    subtypeClass.mimeTypes = {ExtensionContainerSchema::mimeType};
    subtypeClass.mainRootFile.name = ExtensionContainerSchema::configFile;
    subtypeClass.mainRootFile.rootElement = ExtensionContainerSchema::xml::extension_root_node;
    subtypeClass.mainRootFile.mimeType = ExtensionContainerSchema::mainRootFileMimeType;
    subtypeClass.factory = [](const VdcContainer::Metadata::Container&, const VdcContainer::XmlNS::Node&,
                              VdcContainer::ReadRootFileDelegate) -> std::unique_ptr<VdcContainer::SubtypeInfo> {
        return std::make_unique<ExtensionContainerInfo>();
    };
    return subtypeClass;
}

}  // namespace OvxComponent
