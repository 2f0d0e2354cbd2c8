// HostAppLock: the lock on the registered host application object, while there is one.
#include "component/host_app_lock.h"

#include "OvxComponent/component/host_binding.h"
#include "OvxComponent/component/orvex_cmn_app.h"

namespace OvxComponent {

void HostAppLock::Lock() {
    if (IOrvexCmn_App* app = GetAppInterface()) app->LockApplication();
}

void HostAppLock::Unlock() {
    if (IOrvexCmn_App* app = GetAppInterface()) app->UnlockApplication();
}

}  // namespace OvxComponent
