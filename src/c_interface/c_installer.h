// CInstaller: an IExtensionInstaller made of the host's C callbacks. The extensions it
// loads are CExtensionState objects that carry the host's token.
#pragma once

#include "OvxComponent/extensions/loading/extension_installer.h"
#include "OvxComponent/ovx_component.h"

#include <memory>

namespace OvxComponent::CInterface {

class CInstaller final : public IExtensionInstaller {
public:
    explicit CInstaller(const ovx_installer_callbacks& callbacks) : m_callbacks(callbacks) {}
    ~CInstaller() override;
    CInstaller(const CInstaller&) = delete;
    CInstaller& operator=(const CInstaller&) = delete;

    std::shared_ptr<IExtensionState> Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                          CString mimeType, CString path) const override;
    OvxUtils::optional<UnloadResult> Unload(std::shared_ptr<IExtensionState>& state) const override;
    bool RemoveData(CString folder) const override;

private:
    ovx_installer_callbacks m_callbacks;
};

}  // namespace OvxComponent::CInterface
