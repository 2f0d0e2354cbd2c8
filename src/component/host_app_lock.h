// HostAppLock: the lock that COM objects handed to script clients hold on the host
// application (see CComObjectAppLock). It locks the application object registered with
// SetAppInterface at the time of the call, and does nothing while none is registered.
#pragma once

namespace OvxComponent {

struct HostAppLock {
    // Lets an exception of the host's LockApplication through to the caller.
    static void Lock();
    static void Unlock();
};

}  // namespace OvxComponent
