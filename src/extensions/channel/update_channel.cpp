// UpdateChannel: the settings checked on the host's thread, then a thread of the channel's
// own that refreshes at once, at every poll and whenever the host asks.
#include "OvxComponent/extensions/channel/update_channel.h"

#include "extensions/channel/channel_package.h"
#include "extensions/channel/channel_refresh.h"
#include "extensions/log/extension_log.h"
#include "extensions/log/log_timestamp.h"
#include "extensions/manager/extension_manager_impl.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "update/trusted_metadata.h"

#include <condition_variable>
#include <ctime>
#include <mutex>
#include <random>
#include <set>
#include <thread>

namespace OvxComponent {

namespace File = OvxUtils::SystemIO::File;
namespace Folder = OvxUtils::SystemIO::Folder;
namespace Path = OvxUtils::SystemIO::Path;
using OvxUtils::Error;
using OvxUtils::Result;

namespace {

bool IsHttpUrl(const std::string& url) { return url.starts_with("http://") || url.starts_with("https://"); }

std::string WithSlash(std::string url) {
    if (!url.empty() && url.back() != '/') url += '/';
    return url;
}

bool SamePath(const CString& a, const CString& b) {
    return Path::WithoutTrailingSeparators(a) == Path::WithoutTrailingSeparators(b);
}

// The shipped root goes into the state folder unless a root stored there by an earlier
// run is as new or newer (the chain that run followed continues from it).
Result<void> StoreShippedRoot(const CString& metadataFolder, const std::string& shipped,
                              std::uint64_t shippedVersion) {
    CString stored = Path::Combine(metadataFolder, u"root.json");
    if (auto bytes = File::ReadAllBytes(stored)) {
        if (auto document = OvxUpdate::ReadSignedDocument(*bytes)) {
            if (auto root = OvxUpdate::ReadRoot(*document); root && root->version >= shippedVersion)
                return {};
        }
    }
    return File::WriteAtomically(stored, shipped);
}

}  // namespace

struct UpdateChannel::State {
    UpdateChannelSettings settings;
    std::shared_ptr<OvxUpdate::IFetcher> fetcher;
    std::set<ExtensionAppSupport> supported;
    ExtensionLog log;
    std::thread thread;

    mutable std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable ended;
    bool stop = false;
    bool requested = true;  // the first refresh runs at once
    bool running = false;
    std::uint64_t refreshesEnded = 0;
    std::optional<ChannelRefresh> last;
    std::vector<ExtensionLogEntry> entries;

    explicit State(UpdateChannelSettings channelSettings)
        : settings(std::move(channelSettings)),
          log(OvxUtils::NamedOutStream{u"orvex_channel.log",
                                       Path::Combine(settings.stateFolder, u"orvex_channel.log"), nullptr}) {}

    std::chrono::steady_clock::duration NextWait() {
        static thread_local std::mt19937_64 random{std::random_device{}()};
        std::uniform_real_distribution<double> spread(-settings.jitter, settings.jitter);
        return std::chrono::duration_cast<std::chrono::steady_clock::duration>(settings.pollInterval *
                                                                               (1.0 + spread(random)));
    }

    // A refresh that throws (out of memory, say) is a refused refresh: an exception must
    // not escape the channel's thread and end the host.
    ChannelRefresh RunGuarded(ChannelRefresher& refresher) {
        CString reason;
        try {
            return refresher.Run();
        } catch (const std::exception& error) {
            reason = u"the refresh failed: " + CString::FromUtf8(error.what());
        } catch (...) {
            reason = u"the refresh failed";
        }
        log.Error(u"channel", reason);
        return ChannelRefresh{false, reason, LogClockNow(), 0, 0, 0};
    }

