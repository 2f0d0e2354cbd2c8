// Shared pieces of the extension manager benchmarks.
#include "bench_extensions.h"

#include "OvxComponent/extensions/format/extension_packing.h"
#include "platform/stream/file_stream.h"
#include "platform/stream/memory_stream.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
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

std::shared_ptr<ExtensionManagerImpl> MakeBenchManager(const fs::path& root, Trust::TrustStore trust, bool fileLog) {
    fs::create_directories(root);
    auto apps = [](ExtensionAppSupport) { return true; };
    OvxUtils::NamedOutStream log{u"bench", std::nullopt, nullptr};
    if (!fileLog) log.stream = std::make_shared<OvxUtils::MemoryStream>();
    return ExtensionManagerImpl::Make(CString::FromUtf8(root.string()), {}, nullptr, nullptr, apps, {}, std::move(log),
                                      std::move(trust));
}

std::vector<std::string> LogLinesOf(const fs::path& log, std::uintmax_t from) {
    std::ifstream file(log, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(from));
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    constexpr std::string_view kLineEnd("\r\0\n\0", 4);
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < bytes.size();) {
        std::size_t end = bytes.find(kLineEnd, start);
        while (end != std::string::npos && end % 2 != start % 2) end = bytes.find(kLineEnd, end + 1);
        end = end == std::string::npos ? bytes.size() : end + kLineEnd.size();
        lines.push_back(bytes.substr(start, end - start));
        start = end;
    }
    return lines;
}

void TimeLogFloor(benchmark::State& state, const std::vector<std::string>& lines, const fs::path& folder) {
    fs::create_directories(folder);
    const CString managerLog = CString::FromUtf8((folder / "manager.log").string());
    const CString hostLog = CString::FromUtf8((folder / "host.log").string());
    for (auto _ : state) {
        const auto manager = OvxUtils::FileStream::Make(managerLog);
        const auto host = OvxUtils::FileStream::Make(hostLog);
        if (!manager || !host) std::abort();
        for (const std::string& line : lines) {
            manager->Write(line.data(), line.size());
            host->Write(line.data(), line.size());
        }
    }
    state.counters["lines"] = static_cast<double>(lines.size());
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
