// ZipBuilder over libzip with an in-memory source.
#include "zip_builder.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <cstring>

namespace OvxTest {

namespace {

std::uint32_t Get16(const std::string& zip, std::size_t at) {
    return static_cast<std::uint8_t>(zip[at]) | static_cast<std::uint8_t>(zip[at + 1]) << 8;
}

void Put32(std::string& zip, std::size_t at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) zip[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i));
}

struct Header {
    std::size_t offset;  // of the signature
    bool central;
};

// Local headers ("PK\3\4", name at 30) and central headers ("PK\1\2", name at 46).
std::vector<Header> HeadersOf(const std::string& zip, std::string_view name) {
    std::vector<Header> headers;
    for (std::size_t at = 0; at + 46 <= zip.size(); ++at) {
        if (zip.compare(at, 2, "PK") != 0) continue;
        const bool local = zip[at + 2] == 3 && zip[at + 3] == 4;
        const bool central = zip[at + 2] == 1 && zip[at + 3] == 2;
        if (!local && !central) continue;
        const std::size_t nameLength = Get16(zip, at + (central ? 28 : 26));
        const std::size_t nameAt = at + (central ? 46 : 30);
        if (nameLength == name.size() && zip.compare(nameAt, nameLength, name) == 0) headers.push_back({at, central});
    }
    EXPECT_EQ(headers.size(), 2u) << "headers of " << name;
    return headers;
}

}  // namespace

ZipBuilder ZipBuilder::Package(std::string mimeType) {
    ZipBuilder builder;
    builder.Add("mimetype", std::move(mimeType), true);
    return builder;
}

ZipBuilder& ZipBuilder::Add(std::string name, std::string data, bool store) {
    m_entries.push_back({std::move(name), std::move(data), store, false, 0});
    return *this;
}

ZipBuilder& ZipBuilder::AddFolder(std::string name) {
    m_entries.push_back({std::move(name), {}, false, true, 0});
    return *this;
}

ZipBuilder& ZipBuilder::UnixMode(std::uint32_t mode) {
    m_entries.back().unixMode = mode;
    return *this;
}

std::string ZipBuilder::Build() const {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* buffer = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_t* archive = zip_open_from_source(buffer, ZIP_TRUNCATE, &error);
    EXPECT_NE(archive, nullptr) << zip_error_strerror(&error);
    zip_source_keep(buffer);
    for (const Entry& entry : m_entries) {
        zip_int64_t index;
        if (entry.folder) {
            index = zip_dir_add(archive, entry.name.c_str(), ZIP_FL_ENC_UTF_8);
        } else {
            zip_source_t* data = zip_source_buffer(archive, entry.data.data(), entry.data.size(), 0);
            index = zip_file_add(archive, entry.name.c_str(), data, ZIP_FL_ENC_UTF_8);
            if (entry.store) zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
        }
        EXPECT_GE(index, 0) << entry.name << ": " << zip_strerror(archive);
        zip_file_set_mtime(archive, static_cast<zip_uint64_t>(index), kEntryTime, 0);
        if (entry.unixMode != 0) {
            zip_file_set_external_attributes(archive, static_cast<zip_uint64_t>(index), 0, ZIP_OPSYS_UNIX,
                                             entry.unixMode << 16);
        }
    }
    EXPECT_EQ(zip_close(archive), 0);
    std::string bytes;
    zip_source_open(buffer);
    char chunk[4096];
    for (zip_int64_t read; (read = zip_source_read(buffer, chunk, sizeof(chunk))) > 0;) {
        bytes.append(chunk, static_cast<std::size_t>(read));
    }
    zip_source_close(buffer);
    zip_source_free(buffer);
    zip_error_fini(&error);
    return bytes;
}

void PatchName(std::string& zip, std::string_view from, std::string_view to) {
    ASSERT_EQ(from.size(), to.size());
    for (const Header& header : HeadersOf(zip, from)) {
        zip.replace(header.offset + (header.central ? 46 : 30), to.size(), to);
    }
}

void Patch(std::string& zip, std::string_view name, HeaderField field, std::uint32_t value) {
    for (const Header& header : HeadersOf(zip, name)) {
        const std::size_t at = header.offset + (header.central ? field.central : field.local);
        for (std::size_t i = 0; i < field.width; ++i) zip[at + i] = static_cast<char>(value >> (8 * i));
    }
}

void PatchLocalOffset(std::string& zip, std::string_view name, std::string_view sharedWith) {
    std::size_t local = 0;
    for (const Header& header : HeadersOf(zip, sharedWith)) {
        if (!header.central) local = header.offset;
    }
    for (const Header& header : HeadersOf(zip, name)) {
        if (header.central) Put32(zip, header.offset + 42, static_cast<std::uint32_t>(local));
    }
}

void PatchStatedEntryCount(std::string& zip, std::uint16_t count) {
    const std::size_t record = zip.rfind(std::string("PK\x05\x06", 4));
    ASSERT_NE(record, std::string::npos);
    for (const std::size_t at : {record + 8, record + 10}) {
        zip[at] = static_cast<char>(count);
        zip[at + 1] = static_cast<char>(count >> 8);
    }
}

void AppendComment(std::string& zip, std::string_view comment) {
    const std::size_t record = zip.rfind(std::string("PK\x05\x06", 4));
    ASSERT_NE(record, std::string::npos);
    ASSERT_EQ(record + 22, zip.size());
    zip[record + 20] = static_cast<char>(comment.size());
    zip[record + 21] = static_cast<char>(comment.size() >> 8);
    zip += comment;
}

}  // namespace OvxTest
