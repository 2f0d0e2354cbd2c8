// PackSelection: the walk over the folder to pack.
#include "pack_selection.h"

#include "command_context.h"
#include "ignore_rules.h"

#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <string_view>

namespace Ovxext {

namespace {

namespace fs = std::filesystem;
namespace Path = OvxUtils::SystemIO::Path;
using OvxUtils::Error;

// Folders of version control and of tools, never part of an extension.
constexpr std::array<std::u16string_view, 10> kIgnoredFolders = {
    u".git", u".svn", u".hg", u".bzr", u"CVS", u"_darcs", u"__MACOSX", u".idea", u".vscode", u".Spotlight-V100"};
// Files that operating systems and editors leave beside real ones.
constexpr std::array<std::u16string_view, 6> kIgnoredFiles = {u".DS_Store", u"Thumbs.db", u"desktop.ini",
                                                              u"ehthumbs.db", u".directory", u".gitignore"};

bool Ignored(const CString& name, bool isFolder) {
    const std::u16string_view text(reinterpret_cast<const char16_t*>(name.GetString()),
                                   static_cast<std::size_t>(name.GetLength()));
    if (isFolder) return std::find(kIgnoredFolders.begin(), kIgnoredFolders.end(), text) != kIgnoredFolders.end();
    if (std::find(kIgnoredFiles.begin(), kIgnoredFiles.end(), text) != kIgnoredFiles.end()) return true;
    if (text == kProjectFileName || text == kIgnoreFileName) return true;
    if (text.starts_with(u"._")) return true;  // resource forks of copies from macOS
    // Editor backups and swap files: name~, .name.swp, #name#, .#name
    if (text.ends_with(u"~") || text.starts_with(u".#")) return true;
    if (text.size() > 1 && text.starts_with(u"#") && text.ends_with(u"#")) return true;
    return text.starts_with(u".") && (text.ends_with(u".swp") || text.ends_with(u".swo"));
}

bool IsInside(const fs::path& path, const fs::path& folder) {
    const auto [end, at] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return end == folder.end() && at != path.end();
}

}  // namespace

std::string RelativeName(const CString& folder, const CString& path) {
    // The folder without a final separator, as the walk combines it with names.
    const CString base = Path::GetParentFolder(Path::Combine(folder, u"x"));
    std::string relative = path.Mid(base.GetLength() + 1).ToUtf8();
    std::replace(relative.begin(), relative.end(), '\\', '/');
    return relative;
}

OvxUtils::Result<std::vector<CString>> SelectFilesToPack(const CString& folder, const PackSelectionOptions& options) {
    auto rules = IgnoreRules::Read(Path::Combine(folder, kIgnoreFileName));
    if (!rules) return rules.TakeError();
    std::error_code error;
    const fs::path root = fs::weakly_canonical(NativePath(folder), error);
    const fs::path output = options.output.IsEmpty() ? fs::path() : fs::weakly_canonical(NativePath(options.output), error);
    std::vector<CString> files;
    std::vector<CString> skippedFolders;
    OvxUtils::Result<void> refused;
    OvxUtils::SystemIO::Folder::Visit(folder, true, [&](const CString& path, bool isFolder) {
        for (const CString& skipped : skippedFolders) {
            if (path.StartsWith(skipped)) return true;
        }
        if (Ignored(Path::GetFileName(path), isFolder) || rules->Ignores(RelativeName(folder, path), isFolder)) {
            if (isFolder) skippedFolders.push_back(path + CString(1, Path::Separator()));
            return true;
        }
        if (fs::is_symlink(NativePath(path), error)) {
            const fs::path target = fs::weakly_canonical(NativePath(path), error);
            if (!options.followLinks) {
                refused = Error{path + u" is a symbolic link: a package holds no links (--follow-links packs the file "
                                       u"that a link inside the folder points to)"};
            } else if (!IsInside(target, root)) {
                refused = Error{path + u" is a symbolic link to something outside the folder, which is never packed"};
            } else if (isFolder || !fs::is_regular_file(target, error)) {
                refused = Error{path + u" is a symbolic link to a folder or special file; only links to files are followed"};
            }
            if (!refused) return false;
        }
        if (isFolder) return true;
        // Only a file of the output's name can be the output.
        if (!output.empty() && NativePath(Path::GetFileName(path)) == output.filename() &&
            fs::weakly_canonical(NativePath(path), error) == output) {
            return true;
        }
        files.push_back(path);
        return true;
    });
    if (!refused) return refused.TakeError();
    if (files.empty()) return Error{u"there is nothing to pack: " + folder + u" holds no file that is not left out"};
    return files;
}

}  // namespace Ovxext
