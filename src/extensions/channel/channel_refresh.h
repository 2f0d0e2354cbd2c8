// One refresh of the channel, on the channel's thread: the repository's metadata by the
// updater, then the destination folder brought to what the repository lists for this
// host. A refused refresh touches no package.
#pragma once

#include "OvxComponent/extensions/channel/update_channel.h"
#include "extensions/channel/placed_packages.h"
#include "extensions/log/extension_log.h"
#include "update/updater.h"

#include <functional>
#include <map>
#include <string>

namespace OvxComponent {

class ChannelRefresher {
public:
    ChannelRefresher(const UpdateChannelSettings& settings, OvxUpdate::IFetcher& fetcher, ExtensionLog& log,
                     std::function<bool(const ChannelPackage&)> wants);

    // The folder of the trusted metadata below the state folder.
    static CString MetadataFolder(const CString& stateFolder);

    ChannelRefresh Run();

private:
    struct Counts {
        int placed = 0, replaced = 0, removed = 0;
    };
    OvxUtils::Result<void> Place(OvxUpdate::Updater& updater, const OvxUpdate::TargetFile& target,
                                 const CString& name, Counts& counts);
    void SweepLeftovers(const std::map<CString, std::string>& names);
    void Remove(const std::string& targetPath, Counts& counts);
    ChannelRefresh Refused(const CString& reason);

    const UpdateChannelSettings& m_settings;
    OvxUpdate::IFetcher& m_fetcher;
    ExtensionLog& m_log;
    std::function<bool(const ChannelPackage&)> m_wants;
    PlacedPackages m_placed;
};

}  // namespace OvxComponent
