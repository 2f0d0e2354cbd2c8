// The C interface's manager handle, shared by the files that take one.
#pragma once

#include "OvxComponent/extensions/manager/extension_manager.h"
#include "OvxComponent/ovx_component.h"

#include <memory>

struct ovx_manager {
    std::shared_ptr<OvxComponent::IExtensionManager> manager;
};
