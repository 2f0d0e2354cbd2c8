// ZipContainerSubtypeBase: reading and writing the subtype's record.
#include "OvxComponent/container/zip_container_subtype_base.h"

#include "container/entry_name.h"
#include "container/zip_container_schema.h"

#include <vector>

namespace VdcContainer {

namespace {

struct NewRootFile {
    RootFileInfo info;
    std::string xml;
};

ReadRootFileDelegate RootFileReader(const ZipContainer& container) {
    return [&container](ZipFileLocation location, const XmlNS::ElementDef& rootElement,
                        OvxUtils::Delegate<bool(const XmlNS::Node&)> read) {
        auto document = container.ReadXml(location.fileName);
        if (!document || !(*document)->Root().Is(rootElement) || !read) return false;
        return read((*document)->Root());
    };
}

AddRootFileDelegate RootFileWriter(const CString& mainRootFile, std::vector<NewRootFile>& files) {
    return [&mainRootFile, &files](ZipFileLocation location, const XmlNS::ElementDef& rootElement,
                                   OvxUtils::Delegate<bool(XmlNS::Node&)> write) {
        auto name = EntryName::Parse(location.fileName.ToUtf8());
        if (!name || name->IsFolder() || location.fileName.CompareNoCase(mainRootFile) == 0 ||
            name->Utf8().starts_with("META-INF/") || name->Utf8() == ZipContainerSchema::kMimeTypeEntry || !write) {
            return false;
        }
        auto document = XmlNS::Document::Create(rootElement);
        if (!write(document->Root())) return false;
        RootFileInfo info{location.fileName, rootElement, location.mimeType, location.rootFileKind, location.title};
        files.push_back({std::move(info), document->ToBytes()});
        return true;
    };
}

// The record of an opened package, or the reason there is none.
Result<std::unique_ptr<SubtypeInfo>> ReadInfo(const ZipContainer& container, const SubtypeClass& subtypeClass) {
    if (!subtypeClass.Accepts(container.GetMimeType())) {
        return Error{u"the package's MIME type " + Quoted(container.GetMimeType()) +
                     u" is not one of this kind of package"};
    }
    const RootFileInfo& main = subtypeClass.mainRootFile;
    auto document = container.ReadXml(main.name);
    if (!document) return document.TakeError();
    const XmlNS::Node& root = (*document)->Root();
    if (!root.Is(main.rootElement)) {
        return Error{u"entry " + Quoted(main.name) + u" has another root element than " +
                     Quoted(main.rootElement.localName)};
    }
    const ReadRootFileDelegate reader = RootFileReader(container);
    std::unique_ptr<SubtypeInfo> info = subtypeClass.factory ? subtypeClass.factory(container.GetMetadata(), root, reader)
                                                             : nullptr;
    if (!info || !info->Deserialize(container.GetMetadata(), root, reader)) {
        const CString reason = info ? info->RefusalReason() : CString();
        return Error{reason.IsEmpty() ? u"entry " + Quoted(main.name) + u" or the metadata does not hold valid information"
                                      : reason};
    }
    return info;
}

}  // namespace

ZipContainerSubtypeBase::ZipContainerSubtypeBase() = default;
ZipContainerSubtypeBase::~ZipContainerSubtypeBase() { (void)Close(); }
ZipContainerSubtypeBase::ZipContainerSubtypeBase(ZipContainerSubtypeBase&&) noexcept = default;

ZipContainerSubtypeBase& ZipContainerSubtypeBase::operator=(ZipContainerSubtypeBase&& other) noexcept {
    if (this != &other) {
        (void)Close();
        m_container = std::move(other.m_container);
        m_class = std::move(other.m_class);
        m_info = std::move(other.m_info);
        m_infoError = std::move(other.m_infoError);
        m_infoChanged = other.m_infoChanged;
    }
    return *this;
}

Result<void> ZipContainerSubtypeBase::Open(const CString& path, ZipFile::OpenMode mode,
                                           const SubtypeClass& subtypeClass, std::uint64_t maxPackageSize) {
    ContainerLimits limits;
    if (maxPackageSize != 0) limits.maxPackageSize = maxPackageSize;
    return Open(path, mode, subtypeClass, limits);
}

Result<void> ZipContainerSubtypeBase::Open(const CString& path, ZipFile::OpenMode mode,
                                           const SubtypeClass& subtypeClass, const ContainerLimits& limits) {
    (void)Close();
    auto container = ZipContainer::Open(path, mode, limits);
    if (!container) return container.TakeError();
    std::unique_ptr<SubtypeInfo> info;
    CString infoError;
    if (mode == ZipFile::OpenMode::Create) {
        if (subtypeClass.mimeTypes.empty()) return Error{u"the kind of package has no MIME type"};
        (void)container->SetMimeType(subtypeClass.mimeTypes.front());
    } else if (auto read = ReadInfo(*container, subtypeClass)) {
        info = std::move(*read);
    } else {
        infoError = read.ErrorText();
    }
    m_container = std::move(*container);
    m_class = subtypeClass;
    m_info = std::move(info);
    m_infoError = std::move(infoError);
    m_infoChanged = false;
    return {};
}

void ZipContainerSubtypeBase::Adopt(ZipContainer container, const SubtypeClass& subtypeClass,
                                    std::unique_ptr<SubtypeInfo> info) {
    (void)Close();
    m_container = std::move(container);
    m_class = subtypeClass;
    m_info = std::move(info);
    m_infoError.Empty();
    m_infoChanged = false;
}

void ZipContainerSubtypeBase::SetSubtypeInfo(std::unique_ptr<SubtypeInfo> info) {
    m_info = std::move(info);
    m_infoError.Empty();
    m_infoChanged = true;
}

Result<void> ZipContainerSubtypeBase::Save() {
    if (!IsOpen()) return Error{u"the container is not open"};
    if (!m_info || (!m_infoChanged && !m_container.IsModified())) return m_container.Save();
    const RootFileInfo& main = m_class.mainRootFile;
    Metadata::Container metadata = m_container.GetMetadata();
    auto document = XmlNS::Document::Create(main.rootElement);
    std::vector<NewRootFile> rootFiles;
    if (!m_info->Serialize(metadata, document->Root(), RootFileWriter(main.name, rootFiles))) {
        return Error{u"the package information cannot be written"};
    }
    if (auto set = m_container.SetRootFile(main, true, document->ToBytes()); !set) return set;
    for (NewRootFile& file : rootFiles) {
        if (auto set = m_container.SetRootFile(file.info, false, std::move(file.xml)); !set) return set;
    }
    if (auto set = m_container.SetMetadata(std::move(metadata)); !set) return set;
    auto saved = m_container.Save();
    if (saved) m_infoChanged = false;
    return saved;
}

Result<void> ZipContainerSubtypeBase::Close() {
    if (!IsOpen()) return {};
    Result<void> saved;
    if (m_container.GetOpenMode() != ZipFile::OpenMode::ReadOnly && (m_infoChanged || m_container.IsModified())) {
        saved = Save();
    }
    m_container.Discard();
    m_info.reset();
    m_infoChanged = false;
    return saved;
}

}  // namespace VdcContainer
