// FileStream: bytes written, sharing and failures.
#include "platform/stream/file_stream.h"
#include "platform/system_io/file.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

namespace {

using OvxUtils::FileStream;
using OvxUtils::Stream;
namespace File = OvxUtils::SystemIO::File;
using OvxTest::FsPath;
using OvxTest::TempFolder;

bool WriteText(Stream& stream, std::string_view text) { return stream.Write(text.data(), text.size()); }

TEST(FileStream, WritesExactBytesThatOthersReadWhileItIsOpen) {
    TempFolder temp;
    const CString path = temp / u"log ☃.txt";
    ASSERT_TRUE(File::WriteAllBytes(path, "old content that must disappear"));
    const auto stream = FileStream::Create(path);
    ASSERT_NE(stream, nullptr);
    const std::string binary("\0\xFF\r\n", 4);
    ASSERT_TRUE(WriteText(*stream, "one\n") && WriteText(*stream, binary) && stream->Write(nullptr, 0));
    // An ordinary reader as another program would open it, sharing only reading and writing.
    std::ifstream reader(FsPath(path), std::ios::binary);
    ASSERT_TRUE(reader.is_open());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "one\n" + binary);
    reader.close();

    // A second writer starts the file afresh; the first one's lines then follow at the end,
    // with no gap where its earlier lines were.
    const auto second = FileStream::Create(path);
    ASSERT_TRUE(second && WriteText(*second, "2nd\n"));
    ASSERT_TRUE(WriteText(*stream, "three\n"));
    EXPECT_EQ(File::ReadAllBytes(path), "2nd\nthree\n");

    // Log rotation deletes the file of a running writer.
    EXPECT_TRUE(File::Delete(path));
    EXPECT_TRUE(WriteText(*stream, "four\n"));
}

#if !defined(_WIN32)
// A disk that fills during a write takes part of it (here a file size limit does): the
// part is cut off again, so the file never ends in half a line.
TEST(FileStream, AWriteCutShortLeavesNoPartBehind) {
    TempFolder temp;
    const CString path = temp / u"full.log";
    const auto stream = FileStream::Create(path);
    ASSERT_TRUE(stream && WriteText(*stream, "whole line\n"));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small{16, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_FALSE(WriteText(*stream, "a line with no room left for it\n"));
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_TRUE(WriteText(*stream, "next\n"));
    EXPECT_EQ(File::ReadAllBytes(path), "whole line\nnext\n");
}
#endif

}  // namespace