    void Run() {
        auto wants = settings.wants ? settings.wants : [this](const ChannelPackage& package) {
            return IsForThisHost(package, supported);
        };
        ChannelRefresher refresher(settings, *fetcher, log, wants);
        std::unique_lock lock(mutex);
        while (true) {
            auto next = std::chrono::steady_clock::now() + NextWait();
            wake.wait_until(lock, next, [&] { return stop || requested; });
            if (stop) return;
            requested = false;
            running = true;
            lock.unlock();
            ChannelRefresh refresh = RunGuarded(refresher);
            auto logged = log.EntriesFor(u"channel");
            if (settings.onRefresh) settings.onRefresh(refresh.succeeded, refresh.reason);
            lock.lock();
            running = false;
            last = std::move(refresh);
            entries = std::move(logged);
            ++refreshesEnded;
            ended.notify_all();
        }
    }
};

Result<std::unique_ptr<UpdateChannel>> UpdateChannel::Start(IExtensionManager& manager,
                                                            UpdateChannelSettings settings) {
    auto refuse = [](const CString& why) { return Error{u"the update channel cannot start: " + why}; };
    auto root = OvxUpdate::TrustedMetadata::FromRoot(settings.trustedRoot,
                                                     static_cast<std::int64_t>(std::time(nullptr)));
    if (!root) return refuse(root.ErrorText());
    if (!IsHttpUrl(settings.metadataUrl) || !IsHttpUrl(settings.targetsUrl))
        return refuse(u"the metadata and targets URLs must be http or https");
    settings.metadataUrl = WithSlash(settings.metadataUrl);
    settings.targetsUrl = WithSlash(settings.targetsUrl);
    if (settings.stateFolder.IsEmpty() || !Path::IsRooted(settings.stateFolder))
        return refuse(u"the state folder must be a full path");
    auto folders = manager.GetSourceFolders();
    if (std::none_of(folders.begin(), folders.end(), [&](const ExtensionSourceFolder& source) {
            return SamePath(source.folder, settings.destination);
        }))
        return refuse(u"the destination " + OvxUtils::Quoted(settings.destination) +
                      u" is not one of the manager's source folders");
    if (settings.pollInterval < std::chrono::seconds(1))
        return refuse(u"the poll interval is shorter than a second");
    if (!(settings.jitter >= 0.0 && settings.jitter <= 0.5))
        return refuse(u"the jitter is not between 0 and 0.5");
    CString metadataFolder = ChannelRefresher::MetadataFolder(settings.stateFolder);
    if (auto made = Folder::EnsureExists(metadataFolder); !made) return refuse(made.ErrorText());
    if (auto stored = StoreShippedRoot(metadataFolder, settings.trustedRoot, root->GetRoot().version);
        !stored)
        return refuse(stored.ErrorText());

    auto state = std::make_unique<State>(std::move(settings));
    state->fetcher = state->settings.fetcher
                         ? state->settings.fetcher
                         : std::shared_ptr<OvxUpdate::IFetcher>(OvxUpdate::MakeSystemFetcher());
    // The host's answers are asked here, on its own thread, once.
    if (auto* impl = dynamic_cast<ExtensionManagerImpl*>(&manager)) {
        for (auto application : {ExtensionAppSupport::Atlas, ExtensionAppSupport::Beacon,
                                 ExtensionAppSupport::Cinder, ExtensionAppSupport::Delta})
            if (impl->SupportsApplication(application)) state->supported.insert(application);
    }
    state->thread = std::thread([raw = state.get()] { raw->Run(); });
    return std::unique_ptr<UpdateChannel>(new UpdateChannel(std::move(state)));
}

UpdateChannel::UpdateChannel(std::unique_ptr<State> state) : m_state(std::move(state)) {}

UpdateChannel::~UpdateChannel() {
    {
        std::lock_guard lock(m_state->mutex);
        m_state->stop = true;
    }
    m_state->fetcher->Cancel();
    m_state->wake.notify_all();
    m_state->thread.join();
}

void UpdateChannel::Refresh() {
    {
        std::lock_guard lock(m_state->mutex);
        m_state->requested = true;
    }
    m_state->wake.notify_all();
}

std::optional<ChannelRefresh> UpdateChannel::RefreshAndWait(std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_state->mutex);
    // A refresh already running may have read the repository before the host asked: the
    // one after it is the one asked for.
    std::uint64_t target = m_state->refreshesEnded + (m_state->running ? 2 : 1);
    m_state->requested = true;
    m_state->wake.notify_all();
    if (!m_state->ended.wait_for(lock, timeout, [&] { return m_state->refreshesEnded >= target; }))
        return std::nullopt;
    return m_state->last;
}

std::optional<ChannelRefresh> UpdateChannel::LastRefresh() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->last;
}

std::vector<ExtensionLogEntry> UpdateChannel::LogEntries() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->entries;
}

}  // namespace OvxComponent
