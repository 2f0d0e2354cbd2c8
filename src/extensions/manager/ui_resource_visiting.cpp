// ExtensionManagerImpl: handing the UI modification and resource files of loaded
// extensions to the host's callbacks.
#include "extensions/manager/extension_manager_impl.h"

namespace OvxComponent {

namespace {

using namespace LogMessages;

}  // namespace

bool ExtensionManagerImpl::VisitUiModifications(UiModifier visitor) {
    log.Information(CString(kManagerSubject), u"visiting all ui modifications");
    std::vector<UiModification> application;
    std::vector<UiModification> user;
    for (const auto& [documentId, record] : loadedExtensions) {
        if (!record.state) {
            log.Information(documentId, u"extension already unloaded");
            continue;
        }
        UiModificationFiles files = FindUiModifications(record.path, addonNames);
        if (files.IsEmpty()) {
            log.Write(kNoUiModsDetected, documentId);
            continue;
        }
        log.Information(documentId, u"ui mods detected, visiting");
        application.insert(application.end(), files.application.begin(), files.application.end());
        user.insert(user.end(), files.user.begin(), files.user.end());
    }
    return visitor(application, user, uiModificationFlag);
}

bool ExtensionManagerImpl::VisitResources(ResourceLoader visitor) {
    log.Information(CString(kManagerSubject), u"visiting all resource files");
    std::vector<CString> resources;
    for (const auto& [documentId, record] : loadedExtensions) {
        if (!record.state) {
            log.Information(documentId, u"extension already unloaded");
            continue;
        }
        const std::vector<CString> files = FindResourceFiles(record.path, addonNames);
        if (files.empty()) {
            log.Write(kNoResourcesDetected, documentId);
            continue;
        }
        log.Write(kResourcesDetected, documentId);
        resources.insert(resources.end(), files.begin(), files.end());
    }
    return visitor(resources);
}

void ExtensionManagerImpl::SetUiHandlers(UiModifier modifier, std::function<void()> reload) {
    // Extensions loaded before the host had a modifier get their UI files now, once.
    if (!uiModifier && modifier) VisitUiModifications(modifier);
    uiModifier = std::move(modifier);
    uiReload = std::move(reload);
}

void ExtensionManagerImpl::SetResourceLoader(ResourceLoader loader) {
    if (!resourceLoader && loader) VisitResources(loader);
    resourceLoader = std::move(loader);
}

}  // namespace OvxComponent
