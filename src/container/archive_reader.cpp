// ArchiveReader: opening, entry checks and capped reads.
#include "container/archive_reader.h"

#include "container/folded_name.h"
#include "container/native_io.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace VdcContainer {

namespace {

constexpr std::size_t kChunkSize = 64 * 1024;

// File types in the high 16 bits of the external attributes of entries made on Unix.
constexpr std::uint32_t kUnixTypeMask = 0170000;
constexpr std::uint32_t kUnixRegular = 0100000;
constexpr std::uint32_t kUnixFolder = 0040000;
constexpr std::uint32_t kUnixLink = 0120000;
// FILE_ATTRIBUTE_REPARSE_POINT in the low bits, as Windows tools store it.
constexpr std::uint32_t kDosReparsePoint = 0x400;

Error OpenError(zip_error_t* error) {
    switch (zip_error_code_zip(error)) {
    case ZIP_ER_OPEN:
    case ZIP_ER_READ: return Error{u"the file cannot be read"};
    case ZIP_ER_NOZIP: return Error{u"the file is not a ZIP archive, or it is truncated"};
    case ZIP_ER_INCONS: return Error{u"the archive is damaged: its directory and its entries disagree"};
    default: return Error{u"the archive cannot be opened: " + ZipErrorText(error)};
    }
}

Error ReadError(const ArchiveEntry& entry, zip_error_t* error) {
    const CString name = u"entry " + Quoted(entry.name.Utf8());
    switch (zip_error_code_zip(error)) {
    case ZIP_ER_CRC: return Error{name + u" is damaged: its CRC does not match its data"};
    case ZIP_ER_INCONS: return Error{name + u" is damaged: its size differs from what its header says"};
    case ZIP_ER_COMPRESSED_DATA:
    case ZIP_ER_ZLIB: return Error{name + u" is damaged: its compressed data is invalid"};
    case ZIP_ER_EOF:
    case ZIP_ER_READ: return Error{name + u" is damaged: its data is truncated"};
    default: return Error{name + u" cannot be read: " + ZipErrorText(error)};
    }
}

// The entry count that the end of central directory record states (the ZIP64 one when the
// plain one says 0xFFFF), read before libzip reads the directory and allocates per entry.
// No value when the record is not found; libzip then reports what is wrong.
std::optional<std::uint64_t> StatedEntryCount(zip_source_t* source, std::uint64_t fileSize) {
    constexpr std::uint64_t kRecordSize = 22;
    constexpr std::uint64_t kMaxCommentSize = 0xFFFF;
    if (fileSize < kRecordSize || zip_source_open(source) != 0) return std::nullopt;
    const std::uint64_t tailSize = std::min(fileSize, kRecordSize + kMaxCommentSize + 20);
    std::string tail(tailSize, '\0');
    const bool read = zip_source_seek(source, -static_cast<zip_int64_t>(tailSize), SEEK_END) == 0 &&
                      zip_source_read(source, tail.data(), tailSize) == static_cast<zip_int64_t>(tailSize);
    zip_source_close(source);
    if (!read) return std::nullopt;
    const auto get = [&tail](std::size_t at, int bytes) {
        std::uint64_t value = 0;
        for (int i = bytes - 1; i >= 0; --i) value = value << 8 | static_cast<std::uint8_t>(tail[at + static_cast<std::size_t>(i)]);
        return value;
    };
    const std::size_t record = tail.rfind(std::string_view("PK\x05\x06", 4), tail.size() - kRecordSize);
    if (record == std::string::npos) return std::nullopt;
    const std::uint64_t count = get(record + 10, 2);
    if (count != 0xFFFF || record < 20 || tail.compare(record - 20, 4, "PK\x06\x07") != 0) return count;
    // The ZIP64 record: its offset is in the locator; its count at byte 32.
    const std::uint64_t zip64Offset = get(record - 20 + 8, 8);
    const std::uint64_t tailStart = fileSize - tailSize;
    if (zip64Offset < tailStart || zip64Offset - tailStart + 40 > tail.size()) return std::nullopt;
    return get(static_cast<std::size_t>(zip64Offset - tailStart) + 32, 8);
}

Result<ArchiveEntry> CheckEntry(zip_t* archive, zip_uint64_t index) {
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(archive, index, ZIP_FL_ENC_RAW, &stat) != 0 || !(stat.valid & ZIP_STAT_NAME)) {
        return Error{u"entry " + DecimalText(index) + u" cannot be read: " + ZipErrorText(zip_get_error(archive))};
    }
    auto name = EntryName::Parse(stat.name);
    if (!name) return name.TakeError();
    // Built only for an error, not for every good entry.
    const auto refused = [&name](const CString& reason) {
        return Error{u"entry " + Quoted(name->Utf8()) + u" " + reason};
    };
    if ((stat.valid & ZIP_STAT_ENCRYPTION_METHOD) && stat.encryption_method != ZIP_EM_NONE) {
        return refused(u"is encrypted");
    }
    if (stat.comp_method != ZIP_CM_STORE && stat.comp_method != ZIP_CM_DEFLATE) {
        return refused(u"uses a compression method other than stored or deflated");
    }
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(archive, index, 0, &system, &attributes) != 0) {
        return refused(u"cannot be read: " + ZipErrorText(zip_get_error(archive)));
    }
    if (system == ZIP_OPSYS_UNIX) {
        const std::uint32_t type = (attributes >> 16) & kUnixTypeMask;
        if (type == kUnixLink) return refused(u"is a symbolic link");
        if (type != 0 && type != kUnixRegular && type != kUnixFolder) {
            return refused(u"is a special file (a device, pipe or socket)");
        }
        if (type == kUnixFolder && !name->IsFolder()) return refused(u"is a folder whose name lacks the final '/'");
    }
    if (attributes & kDosReparsePoint) return refused(u"is a symbolic link or junction");

    ArchiveEntry entry{std::move(*name), index, stat.size, stat.comp_size, std::nullopt};
    if (stat.valid & ZIP_STAT_MTIME) entry.modified = static_cast<std::int64_t>(stat.mtime);
    return entry;
}

