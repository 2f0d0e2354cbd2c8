// ZipBuilder: ZIP archives made in memory by the tests themselves, and patches of their raw
// header fields.
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

// A field of both headers of an entry: its offset in the local and in the central header,
// and its width in bytes.
struct HeaderField {
    std::size_t local, central, width;
};
inline constexpr HeaderField kFlags{6, 8, 2};  // general purpose bits (bit 0: encrypted)
inline constexpr HeaderField kCrc{14, 16, 4};
inline constexpr HeaderField kCompressedSize{18, 20, 4};
inline constexpr HeaderField kUncompressedSize{22, 24, 4};

// Header patches, for the archives that no well-behaved writer would make. Each finds the
// entry's local and central headers by its name, which must occur exactly once among them.
void Patch(std::string& zip, std::string_view name, HeaderField field, std::uint32_t value);
void PatchName(std::string& zip, std::string_view from, std::string_view to);  // same length
// Points the central header of name at the local header (and so the data) of sharedWith.
void PatchLocalOffset(std::string& zip, std::string_view name, std::string_view sharedWith);
// Sets the entry counts of the end of central directory record.
void PatchStatedEntryCount(std::string& zip, std::uint16_t count);
// Gives the archive a comment, which then ends the file.
void AppendComment(std::string& zip, std::string_view comment);

}  // namespace OvxTest
