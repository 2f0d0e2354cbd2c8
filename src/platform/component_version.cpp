// The component's own version, fixed at build time.
#include "platform/component_version.h"

namespace OvxComponent {

OvxUtils::Version GetComponentVersion() {
    return {OVX_VERSION_MAJOR, OVX_VERSION_MINOR, OVX_VERSION_PATCH, OVX_VERSION_TWEAK};
}

}  // namespace OvxComponent
