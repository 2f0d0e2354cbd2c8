// Writing one entry to the extension log's own file (the history kept, the line formatted
// with its time stamp, one write call), beside plain write calls of the same UTF-16 bytes
// to a file stream, in the same run.

// scripts/bench-compare.sh builds these sources against earlier commits too, some of which
// kept the log in the manager's folder.
#if __has_include("extensions/log/extension_log.h")
#include "extensions/log/extension_log.h"
#else
#include "extensions/manager/extension_log.h"
#endif
#include "platform/stream/file_stream.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const CString kSubject = u"/home/author/extensions/source/toolbox.OrvexExtension";
const CString kMessage = u"same version with not older timestamp there";

fs::path ScratchFile(const char* name) {
    const fs::path folder = fs::temp_directory_path() / ("ovx-log-bench-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    return folder / name;
}

void BM_LogEntryToFile(benchmark::State& state) {
    const fs::path path = ScratchFile("orvex_extensions.log");
    OvxComponent::ExtensionLog log({u"bench", CString::FromUtf8(path.string()), nullptr});
    for (auto _ : state) log.Information(kSubject, kMessage);
    fs::remove_all(path.parent_path());
}
// A fixed count keeps the history, which the log keeps for the manager's lifetime, small.
BENCHMARK(BM_LogEntryToFile)->Iterations(200'000);

// The floor: a line of the same length as the log's, already built, written with one call.
void BM_PlainWriteOfTheSameBytes(benchmark::State& state) {
    const fs::path path = ScratchFile("plain.log");
    auto stream = OvxUtils::FileStream::Create(CString::FromUtf8(path.string()));
    const CString line = u"[2026-11-21 23:30:00] (Information): \"" + kSubject + u"\" " + kMessage + u"\r\n";
    for (auto _ : state) {
        stream->Write(line.GetString(), static_cast<std::size_t>(line.GetLength()) * 2);
    }
    stream.reset();
    fs::remove_all(path.parent_path());
}
BENCHMARK(BM_PlainWriteOfTheSameBytes)->Iterations(200'000);

}  // namespace
