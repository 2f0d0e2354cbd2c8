// AddFiles: files from disk added to a container under names relative to a base folder.
#include "container/add_files.h"

#include "OvxComponent/container/xml_document.h"
#include "OvxComponent/container/zip_container.h"
#include "OvxComponent/container/zip_container_subtype_base.h"
#include "container/native_io.h"
#include "platform/system_io/file.h"
#include "platform/system_io/path.h"

#include <vector>

namespace VdcContainer {

namespace {

namespace Path = OvxUtils::SystemIO::Path;

// The segments of a path with "." dropped and ".." applied; a ".." that climbs above the
// start is kept, so that such a path lies outside every folder.
std::vector<CString> Segments(const CString& path) {
    std::vector<CString> segments;
    int start = 0;
    for (int i = 0; i <= path.GetLength(); ++i) {
        if (i < path.GetLength() && !Path::IsSeparator(path[i])) continue;
        const CString segment = path.Mid(start, i - start);
        start = i + 1;
        if (segment.IsEmpty() || segment == u".") continue;
        if (segment == u".." && !segments.empty() && segments.back() != u"..") {
            segments.pop_back();
        } else {
            segments.push_back(segment);
        }
    }
    return segments;
}

Result<CString> RelativePath(const CString& baseFolder, const CString& file) {
    const Error outside{file + u" is not inside the folder " + baseFolder};
    if (Path::IsRooted(baseFolder) != Path::IsRooted(file)) return outside;
    const std::vector<CString> base = Segments(baseFolder);
    const std::vector<CString> path = Segments(file);
    if (path.size() <= base.size()) return outside;
    const bool ignoreCase = NativeIO::PathsIgnoreCase();
    for (std::size_t i = 0; i < base.size(); ++i) {
        if (ignoreCase ? base[i].CompareNoCase(path[i]) != 0 : base[i] != path[i]) return outside;
    }
    CString relative;
    for (std::size_t i = base.size(); i < path.size(); ++i) {
        if (path[i] == u"..") return outside;
        if (!relative.IsEmpty()) relative += u'/';
        relative += path[i];
    }
    return relative;
}

struct NewRootFile {
    RootFileInfo info;
    std::string xml;
};

}  // namespace

Result<void> AddFiles(ZipContainer& container, const CString& baseFolder, OvxUtils::array_view<const CString> files,
                      const CString& folder, const std::map<CString, RootFileInfo>& rootFiles) {
    CString prefix = folder;
    while (!prefix.IsEmpty() && Path::IsSeparator(prefix[prefix.GetLength() - 1])) prefix = prefix.Left(prefix.GetLength() - 1);
    if (!prefix.IsEmpty()) prefix += u'/';

    std::vector<NewEntry> entries;
    std::vector<NewRootFile> newRootFiles;
    for (const CString& file : files) {
        auto relative = RelativePath(baseFolder, file);
        if (!relative) return relative.TakeError();
        if (!OvxUtils::SystemIO::File::Exists(file)) return Error{file + u" is not a file"};
        const auto root = rootFiles.find(*relative);
        if (root == rootFiles.end()) {
            entries.push_back({prefix + *relative, file, std::nullopt});
            continue;
        }
        auto bytes = OvxUtils::SystemIO::File::ReadAllBytes(file);
        if (!bytes) return bytes.TakeError();
        auto document = XmlNS::Document::Parse(*bytes, container.GetLimits().maxXmlSize);
        if (!document) return Error{u"root file " + file + u" " + document.ErrorText()};
        RootFileInfo info = root->second;
        if (info.name.IsEmpty()) info.name = *relative;
        newRootFiles.push_back({std::move(info), std::move(*bytes)});
    }
    if (auto added = container.AddEntries(entries); !added) return added;
    for (NewRootFile& file : newRootFiles) {
        if (auto set = container.SetRootFile(file.info, false, std::move(file.xml)); !set) return set;
    }
    return {};
}

Result<void> AddFiles(ZipContainerSubtypeBase& container, const CString& baseFolder,
                      OvxUtils::array_view<const CString> files, const CString& folder,
                      const std::map<CString, RootFileInfo>& rootFiles) {
    return AddFiles(container.Container(), baseFolder, files, folder, rootFiles);
}

}  // namespace VdcContainer
