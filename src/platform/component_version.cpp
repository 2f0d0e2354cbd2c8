// The suite version that this component belongs to. Requirement checks compare against
// it; it is part of the suite, not of a release of the library, so it is fixed here.
#include "platform/component_version.h"

namespace OvxComponent {

OvxUtils::Version GetComponentVersion() { return {18, 0, 0, 448}; }

}  // namespace OvxComponent
