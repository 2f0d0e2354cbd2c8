// InstallerRegistry: the installers that hosts register, by MIME type.
//
// Works on the manager's table and log and owns nothing itself. A MIME type once
// registered stays taken, also after its installer went: the table keeps a weak
// reference, which expires when the host releases the registration.
#pragma once

#include "OvxComponent/extensions/loading/extension_installer.h"
#include "extensions/log/extension_log.h"

#include <functional>
#include <memory>
#include <set>
#include <unordered_map>

namespace OvxComponent {

using InstallerTable = std::unordered_map<CString, std::weak_ptr<const IExtensionInstaller>>;

// The installer of a MIME type: none registered, registered but released, or alive.
struct InstallerLookup {
    bool registered = false;
    std::shared_ptr<const IExtensionInstaller> installer;  // null unless alive
};
InstallerLookup FindInstaller(const InstallerTable& installers, const CString& mimeType);

class InstallerRegistry {
public:
    // Runs when the host releases the last copy of a registration, with the installer,
    // which is still alive then.
    using OnRelease = std::function<void(const std::set<CString>& mimeTypes,
                                         const std::shared_ptr<const IExtensionInstaller>& installer)>;

    InstallerRegistry(InstallerTable& installers, ExtensionLog& log) : m_installers(installers), m_log(log) {}

    // Registers installer for every one of mimeTypes, all or nothing. The answer is the
    // registration the host keeps; null when refused, with the reason logged.
    std::shared_ptr<const IExtensionInstaller> Register(const std::set<CString>& mimeTypes,
                                                        std::shared_ptr<const IExtensionInstaller> installer,
                                                        OnRelease onRelease);

private:
    InstallerTable& m_installers;
    ExtensionLog& m_log;
};

}  // namespace OvxComponent