// Refuses names that would land on one path on a case-insensitive file system, and a name
// used both for a file and for a folder ("a" and "a/b"). The sets hold views of the
// entries' names, hashed and compared folded, so the check allocates only the sets.
Result<void> CheckUniqueNames(const std::vector<ArchiveEntry>& entries) {
    // by path without final '/'
    std::unordered_map<std::string_view, const ArchiveEntry*, FoldedNameHash, FoldedNameEqual> seen;
    std::unordered_set<std::string_view, FoldedNameHash, FoldedNameEqual> folders;
    seen.reserve(entries.size());
    folders.reserve(entries.size());
    for (const ArchiveEntry& entry : entries) {
        const std::string_view path = entry.name.Path();
        // A '/' byte in valid UTF-8 is always the code point '/', so cutting the bytes at
        // each '/' gives the same folders as cutting the folded code points.
        for (std::size_t slash = path.find('/'); slash != std::string_view::npos; slash = path.find('/', slash + 1)) {
            folders.insert(path.substr(0, slash));
        }
        if (entry.name.IsFolder()) folders.insert(path);
        const auto [found, added] = seen.emplace(path, &entry);
        if (added) continue;
        const EntryName& other = found->second->name;
        if (other == entry.name) return Error{u"entry " + Quoted(other.Utf8()) + u" appears twice"};
        if (other.Path() == path) return Error{u"entry " + Quoted(path) + u" is both a file and a folder"};
        return Error{u"entries " + Quoted(other.Utf8()) + u" and " + Quoted(entry.name.Utf8()) +
                     u" differ only in letter case"};
    }
    for (const ArchiveEntry& entry : entries) {
        if (!entry.name.IsFolder() && folders.count(entry.name.Path())) {
            return Error{u"entry " + Quoted(entry.name.Utf8()) + u" is both a file and a folder"};
        }
    }
    return {};
}

}  // namespace

ArchiveReader::ArchiveReader(UniqueZip archive, std::vector<ArchiveEntry> entries)
    : m_archive(std::move(archive)), m_entries(std::move(entries)) {
    m_byName.reserve(m_entries.size());
    for (std::size_t i = 0; i < m_entries.size(); ++i) m_byName.emplace(m_entries[i].name.Utf8(), i);
}

