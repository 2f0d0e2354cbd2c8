// The layout of a package, for ZipContainer.
#include "container/container_state.h"

#include "container/folded_name.h"
#include "container/zip_container_schema.h"

#include <algorithm>

namespace VdcContainer {

namespace Schema = ZipContainerSchema;

namespace {

constexpr std::uint64_t kMaxMimeTypeSize = 255;

bool IsRootFile(const Manifest& manifest, const CString& name) {
    return std::any_of(manifest.rootFiles.begin(), manifest.rootFiles.end(),
                       [&](const RootFileInfo& file) { return file.name.CompareNoCase(name) == 0; });
}

Result<CString> ParseMimeType(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ' || text.back() == '\t')) {
        text.pop_back();
    }
    const bool printable = std::all_of(text.begin(), text.end(), [](char c) { return c > 0x20 && c < 0x7F; });
    if (text.empty() || !printable || text.find('/') == std::string::npos) {
        return Error{u"the mimetype entry does not hold a MIME type"};
    }
    return CString::FromUtf8(text);
}

}  // namespace

bool IsOwnEntry(const CString& name) {
    for (const char* own : {Schema::kMimeTypeEntry, Schema::kManifestEntry, Schema::kMetadataEntry}) {
        if (name.CompareNoCase(CString::FromUtf8(own)) == 0) return true;
    }
    return false;
}

void NameIndex::Add(std::string_view path, bool isFolder) {
    std::u32string key = FoldedName(path);
    for (std::size_t slash = key.find(U'/'); slash != std::u32string::npos; slash = key.find(U'/', slash + 1)) {
        m_folders.insert(key.substr(0, slash));
    }
    (isFolder ? m_folders : m_files).insert(std::move(key));
}

bool NameIndex::Conflicts(std::string_view path) const {
    const std::u32string key = FoldedName(path);
    if (m_files.count(key) || m_folders.count(key)) return true;
    for (std::size_t slash = key.find(U'/'); slash != std::u32string::npos; slash = key.find(U'/', slash + 1)) {
        if (m_files.count(key.substr(0, slash))) return true;
    }
    return false;
}

Result<void> ReadOwnEntries(ContainerState& state) {
    const ArchiveReader& reader = *state.reader;
    InflateBudget budget(state.limits, reader.FileSize());
    const ArchiveEntry* mimeType = reader.Find(Schema::kMimeTypeEntry);
    if (!mimeType) return Error{u"the package has no mimetype entry"};
    auto mimeBytes = reader.ReadAll(*mimeType, budget, kMaxMimeTypeSize);
    if (!mimeBytes) return mimeBytes.TakeError();
    auto parsedMime = ParseMimeType(std::move(*mimeBytes));
    if (!parsedMime) return parsedMime.TakeError();
    state.mimeType = std::move(*parsedMime);

    if (const ArchiveEntry* entry = reader.Find(Schema::kManifestEntry)) {
        auto bytes = reader.ReadAll(*entry, budget, state.limits.maxXmlSize);
        if (!bytes) return bytes.TakeError();
        auto manifest = Manifest::FromXml(*bytes, state.limits.maxXmlSize);
        if (!manifest) return Error{u"entry " + Quoted(Schema::kManifestEntry) + u" " + manifest.ErrorText()};
        state.manifest = std::move(*manifest);
    }
    if (const ArchiveEntry* entry = reader.Find(Schema::kMetadataEntry)) {
        auto bytes = reader.ReadAll(*entry, budget, state.limits.maxXmlSize);
        if (!bytes) return bytes.TakeError();
        auto metadata = Metadata::Container::FromXml(*bytes, state.limits.maxXmlSize);
        if (!metadata) return Error{u"entry " + Quoted(Schema::kMetadataEntry) + u" " + metadata.ErrorText()};
        state.metadata = std::move(*metadata);
    }
    return {};
}

Result<std::vector<WriteItem>> BuildItems(const ContainerState& state) {
    using Source = WriteItem::Source;
    std::vector<WriteItem> items;
    items.push_back({Source::Bytes, Schema::kMimeTypeEntry, state.mimeType.ToUtf8(), {}, 0, true});
    items.push_back({Source::Bytes, Schema::kManifestEntry, state.manifest.ToXml(), {}, 0, false});
    items.push_back({Source::Bytes, Schema::kMetadataEntry, state.metadata.ToXml(), {}, 0, false});
    for (const RootFileInfo& file : state.manifest.rootFiles) {
        const std::string name = file.name.ToUtf8();
        if (const auto pending = state.rootFileXml.find(file.name); pending != state.rootFileXml.end()) {
            items.push_back({Source::Bytes, name, pending->second, {}, 0, false});
        } else if (const ArchiveEntry* saved = state.reader ? state.reader->Find(name) : nullptr) {
            items.push_back({Source::Archive, name, {}, {}, saved->index, false});
        } else {
            return Error{u"root file " + Quoted(file.name) + u" has no content"};
        }
    }
    const std::size_t firstContent = items.size();
    if (state.reader) {
        for (const ArchiveEntry& entry : state.reader->Entries()) {
            const CString name = CString::FromUtf8(entry.name.Path());
            if (IsOwnEntry(name) || IsRootFile(state.manifest, name)) continue;
            items.push_back({entry.name.IsFolder() ? Source::Folder : Source::Archive, entry.name.Utf8(), {}, {},
                             entry.index, false});
        }
    }
    for (const NewEntry& entry : state.added) {
        if (entry.bytes) {
            items.push_back({Source::Bytes, entry.name.ToUtf8(), *entry.bytes, {}, 0, false});
        } else {
            items.push_back({Source::File, entry.name.ToUtf8(), {}, entry.file, 0, false});
        }
    }
    if (state.reproducible) {
        std::sort(items.begin() + static_cast<std::ptrdiff_t>(firstContent), items.end(),
                  [](const WriteItem& a, const WriteItem& b) { return a.name < b.name; });
    }
    return items;
}

NameIndex NamesInUse(const ContainerState& state) {
    NameIndex names;
    if (state.reader) {
        for (const ArchiveEntry& entry : state.reader->Entries()) names.Add(entry.name.Path(), entry.name.IsFolder());
    }
    for (const NewEntry& entry : state.added) names.Add(entry.name.ToUtf8(), false);
    return names;
}

}  // namespace VdcContainer
