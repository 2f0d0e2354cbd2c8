/// \file
/// Metadata::Property::Def: the key of one container metadata property, and the kinds of
/// value a property may hold.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/xml_names.h"

#include <string>
#include <tuple>

namespace VdcContainer::Metadata::Property {

/// A property is named like an XML element: namespace URI and local name. Two keys are the
/// same property when URI and name are equal, whatever the prefix.
struct Def {
    /// The property's namespace.
    XmlNS::NamespaceDef ns;
    /// The property's local name.
    std::string name;
};

/// Equal when namespace URI and name are.
/// \param a The first property.
/// \param b The second property.
/// \return Whether they are the same property.
inline bool operator==(const Def& a, const Def& b) { return a.ns.uri == b.ns.uri && a.name == b.name; }
/// Orders by namespace URI, then name.
/// \param a The first property.
/// \param b The second property.
/// \return Whether a comes first.
inline bool operator<(const Def& a, const Def& b) {
    return std::tie(a.ns.uri, a.name) < std::tie(b.ns.uri, b.name);
}

/// The kinds of value, each held in an OvxUtils::Any as the C++ type named here.
enum class Kind {
    String,               ///< CString
    Guid,                 ///< OvxUtils::Guid
    GuidList,             ///< std::vector<OvxUtils::Guid>
    MultiLanguageString,  ///< MultiLanguageString
};

}  // namespace VdcContainer::Metadata::Property
