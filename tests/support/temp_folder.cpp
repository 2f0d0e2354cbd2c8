// TempFolder: a uniquely named folder under the system's temporary folder.
#include "support/temp_folder.h"

#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <random>

namespace OvxTest {

namespace {

namespace SystemIO = OvxUtils::SystemIO;

CString SystemTempFolder() {
#if defined(_WIN32)
    return CString(std::filesystem::temp_directory_path().wstring());
#else
    return CString::FromUtf8(std::filesystem::temp_directory_path().string());
#endif
}

}  // namespace

TempFolder::TempFolder() {
    std::random_device random;
    const CString base = SystemTempFolder();
    for (int attempt = 0; attempt < 100 && m_path.IsEmpty(); ++attempt) {
        char name[32];
        std::snprintf(name, sizeof(name), "ovx-test-%08x%08x", random(), random());
        const CString candidate = SystemIO::Path::Combine(base, CString::FromUtf8(name));
        if (!SystemIO::Folder::Exists(candidate) && SystemIO::Folder::EnsureExists(candidate))
            m_path = candidate;
    }
    if (m_path.IsEmpty()) ADD_FAILURE() << "cannot create a temporary folder in " << base;
}

TempFolder::~TempFolder() {
    if (!m_path.IsEmpty() && !SystemIO::Folder::DeleteRecursive(m_path, true)) {
        ADD_FAILURE() << "temporary folder not removed: " << m_path;
    }
}

CString TempFolder::operator/(const CString& relative) const {
    CString::StringType native = relative.Str();
    for (auto& unit : native) {
        if (unit == '/') unit = SystemIO::Path::Separator();
    }
    return SystemIO::Path::Combine(m_path, CString(CString::ViewType(native)));
}

CString TempFolder::WriteFile(const CString& relative, std::string_view bytes) const {
    const CString path = *this / relative;
    if (!SystemIO::Folder::EnsureExists(SystemIO::Path::GetParentFolder(path)) ||
        !SystemIO::File::WriteAllBytes(path, bytes)) {
        ADD_FAILURE() << "cannot write " << path;
    }
    return path;
}

std::vector<std::string> TreeOf(const CString& root) {
    std::vector<std::string> paths;
    SystemIO::Folder::Visit(root, true, [&](const CString& path, bool isFolder) {
        std::string relative = path.Mid(root.GetLength() + 1).ToUtf8();
        for (char& c : relative) c = c == '\\' ? '/' : c;
        paths.push_back(relative + (isFolder ? "/" : ""));
        return true;
    });
    return paths;
}

std::filesystem::path FsPath(const CString& path) {
#if defined(_WIN32)
    return std::filesystem::path(std::wstring(path.View()));
#else
    return std::filesystem::path(path.ToUtf8());
#endif
}

}  // namespace OvxTest
