// ovxext demo and ovxext host: the hosts that the tool runs over real folders.

#include "run_ovxext.h"
#include "test_host.h"

#include "platform/system_io/file.h"
#include "platform/system_io/path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace OvxComponent;
using testing::HasSubstr;
using OvxTest::RunOvxext;
using OvxTest::RunResult;
namespace SystemIO = OvxUtils::SystemIO;

// A package that ovxext's hosts load (as Cinder, for the type below).
void PackFor(const CString& path, int number, const CString& type = u"application/x-vnd.ovx.demo-tool", int version = 1) {
    const OvxUtils::Guid id(0x5EED0000u + static_cast<std::uint32_t>(number), 1, 2, {3, 4, 5, 6, 7, 8, 9, 10});
    OvxTest::PackExtension(path, {id, {version}, type, {{u"a.txt", "a"}}, ExtensionAppSupport::Cinder});
}

TEST(OvxextDemo, WalksThroughTheLifeOfExtensions) {
    OvxTest::TempFolder temp;
    const CString work = temp / u"demo";
    const RunResult result = RunOvxext({"demo", "--keep", work.ToUtf8()});
    ASSERT_EQ(result.code, 0) << result.err;
    const std::string palette = "{0D3E0003-7A1B-4C2D-8E3F-102132435465}";
    for (const std::string& step :
         {std::string("toolbox.OrvexExtension\" auto loaded"), std::string("host applies UI modifications: appui.xslt"),
          std::string("legacy-panel.OrvexExtension does not work on this system"),
          std::string("palette.OrvexExtension\" Extension already loaded."), std::string("host reloads its UI"),
          "loaded:\n  " + palette + " 2.0 (Palette)\n\n== 8.", std::string("nothing failed")}) {
        EXPECT_THAT(result.out, HasSubstr(step));
    }
    EXPECT_TRUE(SystemIO::File::Exists(
        SystemIO::Path::Combine(work, u"data/x64/" + CString::FromUtf8(palette) + u"/2.0/installed_copy.OrvexExtension")));

    EXPECT_EQ(RunOvxext({"demo", "--keep", work.ToUtf8()}).code, 2);  // never into an existing folder
}

TEST(OvxextHost, OnceLoadsWhatTheSourceHoldsTakesUpdatesAndReportsFailures) {
    OvxTest::TempFolder temp;
    PackFor(temp / u"source/good.OrvexExtension", 1);
    const std::vector<std::string> args = {"host", "--data", (temp / u"data").ToUtf8(), "--source",
                                           (temp / u"source").ToUtf8(), "--app", "Cinder", "--once"};
    RunResult result = RunOvxext(args);
    EXPECT_EQ(result.code, 0) << result.out << result.err;
    const std::string good = "host loads {5EED0001-0001-0002-0304-05060708090A} ";
    EXPECT_THAT(result.out, HasSubstr(good + "1\n"));
    EXPECT_THAT(result.out, HasSubstr("nothing failed"));

    // An update dropped while the host was stopped is what the next start loads.
    PackFor(temp / u"source/good.OrvexExtension", 1, u"application/x-vnd.ovx.demo-tool", 2);
    result = RunOvxext(args);
    EXPECT_THAT(result.out, HasSubstr(good + "2\n"));
    EXPECT_THAT(result.out, testing::Not(HasSubstr(good + "1\n")));

    // A type that no installer serves cannot load once loading is finished: a failure.
    PackFor(temp / u"source/foreign.OrvexExtension", 2, u"application/x-other");
    result = RunOvxext(args);
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr("failed to load"));

    // A run that died in the good extension's load: the next one keeps it off and says how
    // to let it in; ovxext quarantine lists and releases it.
    const OvxUtils::Guid goodId(0x5EED0001u, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10});
    ASSERT_TRUE(SystemIO::File::WriteAllBytes(temp / u"data/x64/orvex_extensions.0DEAD000.session",
                                              OvxTest::MarkerOfACrashIn(goodId, ExtensionCall::Load)));
    result = RunOvxext(args);
    EXPECT_THAT(result.out, HasSubstr("host keeps {5EED0001-0001-0002-0304-05060708090A} off: it died in its load call"));
    EXPECT_THAT(result.out, HasSubstr("in quarantine: the host ended during its load call"));
    EXPECT_THAT(result.out, testing::Not(HasSubstr(good + "2\n")));
    const std::vector<std::string> quarantine = {"quarantine", "list", "--data", (temp / u"data").ToUtf8()};
    EXPECT_THAT(RunOvxext(quarantine).out, HasSubstr("{5EED0001-0001-0002-0304-05060708090A}  load call begun at"));
    EXPECT_THAT(RunOvxext({"quarantine", "list", "--data", (temp / u"data").ToUtf8(), "--json"}).out,
                HasSubstr("\"call\": \"load\""));
    const std::vector<std::string> release = {"quarantine", "release", "--data", (temp / u"data").ToUtf8(),
                                              "{5EED0001-0001-0002-0304-05060708090A}"};
    EXPECT_EQ(RunOvxext(release).code, 0);
    EXPECT_EQ(RunOvxext(release).code, 1);
    EXPECT_THAT(RunOvxext(quarantine).out, HasSubstr("no extension is in quarantine"));
    EXPECT_THAT(RunOvxext(args).out, HasSubstr(good + "2\n"));

    // A safe start keeps the extensions off; with --timings the slowest calls are listed.
    const auto runWith = [&](const char* option) {
        std::vector<std::string> more = args;
        more.push_back(option);
        return RunOvxext(more);
    };
    result = runWith("--safe");
    EXPECT_THAT(result.out, HasSubstr("host starts safely"));
    EXPECT_THAT(result.out, testing::Not(HasSubstr(good)));
    EXPECT_THAT(runWith("--timings").out, HasSubstr("{5EED0001-0001-0002-0304-05060708090A} load: 1 call, "));

    EXPECT_EQ(RunOvxext({"host", "--data", (temp / u"data").ToUtf8()}).code, 2);
    EXPECT_EQ(RunOvxext({"host", "--data", (temp / u"data").ToUtf8(), "--source", (temp / u"none").ToUtf8()}).code, 2);
}

}  // namespace
