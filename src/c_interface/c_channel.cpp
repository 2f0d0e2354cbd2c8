// The C interface's update channel: a handle over the C++ channel.
#include "OvxComponent/extensions/channel/update_channel.h"
#include "OvxComponent/ovx_component.h"
#include "c_interface/last_error.h"
#include "c_interface/manager_handle.h"

#include <string>

struct ovx_channel {
    std::unique_ptr<OvxComponent::UpdateChannel> channel;
};

using namespace OvxComponent::CInterface;

ovx_status ovx_channel_start(ovx_manager* manager, const ovx_channel_config* config, ovx_channel** channel) {
    return Guarded([&] {
        if (!manager || !config || !channel)
            return InvalidArgument(!manager ? "manager" : !config ? "config" : "channel");
        if (!config->trusted_root || !config->metadata_url || !config->targets_url || !config->state_folder ||
            !config->destination)
            return InvalidArgument("a text of the config");
        OvxComponent::UpdateChannelSettings settings;
        settings.trustedRoot.assign(config->trusted_root, config->trusted_root_length);
        settings.metadataUrl = config->metadata_url;
        settings.targetsUrl = config->targets_url;
        settings.stateFolder = CString::FromUtf8(config->state_folder);
        settings.destination = CString::FromUtf8(config->destination);
        if (config->poll_seconds > 0) settings.pollInterval = std::chrono::seconds(config->poll_seconds);
        if (auto* onRefresh = config->on_refresh) {
            settings.onRefresh = [onRefresh, context = config->context](bool succeeded,
                                                                        const CString& reason) {
                onRefresh(context, succeeded ? 1 : 0, reason.ToUtf8().c_str());
            };
        }
        auto started = OvxComponent::UpdateChannel::Start(*manager->manager, std::move(settings));
        if (!started) return Fail(OVX_E_FAILED, started.ErrorText().ToUtf8());
        *channel = new ovx_channel{std::move(*started)};
        return OVX_OK;
    });
}

ovx_status ovx_channel_refresh(ovx_channel* channel) {
    return Guarded([&] {
        if (!channel) return InvalidArgument("channel");
        channel->channel->Refresh();
        return OVX_OK;
    });
}

ovx_status ovx_channel_refresh_and_wait(ovx_channel* channel, int64_t timeout_ms) {
    return Guarded([&] {
        if (!channel) return InvalidArgument("channel");
        auto refresh =
            channel->channel->RefreshAndWait(std::chrono::milliseconds(timeout_ms < 0 ? 0 : timeout_ms));
        if (!refresh) return Fail(OVX_E_FAILED, "the refresh did not end in time");
        if (!refresh->succeeded) return Fail(OVX_E_FAILED, refresh->reason.ToUtf8());
        return OVX_OK;
    });
}

void ovx_channel_release(ovx_channel* channel) { delete channel; }
