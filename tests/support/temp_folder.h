// A fresh folder per test, removed with everything in it when the test ends.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace OvxTest {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const CString& Path() const { return m_path; }
    // Path() joined with a relative path written with '/' separators.
    CString operator/(const CString& relative) const;
    // Writes a file (creating its folders) and returns its full path.
    CString WriteFile(const CString& relative, std::string_view bytes) const;

private:
    CString m_path;
};

// Every file and folder below root, depth first in ordinal order, relative to root, with
// '/' between segments and after the name of a folder.
std::vector<std::string> TreeOf(const CString& root);

// The path as the standard library's file system functions take it.
std::filesystem::path FsPath(const CString& path);

}  // namespace OvxTest
