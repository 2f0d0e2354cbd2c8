// ExtensionLoader: loading unpacked extensions through their installers, with the host's
// resource and UI steps, and unloading them.
#include "extensions/loading/extension_loader.h"

namespace OvxComponent {

namespace {

using namespace LogMessages;
using OvxUtils::Error;

// The metadata of an unpacked extension, or the logged reason why it has none.
OvxUtils::Result<const ExtensionContainerInfo*> ReadMetadata(ExtensionLog& log, const OpenedPackage& unpacked,
                                                             const CString& path) {
    auto info = MetadataOf(unpacked);
    if (!info) return Error{log.Warning(path, info.ErrorText())};
    return info;
}

}  // namespace

std::optional<LoadedExtension> ExtensionLoader::TryLoad(const OpenedPackage& unpacked) {
    const CString path = unpacked.path.value_or(CString());
    m_log.Information(path, u"trying to load");
    const LoadOutcome outcome = LoadIfReady(unpacked);
    if (const LoadedExtension* loaded = LoadedOf(outcome)) {
        m_log.Information(loaded->path, u"try load worked.");
        return *loaded;
    }
    if (m_phase.initialLoadDone) {
        m_log.Write(kFailedToLoad, path);
    } else {
        m_log.Information(path, u"not loaded yet");
    }
    return std::nullopt;
}

LoadOutcome ExtensionLoader::LoadIfReady(OpenedPackage unpacked) {
    const CString path = unpacked.path.value_or(CString());
    auto info = ReadMetadata(m_log, unpacked, path);
    if (!info) return info.TakeError();
    const InstallerLookup installer = FindInstaller(m_installers, (*info)->GetExtensionType());
    if (m_phase.loaderActive && installer.installer) {
        m_log.Information(path, u"ready to load now");
        auto loaded = LoadFromPath(std::move(unpacked));
        if (!loaded) return Error{m_log.Information(path, loaded.ErrorText())};
        m_log.Write(kLoaded, path);
        return {std::move(*loaded)};
    }
    if (!m_phase.loaderActive) {
        m_log.Write(kUnpackedBeforeAutoload, path);
    } else if (!installer.registered) {
        m_log.Write(kUnpackedBeforeLoaderActive, path);
    } else {
        m_log.Write(kUnpackedAfterLoaderDestroyed, path);
    }
    return {NotLoaded{std::move(unpacked)}};
}

OvxUtils::Result<LoadedExtension> ExtensionLoader::LoadFromPath(OpenedPackage unpacked) {
    const CString path = unpacked.path.value_or(CString());
    m_log.Information(path, u"loading from path");
    auto metadata = ReadMetadata(m_log, unpacked, path);
    if (!metadata) return metadata.TakeError();
    const ExtensionContainerInfo& info = **metadata;
    const OvxUtils::Guid documentId = info.GetDocumentID();
    m_log.Associate(path, documentId);
    m_log.Write(kLoadingThisExtension, documentId);

    const CString type = info.GetExtensionType();
    const InstallerLookup installer = FindInstaller(m_installers, type);
    if (!installer.registered) return Error{m_log.Write(kMimeTypeNotRegistered, documentId)};
    if (!installer.installer) return Error{m_log.Write(kMimeTypeHandlerNotFunctional, documentId)};
    if (auto refused = m_gate.Refuse(documentId)) return Error{*refused};
    std::shared_ptr<IExtensionState> state;
    {
        const auto note = m_calls.Enter(documentId, ExtensionCall::Load);
        state = installer.installer->Load(documentId, info.GetVersion(), type, path);
    }
    if (!state) return Error{m_log.Write(kLoaderFailed, documentId)};
    m_log.Information(documentId, u"extension loaded");

    m_files.LoadResources(documentId, path);
    LoadedExtension record{state, std::move(unpacked.container), path};
    m_loadedExtensions[state->Data().DocumentID] = record;
    m_files.ApplyUiModifications(documentId, path);
    return record;
}

UnloadOutcome ExtensionLoader::Unload(std::shared_ptr<IExtensionState> state, bool skipUiReload) {
    if (!state) return Error{m_log.Write(kNullExtension, OvxUtils::Guid())};
    const ExtensionData& data = state->Data();
    const OvxUtils::Guid documentId = data.DocumentID;
    const InstallerLookup installer = FindInstaller(m_installers, data.ExtensionType);
    if (!installer.registered) return Error{m_log.Warning(documentId, u"mime type not found")};
    if (!installer.installer) return Error{m_log.Write(kInstallerNotFound, documentId)};
    OvxUtils::optional<UnloadResult> answer;
    {
        const auto note = m_calls.Enter(documentId, ExtensionCall::Unload);
        answer = installer.installer->Unload(state);
    }
    if (!answer) return Error{m_log.Write(kUnloadFailed, documentId)};

    if (*answer == UnloadResult::Unloaded) {
        if (const auto found = m_loadedExtensions.find(documentId); found != m_loadedExtensions.end()) {
            // Only a reload needs to know whether the extension had UI files.
            const bool reload = !skipUiReload && m_uiReload && m_files.HasUiModifications(found->second.path);
            found->second.state.reset();
            if (reload) m_uiReload();
        }
    }
    return *answer;
}

std::optional<std::shared_ptr<IExtensionState>> ExtensionLoader::Find(const OvxUtils::Guid& documentId) const {
    const auto found = m_loadedExtensions.find(documentId);
    if (found == m_loadedExtensions.end() || !found->second.state || !IsHeld(found->second)) {
        return std::nullopt;
    }
    return found->second.state;
}

std::vector<UnloadOutcome> ExtensionLoader::UnloadAll() {
    const CString manager(kManagerSubject);
    m_log.Write(kUnloadingEverything, manager);
    std::vector<UnloadOutcome> outcomes;
    const LoadedExtensions records = m_loadedExtensions;
    for (const auto& [documentId, record] : records) {
        if (record.state && IsHeld(record)) {
            outcomes.push_back(Unload(record.state, true));
        }
    }
    m_loadedExtensions.clear();
    m_log.Information(manager, u"finished unloading everything");
    return outcomes;
}

void ExtensionLoader::UnloadServedBy(const std::set<CString>& mimeTypes, const IExtensionInstaller& installer) {
    const CString manager(kManagerSubject);
    m_log.Write(kInstallerBeingRemoved, manager);
    // Once one unloaded extension had UI files, every later one in the walk is reported as
    // having UI to remove as well, and the UI is reloaded once at the end.
    bool uiToRemove = false;
    for (auto& [documentId, record] : m_loadedExtensions) {
        if (!record.state) {
            m_log.Write(kAlreadyRemoved, documentId);
            continue;
        }
        if (!mimeTypes.contains(record.state->Data().ExtensionType)) continue;
        m_log.Information(documentId, u"handled by removed installer; unloading");
        {
            const auto note = m_calls.Enter(documentId, ExtensionCall::Unload);
            static_cast<void>(installer.Unload(record.state));  // the extension goes either way
        }
        if (!uiToRemove) uiToRemove = m_files.HasUiModifications(record.path);
        if (uiToRemove) m_log.Information(documentId, u"has UI to remove");
        record.state.reset();
    }
    if (!uiToRemove) return;
    if (!m_uiReload) {
        m_log.Information(manager, u"skipping UI reload");
        return;
    }
    m_log.Information(manager, u"reloading UI");
    m_uiReload();
}

}  // namespace OvxComponent
