// Churn: eighty packages added, replaced, torn and removed in a tracked source folder,
// with host restarts in between, checked step by step against a small model of the
// unpack, load and removal rules: what is loaded, what is installed, and how often the
// installer loaded and unloaded.
#include "test_host.h"

#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string_view>
#include <thread>

namespace {

using namespace OvxComponent;
using OvxTest::TestGuid;
using OvxTest::TestHost;
using OvxTest::TestInstaller;
namespace SystemIO = OvxUtils::SystemIO;

constexpr std::uint32_t kSeed = 0x5EED2024;
constexpr int kOperations = 80;

constexpr int kIds = 8;
// Extensions from this number on have a type that no installer serves: they are unpacked
// but never loaded, so the version and time rules decide about them.
constexpr int kFirstUnserved = 5;
const CString kUnservedType = u"application/x-test-unserved";

// Versions 2 and 2.0 compare equal but name different folders.
const std::vector<std::vector<std::int32_t>> kVersions = {{1, 0}, {2}, {2, 0}, {3, 0}};

// Package times are set by the test, whole seconds apart, so that no comparison depends on
// the resolution of the file system's clock. The installed copy is a copy of the package
// file that keeps its time, so an equal version replaces it only when its package is
// strictly newer than the package it was made from.
constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kTicksFrom1601To1970 = 11'644'473'600ull * kTicksPerSecond;
constexpr std::uint64_t kDay = 86'400ull * kTicksPerSecond;

std::uint64_t NowTicks() {
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return kTicksFrom1601To1970 +
           static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(since1970).count()) * kTicksPerSecond;
}

// The product's own comparison: the model decides with the rule it checks.
int CompareVersions(int a, int b) {
    return OvxUtils::Version::Compare(OvxUtils::Version(kVersions[a]), OvxUtils::Version(kVersions[b]));
}

std::string VersionText(int version) { return OvxUtils::Version(kVersions[version]).ToString().ToUtf8(); }

std::string GuidText(int id) { return TestGuid(id).ToString().ToUtf8(); }

const std::string kRescanLine = "(Information): \"manager\" changes detected, scanning for changes";

// What the source folder holds at one path.
struct SourceFile {
    int id = 0;
    int version = 0;  // into kVersions
    std::uint64_t time = 0;
    bool torn = false;  // only the first half of the package was written
};

// What is unpacked of an extension: the version and the time of the package it came from.
struct InstalledCopy {
    int version = 0;
    std::uint64_t time = 0;
};

// What the manager should have made of each extension, and of the log.
class Model {
public:
    struct Extension {
        bool served = true;
        bool known = false;   // a record in the manager's loaded extensions, state or not
        bool loaded = false;  // FindExtension finds it
        std::optional<InstalledCopy> installed;  // below the platform folder
    };

    Model() {
        for (int id = 0; id < kIds; ++id) extensions[id].served = id < kFirstUnserved;
    }

    // One rescan, visiting the files in the order the folder lists them.
    void Rescan(const std::vector<CString>& visitOrder) {
        std::set<int> present;
        for (const CString& path : visitOrder) {
            const SourceFile& file = files.at(path);
            if (file.torn) {
                ++rulesMet["torn package skipped"];
                continue;
            }
            present.insert(file.id);
            Extension& extension = extensions[file.id];
            // Once loaded, an extension keeps its record until everything is unloaded, and
            // every package of it is refused until then, the one it was loaded from too.
            if (extension.known) {
                ++rulesMet[extension.installed ? "loaded extension refused" : "removed extension refused"];
                continue;
            }
            if (extension.installed && !Replaces(file, *extension.installed)) continue;
            if (extension.installed && extension.installed->version != file.version &&
                CompareVersions(file.version, extension.installed->version) == 0) {
                ++rulesMet["equal version of another name replaces"];
            }
            extension.installed = InstalledCopy{file.version, file.time};
            if (extension.served) {
                extension.known = extension.loaded = true;
                ++loads;
            }
        }
        for (int id = 0; id < kIds; ++id) {
            Extension& extension = extensions[id];
            if (!extension.installed || present.contains(id)) continue;
            ++rulesMet[extension.loaded ? "loaded extension removed" : "unserved extension removed"];
            if (extension.loaded) ++unloads;
            extension.loaded = false;
            extension.installed.reset();
        }
    }

    // UnloadAll, then a new manager that loads what is unpacked.
    void Restart() {
        for (Extension& extension : extensions) {
            if (extension.loaded) ++unloads;
            extension.known = extension.loaded = false;
            if (extension.served && extension.installed) {
                ++rulesMet["loaded again after a restart"];
                extension.known = extension.loaded = true;
                ++loads;
            }
        }
    }

