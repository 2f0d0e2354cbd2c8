// Packages are ordinary ZIP files: the standard zip tools read ours,
// and a package that zip assembles from the right entries opens.
#include "container/add_files.h"
#include "platform/system_io/file.h"
#include "support/temp_folder.h"
#include "widget_package.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using namespace VdcContainer;

int Shell(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()); }

#if defined(_WIN32)
#define SKIP_WITHOUT_ZIP_TOOLS() GTEST_SKIP() << "zip and unzip are Linux programs, not present under Wine"
#else
#define SKIP_WITHOUT_ZIP_TOOLS()                                                           \
    if (Shell("command -v zip") != 0 || Shell("command -v unzip") != 0) GTEST_SKIP() << "zip or unzip is not installed"
#endif

std::string Quote(const CString& path) {
    std::string quoted = "'";  // built step by step: "'" + string&& trips a false -Wrestrict in GCC 12
    quoted += path.ToUtf8();
    return quoted += "'";
}

CString PackSample(OvxTest::TempFolder& temp) {
    const std::vector<CString> files = {temp.WriteFile(u"src/a.txt", "alpha"),
                                        temp.WriteFile(u"src/deep/\u00DCber.txt", "umlaut")};
    const CString path = temp / u"widget.pkg";
    auto package = OvxTest::WidgetPackage::Open(path, ZipFile::OpenMode::Create);
    EXPECT_TRUE(package);
    package->SetInfo(std::make_unique<OvxTest::WidgetInfo>(OvxTest::SampleWidget()));
    EXPECT_TRUE(AddFiles(*package, temp / u"src", files, u"content"));
    EXPECT_TRUE(package->Close());
    return path;
}

// unzip reads our package, and a package that zip assembles from the entries unzip wrote
// (mimetype first, stored) opens with its record intact.
TEST(InteropTest, ZipToolsReadOurPackagesAndWhatZipAssemblesOpens) {
    SKIP_WITHOUT_ZIP_TOOLS();
    OvxTest::TempFolder temp;
    const CString path = PackSample(temp);
    EXPECT_EQ(Shell("unzip -t " + Quote(path)), 0);
    ASSERT_EQ(Shell("unzip -q " + Quote(path) + " -d " + Quote(temp / u"tree")), 0);
    EXPECT_EQ(OvxUtils::SystemIO::File::ReadAllBytes(temp / u"tree/content/deep/\u00DCber.txt"), "umlaut");

    const CString assembled = temp / u"assembled.pkg";
    ASSERT_EQ(Shell("cd " + Quote(temp / u"tree") + " && zip -X -0 -q " + Quote(assembled) + " mimetype && zip -X -r -q " +
                  Quote(assembled) + " . -x mimetype"),
              0);
    auto package = OvxTest::WidgetPackage::Open(assembled, ZipFile::OpenMode::ReadOnly);
    ASSERT_TRUE(package) << package.ErrorText();
    ASSERT_NE(package->GetInfo(), nullptr) << package->GetInfoError();
    EXPECT_EQ(*package->GetInfo(), OvxTest::SampleWidget());
    EXPECT_EQ(package->Container().ReadEntry(u"content/deep/\u00DCber.txt").Value(), "umlaut");
}

}  // namespace
