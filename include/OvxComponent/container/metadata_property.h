// Metadata::Property::Def: the key of one container metadata property, and the kinds of
// value a property may hold.
#pragma once

#include "OvxComponent/container/xml_names.h"

#include <string>
#include <tuple>

namespace VdcContainer::Metadata::Property {

// A property is named like an XML element: namespace URI and local name. Two keys are the
// same property when URI and name are equal, whatever the prefix.
struct Def {
    XmlNS::NamespaceDef ns;
    std::string name;
};

inline bool operator==(const Def& a, const Def& b) { return a.ns.uri == b.ns.uri && a.name == b.name; }
inline bool operator<(const Def& a, const Def& b) {
    return std::tie(a.ns.uri, a.name) < std::tie(b.ns.uri, b.name);
}

// The kinds of value, each held in an OvxUtils::Any as the C++ type named here.
enum class Kind {
    String,               // CString
    Guid,                 // OvxUtils::Guid
    GuidList,             // std::vector<OvxUtils::Guid>
    MultiLanguageString,  // MultiLanguageString
};

}  // namespace VdcContainer::Metadata::Property