    std::map<CString, SourceFile> files;
    std::array<Extension, kIds> extensions;
    std::map<std::string, int> rulesMet;  // how often each rule decided
    int loads = 0;
    int unloads = 0;

private:
    // A newer version replaces the installed copy, an older one never does, and an equal
    // one only when its file is strictly newer than the installed copy.
    bool Replaces(const SourceFile& file, const InstalledCopy& installed) {
        const int order = CompareVersions(file.version, installed.version);
        const bool newer = file.time > installed.time;
        ++rulesMet[order > 0   ? "newer version replaces"
                   : order < 0 ? "older version refused"
                   : newer     ? "equal version of a newer package replaces"
                               : "equal version of a package not newer refused"];
        return order > 0 || (order == 0 && newer);
    }
};

class ManagerChurn : public testing::Test {
protected:
    void SetUp() override {
        SystemIO::Folder::EnsureExists(host.source);
        SystemIO::Folder::EnsureExists(SystemIO::Path::Combine(host.source, u"sub"));
        SystemIO::Folder::EnsureExists(host.temp / u"staging");
        for (int id = 0; id < kIds; ++id) {
            for (const char16_t* name : {u"a", u"b"}) {
                slots.push_back({id, SystemIO::Path::Combine(host.source, Name(id, name))});
            }
            slots.push_back({id, SystemIO::Path::Combine(host.source, u"sub", Name(id, u"c"))});
        }
        Start();
    }

    static CString Name(int id, const char16_t* letter) {
        return CString::FromUtf8("ext" + std::to_string(id)) + u"-" + letter + u".OrvexExtension";
    }

    void Start() {
        manager = host.MakeManager();
        registration = manager->RegisterInstaller({OvxTest::kTestExtensionType}, installer);
        manager->StartLoading();
        manager->FinishLoading();
        manager->TrackSourceFolders();
    }

    void Restart() {
        manager->UnloadAll();
        registration.reset();
        manager.reset();
        Start();
        model.Restart();
    }

    // The package of one extension version, packed once per run.
    CString Package(int id, int version) {
        const CString path = host.temp / CString::FromUtf8("packages/e" + std::to_string(id) + "-" +
                                                           std::to_string(version) + ".OrvexExtension");
        if (!SystemIO::File::Exists(path)) {
            OvxTest::PackageRecipe recipe{TestGuid(id), OvxUtils::Version(kVersions[version])};
            if (id >= kFirstUnserved) recipe.type = kUnservedType;
            recipe.files = {{u"main.txt", "extension " + std::to_string(id) + " version " + VersionText(version)}};
            OvxTest::PackExtension(path, recipe);
        }
        return path;
    }

    // Written beside the source folder with its time set, then moved into place in one
    // step, as a finished download arrives: a rescan never sees part of it.
    void Put(const CString& path, const SourceFile& file) {
        const CString staged = host.temp / u"staging/next.OrvexExtension";
        ASSERT_TRUE(SystemIO::File::Copy(Package(file.id, file.version), staged, true));
        ASSERT_TRUE(SystemIO::File::SetLastWriteTime(staged, file.time));
        std::filesystem::rename(OvxTest::FsPath(staged), OvxTest::FsPath(path));
        model.files[path] = file;
    }

    // Written in place and cut off halfway, as a copy that is still running.
    void Tear(const CString& path, int id, int version) {
        const std::string bytes = SystemIO::File::ReadAllBytes(Package(id, version)).value_or("");
        ASSERT_TRUE(SystemIO::File::WriteAllBytes(path, std::string_view(bytes).substr(0, bytes.size() / 2)));
        model.files[path] = {id, version, 0, true};
    }

    void Remove(const CString& path) {
        ASSERT_TRUE(SystemIO::File::Delete(path));
        model.files.erase(path);
    }

    // One random change of the source folder; returns what it did, for failure messages.
    std::string Change() {
        std::vector<const std::pair<int, CString>*> taken;
        std::vector<const std::pair<int, CString>*> free;
        for (const auto& slot : slots) (model.files.contains(slot.second) ? taken : free).push_back(&slot);
        const auto pick = [&](const auto& among) { return among[random() % among.size()]; };
        const int version = static_cast<int>(random() % kVersions.size());
        // Half of the packages are newer than every one before them, half are old ones.
        const bool fresh = random() % 2 == 0;
        const std::uint64_t time = fresh ? startTicks + ++writes * kTicksPerSecond : startTicks - kDay;
        const std::string describe = " v" + VersionText(version) + (fresh ? " new" : " old");

        // Of 100 changes: 3 restarts, 5 torn writes, 32 additions, 25 replacements and 35
        // removals, so that the folder stays about half full.
        int roll = static_cast<int>(random() % 100);
        if (roll < 3) {
            Restart();
            ++restarts;
            return "restart";
        }
        if (roll < 8) {
            const auto& [id, path] = slots[random() % slots.size()];
            Tear(path, id, version);
            return "tear " + path.ToUtf8() + " v" + VersionText(version);
        }
        if (roll >= 40 && taken.empty()) roll = 8;  // nothing to replace or remove: add
        if (roll < 40 && !free.empty()) {
            const auto* slot = pick(free);
            Put(slot->second, {slot->first, version, time, false});
            return "add " + slot->second.ToUtf8() + describe;
        }
        const auto* slot = pick(taken);
        if (roll < 65) {
            Put(slot->second, {slot->first, version, time, false});
            return "replace " + slot->second.ToUtf8() + describe;
        }
        Remove(slot->second);
        return "remove " + slot->second.ToUtf8();
    }

