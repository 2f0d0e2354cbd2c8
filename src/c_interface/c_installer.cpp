// The installer that forwards to a C host's callbacks.
#include "c_interface/c_installer.h"

#include <string>

namespace OvxComponent::CInterface {
namespace {

class CExtensionState final : public IExtensionState {
public:
    CExtensionState(ExtensionData data, void* token) : m_data(std::move(data)), m_token(token) {}

    const ExtensionData& Data() const override { return m_data; }
    bool IsUnloaded() const override { return m_unloaded; }
    bool IsLoaded() const override { return !m_unloaded; }
    bool Invoke(CString) const override { return false; }

    void* Token() const { return m_token; }
    void MarkUnloaded() { m_unloaded = true; }

private:
    ExtensionData m_data;
    void* m_token;
    bool m_unloaded = false;
};

}  // namespace

CInstaller::~CInstaller() {
    if (m_callbacks.destroy) m_callbacks.destroy(m_callbacks.context);
}

std::shared_ptr<IExtensionState> CInstaller::Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                                  CString mimeType, CString path) const {
    const std::string id = documentId.ToString().ToUtf8();
    const std::string versionText = version.ToString().ToUtf8();
    const std::string mime = mimeType.ToUtf8();
    const std::string folder = path.ToUtf8();
    const ovx_extension_info info{id.c_str(), versionText.c_str(), mime.c_str(), folder.c_str()};
    void* token = m_callbacks.load(m_callbacks.context, &info);
    if (!token) return nullptr;

    ExtensionData data;
    data.DocumentID = documentId;
    data.Version = version;
    data.ExtensionType = std::move(mimeType);
    return std::make_shared<CExtensionState>(std::move(data), token);
}

OvxUtils::optional<UnloadResult> CInstaller::Unload(std::shared_ptr<IExtensionState>& state) const {
    auto* extension = dynamic_cast<CExtensionState*>(state.get());
    if (!extension) return std::nullopt;
    switch (m_callbacks.unload(m_callbacks.context, extension->Token())) {
    case OVX_UNLOADED:
        extension->MarkUnloaded();
        return UnloadResult::Unloaded;
    case OVX_UNLOAD_DELAYED:
        return UnloadResult::Delayed;
    default:
        return std::nullopt;
    }
}

bool CInstaller::RemoveData(CString folder) const {
    if (!m_callbacks.remove_data) return false;
    return m_callbacks.remove_data(m_callbacks.context, folder.ToUtf8().c_str()) != 0;
}

}  // namespace OvxComponent::CInterface
