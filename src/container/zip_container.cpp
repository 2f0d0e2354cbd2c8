// ZipContainer: opening, changing and saving a package file.
#include "OvxComponent/container/zip_container.h"

#include "container/container_state.h"
#include "container/entry_name.h"
#include "container/native_io.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"

#include <algorithm>

namespace VdcContainer {

namespace SystemIO = OvxUtils::SystemIO;
struct ZipContainer::Impl : ContainerState {};

namespace {

const CString kEmptyText;

}  // namespace

ZipContainer::ZipContainer() = default;
ZipContainer::ZipContainer(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
ZipContainer::~ZipContainer() { (void)Close(); }
ZipContainer::ZipContainer(ZipContainer&&) noexcept = default;

ZipContainer& ZipContainer::operator=(ZipContainer&& other) noexcept {
    if (this != &other) {
        (void)Close();
        m_impl = std::move(other.m_impl);
    }
    return *this;
}

Result<ZipContainer> ZipContainer::Open(const CString& path, ZipFile::OpenMode mode, const ContainerLimits& limits) {
    auto impl = std::make_unique<Impl>();
    impl->path = path;
    impl->mode = mode;
    impl->limits = limits;
    if (mode == ZipFile::OpenMode::Create) {
        if (SystemIO::Folder::Exists(path)) return Error{u"a folder is in the way of the package file"};
        const CString folder = SystemIO::Path::GetParentFolder(path);
        if (!folder.IsEmpty() && !SystemIO::Folder::Exists(folder)) return Error{u"the package's folder does not exist"};
        impl->modified = true;
        return ZipContainer(std::move(impl));
    }
    auto reader = ArchiveReader::Open(path, limits);
    if (!reader) return reader.TakeError();
    impl->reader = std::move(*reader);
    if (auto read = ReadOwnEntries(*impl); !read) return read.TakeError();
    return ZipContainer(std::move(impl));
}

bool ZipContainer::IsOpen() const { return m_impl != nullptr; }
const CString& ZipContainer::GetPath() const { return m_impl ? m_impl->path : kEmptyText; }
ZipFile::OpenMode ZipContainer::GetOpenMode() const { return m_impl ? m_impl->mode : ZipFile::OpenMode::ReadOnly; }
bool ZipContainer::IsModified() const { return m_impl && m_impl->modified; }
const CString& ZipContainer::GetMimeType() const { return m_impl ? m_impl->mimeType : kEmptyText; }
const ArchiveReader* ZipContainer::Reader() const { return m_impl ? m_impl->reader.get() : nullptr; }

const ContainerLimits& ZipContainer::GetLimits() const {
    static const ContainerLimits defaults;
    return m_impl ? m_impl->limits : defaults;
}

const Metadata::Container& ZipContainer::GetMetadata() const {
    static const Metadata::Container empty;
    return m_impl ? m_impl->metadata : empty;
}

const std::vector<RootFileInfo>& ZipContainer::GetRootFiles() const {
    static const std::vector<RootFileInfo> none;
    return m_impl ? m_impl->manifest.rootFiles : none;
}

const RootFileInfo* ZipContainer::GetMainRootFile() const {
    if (!m_impl || m_impl->manifest.mainRootFile.IsEmpty()) return nullptr;
    for (const RootFileInfo& file : m_impl->manifest.rootFiles) {
        if (file.name == m_impl->manifest.mainRootFile) return &file;
    }
    return nullptr;
}

namespace {

Result<void> CheckWritable(const ZipContainer& container) {
    if (!container.IsOpen()) return Error{u"the container is not open"};
    if (container.GetOpenMode() == ZipFile::OpenMode::ReadOnly) return Error{u"the container is open for reading only"};
    return {};
}

}  // namespace

Result<void> ZipContainer::SetMimeType(const CString& mimeType) {
    if (auto writable = CheckWritable(*this); !writable) return writable;
    m_impl->mimeType = mimeType;
    m_impl->modified = true;
    return {};
}

Result<void> ZipContainer::SetMetadata(Metadata::Container metadata) {
    if (auto writable = CheckWritable(*this); !writable) return writable;
    m_impl->metadata = std::move(metadata);
    m_impl->modified = true;
    return {};
}

Result<void> ZipContainer::SetRootFile(const RootFileInfo& info, bool isMain, std::string xml) {
    if (auto writable = CheckWritable(*this); !writable) return writable;
    auto name = EntryName::Parse(info.name.ToUtf8());
    if (!name) return name.TakeError();
    const CString quoted = u"entry " + Quoted(info.name);
    if (name->IsFolder()) return Error{quoted + u" is a folder, not a root file"};
    if (IsOwnEntry(info.name)) return Error{quoted + u" is one of the container's own entries"};
    std::vector<RootFileInfo>& files = m_impl->manifest.rootFiles;
    const auto existing = std::find_if(files.begin(), files.end(),
                                       [&](const RootFileInfo& file) { return file.name.CompareNoCase(info.name) == 0; });
    // A saved entry of just this name (a package assembled without manifest) becomes the root file.
    const bool replacesSaved = m_impl->reader && m_impl->reader->Find(name->Utf8());
    if (existing == files.end() && !replacesSaved && NamesInUse(*m_impl).Conflicts(name->Path())) {
        return Error{quoted + u" is taken by another entry"};
    }
    if (existing != files.end()) {
        m_impl->rootFileXml.erase(existing->name);
        *existing = info;
    } else {
        files.push_back(info);
    }
    if (isMain) m_impl->manifest.mainRootFile = info.name;
    m_impl->rootFileXml[info.name] = std::move(xml);
    m_impl->modified = true;
    return {};
}

std::vector<ContainerEntry> ZipContainer::GetEntries() const {
    std::vector<ContainerEntry> entries;
    if (!m_impl || !m_impl->reader) return entries;
    for (const ArchiveEntry& entry : m_impl->reader->Entries()) {
        entries.push_back({CString::FromUtf8(entry.name.Utf8()), entry.claimedSize});
    }
    return entries;
}

Result<std::string> ZipContainer::ReadEntry(const CString& name) const {
    if (!m_impl) return Error{u"the container is not open"};
    if (const auto pending = m_impl->rootFileXml.find(name); pending != m_impl->rootFileXml.end()) return pending->second;
    const ArchiveEntry* entry = m_impl->reader ? m_impl->reader->Find(name.ToUtf8()) : nullptr;
    if (!entry) return Error{u"entry " + Quoted(name) + u" does not exist"};
    InflateBudget budget(m_impl->limits, m_impl->reader->FileSize());
    return m_impl->reader->ReadAll(*entry, budget, m_impl->limits.maxTotalSize);
}

Result<std::unique_ptr<XmlNS::Document>> ZipContainer::ReadXml(const CString& name) const {
    if (!m_impl) return Error{u"the container is not open"};
    std::string bytes;
    if (const auto pending = m_impl->rootFileXml.find(name); pending != m_impl->rootFileXml.end()) {
        bytes = pending->second;
    } else {
        const ArchiveEntry* entry = m_impl->reader ? m_impl->reader->Find(name.ToUtf8()) : nullptr;
        if (!entry) return Error{u"entry " + Quoted(name) + u" does not exist"};
        InflateBudget budget(m_impl->limits, m_impl->reader->FileSize());
        auto read = m_impl->reader->ReadAll(*entry, budget, m_impl->limits.maxXmlSize);
        if (!read) return read.TakeError();
        bytes = std::move(*read);
    }
    auto document = XmlNS::Document::Parse(bytes, m_impl->limits.maxXmlSize);
    if (!document) return Error{u"entry " + Quoted(name) + u" " + document.ErrorText()};
    return document;
}

Result<void> ZipContainer::AddEntries(const std::vector<NewEntry>& entries) {
    if (auto writable = CheckWritable(*this); !writable) return writable;
    NameIndex names = NamesInUse(*m_impl);
    for (const RootFileInfo& file : m_impl->manifest.rootFiles) names.Add(file.name.ToUtf8(), false);
    for (const NewEntry& entry : entries) {
        auto name = EntryName::Parse(entry.name.ToUtf8());
        if (!name) return name.TakeError();
        const CString quoted = u"entry " + Quoted(entry.name);
        if (name->IsFolder()) return Error{quoted + u" is a folder, not a file"};
        if (IsOwnEntry(entry.name)) return Error{quoted + u" is one of the container's own entries"};
        if (names.Conflicts(name->Path())) return Error{quoted + u" is taken by another entry"};
        names.Add(name->Path(), false);
    }
    m_impl->added.insert(m_impl->added.end(), entries.begin(), entries.end());
    m_impl->modified = true;
    return {};
}

void ZipContainer::SetReproducible(bool reproducible) {
    if (m_impl) m_impl->reproducible = reproducible;
}

void ZipContainer::SetSaveSeal(SaveSeal* seal) {
    if (m_impl) m_impl->seal = seal;
}

bool ZipContainer::IsReproducible() const { return m_impl && m_impl->reproducible; }

Result<void> ZipContainer::Save() {
    if (auto writable = CheckWritable(*this); !writable) return writable;
    Impl& impl = *m_impl;
    if (!impl.modified) return {};
    if (impl.mimeType.IsEmpty()) return Error{u"the container has no MIME type"};
    auto items = BuildItems(impl);
    if (!items) return items.TakeError();

    if (!impl.reader) {
        if (auto written = WriteArchive(impl.path, nullptr, *items, impl.reproducible, impl.seal); !written) return written;
    } else {
        // The archive being copied from is the file to replace: write beside it, close it,
        // then move the new archive over it.
        const CString temporary = SystemIO::TemporaryName::Beside(impl.path, SystemIO::TemporaryName::kSaving);
        SystemIO::File::Delete(temporary);
        if (auto written = WriteArchive(temporary, impl.reader->Archive(), *items, impl.reproducible, impl.seal);
            !written) {
            SystemIO::File::Delete(temporary);
            return written;
        }
        impl.reader.reset();
        if (!NativeIO::Move(temporary, impl.path)) {
            SystemIO::File::Delete(temporary);
            auto reopened = ArchiveReader::Open(impl.path, impl.limits);
            if (reopened) impl.reader = std::move(*reopened);
            return Error{u"cannot replace the package file with the saved one"};
        }
    }
    auto reader = ArchiveReader::Open(impl.path, impl.limits);
    if (!reader) return Error{u"the saved package cannot be opened again: " + reader.ErrorText()};
    impl.reader = std::move(*reader);
    impl.added.clear();
    impl.rootFileXml.clear();
    impl.modified = false;
    return {};
}

Result<void> ZipContainer::Close() {
    if (!m_impl) return {};
    Result<void> saved;
    if (m_impl->mode != ZipFile::OpenMode::ReadOnly && m_impl->modified) saved = Save();
    m_impl.reset();
    return saved;
}

void ZipContainer::Discard() { m_impl.reset(); }

Result<ZipContainer> ZipContainer::Clone(const CString& path, const PathResolver& resolver) const {
    if (!m_impl) return Error{u"the container is not open"};
    if (m_impl->modified) return Error{u"the container has changes that are not saved"};
    const CString target = resolver.Resolve(path);
    if (target == m_impl->path) return Error{u"a package cannot be cloned onto itself"};
    // The copy appears under its name complete or not at all.
    if (auto copied = SystemIO::File::CopyAtomically(m_impl->path, target); !copied) return copied.TakeError();
    return Open(target, ZipFile::OpenMode::ReadOnly, m_impl->limits);
}

}  // namespace VdcContainer