    // Runs the main thread's queue until a rescan that began after the last change has
    // finished; false after the deadline. Every rescan is replayed on the model whenever
    // it comes: a burst of notifications may give extra rescans in a later step, which
    // then see that step's folder.
    bool PumpRescan() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        int rescans = 0;
        while (rescans == 0) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            const int ran = host.RunMainThread();
            for (const std::string& line : host.TakeLines()) {
                if (line == kRescanLine) {
                    ++rescans;
                    model.Rescan(SystemIO::Folder::GetFiles(host.source, true));
                }
            }
            if (ran == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }

    std::map<std::string, std::set<std::string>> InstalledFolders() const {
        std::map<std::string, std::set<std::string>> folders;
        for (const CString& extension : SystemIO::Folder::GetSubfolders(manager->GetPlatformFolder(), false)) {
            auto& versions = folders[SystemIO::Path::GetFileName(extension).ToUtf8()];
            for (const CString& version : SystemIO::Folder::GetSubfolders(extension, false)) {
                versions.insert(SystemIO::Path::GetFileName(version).ToUtf8());
            }
        }
        return folders;
    }

    void ExpectModel() {
        std::vector<CString> listed = SystemIO::Folder::GetFiles(host.source, true);
        std::set<CString> modelled;
        for (const auto& [path, file] : model.files) modelled.insert(path);
        ASSERT_EQ(std::set<CString>(listed.begin(), listed.end()), modelled) << "the test lost track of its files";

        std::set<int> loaded;
        std::map<std::string, std::set<std::string>> installed;
        for (int id = 0; id < kIds; ++id) {
            if (manager->FindExtension(TestGuid(id))) loaded.insert(id);
            if (const auto& copy = model.extensions[id].installed) installed[GuidText(id)] = {VersionText(copy->version)};
        }
        std::set<int> expectedLoaded;
        for (int id = 0; id < kIds; ++id) {
            if (model.extensions[id].loaded) expectedLoaded.insert(id);
        }
        EXPECT_EQ(loaded, expectedLoaded);
        EXPECT_EQ(InstalledFolders(), installed);
        EXPECT_EQ(static_cast<int>(installer->loadedPaths.size()), model.loads);
        EXPECT_EQ(installer->unloads, model.unloads);
    }

    TestHost host;
    std::shared_ptr<TestInstaller> installer = std::make_shared<TestInstaller>();
    std::shared_ptr<ExtensionManagerImpl> manager;
    std::shared_ptr<const IExtensionInstaller> registration;
    std::vector<std::pair<int, CString>> slots;  // the package paths of each extension
    std::mt19937 random{kSeed};
    const std::uint64_t startTicks = NowTicks();
    Model model;
    int restarts = 0;
    int writes = 0;
};

TEST_F(ManagerChurn, FollowsTheUnpackLoadAndRemovalRulesThroughAddsReplacementsAndRemovals) {
    ASSERT_TRUE(PumpRescan()) << "no first scan";
    ExpectModel();
    for (int step = 0; step < kOperations && !HasFailure(); ++step) {
        const std::string change = Change();
        if (HasFailure()) break;
        SCOPED_TRACE("step " + std::to_string(step) + ": " + change);
        ASSERT_TRUE(PumpRescan()) << "no rescan after the change";
        ExpectModel();
    }

    // The run has to have met every rule for the checks above to mean something.
    EXPECT_GT(restarts, 0);
    for (const char* rule : {"torn package skipped", "loaded extension refused", "removed extension refused",
                             "newer version replaces", "older version refused",
                             "equal version of a newer package replaces", "equal version of a package not newer refused",
                             "equal version of another name replaces", "loaded extension removed",
                             "unserved extension removed", "loaded again after a restart"}) {
        EXPECT_GT(model.rulesMet[rule], 0) << "never decided: " << rule;
    }
}

}  // namespace
