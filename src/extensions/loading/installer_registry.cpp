// InstallerRegistry: registering installers by MIME type, all or nothing, and finding the
// installer of a type.
#include "extensions/loading/installer_registry.h"

#include "extensions/loading/also_at_destroy.h"

namespace OvxComponent {

using namespace LogMessages;

InstallerLookup FindInstaller(const InstallerTable& installers, const CString& mimeType) {
    const auto entry = installers.find(mimeType);
    if (entry == installers.end()) return {};
    return {true, entry->second.lock()};
}

std::shared_ptr<const IExtensionInstaller> InstallerRegistry::Register(
    const std::set<CString>& mimeTypes, std::shared_ptr<const IExtensionInstaller> installer, OnRelease onRelease) {
    const CString manager(kManagerSubject);
    m_log.Write(kRegisteringInstaller, manager);
    for (const CString& type : mimeTypes) m_log.Information(type, u"registered");
    if (mimeTypes.empty()) {
        m_log.Error(manager, u"no mime types for installer?");
        return nullptr;
    }
    if (!installer) {
        m_log.Write(kNullInstaller, manager);
        return nullptr;
    }
    for (const CString& type : mimeTypes) {
        if (m_installers.contains(type)) {
            m_log.Error(type, u"duplicate mime type handler!");
            return nullptr;
        }
    }

    auto release = [types = mimeTypes, onRelease = std::move(onRelease)](
                       const std::shared_ptr<const IExtensionInstaller>& inner) { onRelease(types, inner); };
    std::shared_ptr<const IExtensionInstaller> registration = MakeAlsoAtDestroy(std::move(installer), std::move(release));
    for (const CString& type : mimeTypes) m_installers[type] = registration;
    return registration;
}

}  // namespace OvxComponent
