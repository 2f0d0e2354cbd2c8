// ExtractFolder: a container's entries written to disk through a staging folder, and the
// check that a folder holds them.
#include "container/extract_folder.h"

#include "OvxComponent/container/zip_container.h"
#include "OvxComponent/container/zip_container_subtype_base.h"
#include "container/archive_reader.h"
#include "container/staging_folder.h"
#include "platform/stream/file_stream.h"
#include "platform/system_io/file.h"
#include "platform/system_io/file_system.h"
#include "platform/system_io/path.h"

#include <algorithm>
#include <cstdint>
#include <unordered_set>
#include <vector>

namespace VdcContainer {

namespace {

namespace SystemIO = OvxUtils::SystemIO;

struct Selected {
    const ArchiveEntry* entry;
    std::string_view relative;  // the name below the extracted folder
};

CString NativePath(const CString& root, std::string_view relative) {
    CString::StringType units = CString::FromUtf8(relative).Str();
    for (auto& unit : units) {
        if (unit == u'/') unit = SystemIO::Path::Separator();
    }
    return SystemIO::Path::Combine(root, CString(std::move(units)));
}

Result<std::vector<Selected>> Select(const ArchiveReader& reader, const CString& folderName) {
    std::string prefix = folderName.ToUtf8();
    while (!prefix.empty() && (prefix.back() == '/' || prefix.back() == '\\')) prefix.pop_back();
    if (!prefix.empty()) {
        auto name = EntryName::Parse(prefix + "/");
        if (!name) return Error{u"the folder name is not valid: " + name.ErrorText()};
        prefix = name->Utf8();
    }
    std::vector<Selected> selected;
    for (const ArchiveEntry& entry : reader.Entries()) {
        const std::string& name = entry.name.Utf8();
        if (name.size() > prefix.size() && name.starts_with(prefix)) {
            selected.push_back({&entry, std::string_view(name).substr(prefix.size())});
        }
    }
    if (!prefix.empty() && selected.empty()) return Error{u"the package has no folder " + Quoted(prefix)};
    return selected;
}

// Makes the folders of the extracted entries, each once. The staging folder is new, so a
// folder that this extraction has not made yet is made without looking for it first.
class FolderMaker {
public:
    explicit FolderMaker(const CString& root) { m_made.insert(SystemIO::Path::WithoutTrailingSeparators(root)); }

    bool Ensure(const CString& path) {
        std::vector<CString> missing;  // deepest first
        for (CString folder = SystemIO::Path::WithoutTrailingSeparators(path); !m_made.contains(folder);) {
            missing.push_back(folder);
            CString parent = SystemIO::Path::GetParentFolder(folder);
            if (parent.GetLength() >= folder.GetLength()) break;
            folder = std::move(parent);
        }
        for (auto level = missing.rbegin(); level != missing.rend(); ++level) {
            if (!SystemIO::Detail::CreateFolder(*level)) return false;
            m_made.insert(std::move(*level));
        }
        return true;
    }

private:
    std::unordered_set<CString> m_made;
};

Result<void> ExtractEntry(const ArchiveReader& reader, const Selected& item, const CString& root, FolderMaker& folders,
                          InflateBudget& budget, std::uint64_t maxEntrySize, EntryWatcher* watcher) {
    const CString path = NativePath(root, item.relative);
    if (item.entry->name.IsFolder()) {
        if (!folders.Ensure(path)) return SystemError(u"cannot create the folder " + path);
        return {};
    }
    if (!folders.Ensure(SystemIO::Path::GetParentFolder(path))) {
        return SystemError(u"cannot create the folder of " + path);
    }
    const std::unique_ptr<OvxUtils::FileStream> file = OvxUtils::FileStream::Make(path);
    if (!file) return SystemError(u"cannot create " + path);
    if (watcher) watcher->Begin(item.entry->name.Utf8());
    auto read = reader.Read(*item.entry, budget, maxEntrySize, [&](std::string_view chunk) -> Result<void> {
        if (!file->Write(chunk.data(), chunk.size())) return SystemError(u"cannot write " + path);
        if (watcher) watcher->Add(chunk);
        return {};
    });
    if (!read) return read;
    if (watcher) {
        if (auto watched = watcher->End(item.entry->name.Utf8()); !watched) return watched;
    }
    if (item.entry->modified) {
        file->SetLastWriteTime(SystemIO::File::TicksOfUnixSeconds(*item.entry->modified));
    }
    return {};
}

}  // namespace

Result<void> ExtractFolder(const ZipContainer& container, const CString& folderName, const CString& targetFolder,
                           EntryWatcher* watcher) {
    const ArchiveReader* reader = container.Reader();
    if (!reader) return Error{container.IsOpen() ? u"the package has not been saved yet" : u"the container is not open"};
    auto selected = Select(*reader, folderName);
    if (!selected) return selected.TakeError();

    const ContainerLimits& limits = container.GetLimits();
    std::uint64_t claimed = 0;
    for (const Selected& item : *selected) {
        claimed = item.entry->claimedSize > UINT64_MAX - claimed ? UINT64_MAX : claimed + item.entry->claimedSize;
    }
    if (claimed > limits.maxTotalSize) {
        return Error{u"the package claims more than the cap of " + DecimalText(limits.maxTotalSize) + u" bytes"};
    }

    const std::uint64_t ratio = std::max<std::uint64_t>(limits.maxCompressionRatio, 1);
    const std::uint64_t fileSize = std::max<std::uint64_t>(reader->FileSize(), 1);
    if (claimed > limits.totalRatioFreeSize && fileSize <= UINT64_MAX / ratio && claimed > fileSize * ratio) {
        return Error{u"the package claims more than " + DecimalText(ratio) + u" times its own size"};
    }

    auto staging = StagingFolder::Create(targetFolder);
    if (!staging) return staging.TakeError();
    InflateBudget budget(limits, reader->FileSize());
    FolderMaker folders((*staging)->Path());
    for (const Selected& item : *selected) {
        if (auto extracted = ExtractEntry(*reader, item, (*staging)->Path(), folders, budget, limits.maxTotalSize,
                                           watcher);
            !extracted) {
            return extracted;
        }
    }
    if (watcher) {
        if (auto finished = watcher->Finish(); !finished) return finished;
    }
    return (*staging)->CommitInto();
}

bool HoldsExtractedFiles(const ZipContainer& container, const CString& targetFolder) {
    const ArchiveReader* reader = container.Reader();
    if (!reader) return false;
    std::vector<SystemIO::Detail::ExpectedFile> files;
    files.reserve(reader->Entries().size());
    for (const ArchiveEntry& entry : reader->Entries()) {
        if (!entry.name.IsFolder()) files.push_back({entry.name.Utf8(), entry.claimedSize});
    }
    return SystemIO::Detail::HoldsFiles(targetFolder, files);
}

Result<void> ExtractFolder(const ZipContainerSubtypeBase& container, const CString& folderName,
                           const CString& targetFolder, EntryWatcher* watcher) {
    return ExtractFolder(container.Container(), folderName, targetFolder, watcher);
}

}  // namespace VdcContainer
