/// \file
/// Finding the host's user-interface service. Internal to the host services.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/component/app_ui_service.h"
#include "OvxComponent/component/orvex_cmn_app.h"

namespace OvxComponent {

/// The service that app offers, or null (also when app is null). Host-owned: not released.
/// \param app The host's application interface, or null.
/// \return The service, or null.
inline IAppUIService* FindHostUIService(IOrvexCmn_App* app) {
    if (!app) return nullptr;
    void* service = nullptr;
    app->QueryInterface(IID_IAppUIService, &service);
    return static_cast<IAppUIService*>(service);
}

}  // namespace OvxComponent
