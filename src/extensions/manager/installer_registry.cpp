// ExtensionManagerImpl: registering installers by MIME type, and removing them when the
// host lets go of their registration.
#include "extensions/manager/extension_manager_impl.h"

#include "extensions/loading/also_at_destroy.h"

namespace OvxComponent {

namespace {

using namespace LogMessages;

}  // namespace

std::shared_ptr<const IExtensionInstaller> ExtensionManagerImpl::RegisterInstaller(
    std::set<CString> mimeTypes, std::shared_ptr<const IExtensionInstaller> installer) {
    const CString manager(kManagerSubject);
    log.Write(kRegisteringInstaller, manager);
    for (const CString& type : mimeTypes) log.Information(type, u"registered");
    if (mimeTypes.empty()) {
        log.Error(manager, u"no mime types for installer?");
        return nullptr;
    }
    if (!installer) {
        log.Write(kNullInstaller, manager);
        return nullptr;
    }
    // All or nothing; a type once registered stays taken, also after its installer went.
    for (const CString& type : mimeTypes) {
        if (installers.contains(type)) {
            log.Error(type, u"duplicate mime type handler!");
            return nullptr;
        }
    }

    auto removal = [manager = weak_from_this(), types = mimeTypes](const std::shared_ptr<const IExtensionInstaller>& inner) {
        RemoveInstaller(manager, types, inner);
    };
    std::shared_ptr<const IExtensionInstaller> registration = MakeAlsoAtDestroy(std::move(installer), std::move(removal));
    for (const CString& type : mimeTypes) installers[type] = registration;

    if (loaderActive) {
        log.Write(kNewInstallerScanning, manager);
        RunInitialLoadingPass();
    }
    return registration;
}

void ExtensionManagerImpl::RemoveInstaller(const std::weak_ptr<ExtensionManagerImpl>& weakManager,
                                           const std::set<CString>& mimeTypes,
                                           const std::shared_ptr<const IExtensionInstaller>& installer) {
    const std::shared_ptr<ExtensionManagerImpl> self = weakManager.lock();
    if (!self) return;
    ExtensionLog& log = self->log;
    const CString manager(kManagerSubject);
    log.Write(kInstallerBeingRemoved, manager);

    // Once one unloaded extension had UI files, every later one in the walk is reported as
    // having UI to remove as well, and the UI is reloaded once at the end.
    bool uiToRemove = false;
    for (auto& [documentId, record] : self->loadedExtensions) {
        if (!record.state) {
            log.Write(kAlreadyRemoved, documentId);
            continue;
        }
        if (!mimeTypes.contains(record.state->Data().ExtensionType)) continue;
        log.Information(documentId, u"handled by removed installer; unloading");
        installer->Unload(record.state);
        if (!uiToRemove) uiToRemove = !FindUiModifications(record.path, self->addonNames).IsEmpty();
        if (uiToRemove) log.Information(documentId, u"has UI to remove");
        record.state.reset();
    }
    if (!uiToRemove) return;
    if (!self->uiReload) {
        log.Information(manager, u"skipping UI reload");
        return;
    }
    log.Information(manager, u"reloading UI");
    self->uiReload();
}

}  // namespace OvxComponent