Result<std::unique_ptr<ArchiveReader>> ArchiveReader::Open(const CString& path, const ContainerLimits& limits) {
    if (!OvxUtils::SystemIO::File::Exists(path)) {
        return Error{OvxUtils::SystemIO::Folder::Exists(path) ? u"the path is a folder, not a file" : u"the file does not exist"};
    }
    // One file handle serves the entry-count check, the directory and every entry read.
    ZipErrorHolder error;
    std::FILE* file = NativeIO::OpenForReading(path);
    if (file == nullptr) {
        zip_error_set(error.Get(), ZIP_ER_OPEN, errno);
        return OpenError(error.Get());
    }
    UniqueZipSource source(zip_source_filep_create(file, 0, -1, error.Get()));  // owns file from here
    if (!source) return OpenError(error.Get());
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_source_stat(source.get(), &stat) != 0) return OpenError(zip_source_error(source.get()));
    if ((stat.valid & ZIP_STAT_SIZE) && stat.size > limits.maxPackageSize) {
        return Error{u"the file is larger than the cap of " + DecimalText(limits.maxPackageSize) + u" bytes"};
    }
    const auto tooMany = [&limits] {
        return Error{u"the archive holds more than the cap of " + DecimalText(limits.maxEntries) + u" entries"};
    };
    if (stat.valid & ZIP_STAT_SIZE) {
        const auto stated = StatedEntryCount(source.get(), stat.size);
        if (stated && *stated > limits.maxEntries) return tooMany();
    }
    UniqueZip archive(zip_open_from_source(source.get(), ZIP_RDONLY, error.Get()));
    if (!archive) return OpenError(error.Get());
    source.release();  // the archive owns it now

    const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    if (count < 0 || static_cast<std::uint64_t>(count) > limits.maxEntries) return tooMany();
    std::vector<ArchiveEntry> entries;
    entries.reserve(static_cast<std::size_t>(count));
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        auto entry = CheckEntry(archive.get(), index);
        if (!entry) return entry.TakeError();
        // What libzip reads of an entry is bounded by this size; keeping it within the file
        // keeps the compression ratio honest.
        if ((stat.valid & ZIP_STAT_SIZE) && entry->compressedSize > stat.size) {
            return Error{u"entry " + Quoted(entry->name.Utf8()) + u" is damaged: it claims more data than the file holds"};
        }
        entries.push_back(std::move(*entry));
    }
    if (auto unique = CheckUniqueNames(entries); !unique) return unique.TakeError();
    return std::unique_ptr<ArchiveReader>(new ArchiveReader(std::move(archive), std::move(entries)));
}

const ArchiveEntry* ArchiveReader::Find(std::string_view utf8) const {
    const auto found = m_byName.find(utf8);
    return found == m_byName.end() ? nullptr : &m_entries[found->second];
}

Result<void> ArchiveReader::Read(const ArchiveEntry& entry, InflateBudget& budget, std::uint64_t maxEntrySize,
                                 const Sink& sink) const {
    UniqueZipFile file(zip_fopen_index(m_archive.get(), entry.index, 0));
    if (!file) return ReadError(entry, zip_get_error(m_archive.get()));
    // The chunk buffer is kept for the next read; a sink that reads again gets its own.
    std::unique_ptr<char[]> ownBuffer;
    char* buffer = nullptr;
    const bool borrowed = !m_bufferInUse;
    if (borrowed) {
        if (!m_buffer) m_buffer = std::make_unique_for_overwrite<char[]>(kChunkSize);
        buffer = m_buffer.get();
        m_bufferInUse = true;
    } else {
        ownBuffer = std::make_unique_for_overwrite<char[]>(kChunkSize);
        buffer = ownBuffer.get();
    }
    struct Release {
        bool& inUse;
        bool active;
        ~Release() {
            if (active) inUse = false;
        }
    } release{m_bufferInUse, borrowed};
    std::uint64_t entryBytes = 0;
    while (true) {
        const zip_int64_t read = zip_fread(file.get(), buffer, kChunkSize);
        if (read < 0) return ReadError(entry, zip_file_get_error(file.get()));
        if (read == 0) return {};
        entryBytes += static_cast<std::uint64_t>(read);
        if (entryBytes > maxEntrySize) {
            return Error{u"entry " + Quoted(entry.name.Utf8()) + u" is larger than the cap of " +
                         DecimalText(maxEntrySize) + u" bytes"};
        }
        if (auto counted = budget.Add(entry, entryBytes, static_cast<std::size_t>(read)); !counted) return counted;
        if (auto written = sink(std::string_view(buffer, static_cast<std::size_t>(read))); !written) {
            return written;
        }
    }
}

Result<std::string> ArchiveReader::ReadAll(const ArchiveEntry& entry, InflateBudget& budget,
                                           std::uint64_t maxEntrySize) const {
    std::string bytes;
    auto read = Read(entry, budget, maxEntrySize, [&bytes](std::string_view chunk) -> Result<void> {
        bytes.append(chunk);
        return {};
    });
    if (!read) return read.TakeError();
    return bytes;
}

}  // namespace VdcContainer
