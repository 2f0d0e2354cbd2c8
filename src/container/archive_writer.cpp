// WriteArchive on libzip: libzip writes into a temporary file beside path and renames it
// over path when the archive is complete.
#include "container/archive_writer.h"

#include "container/native_io.h"
#include "container/sealed_sources.h"

#include <cerrno>
#include <ctime>

namespace VdcContainer {

namespace {

// zlib's own default level, as zip uses it: libzip's default is the slowest, level 9,
// which costs several times the time for a package a few per cent smaller.
constexpr zip_uint32_t kDeflateLevel = 6;

// Unix permissions, so that the archive reads the same wherever it was made.
constexpr zip_uint32_t kFileAttributes = 0100644u << 16;
constexpr zip_uint32_t kFolderAttributes = (0040755u << 16) | 0x10;

// 1980-01-01 00:00:00, the earliest time a ZIP header holds. libzip turns times into
// header fields in local time, so the local form of that moment gives the same bytes in
// every time zone.
std::time_t FixedTime() {
    std::tm fixed{};
    fixed.tm_year = 80;
    fixed.tm_mon = 0;
    fixed.tm_mday = 1;
    fixed.tm_isdst = -1;
    return std::mktime(&fixed);
}

zip_source_t* MakeSource(zip_t* archive, zip_t* from, const WriteItem& item, zip_error_t* error) {
    switch (item.source) {
    case WriteItem::Source::Bytes:
        return zip_source_buffer_create(item.bytes.data(), item.bytes.size(), 0, error);
    case WriteItem::Source::File:
        return zip_source_file_create(NativeIO::ZipPath(item.file).c_str(), 0, -1, error);
    case WriteItem::Source::Archive:
        // The whole entry as it is stored: nothing is inflated, so a hostile entry cannot
        // grow here, and its CRC and sizes travel with it.
        return zip_source_zip(archive, from, item.archiveIndex, 0, 0, -1);
    case WriteItem::Source::Folder:
        break;
    }
    return nullptr;
}

// What a sealed save shares between its sources: the seal, and the entries written so far.
struct Sealing {
    SaveSeal* seal = nullptr;
    std::size_t closed = 0;
};

// The source of a file's bytes, shown to the seal as libzip reads them.
zip_source_t* Sealed(zip_t* archive, zip_source_t* source, const WriteItem& item, Sealing& sealing) {
    if (!source || !sealing.seal) return source;
    zip_source_t* watched = MakeWatchedSource(archive, source, *sealing.seal, item.name, sealing.closed);
    if (!watched) zip_source_free(source);
    return watched;
}

Result<void> AddItem(zip_t* archive, zip_t* from, const WriteItem& item, std::time_t fixedTime, Sealing& sealing,
                     zip_source_t* late = nullptr) {
    const CString name = Quoted(item.name);
    zip_int64_t index;
    if (item.source == WriteItem::Source::Folder) {
        index = zip_dir_add(archive, item.name.c_str(), ZIP_FL_ENC_UTF_8);
    } else {
        ZipErrorHolder error;
        zip_source_t* source = late ? late : Sealed(archive, MakeSource(archive, from, item, error.Get()), item, sealing);
        if (!source) {
            const CString reason = item.source == WriteItem::Source::Archive ? ZipErrorText(zip_get_error(archive))
                                                                               : ZipErrorText(error.Get());
            return Error{u"cannot read the data of " + name + u": " + reason};
        }
        index = zip_file_add(archive, item.name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) zip_source_free(source);
    }
    if (index < 0) return Error{u"cannot add " + name + u": " + ZipErrorText(zip_get_error(archive))};
    const auto entry = static_cast<zip_uint64_t>(index);
    const bool isFolder = item.source == WriteItem::Source::Folder;
    bool ok = zip_file_set_external_attributes(archive, entry, 0, ZIP_OPSYS_UNIX,
                                               isFolder ? kFolderAttributes : kFileAttributes) == 0;
    if (ok && item.source != WriteItem::Source::Archive && !isFolder) {
        ok = zip_set_file_compression(archive, entry, item.store ? ZIP_CM_STORE : ZIP_CM_DEFLATE,
                                      item.store ? 0 : kDeflateLevel) == 0;
    }
    if (ok && fixedTime != static_cast<std::time_t>(-1)) ok = zip_file_set_mtime(archive, entry, fixedTime, 0) == 0;
    if (!ok) return Error{u"cannot add " + name + u": " + ZipErrorText(zip_get_error(archive))};
    return {};
}

}  // namespace

Result<void> WriteArchive(const CString& path, zip_t* source, const std::vector<WriteItem>& items, bool reproducible,
                          SaveSeal* seal) {
    Sealing sealing{seal};
    if (seal) {
        for (const WriteItem& item : items) {
            if (item.source == WriteItem::Source::Archive || item.source == WriteItem::Source::Folder) {
                return Error{u"a sealed save sees the bytes of every entry, but " + Quoted(item.name) +
                             u" is copied as stored or is a folder"};
            }
        }
    }
    int code = 0;
    UniqueZip archive(zip_open(NativeIO::ZipPath(path).c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (!archive) {
        ZipErrorHolder error;
        zip_error_set(error.Get(), code, errno);
        return Error{u"cannot create " + path + u": " + ZipErrorText(error.Get())};
    }
    const std::time_t fixedTime = reproducible ? FixedTime() : static_cast<std::time_t>(-1);
    for (const WriteItem& item : items) {
        if (auto added = AddItem(archive.get(), source, item, fixedTime, sealing); !added) return added;
    }
    if (seal) {
        for (SaveSeal::TrailingEntry& entry : seal->TrailingEntries()) {
            zip_source_t* late = MakeLateSource(archive.get(), std::move(entry.make), sealing.closed, items.size());
            const WriteItem item{WriteItem::Source::Bytes, entry.name, {}, {}, 0, entry.store};
            if (!late) return Error{u"cannot add " + Quoted(entry.name) + u": " + ZipErrorText(zip_get_error(archive.get()))};
            if (auto added = AddItem(archive.get(), source, item, fixedTime, sealing, late); !added) return added;
        }
    }
    if (zip_close(archive.get()) != 0) {
        return Error{u"cannot write " + path + u": " + ZipErrorText(zip_get_error(archive.get()))};
    }
    archive.release();  // zip_close freed it
    return {};
}

}  // namespace VdcContainer
