// The widget kind of package.
#include "widget_package.h"

#include "container/zip_container_schema.h"

namespace OvxTest {

namespace {

using namespace VdcContainer;
namespace Keys = ZipContainerSchema::Metadata;

const XmlNS::ElementDef kWidget{kWidgetNs, "widget"};
const XmlNS::ElementDef kPart{kWidgetNs, "part"};
const XmlNS::ElementDef kNeeds{kWidgetNs, "needs"};
const XmlNS::ElementDef kName{kWidgetNs, "name"};

ZipFileLocation NeedsLocation() {
    return ZipFileLocation{u"needs.xml", u"application/x-test-needs+xml", u"requirements"};
}

}  // namespace

WidgetInfo SampleWidget() {
    WidgetInfo widget;
    widget.name = "Sprocket \xE2\x98\x83";
    widget.parts = {"gear", "axle & wheel"};
    widget.need = "power";
    widget.id = OvxUtils::Guid(0x6B2D6A10, 0x1C1E, 0x4E0B, {0x9D, 0x1F, 0x0A, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F});
    widget.title = MultiLanguageString(u"Sprocket");
    widget.title.Set(u"de", u"Kettenrad");
    widget.derivedFrom = {OvxUtils::Guid(1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11})};
    return widget;
}

bool WidgetInfo::Serialize(Metadata::Container& metadata, XmlNS::Node& root, AddRootFileDelegate addRootFile) {
    if (failSerialize) return false;
    root.SetAttribute(kName, name);
    for (const std::string& part : parts) root.AddChildNode(kPart, part);
    metadata.SetStringMetadata(Keys::SubFormat, u"widget");
    metadata.SetMetadata(Keys::DocumentID, OvxUtils::Any(id));
    metadata.SetMetadata(Keys::Title, OvxUtils::Any(title));
    metadata.SetMetadata(Keys::DerivedFrom, OvxUtils::Any(derivedFrom));
    return addRootFile(NeedsLocation(), kNeeds, [this](XmlNS::Node& needs) { return needs.SetAttribute(kName, need); });
}

bool WidgetInfo::Deserialize(const Metadata::Container& metadata, const XmlNS::Node& root,
                             ReadRootFileDelegate readRootFile) {
    name = root.GetAttribute(kName).value_or("");
    for (const XmlNS::Node* part : root.GetChildNodes(kPart)) parts.push_back(part->GetText());
    const OvxUtils::Any documentId = metadata.GetMetadata(Keys::DocumentID);
    if (!documentId.Is<OvxUtils::Guid>()) return false;
    id = *documentId.Get<OvxUtils::Guid>();
    if (const auto* read = metadata.GetMetadata(Keys::Title).Get<MultiLanguageString>()) title = *read;
    if (const auto* read = metadata.GetMetadata(Keys::DerivedFrom).Get<std::vector<OvxUtils::Guid>>()) derivedFrom = *read;
    return readRootFile(NeedsLocation(), kNeeds, [this](const XmlNS::Node& needs) {
        need = needs.GetAttribute(kName).value_or("");
        return !need.empty();
    });
}

SubtypeClass WidgetClass::operator()() const {
    return SubtypeClass{{kWidgetMimeType},
                        RootFileInfo{u"widget.xml", kWidget, u"application/x-test-widget+xml"},
                        [](const Metadata::Container&, const XmlNS::Node&, ReadRootFileDelegate) {
                            return std::make_unique<WidgetInfo>();
                        }};
}

}  // namespace OvxTest
