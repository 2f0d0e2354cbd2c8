// Packages made on disk for the container benchmarks, in a scratch folder that is removed
// when the BenchPackage is destroyed.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <filesystem>
#include <string>
#include <vector>

namespace OvxBench {

class BenchPackage {
public:
    // A widget package (tests/container/widget_package.h) holding fileCount content files
    // of minSize to maxSize bytes of deterministic, moderately compressible text.
    BenchPackage(int fileCount, std::size_t minSize, std::size_t maxSize);
    ~BenchPackage();
    BenchPackage(const BenchPackage&) = delete;
    BenchPackage& operator=(const BenchPackage&) = delete;

    const std::filesystem::path& Scratch() const { return m_scratch; }
    const std::filesystem::path& Path() const { return m_package; }
    CString PathText() const { return CString::FromUtf8(m_package.string()); }
    // The content files, below Source(), as they were packed.
    const std::filesystem::path& Source() const { return m_source; }
    const std::vector<CString>& Files() const { return m_files; }

private:
    std::filesystem::path m_scratch;
    std::filesystem::path m_package;
    std::filesystem::path m_source;
    std::vector<CString> m_files;
};

}  // namespace OvxBench
