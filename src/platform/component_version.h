// The version of this component, fixed at build time. Hosts of the same suite carry the
// same version, and extension requirements on the suite version are checked against it.
#pragma once

#include "platform/version.h"

namespace OvxComponent {

OVX_API OvxUtils::Version GetComponentVersion();

}  // namespace OvxComponent
