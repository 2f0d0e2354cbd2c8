// IExtensionState: one loaded extension, as its installer made it. Implemented by
// installers; held by the manager (and by hosts through FindExtension) as
// std::shared_ptr<IExtensionState>, on the host's main thread.
#pragma once

#include "OvxComponent/extensions/format/extension_data.h"

namespace OvxComponent {

struct IExtensionState {
    // The extension's record; the manager reads its DocumentID and ExtensionType. Valid as
    // long as the state lives.
    virtual const ExtensionData& Data() const = 0;
    // A state starts loaded and becomes unloaded when its installer's Unload answers.
    virtual bool IsUnloaded() const = 0;
    virtual bool IsLoaded() const = 0;  // always !IsUnloaded()
    // Hands a request to the extension; false when it has no handler for requests.
    virtual bool Invoke(CString request) const = 0;
    virtual ~IExtensionState() = default;
};

}  // namespace OvxComponent
