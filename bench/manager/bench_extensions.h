// What the extension manager benchmarks share: a scratch folder removed at exit, a manager
// whose log goes to memory, and extension packages packed from files on disk.
#pragma once

#include "extensions/manager/extension_manager_impl.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace OvxBench {

class ScratchFolder {
public:
    // <temp>/<prefix>-<pid>, made on demand by the benchmark, removed with the object.
    explicit ScratchFolder(const std::string& prefix);
    ~ScratchFolder();
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// A manager over root (made if missing) that accepts every application, under trust. Its
// log goes to memory, or with fileLog to its own file, as in a host.
std::shared_ptr<OvxComponent::ExtensionManagerImpl> MakeBenchManager(const std::filesystem::path& root,
                                                                     OvxComponent::Trust::TrustStore trust = {},
                                                                     bool fileLog = false);

// The lines of a UTF-16 log file from byte offset from on, each with its line end.
std::vector<std::string> LogLinesOf(const std::filesystem::path& log, std::uintmax_t from = 0);

// The floor of what a log costs: each line written at once, with one write call, to the
// manager's log file and once more to a host's log file. Times one writing of lines per
// iteration.
void TimeLogFloor(benchmark::State& state, const std::vector<std::string>& lines, const std::filesystem::path& folder);

// Packs files, relative to content, as version 1.0 of the extension id of type into
// package (its folder is made). Aborts when packing fails.
CString PackBenchExtension(const std::filesystem::path& package, const OvxUtils::Guid& id, const CString& type,
                           const std::filesystem::path& content, const std::vector<CString>& files);

// Loads every extension without touching its files, so that what is timed is the
// manager's work, counts the loads and unloads, and notes when the last load ran.
class BenchInstaller final : public OvxComponent::IExtensionInstaller {
public:
    std::shared_ptr<OvxComponent::IExtensionState> Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                                      CString mimeType, CString path) const override;
    OvxUtils::optional<OvxComponent::UnloadResult> Unload(std::shared_ptr<OvxComponent::IExtensionState>& state) const override;
    bool RemoveData(CString) const override { return true; }

    mutable std::atomic<int> loads = 0;
    mutable std::atomic<int> unloads = 0;
    mutable std::chrono::steady_clock::time_point lastLoad;
};

}  // namespace OvxBench
