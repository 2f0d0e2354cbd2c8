// ZipBuilder: ZIP archives made in memory by the tests themselves, and patches of their raw
// header fields for the archives that no well-behaved writer would make.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace OvxTest {

class ZipBuilder {
public:
    // The time of every entry, in seconds since 1970: 2020-01-01 12:00:00.
    static constexpr std::int64_t kEntryTime = 1'577'880'000;

    // A builder whose first entry is "mimetype", stored, holding mimeType.
    static ZipBuilder Package(std::string mimeType = "application/x-test+zip");

    ZipBuilder& Add(std::string name, std::string data, bool store = false);
    ZipBuilder& AddFolder(std::string name);
    // External attributes of the last entry added, with the Unix file mode in the high bits.
    ZipBuilder& UnixMode(std::uint32_t mode);

    std::string Build() const;

private:
    struct Entry {
        std::string name;
        std::string data;
        bool store = false;
        bool folder = false;
        std::uint32_t unixMode = 0;
    };
    std::vector<Entry> m_entries;
};

// Header patches. Each finds the entry's local and central headers by its name and
// changes both; the name must occur exactly once among the headers.
void PatchName(std::string& zip, std::string_view from, std::string_view to);  // same length
void PatchUncompressedSize(std::string& zip, std::string_view name, std::uint32_t size);
void PatchCompressedSize(std::string& zip, std::string_view name, std::uint32_t size);
void PatchCrc(std::string& zip, std::string_view name, std::uint32_t crc);
// Points the central header of name at the local header (and so the data) of sharedWith.
void PatchLocalOffset(std::string& zip, std::string_view name, std::string_view sharedWith);
// Sets the general purpose flag bits (bit 0: encrypted).
void PatchFlags(std::string& zip, std::string_view name, std::uint16_t flags);
// Sets the entry counts of the end of central directory record.
void PatchStatedEntryCount(std::string& zip, std::uint16_t count);
// Gives the archive a comment, which then ends the file.
void AppendComment(std::string& zip, std::string_view comment);
// Overwrites bytes of an entry's stored data, counted from the start of the data.
void PatchData(std::string& zip, std::string_view name, std::size_t offset, std::string_view bytes);

}  // namespace OvxTest
