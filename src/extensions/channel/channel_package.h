// What the channel reads from a repository's target before it places one: the package's
// own fields, which packages a host wants by default, and the name the package gets in
// the destination folder.
#pragma once

#include "OvxComponent/extensions/channel/update_channel.h"
#include "OvxComponent/extensions/format/extension_app_support.h"
#include "update/metadata.h"

#include <set>

namespace OvxComponent {

// The target's "orvex" custom fields; fields of the wrong kind are left empty.
ChannelPackage ReadChannelPackage(const OvxUpdate::TargetFile& target);

// The default choice: packages with the fields, for an application the host supports (or
// none named) and this platform (or none named).
bool IsForThisHost(const ChannelPackage& package, const std::set<ExtensionAppSupport>& supported);

// The file name a target gets in the destination: the last part of its path, when that is
// a name every system accepts and no scan skips (no dot first, no reserved or special
// characters, no device names); otherwise the error says why.
OvxUtils::Result<CString> DestinationName(const std::string& targetPath);

}  // namespace OvxComponent
