/// \file
/// UpdateChannel: extensions delivered and updated from a repository of The Update
/// Framework (TUF). The channel runs on a thread of its own: it refreshes the repository's
/// metadata by TUF's client workflow, downloads the packages the host wants into one of
/// the manager's source folders, each checked against its length and hashes and renamed
/// into place in one step, and removes the packages it placed there that the repository
/// no longer lists. The manager then installs, updates and removes them as it does any
/// package dropped into a watched folder, under the host's signature policy: TUF protects
/// the channel, the author's signature protects the package.
///
/// A refused refresh (expired or rolled-back metadata, a threshold of signatures not met,
/// a length or hash mismatch, an unreachable or misbehaving server) changes no package
/// and is logged with its reason. A host that starts no channel sees no change at all.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/log/extension_log_entry.h"
#include "OvxComponent/extensions/manager/extension_manager.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/result.h"
#include "OvxComponent/update/fetcher.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace OvxComponent {

/// A package as the repository offers it, read from its target's custom fields
/// ("orvex": document_id, version, applications, platforms, extension_type), before the
/// channel decides whether the host wants it.
struct ChannelPackage {
    std::string targetPath;                    ///< the target's path in the repository
    std::uint64_t length = 0;                  ///< its size in bytes
    std::optional<OvxUtils::Guid> documentId;  ///< the extension's document ID
    CString version;                           ///< the extension's version, "1.2.0.0"
    std::vector<CString> applications;         ///< empty: any application
    std::vector<CString> platforms;            ///< empty: any platform
    CString extensionType;                     ///< the extension type (MIME type) that picks its installer
    bool hasExtensionFields = false;           ///< whether the target carries the "orvex" fields at all
};

/// What a channel needs.
struct UpdateChannelSettings {
    /// The root metadata the host ships (the bytes of a "root.json"): the keys the channel
    /// trusts at first. A newer root stored by an earlier run is kept.
    std::string trustedRoot;
    /// The repository's metadata URL, http or https.
    std::string metadataUrl;
    /// The repository's targets URL, http or https.
    std::string targetsUrl;
    /// The channel's own folder, for the trusted metadata, its record of the packages it
    /// placed and its log "orvex_channel.log"; one below the host's data folder.
    CString stateFolder;
    /// Where packages go: one of the manager's source folders.
    CString destination;
    /// Which packages the host wants; when empty, those with the "orvex" fields whose
    /// applications the host supports (or that name none) and whose platforms include this
    /// one (or that name none).
    std::function<bool(const ChannelPackage&)> wants;
    /// Time between refreshes.
    std::chrono::seconds pollInterval{std::chrono::hours(6)};
    /// Each wait is moved by up to this share of pollInterval either way (0 to 0.5), so
    /// that many hosts do not ask at the same instant.
    double jitter = 0.1;
    /// The host's own fetcher (proxies, authentication); when empty, the system's.
    std::shared_ptr<OvxUpdate::IFetcher> fetcher;
    /// The time limits of each download.
    OvxUpdate::FetchLimits timing;
    /// Called on the channel's thread after each refresh.
    std::function<void(bool succeeded, const CString& reason)> onRefresh;
};

/// What the last refresh did.
struct ChannelRefresh {
    bool succeeded = false;  ///< whether it read the repository and placed all it had to
    CString reason;          ///< why it was refused; empty when it succeeded
    std::int64_t time = 0;   ///< when it ended, in 100 ns ticks since 1970-01-01 UTC
    int placed = 0;          ///< packages new in the destination
    int replaced = 0;        ///< packages updated in place
    int removed = 0;         ///< packages removed because the repository no longer lists them
};

/// A running channel; destroying it stops its thread (a download in progress is cut).
class OVX_API UpdateChannel {
public:
    /// Checks the settings and starts the channel's thread, which refreshes at once and
    /// then every pollInterval.
    /// \param manager The manager whose source folder is the destination.
    /// \param settings What the channel needs.
    /// \return The channel, or what is wrong with the settings.
    static OvxUtils::Result<std::unique_ptr<UpdateChannel>> Start(IExtensionManager& manager,
                                                                  UpdateChannelSettings settings);
    ~UpdateChannel();
    UpdateChannel(const UpdateChannel&) = delete;
    UpdateChannel& operator=(const UpdateChannel&) = delete;

    /// Asks for a refresh now; returns at once.
    void Refresh();
    /// Asks for a refresh now and waits for it to end, at most timeout. A refresh that is
    /// already running may have read the repository before the call: the one after it is
    /// waited for. (The refresh a channel runs as it starts is seen through LastRefresh.)
    /// \param timeout The longest wait.
    /// \return The refresh, or nothing when it did not end in time.
    std::optional<ChannelRefresh> RefreshAndWait(std::chrono::milliseconds timeout);
    /// \return The last refresh that ended; nothing before the first.
    std::optional<ChannelRefresh> LastRefresh() const;
    /// \return The channel's log entries so far, oldest first.
    std::vector<ExtensionLogEntry> LogEntries() const;

private:
    struct State;
    explicit UpdateChannel(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

}  // namespace OvxComponent
