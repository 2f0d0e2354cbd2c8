// Opens arbitrary bytes as a package of the widget kind (tests/container/widget_package.h):
// MIME type, manifest, metadata, the record with its two root files, every root file again
// through ReadXml, then extraction of the whole package into a fresh folder. Whatever the
// bytes, this must neither crash nor leak, and nothing may be written outside the folder.
// Seeds: ovx_container_seeds (seeds.cpp).

#include "container/extract_folder.h"
#include "widget_package.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// One scratch folder per fuzzing process, removed at exit.
struct Scratch {
    fs::path root = fs::temp_directory_path() / ("ovx-open-fuzz-" + std::to_string(::getpid()));
    Scratch() {
        fs::remove_all(root);
        fs::create_directories(root);
    }
    ~Scratch() {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }
};

void Exercise(const CString& path, const CString& target, bool throughTheFile) {
    VdcContainer::ContainerLimits limits;
    limits.maxTotalSize = 64ull << 20;  // keeps each run short; the caps themselves are tested
    // Large packages are read through the file in blocks instead of from memory.
    if (throughTheFile) limits.inMemoryOpenSize = 0;
    auto package = OvxTest::WidgetPackage::Open(path, VdcContainer::ZipFile::OpenMode::ReadOnly, limits);
    if (!package) return;
    const VdcContainer::ZipContainer& container = package->Container();
    (void)container.GetMimeType().ToUtf8();
    for (const auto& [def, value] : container.GetMetadata().GetAll()) (void)value;
    if (const OvxTest::WidgetInfo* info = package->GetInfo()) {
        if (info->need.empty()) std::abort();  // Deserialize refuses an empty need
    }
    for (const VdcContainer::RootFileInfo& root : container.GetRootFiles()) (void)container.ReadXml(root.name);
    for (const VdcContainer::ContainerEntry& entry : container.GetEntries()) (void)entry;
    (void)VdcContainer::ExtractFolder(*package, u"", target);
    (void)VdcContainer::ExtractFolder(*package, u"content", target + u"-content");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Scratch scratch;
    const fs::path file = scratch.root / "input.pkg";
    const fs::path target = scratch.root / "out";
    std::ofstream(file, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(data),
                                                                  static_cast<std::streamsize>(size));
    Exercise(CString::FromUtf8(file.string()), CString::FromUtf8(target.string()), size % 2 == 1);
    // Everything written must be below the scratch folder, and only where it was asked for.
    for (const auto& entry : fs::directory_iterator(scratch.root)) {
        const std::string name = entry.path().filename().string();
        if (name != "input.pkg" && name != "out" && name != "out-content") std::abort();
    }
    fs::remove_all(target);
    fs::remove_all(scratch.root / "out-content");
    fs::remove(file);
    return 0;
}
