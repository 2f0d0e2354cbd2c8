// Test helpers for the extension manager: extension packages made on the fly, a host that
// keeps the log in memory and queues main-thread work, and an installer that records what
// the manager asks of it.
#pragma once

#include "extensions/manager/extension_manager_impl.h"
#include "platform/stream/memory_stream.h"
#include "support/temp_folder.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace OvxTest {

inline const CString kTestExtensionType = u"application/x-test-extension";

struct PackageRecipe {
    OvxUtils::Guid id;
    OvxUtils::Version version{1, 0};
    CString type = kTestExtensionType;
    // Files under the package's content folder: relative path, bytes.
    std::vector<std::pair<CString, std::string>> files = {{u"main.txt", "hello"}};
    // The one application the package runs in; the test host runs as Atlas.
    OvxComponent::ExtensionAppSupport app = OvxComponent::ExtensionAppSupport::Atlas;
};

// Extension number's recipe with a UI modification and a resource file beside the add-on
// marker "Test".
PackageRecipe WithUi(int number);

// Packs recipe into a package at packagePath (its folder is made) and returns the path.
CString PackExtension(const CString& packagePath, const PackageRecipe& recipe);

// Signs the package at path in place with key, as ovxext sign does.
void SignInPlace(const CString& path, const OvxComponent::Minisign::SecretKey& key);

// The bytes of the marker that a session leaves when its process dies in call of the
// extension documentId: written as "orvex_extensions.TAG.session" into a platform folder,
// the next start takes it for such a crash.
std::string MarkerOfACrashIn(const OvxUtils::Guid& documentId, OvxComponent::ExtensionCall call);

// A fixed document ID per number, for readable tests.
OvxUtils::Guid TestGuid(int number);

// UTF-16LE bytes, as the log writes them, in UTF-8.
std::string Utf16ToUtf8(std::string_view bytes);

// Log lines as TestHost::TakeLines gives them, in UTF-8: "(Information): \"name\" text"
// for a name subject, "(Information): {GUID} text" for a GUID subject.
std::string Line(std::string_view level, const CString& name, std::string_view text);
std::string Line(std::string_view level, const OvxUtils::Guid& guid, std::string_view text);
// The Information lines of one subject, in order.
template <class Subject>
std::vector<std::string> Info(const Subject& subject, std::initializer_list<std::string_view> texts) {
    std::vector<std::string> lines;
    for (const std::string_view text : texts) lines.push_back(Line("Information", subject, text));
    return lines;
}

// Returns once a write made now gives a file a later change time than path has, so that
// a rewrite of path cannot keep its change time.
void WaitForTheChangeClockToMove(const CString& path);

// Holds a file open for as long as it lives, as a loaded DLL holds its file: on Windows
// sharing reading only, so that the file can be neither deleted nor renamed over.
class HeldOpen {
public:
    explicit HeldOpen(const CString& path);
    ~HeldOpen();
    HeldOpen(const HeldOpen&) = delete;
    HeldOpen& operator=(const HeldOpen&) = delete;
    bool IsHeld() const { return m_handle != -1; }

private:
    std::intptr_t m_handle = -1;  // a file descriptor, or a HANDLE on Windows
};

class TestHost {
public:
    TestHost();
    // A host over the data and source folders below work, which another process of the
    // test made (a crash test's child works in its parent's folders).
    explicit TestHost(const CString& work);

    // A manager over <temp>/data with the source folder <temp>/source. With a host stream
    // the log goes to memory (Lines); otherwise to the manager's own file.
    std::shared_ptr<OvxComponent::ExtensionManagerImpl> MakeManager(bool hostStream = true,
                                                                   std::vector<CString> addonNames = {u"Test"},
                                                                   OvxComponent::Trust::TrustStore trust = {});

    // Log lines written since the last call, without their time stamps, as UTF-8:
    // "(Information): \"manager\" unloading everything".
    std::vector<std::string> TakeLines();

    // Runs the work queued for the main thread; the number of items run.
    int RunMainThread();

    TempFolder temp;
    CString root;
    CString source;
    // The applications the host runs as, for the managers made from now on: Atlas.
    std::function<bool(OvxComponent::ExtensionAppSupport)> runsApp = [](OvxComponent::ExtensionAppSupport app) {
        return app == OvxComponent::ExtensionAppSupport::Atlas;
    };
    std::shared_ptr<OvxUtils::MemoryStream> stream = std::make_shared<OvxUtils::MemoryStream>();

private:
    std::size_t m_taken = 0;
    std::mutex m_mutex;
    std::vector<OvxUtils::Delegate<void()>> m_queue;
};

// A state whose record carries what Load was given.
class TestState final : public OvxComponent::IExtensionState {
public:
    explicit TestState(OvxComponent::ExtensionData data) : m_data(std::move(data)) {}
    const OvxComponent::ExtensionData& Data() const override { return m_data; }
    bool IsUnloaded() const override { return m_unloaded; }
    bool IsLoaded() const override { return !m_unloaded; }
    bool Invoke(CString) const override { return false; }
    void MarkUnloaded() { m_unloaded = true; }

private:
    OvxComponent::ExtensionData m_data;
    bool m_unloaded = false;
};

// Loads every extension (unless told to refuse) and answers unloads as told; records the
// calls and counts its own destruction.
class TestInstaller final : public OvxComponent::IExtensionInstaller {
public:
    std::shared_ptr<OvxComponent::IExtensionState> Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                                      CString mimeType, CString path) const override;
    OvxUtils::optional<OvxComponent::UnloadResult> Unload(std::shared_ptr<OvxComponent::IExtensionState>& state) const override;
    bool RemoveData(CString) const override { return true; }
    ~TestInstaller() override;

    bool refuseLoads = false;
    // Called first in each Load and Unload: a test's way to make an extension slow, or fatal.
    std::function<void(const OvxUtils::Guid&, OvxComponent::ExtensionCall)> beforeCall;
    OvxUtils::optional<OvxComponent::UnloadResult> unloadAnswer = OvxComponent::UnloadResult::Unloaded;
    mutable std::vector<CString> loadedPaths;
    mutable int unloads = 0;
    int* destroyed = nullptr;  // counted when set
};

}  // namespace OvxTest
