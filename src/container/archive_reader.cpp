// ArchiveReader: opening, entry checks and capped reads.
#include "container/archive_reader.h"

#include "container/archive_layout.h"
#include "container/folded_name.h"
#include "container/native_io.h"
#include "container/positional_source.h"
#include "platform/system_io/file_system.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory_resource>
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

constexpr std::u16string_view kCannotRead = u"the file cannot be read";
constexpr std::u16string_view kNotAZip = u"the file is not a ZIP archive, or it is truncated";
constexpr std::u16string_view kMissing = u"the file does not exist";

Error OpenError(zip_error_t* error) {
    switch (zip_error_code_zip(error)) {
    case ZIP_ER_OPEN:
    case ZIP_ER_READ: return Error{CString(kCannotRead)};
    case ZIP_ER_NOZIP: return Error{CString(kNotAZip)};
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

constexpr std::uint64_t kRecordSize = 22;     // end of central directory record, without comment
constexpr std::uint64_t kZip64Size = 56 + 20;  // ZIP64 record and its locator
constexpr std::uint64_t kMaxCommentSize = 0xFFFF;

// The last size bytes of the file, or no value when they cannot be read.
std::optional<std::string> ReadTail(zip_source_t* source, std::uint64_t size) {
    if (zip_source_open(source) != 0) return std::nullopt;
    std::string tail(size, '\0');
    const bool read = zip_source_seek(source, -static_cast<zip_int64_t>(size), SEEK_END) == 0 &&
                      zip_source_read(source, tail.data(), size) == static_cast<zip_int64_t>(size);
    zip_source_close(source);
    if (!read) return std::nullopt;
    return tail;
}

// The end of central directory record (the ZIP64 one when the plain one defers to it),
// read before libzip reads the directory and allocates per entry. No value when the
// record is not found; libzip then reports what is wrong.
std::optional<EndRecord> ReadEndRecord(zip_source_t* source, std::uint64_t fileSize) {
    // Most archives carry no comment, so a short tail holds the records; only when it does
    // not is the longest tail that can hold them read.
    const std::uint64_t shortSize = std::min(fileSize, kRecordSize + kZip64Size + 512);
    bool commentFits = false;
    if (const auto tail = ReadTail(source, shortSize)) {
        const auto end = FindEndRecord(*tail, fileSize, commentFits);
        if (end && commentFits) return end;
        if (shortSize == fileSize) return end;
    }
    const auto tail = ReadTail(source, std::min(fileSize, kRecordSize + kMaxCommentSize + kZip64Size));
    if (!tail) return std::nullopt;
    return FindEndRecord(*tail, fileSize, commentFits);
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
// entries' names, hashed and compared folded.
Result<void> CheckUniqueNames(const std::vector<ArchiveEntry>& entries) {
    // The sets' nodes come from one arena, on the stack for archives of usual size.
    std::array<std::byte, 16 * 1024> arenaBuffer;
    std::pmr::monotonic_buffer_resource arena(arenaBuffer.data(), arenaBuffer.size());
    // by path without final '/'
    std::pmr::unordered_map<std::string_view, const ArchiveEntry*, FoldedNameHash, FoldedNameEqual> seen(&arena);
    std::pmr::unordered_set<std::string_view, FoldedNameHash, FoldedNameEqual> folders(&arena);
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

// Refuses an entry whose data inflates to another size than its headers state (only
// more bytes can be seen before its end).
Result<void> CheckSize(const ArchiveEntry& entry, std::uint64_t inflated) {
    if (inflated == entry.claimedSize) return {};
    return Error{u"entry " + Quoted(entry.name.Utf8()) + u" is damaged: its data inflates to " +
                 (inflated > entry.claimedSize ? u"more than" : u"fewer than") + u" the " +
                 DecimalText(entry.claimedSize) + u" bytes its header states"};
}

Error TooManyEntries(const ContainerLimits& limits) {
    return Error{u"the archive holds more than the cap of " + DecimalText(limits.maxEntries) + u" entries"};
}

struct FileClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, FileClose>;

// The package file as a libzip source, after the checks that come before libzip reads its
// directory: the file's size and the entry count that it states.
struct PackageSource {
    UniqueZipSource source;
    std::uint64_t size = 0;
};

// Why a package file could not be opened or is no regular file; code is the system's
// error of the failed open, or 0 when the open succeeded.
Error UnreadableFile(const CString& path, std::uint32_t code) {
    using OvxUtils::SystemIO::Detail::EntryType;
    switch (OvxUtils::SystemIO::Detail::GetEntryInfo(path).type) {
    case EntryType::None: return Error{CString(kMissing)};
    case EntryType::Folder: return Error{u"the path is a folder, not a file"};
    case EntryType::Other: return Error{u"the path is not a regular file but a pipe, socket or device"};
    case EntryType::File: break;
    }
    if (code == 0) return Error{u"the path is not a regular file but a pipe, socket or device"};
    return SystemError(u"the file cannot be read", code);
}

// The checks made on the archive's own records before libzip reads them.
Result<void> CheckRecords(std::optional<EndRecord> end, std::uint64_t size, const ContainerLimits& limits,
                          const ReadAt& read) {
    if (!end) return {};  // libzip says what is wrong
    if (end->entries > limits.maxEntries) return TooManyEntries(limits);
    return CheckEntryLayout(*end, size, read);
}

Result<PackageSource> OpenSource(const CString& path, const ContainerLimits& limits) {
    ZipErrorHolder error;
    UniqueFile file(NativeIO::OpenForReading(path));
    const std::uint32_t openError = file ? 0 : OvxUtils::LastSystemError();
    const auto size = file ? NativeIO::RegularFileSize(file.get()) : std::nullopt;
    if (!size) return UnreadableFile(path, openError);
    if (*size > limits.maxPackageSize) {
        return Error{u"the file is larger than the cap of " + DecimalText(limits.maxPackageSize) + u" bytes"};
    }
    if (*size > limits.inMemoryOpenSize) {
        UniqueZipSource source(CreatePositionalSource(file.get(), *size, error.Get()));
        if (!source) return OpenError(error.Get());
        file.release();  // the source owns it now
        const auto end = ReadEndRecord(source.get(), *size);
        // The checks read through the source too, so that its blocks serve the many small
        // reads of the local headers.
        if (zip_source_open(source.get()) != 0) return OpenError(zip_source_error(source.get()));
        const ReadAt readSource = [packageSource = source.get()](std::uint64_t offset, std::size_t count, char* out) {
            return zip_source_seek(packageSource, static_cast<zip_int64_t>(offset), SEEK_SET) == 0 &&
                   zip_source_read(packageSource, out, count) == static_cast<zip_int64_t>(count);
        };
        auto checked = CheckRecords(end, *size, limits, readSource);
        zip_source_close(source.get());
        if (!checked) return checked.TakeError();
        return PackageSource{std::move(source), *size};
    }
    if (*size == 0) {  // libzip's buffer source would not take over an empty buffer
        zip_error_set(error.Get(), ZIP_ER_NOZIP, 0);
        return OpenError(error.Get());
    }
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    const auto length = static_cast<std::size_t>(*size);
    std::unique_ptr<char, decltype(&std::free)> bytes(static_cast<char*>(std::malloc(length)), &std::free);
    if (!bytes) return Error{u"the file is too large to read into memory"};
    if (std::fread(bytes.get(), 1, length, file.get()) != length) return SystemError(u"the file cannot be read");
    const std::uint64_t tailSize = std::min<std::uint64_t>(*size, kRecordSize + kMaxCommentSize + kZip64Size);
    bool commentFits = false;
    const char* data = bytes.get();
    const ReadAt readMemory = [data, length](std::uint64_t offset, std::size_t count, char* out) {
        if (offset > length || count > length - offset) return false;
        std::copy_n(data + offset, count, out);
        return true;
    };
    const auto end = FindEndRecord(std::string_view(data + (length - tailSize), tailSize), *size, commentFits);
    if (auto checked = CheckRecords(end, *size, limits, readMemory); !checked) return checked.TakeError();
    // libzip frees the bytes with the source.
    UniqueZipSource source(zip_source_buffer_create(bytes.get(), length, 1, error.Get()));
    if (!source) return OpenError(error.Get());
    bytes.release();
    return PackageSource{std::move(source), *size};
}

}  // namespace

bool MayBeIncomplete(const CString& openError) {
    // Anything else names a rule the archive broke once its directory was read.
    return openError.EndsWith(CString(kCannotRead)) || openError.EndsWith(CString(kNotAZip)) ||
           openError.EndsWith(CString(kMissing));
}

ArchiveReader::ArchiveReader(UniqueZip archive, std::vector<ArchiveEntry> entries, std::uint64_t fileSize)
    : m_archive(std::move(archive)), m_entries(std::move(entries)), m_fileSize(fileSize) {
    m_byName.reserve(m_entries.size());
    for (std::size_t i = 0; i < m_entries.size(); ++i) m_byName.emplace(m_entries[i].name.Utf8(), i);
}

Result<std::unique_ptr<ArchiveReader>> ArchiveReader::Open(const CString& path, const ContainerLimits& limits) {
    auto source = OpenSource(path, limits);
    if (!source) return source.TakeError();
    ZipErrorHolder error;
    UniqueZip archive(zip_open_from_source(source->source.get(), ZIP_RDONLY, error.Get()));
    if (!archive) return OpenError(error.Get());
    source->source.release();  // the archive owns it now
    const std::uint64_t fileSize = source->size;

    const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    if (count < 0 || static_cast<std::uint64_t>(count) > limits.maxEntries) return TooManyEntries(limits);
    std::vector<ArchiveEntry> entries;
    entries.reserve(static_cast<std::size_t>(count));
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        auto entry = CheckEntry(archive.get(), index);
        if (!entry) return entry.TakeError();
        entries.push_back(std::move(*entry));
    }
    if (auto unique = CheckUniqueNames(entries); !unique) return unique.TakeError();
    return std::unique_ptr<ArchiveReader>(new ArchiveReader(std::move(archive), std::move(entries), fileSize));
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
        if (read == 0) return CheckSize(entry, entryBytes);
        entryBytes += static_cast<std::uint64_t>(read);
        if (entryBytes > entry.claimedSize) return CheckSize(entry, entryBytes);
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
    UniqueZipFile file(zip_fopen_index(m_archive.get(), entry.index, 0));
    if (!file) return ReadError(entry, zip_get_error(m_archive.get()));
    // Inflates straight into the result. The stated size only sizes the first read (it may
    // lie), and the caps are checked on what actually arrives. A read that returns less than
    // asked has met the end of the data or an error; libzip reports a damaged CRC only on
    // the read after, so one more read, of one byte, confirms the end.
    std::string bytes;
    std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>({entry.claimedSize, maxEntrySize, kChunkSize})) + 1;
    while (true) {
        const std::size_t used = bytes.size();
        bytes.resize(used + wanted);
        const zip_int64_t read = zip_fread(file.get(), bytes.data() + used, wanted);
        if (read < 0) return ReadError(entry, zip_file_get_error(file.get()));
        bytes.resize(used + static_cast<std::size_t>(read));
        if (read == 0 || bytes.size() > entry.claimedSize) {
            if (auto sized = CheckSize(entry, bytes.size()); !sized) return sized.TakeError();
            return bytes;
        }
        if (bytes.size() > maxEntrySize) {
            return Error{u"entry " + Quoted(entry.name.Utf8()) + u" is larger than the cap of " +
                         DecimalText(maxEntrySize) + u" bytes"};
        }
        if (auto counted = budget.Add(entry, bytes.size(), static_cast<std::size_t>(read)); !counted) {
            return counted.TakeError();
        }
        wanted = static_cast<std::size_t>(read) < wanted ? 1 : kChunkSize;
    }
}

}  // namespace VdcContainer
