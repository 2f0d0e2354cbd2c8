// A MultiLanguageString as XML: one <text> child per variant, the default one without a
// lang attribute. Shared by the manifest and the metadata entry. Internal.
#pragma once

#include "OvxComponent/container/xml_node.h"
#include "OvxComponent/platform/multi_language_string.h"

namespace VdcContainer {

bool WriteMultiLanguage(XmlNS::Node& parent, const MultiLanguageString& value);
MultiLanguageString ReadMultiLanguage(const XmlNS::Node& parent);

}  // namespace VdcContainer
