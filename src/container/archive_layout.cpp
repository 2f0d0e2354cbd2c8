// The archive's own records: the end record, the central directory and local headers.
#include "container/archive_layout.h"

#include <algorithm>
#include <string>
#include <vector>

namespace VdcContainer {

namespace {

constexpr std::uint64_t kEndRecordSize = 22;
constexpr std::uint64_t kDirectoryHeaderSize = 46;
constexpr std::uint64_t kLocalHeaderSize = 30;
constexpr std::uint32_t kDirectorySignature = 0x02014b50;
constexpr std::uint32_t kLocalSignature = 0x04034b50;
constexpr std::uint16_t kZip64ExtraId = 0x0001;

std::uint64_t Get(std::string_view bytes, std::size_t at, int size) {
    std::uint64_t value = 0;
    for (int i = size - 1; i >= 0; --i) value = value << 8 | static_cast<std::uint8_t>(bytes[at + static_cast<std::size_t>(i)]);
    return value;
}

// One entry's bytes in the file: its local header, name, extra field and data.
struct Span {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::string name;
};

Error Damaged(const CString& why) { return Error{u"the archive is damaged: " + why}; }

// The values that a ZIP64 extra field replaces, in its fixed order.
void ApplyZip64(std::string_view extra, std::uint64_t& size, std::uint64_t& compressed, std::uint64_t& offset) {
    for (std::size_t at = 0; at + 4 <= extra.size();) {
        const auto id = static_cast<std::uint16_t>(Get(extra, at, 2));
        const auto length = static_cast<std::size_t>(Get(extra, at + 2, 2));
        if (at + 4 + length > extra.size()) return;
        if (id == kZip64ExtraId) {
            std::size_t field = at + 4;
            for (std::uint64_t* value : {&size, &compressed, &offset}) {
                if (*value != 0xFFFFFFFF) continue;
                if (field + 8 > at + 4 + length) return;
                *value = Get(extra, field, 8);
                field += 8;
            }
            return;
        }
        at += 4 + length;
    }
}

}  // namespace

std::optional<EndRecord> FindEndRecord(std::string_view tail, std::uint64_t fileSize, bool& commentFits) {
    commentFits = false;
    if (tail.size() < kEndRecordSize) return std::nullopt;
    const std::size_t record = tail.rfind(std::string_view("PK\x05\x06", 4), tail.size() - kEndRecordSize);
    if (record == std::string_view::npos) return std::nullopt;
    commentFits = record + kEndRecordSize + Get(tail, record + 20, 2) == tail.size();
    EndRecord end{Get(tail, record + 10, 2), Get(tail, record + 16, 4), Get(tail, record + 12, 4)};
    const bool deferred = end.entries == 0xFFFF || end.directoryOffset == 0xFFFFFFFF || end.directorySize == 0xFFFFFFFF;
    if (!deferred || record < 20 || tail.substr(record - 20, 4) != std::string_view("PK\x06\x07", 4)) return end;
    // The ZIP64 record: its offset is in the locator.
    const std::uint64_t zip64Offset = Get(tail, record - 20 + 8, 8);
    const std::uint64_t tailStart = fileSize - tail.size();
    if (zip64Offset < tailStart || zip64Offset - tailStart + 56 > tail.size()) return std::nullopt;
    const auto at = static_cast<std::size_t>(zip64Offset - tailStart);
    return EndRecord{Get(tail, at + 32, 8), Get(tail, at + 48, 8), Get(tail, at + 40, 8)};
}

Result<void> CheckEntryLayout(const EndRecord& end, std::uint64_t fileSize, const ReadAt& read) {
    if (end.directoryOffset > fileSize || end.directorySize > fileSize - end.directoryOffset) {
        return Damaged(u"its directory lies outside the file");
    }
    std::string directory(static_cast<std::size_t>(end.directorySize), '\0');
    if (!read(end.directoryOffset, directory.size(), directory.data())) return Damaged(u"its directory cannot be read");

    std::vector<Span> spans;
    spans.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(end.entries, directory.size() / kDirectoryHeaderSize)));
    char local[kLocalHeaderSize];
    for (std::size_t at = 0; at < directory.size();) {
        if (directory.size() - at < kDirectoryHeaderSize || Get(directory, at, 4) != kDirectorySignature) {
            return Damaged(u"its directory holds a record that is not an entry");
        }
        const auto nameLength = static_cast<std::size_t>(Get(directory, at + 28, 2));
        const auto extraLength = static_cast<std::size_t>(Get(directory, at + 30, 2));
        const auto commentLength = static_cast<std::size_t>(Get(directory, at + 32, 2));
        const std::size_t next = at + kDirectoryHeaderSize + nameLength + extraLength + commentLength;
        if (next > directory.size()) return Damaged(u"an entry of its directory is cut short");
        std::uint64_t size = Get(directory, at + 24, 4);
        std::uint64_t compressed = Get(directory, at + 20, 4);
        std::uint64_t offset = Get(directory, at + 42, 4);
        ApplyZip64(std::string_view(directory).substr(at + kDirectoryHeaderSize + nameLength, extraLength), size,
                   compressed, offset);
        std::string name = directory.substr(at + kDirectoryHeaderSize, nameLength);
        const CString quoted = u"entry " + Quoted(name);
        if (offset > end.directoryOffset || end.directoryOffset - offset < kLocalHeaderSize ||
            !read(offset, kLocalHeaderSize, local) || Get(std::string_view(local, kLocalHeaderSize), 0, 4) != kLocalSignature) {
            return Damaged(quoted + u" has no local header where the directory says");
        }
        const std::string_view header(local, kLocalHeaderSize);
        const std::uint64_t dataStart = offset + kLocalHeaderSize + Get(header, 26, 2) + Get(header, 28, 2);
        if (compressed > fileSize || dataStart + compressed > end.directoryOffset) {
            return Damaged(quoted + u" has data that runs into the directory");
        }
        spans.push_back({offset, dataStart + compressed, std::move(name)});
        at = next;
    }
    if (spans.size() != end.entries) return Damaged(u"its directory holds another number of entries than it states");
    std::stable_sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.start < b.start; });
    for (std::size_t i = 1; i < spans.size(); ++i) {
        if (spans[i].start < spans[i - 1].end) {
            return Damaged(u"entries " + Quoted(spans[i - 1].name) + u" and " + Quoted(spans[i].name) + u" share data");
        }
    }
    return {};
}

}  // namespace VdcContainer
