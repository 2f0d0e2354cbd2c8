// Shared pieces of the extension manager benchmarks.
#include "bench_extensions.h"

#include "OvxComponent/extensions/format/extension_packing.h"
#include "platform/stream/memory_stream.h"

#include <cstdlib>
#include <unistd.h>

namespace OvxBench {

namespace fs = std::filesystem;
using namespace OvxComponent;

ScratchFolder::ScratchFolder(const std::string& prefix)
    : m_path(fs::temp_directory_path() / (prefix + "-" + std::to_string(::getpid()))) {}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::shared_ptr<ExtensionManagerImpl> MakeBenchManager(const fs::path& root, Trust::TrustStore trust) {
    fs::create_directories(root);
    auto apps = [](ExtensionAppSupport) { return true; };
    return ExtensionManagerImpl::Make(CString::FromUtf8(root.string()), {}, nullptr, nullptr, apps, {},
                                      {u"bench", std::nullopt, std::make_shared<OvxUtils::MemoryStream>()},
                                      std::move(trust));
}

CString PackBenchExtension(const fs::path& package, const OvxUtils::Guid& id, const CString& type,
                           const fs::path& content, const std::vector<CString>& files) {
    ExtensionData data;
    data.DocumentID = id;
    data.Version = OvxUtils::Version{1, 0};
    data.ExtensionType = type;
    data.requirements.AppList = {ExtensionAppSupport::Atlas};
    data.requirements.PlatformSupport = {OvxUtils::runtime_bits::x64};
    fs::create_directories(package.parent_path());
    const CString path = CString::FromUtf8(package.string());
    ExtensionContainer packed = PackFiles(
        [&] {
            auto opened = ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::Create);
            return opened ? std::move(*opened) : ExtensionContainer();
        },
        data, CString::FromUtf8(content.string() + "/"), files);
    if (!packed || !packed.Close()) std::abort();
    return path;
}

namespace {

class BenchState final : public IExtensionState {
public:
    explicit BenchState(ExtensionData data) : m_data(std::move(data)) {}
    const ExtensionData& Data() const override { return m_data; }
    bool IsUnloaded() const override { return m_unloaded; }
    bool IsLoaded() const override { return !m_unloaded; }
    bool Invoke(CString) const override { return false; }
    void MarkUnloaded() { m_unloaded = true; }

private:
    ExtensionData m_data;
    bool m_unloaded = false;
};

}  // namespace

std::shared_ptr<IExtensionState> BenchInstaller::Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                                      CString mimeType, CString) const {
    lastLoad = std::chrono::steady_clock::now();
    ++loads;
    ExtensionData data;
    data.DocumentID = documentId;
    data.Version = version;
    data.ExtensionType = std::move(mimeType);
    return std::make_shared<BenchState>(std::move(data));
}

OvxUtils::optional<UnloadResult> BenchInstaller::Unload(std::shared_ptr<IExtensionState>& state) const {
    ++unloads;
    static_cast<BenchState&>(*state).MarkUnloaded();
    return UnloadResult::Unloaded;
}

}  // namespace OvxBench
