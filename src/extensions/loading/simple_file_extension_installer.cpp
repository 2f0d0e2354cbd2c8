// The simple file extension installer and its state.
#include "OvxComponent/extensions/loading/simple_file_extension_installer.h"

#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <unordered_set>

namespace OvxComponent {

namespace {

CString ContentFolder(const CString& path) { return OvxUtils::SystemIO::Path::Combine(path, u"content"); }

class SimpleExtensionState final : public IExtensionState {
public:
    const ExtensionData& Data() const override { return data; }
    bool IsUnloaded() const override { return unloaded; }
    bool IsLoaded() const override { return !unloaded; }
    bool Invoke(CString request) const override { return invoke ? invoke(handle, std::move(request)) : false; }
    // Declared so that the handle, the loaded extension, is released first.
    ExtensionData data;
    CString path;
    SimpleInvoke invoke;
    bool unloaded = false;
    std::shared_ptr<void> handle;
};

class SimpleExtensionInstaller final : public IExtensionInstaller {
public:
    SimpleExtensionInstaller(std::unordered_set<CString> types, SimpleLoad loadFunction, SimpleUnload unloadFunction,
                             SimpleInvoke invokeFunction)
        : mimeTypes(std::move(types)),
          load(std::move(loadFunction)),
          unload(std::move(unloadFunction)),
          invoke(std::move(invokeFunction)) {}

    std::shared_ptr<IExtensionState> Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                          CString mimeType, CString path) const override {
        auto state = std::make_shared<SimpleExtensionState>();
        state->data.DocumentID = documentId;
        state->data.Version = version;
        state->data.ExtensionType = mimeType;
        if (!mimeTypes.contains(mimeType) || documentId.IsNull()) return nullptr;
        state->handle = load(ContentFolder(path));
        if (!state->handle) return nullptr;
        state->invoke = invoke;
        state->path = std::move(path);
        return state;
    }

    OvxUtils::optional<UnloadResult> Unload(std::shared_ptr<IExtensionState>& state) const override {
        if (!state || !mimeTypes.contains(state->Data().ExtensionType)) return std::nullopt;
        auto* simple = dynamic_cast<SimpleExtensionState*>(state.get());
        if (simple == nullptr) return std::nullopt;
        OvxUtils::optional<UnloadResult> answer = unload(ContentFolder(simple->path), simple->handle);
        if (answer) simple->unloaded = true;
        return answer;
    }

    bool RemoveData(CString folder) const override { return OvxUtils::SystemIO::Folder::DeleteRecursive(folder, true); }

private:
    std::unordered_set<CString> mimeTypes;
    SimpleLoad load;
    SimpleUnload unload;
    SimpleInvoke invoke;
};

}  // namespace

std::shared_ptr<const IExtensionInstaller> MakeSimpleFileExtensionInstaller(std::vector<CString> mimeTypes,
                                                                            SimpleLoad load, SimpleUnload unload,
                                                                            SimpleInvoke invoke) {
    if (mimeTypes.empty()) return nullptr;
    return std::make_shared<SimpleExtensionInstaller>(std::unordered_set<CString>(mimeTypes.begin(), mimeTypes.end()),
                                                      std::move(load), std::move(unload), std::move(invoke));
}

}  // namespace OvxComponent
