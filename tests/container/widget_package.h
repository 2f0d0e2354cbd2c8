// A small kind of package for the tests: WidgetInfo writes a main root file, a second root
// file and metadata of every kind, and reads them back.
#pragma once

#include "OvxComponent/container/subtype_class.h"
#include "OvxComponent/container/subtype_info.h"
#include "OvxComponent/container/zip_container_subtype.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/multi_language_string.h"

#include <string>
#include <vector>

namespace OvxTest {

inline const VdcContainer::XmlNS::NamespaceDef kWidgetNs{"", "urn:test:widget"};
inline const CString kWidgetMimeType = u"application/x-test-widget+zip";

struct WidgetInfo final : VdcContainer::SubtypeInfo {
    std::string name;
    std::vector<std::string> parts;
    std::string need;  // kept in the second root file, needs.xml
    OvxUtils::Guid id;
    MultiLanguageString title;
    std::vector<OvxUtils::Guid> derivedFrom;
    bool failSerialize = false;

    bool Serialize(VdcContainer::Metadata::Container& metadata, VdcContainer::XmlNS::Node& root,
                   VdcContainer::AddRootFileDelegate addRootFile) override;
    bool Deserialize(const VdcContainer::Metadata::Container& metadata, const VdcContainer::XmlNS::Node& root,
                     VdcContainer::ReadRootFileDelegate readRootFile) override;
    std::unique_ptr<VdcContainer::SubtypeInfo> Clone() const override { return std::make_unique<WidgetInfo>(*this); }

    friend bool operator==(const WidgetInfo& a, const WidgetInfo& b) {
        return a.name == b.name && a.parts == b.parts && a.need == b.need && a.id == b.id && a.title == b.title &&
               a.derivedFrom == b.derivedFrom;
    }
};

// A filled record.
WidgetInfo SampleWidget();

struct WidgetClass {
    VdcContainer::SubtypeClass operator()() const;
};

using WidgetPackage = VdcContainer::ZipContainerSubtype<WidgetInfo, WidgetClass>;

}  // namespace OvxTest
