// Writes the content files, then packs them with the widget package type of the tests.
#include "bench_package.h"

#include "container/add_files.h"
#include "widget_package.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <unistd.h>
#include <vector>

namespace OvxBench {

namespace {

std::string Text(std::mt19937& random, std::size_t size) {
    static constexpr std::string_view kWords[] = {"extension ", "host ",  "package ", "content ", "<node a=\"1\"/> ",
                                                  "0x1F2E ",    "value ", "resource ", "\n",       "layout "};
    std::string text;
    text.reserve(size + 16);
    while (text.size() < size) {
        if (random() % 4 == 0) text += static_cast<char>('a' + random() % 26);
        text += kWords[random() % std::size(kWords)];
    }
    text.resize(size);
    return text;
}

}  // namespace

BenchPackage::BenchPackage(int fileCount, std::size_t minSize, std::size_t maxSize) {
    namespace fs = std::filesystem;
    m_scratch = fs::temp_directory_path() / ("ovx-bench-" + std::to_string(::getpid()) + "-" +
                                             std::to_string(reinterpret_cast<std::uintptr_t>(this)));
    fs::remove_all(m_scratch);
    const fs::path& source = m_source = m_scratch / "source";
    std::mt19937 random(42);
    std::vector<CString>& files = m_files;
    for (int i = 0; i < fileCount; ++i) {
        const fs::path file = source / ("dir" + std::to_string(i % 40)) / ("file" + std::to_string(i) + ".txt");
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << Text(random, minSize + random() % (maxSize - minSize + 1));
        files.push_back(CString::FromUtf8(file.string()));
    }

    m_package = m_scratch / "bench.pkg";
    auto package = OvxTest::WidgetPackage::Open(CString::FromUtf8(m_package.string()),
                                                VdcContainer::ZipFile::OpenMode::Create);
    if (!package) throw std::runtime_error(package.ErrorText().ToUtf8());
    package->SetInfo(std::make_unique<OvxTest::WidgetInfo>(OvxTest::SampleWidget()));
    if (auto added = VdcContainer::AddFiles(*package, CString::FromUtf8(source.string()), files, u"content"); !added) {
        throw std::runtime_error(added.ErrorText().ToUtf8());
    }
    if (auto closed = package->Close(); !closed) throw std::runtime_error(closed.ErrorText().ToUtf8());
}

BenchPackage::~BenchPackage() {
    std::error_code ignored;
    std::filesystem::remove_all(m_scratch, ignored);
}

}  // namespace OvxBench
