// ExtensionManagerImpl: loading unpacked extensions through their installers, and
// unloading them.
#include "extensions/manager/extension_manager_impl.h"

namespace OvxComponent {

namespace {

using namespace LogMessages;
using VdcContainer::Error;

LoadOutcome Failed(CString text) { return {LoadOutcome::Kind::Failed, {}, {}, std::move(text)}; }
LoadOutcome NotLoaded(OpenedPackage waiting) { return {LoadOutcome::Kind::NotLoaded, {}, std::move(waiting), {}}; }
LoadOutcome Loaded(LoadedExtension loaded) { return {LoadOutcome::Kind::Loaded, std::move(loaded), {}, {}}; }

// The metadata of an unpacked extension, or the logged reason why it has none.
VdcContainer::Result<const ExtensionContainerInfo*> ReadMetadata(ExtensionLog& log, const OpenedPackage& unpacked,
                                                                 const CString& path) {
    if (unpacked.container && unpacked.container->GetInfo()) return unpacked.container->GetInfo();
    CString reason = unpacked.container ? unpacked.container->GetInfoError() : CString(u"the package is not open");
    if (reason.IsEmpty()) reason = u"the package has no extension metadata";
    return Error{log.Warning(path, reason)};
}

}  // namespace

LoadOutcome ExtensionManagerImpl::TryLoad(const OpenedPackage& unpacked) {
    const CString path = unpacked.path.value_or(CString());
    log.Information(path, u"trying to load");
    LoadOutcome outcome = LoadIfReady(unpacked);
    if (outcome.IsLoaded()) {
        log.Information(outcome.loaded.path, u"try load worked.");
        return outcome;
    }
    if (initialLoadDone) {
        log.Write(kFailedToLoad, path);
    } else {
        log.Information(path, u"not loaded yet");
    }
    return NotLoaded(unpacked);
}

LoadOutcome ExtensionManagerImpl::LoadIfReady(OpenedPackage unpacked) {
    const CString path = unpacked.path.value_or(CString());
    auto info = ReadMetadata(log, unpacked, path);
    if (!info) return Failed(info.ErrorText());
    const CString type = (*info)->GetExtensionType();
    const auto entry = installers.find(type);
    const bool registered = entry != installers.end();
    const bool alive = registered && !entry->second.expired();
    if (loaderActive && alive) {
        log.Information(path, u"ready to load now");
        LoadOutcome outcome = LoadFromPath(std::move(unpacked));
        if (!outcome.IsLoaded()) return Failed(log.Information(path, outcome.error));
        log.Write(kLoaded, path);
        return outcome;
    }
    if (!loaderActive) {
        log.Write(kUnpackedBeforeAutoload, path);
    } else if (!registered) {
        log.Write(kUnpackedBeforeLoaderActive, path);
    } else if (!alive) {
        log.Write(kUnpackedAfterLoaderDestroyed, path);
    } else {
        log.Write(kUnpackedNotLoaded, path);
    }
    return NotLoaded(std::move(unpacked));
}

LoadOutcome ExtensionManagerImpl::LoadFromPath(OpenedPackage unpacked) {
    const CString path = unpacked.path.value_or(CString());
    log.Information(path, u"loading from path");
    auto metadata = ReadMetadata(log, unpacked, path);
    if (!metadata) return Failed(metadata.ErrorText());
    const ExtensionContainerInfo& info = **metadata;
    const OvxUtils::Guid documentId = info.GetDocumentID();
    log.Associate(path, documentId);
    log.Write(kLoadingThisExtension, documentId);

    const CString type = info.GetExtensionType();
    const auto entry = installers.find(type);
    if (entry == installers.end()) return Failed(log.Write(kMimeTypeNotRegistered, documentId));
    const std::shared_ptr<const IExtensionInstaller> installer = entry->second.lock();
    if (!installer) return Failed(log.Write(kMimeTypeHandlerNotFunctional, documentId));
    std::shared_ptr<IExtensionState> state = installer->Load(documentId, info.GetVersion(), type, path);
    if (!state) return Failed(log.Write(kLoaderFailed, documentId));
    log.Information(documentId, u"extension loaded");

    if (!resourceLoader) {
        log.Information(documentId, u"loaded before resource loader installed");
    } else if (const std::vector<CString> files = FindResourceFiles(path, addonNames); files.empty()) {
        log.Information(documentId, u"no resource found");
    } else if (resourceLoader(files)) {
        log.Information(documentId, u"resources loaded");
    } else {
        log.Write(kResourcesFailed, documentId);
    }

    LoadedExtension record{state, std::move(unpacked.container), path};
    loadedExtensions[state->Data().DocumentID] = record;

    if (!uiModifier) {
        log.Write(kLoadedWithoutUiModifications, documentId);
    } else if (const UiModificationFiles files = FindUiModifications(path, addonNames); files.IsEmpty()) {
        log.Write(kNoUiModificationsFound, documentId);
    } else if (uiModifier(files.application, files.user, uiModificationFlag)) {
        log.Write(kUiModificationsApplied, documentId);
    } else {
        log.Write(kUiModificationsFailed, documentId);
    }
    return Loaded(std::move(record));
}

UnloadOutcome ExtensionManagerImpl::UnloadExtension(std::shared_ptr<IExtensionState> state, bool skipUiReload) {
    if (!state) return Error{log.Write(kNullExtension, OvxUtils::Guid())};
    const ExtensionData& data = state->Data();
    const OvxUtils::Guid documentId = data.DocumentID;
    const auto entry = installers.find(data.ExtensionType);
    if (entry == installers.end()) return Error{log.Warning(documentId, u"mime type not found")};
    const std::shared_ptr<const IExtensionInstaller> installer = entry->second.lock();
    if (!installer) return Error{log.Write(kInstallerNotFound, documentId)};
    const OvxUtils::optional<UnloadResult> answer = installer->Unload(state);
    if (!answer) return Error{log.Write(kUnloadFailed, documentId)};

    if (*answer == UnloadResult::Unloaded) {
        if (const auto found = loadedExtensions.find(documentId); found != loadedExtensions.end()) {
            // Only a reload needs to know whether the extension had UI files.
            const bool reload = !skipUiReload && uiReload && !FindUiModifications(found->second.path, addonNames).IsEmpty();
            found->second.state.reset();
            if (reload) uiReload();
        }
    }
    return *answer;
}

std::optional<std::shared_ptr<IExtensionState>> ExtensionManagerImpl::FindExtension(const OvxUtils::Guid& documentId) {
    const auto found = loadedExtensions.find(documentId);
    if (found == loadedExtensions.end() || !found->second.state || !found->second.container ||
        !found->second.container->IsOpen()) {
        return std::nullopt;
    }
    return found->second.state;
}

std::vector<UnloadOutcome> ExtensionManagerImpl::UnloadAll() {
    const CString manager(kManagerSubject);
    log.Write(kUnloadingEverything, manager);
    std::vector<UnloadOutcome> outcomes;
    const auto records = loadedExtensions;
    for (const auto& [documentId, record] : records) {
        if (record.state && record.container && record.container->IsOpen()) {
            outcomes.push_back(UnloadExtension(record.state, true));
        }
    }
    loadedExtensions.clear();
    log.Information(manager, u"finished unloading everything");
    return outcomes;
}

}  // namespace OvxComponent
