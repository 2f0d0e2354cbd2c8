// The version of this component, fixed at build time. Hosts of the same suite carry the
// same version, and extension requirements on the suite version are checked against it.
#pragma once

#include "OvxComponent/platform/version.h"

namespace OvxComponent {

OvxUtils::Version GetComponentVersion();

}  // namespace OvxComponent
