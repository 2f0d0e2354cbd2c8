// A host of the extension manager with one installer, in the order of calls that hosts
// follow: make the manager, register the installer, start loading, finish loading, track
// the source folders, run the manager's work on the main thread, unload at the end.
//
//   ovx-example-host DATA_FOLDER SOURCE_FOLDER [EXPECTED [SECONDS]]
//
// Packages of type application/x-vnd.example.tool in SOURCE_FOLDER (made with
// "ovxext pack --type application/x-vnd.example.tool --app Atlas") are loaded. The host
// ends when EXPECTED extensions are loaded (exit 0) or after SECONDS (exit 1).
#include <OvxComponent/extensions/manager/extension_manager.h>
#include <OvxComponent/version.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <functional>
#include <iostream>
#include <mutex>

using namespace OvxComponent;

// Work that the manager sends to the main thread, from the tracking thread too.
class MainThreadQueue {
public:
    void Post(std::function<void()> work) {
        {
            std::lock_guard lock(m_mutex);
            m_work.push_back(std::move(work));
        }
        m_ready.notify_one();
    }

    // Runs posted work until done() is true or the deadline passes; answers done().
    bool RunUntil(std::chrono::steady_clock::time_point deadline, const std::function<bool()>& done) {
        while (!done()) {
            std::unique_lock lock(m_mutex);
            if (!m_ready.wait_until(lock, deadline, [this] { return !m_work.empty(); })) return done();
            auto work = std::move(m_work.front());
            m_work.pop_front();
            lock.unlock();
            work();
        }
        return true;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<std::function<void()>> m_work;
};

// One loaded extension: its record is what the manager reads back.
class ToolState final : public IExtensionState {
public:
    explicit ToolState(ExtensionData data) : m_data(std::move(data)) {}
    const ExtensionData& Data() const override { return m_data; }
    bool IsUnloaded() const override { return m_unloaded; }
    bool IsLoaded() const override { return !m_unloaded; }
    bool Invoke(CString) const override { return false; }
    void MarkUnloaded() { m_unloaded = true; }

private:
    ExtensionData m_data;
    bool m_unloaded = false;
};

const CString kToolType = u"application/x-vnd.example.tool";

class ToolInstaller final : public IExtensionInstaller {
public:
    explicit ToolInstaller(int& loaded) : m_loaded(loaded) {}

    std::shared_ptr<IExtensionState> Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                          CString mimeType, CString path) const override {
        std::cout << "loaded " << documentId.ToString() << " " << version.ToString() << " from " << path << "\n";
        ExtensionData data;
        data.DocumentID = documentId;
        data.Version = version;
        data.ExtensionType = std::move(mimeType);
        ++m_loaded;
        return std::make_shared<ToolState>(std::move(data));
    }
    OvxUtils::optional<UnloadResult> Unload(std::shared_ptr<IExtensionState>& state) const override {
        std::cout << "unloaded " << state->Data().DocumentID.ToString() << "\n";
        static_cast<ToolState&>(*state).MarkUnloaded();
        --m_loaded;
        return UnloadResult::Unloaded;
    }
    bool RemoveData(CString) const override { return true; }  // this host keeps no data of its own

private:
    int& m_loaded;
};

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: ovx-example-host DATA_FOLDER SOURCE_FOLDER [EXPECTED [SECONDS]]\n";
        return 2;
    }
    const int expected = argc > 3 ? std::atoi(argv[3]) : 1;
    const int seconds = argc > 4 ? std::atoi(argv[4]) : 30;
    std::cout << "OvxComponent " << OVX_COMPONENT_VERSION_STRING << "\n";

    MainThreadQueue mainThread;
    const ExtensionSourceFolder sources[] = {{u"examples", CString::FromUtf8(argv[2])}};
    auto manager = MakeExtensionManager(
        CString::FromUtf8(argv[1]), sources, [&](OvxUtils::Delegate<void()> work) { mainThread.Post(std::move(work)); },
        [](CString) { return false; },                                           // no named features
        [](ExtensionAppSupport app) { return app == ExtensionAppSupport::Atlas; },  // this host is Atlas
        {}, {});                                                                 // no addon folders, the default log

    int loaded = 0;
    const auto registration = manager->RegisterInstaller({kToolType}, std::make_shared<ToolInstaller>(loaded));
    // The notifier may run on the tracking thread: it only hands the report to the main thread.
    manager->SetFailureNotifier([&](std::shared_ptr<IExtensionManager> notifying) {
        mainThread.Post([notifying] {
            notifying->ReportFailures([](OvxUtils::array_view<const ExtensionLogEntry> entries, CString log) {
                for (const auto& entry : entries) std::cout << "failure: " << entry.message << "\n";
                std::cout << "(details in " << log << ")\n";
            });
            notifying->ClearFailures();
        });
    });

    manager->StartLoading();
    manager->FinishLoading();
    manager->TrackSourceFolders();
    const bool done = mainThread.RunUntil(std::chrono::steady_clock::now() + std::chrono::seconds(seconds),
                                          [&] { return loaded >= expected; });

    manager->UnloadAll();
    std::cout << (done ? "done" : "timed out") << "\n";
    return done ? 0 : 1;
}
