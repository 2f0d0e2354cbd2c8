// ovxext host: a long-running host over real folders, the extension author's test loop.
// It loads what is unpacked in the data folder, watches the source folders, and prints
// the manager's log as it is written, until interrupted; then it unloads everything and
// shows the failure report.

#include "argument_parser.h"
#include "commands.h"
#include "host_session.h"
#include "interrupt.h"

#include "OvxComponent/extensions/channel/update_channel.h"
#include "OvxComponent/extensions/format/extension_app_support.h"
#include "platform/system_io/file.h"
#include "platform/system_io/path.h"
#include "platform/system_io/folder.h"

#include <charconv>
#include <chrono>
#include <memory>

namespace Ovxext {

namespace {

using namespace std::chrono_literals;

constexpr const char* kHelp =
    "usage: ovxext host --data DIR --source DIR [--source DIR]... [--app NAME] [--feature NAME]...\n"
    "                   [--trust PUBLIC]... [--trust-mode warn|require] [--safe [--pin ID]...]\n"
    "                   [--timings] [--once]\n"
    "                   [--channel-root ROOT --channel METADATA_URL --channel-targets TARGETS_URL\n"
    "                    [--channel-every SECONDS]]\n"
    "\n"
    "Runs a host over real folders until interrupted (Ctrl+C): it loads the extensions\n"
    "unpacked below DIR of --data (in its x64 folder), watches every --source folder for\n"
    "packages dropped in, replaced or removed, and prints the manager's log as it is written.\n"
    "The host is the application NAME of --app (Atlas, Beacon, Cinder or Delta; default Atlas)\n"
    "offering the features given with --feature. Its installer loads extensions of type\n"
    "application/x-vnd.ovx.demo-tool; UI and resource files count under the add-on name OvxDemo.\n"
    "When interrupted it unloads everything and prints the failure report.\n"
    "\n"
    "options:\n"
    "  --data DIR                 the host's data folder (required)\n"
    "  --source DIR               a source folder to watch for packages (repeatable; at\n"
    "                             least one)\n"
    "  --app NAME                 the host application: Atlas, Beacon, Cinder or Delta\n"
    "                             (default Atlas)\n"
    "  --feature NAME             a feature the host offers (repeatable)\n"
    "  --trust PUBLIC             trust packages signed by the key in this minisign public key\n"
    "                             file (repeatable); with it, only such packages are loaded\n"
    "  --trust-mode warn|require  require: load only packages signed by a trusted key (the\n"
    "                             default with --trust); warn: load every package, and report\n"
    "                             each that is not as an error\n"
    "  --safe                     a safe start: every extension stays off for this run\n"
    "  --pin ID                   with --safe, this extension loads all the same (repeatable)\n"
    "  --timings                  at the end, list the slowest calls into extensions\n"
    "  --once                     start, scan the source folders (after one refresh of the\n"
    "                             channel), report and exit instead of waiting\n"
    "  --channel-root ROOT        run an update channel: ROOT is the repository's root metadata\n"
    "                             to trust (its 1.root.json); packages go into the first --source\n"
    "  --channel METADATA_URL     the repository's metadata URL\n"
    "  --channel-targets URL      the repository's targets URL\n"
    "  --channel-every SECONDS    time between refreshes (default 3600)\n"
    "\n"
    "An extension that the host's process died in (a crash, or a kill while its call hung) is\n"
    "kept off from the next run on; the host says so at start. See ovxext quarantine.\n"
    "\n"
    "exit codes: 0 nothing failed, 1 failures were reported (or the channel's refresh was\n"
    "refused), 2 usage error, 3 the data folder, a trusted key or the channel cannot be used\n";

// The update channel's settings from the command line, or a usage error.
OvxUtils::Result<std::optional<OvxComponent::UpdateChannelSettings>> ChannelSettings(const ArgumentParser& parser,
                                                                                    const HostOptions& options) {
    const auto root = parser.Value("--channel-root");
    const auto metadata = parser.Value("--channel");
    const auto targets = parser.Value("--channel-targets");
    if (!root && !metadata && !targets && !parser.Value("--channel-every"))
        return std::optional<OvxComponent::UpdateChannelSettings>();
    if (!root || !metadata || !targets)
        return OvxUtils::Error{u"--channel-root, --channel and --channel-targets go together"};
    auto bytes = OvxUtils::SystemIO::File::ReadAllBytes(FromUtf8(*root));
    if (!bytes) return bytes.TakeError();
    OvxComponent::UpdateChannelSettings settings;
    settings.trustedRoot = std::move(*bytes);
    settings.metadataUrl = *metadata;
    settings.targetsUrl = *targets;
    settings.stateFolder = FullPath(OvxUtils::SystemIO::Path::Combine(options.dataFolder, u"channel"));
    settings.destination = options.sourceFolders.front();
    settings.pollInterval = std::chrono::hours(1);
    if (const auto every = parser.Value("--channel-every")) {
        int seconds = 0;
        auto [end, error] = std::from_chars(every->data(), every->data() + every->size(), seconds);
        if (error != std::errc() || end != every->data() + every->size() || seconds < 1)
            return OvxUtils::Error{u"--channel-every takes a number of seconds"};
        settings.pollInterval = std::chrono::seconds(seconds);
    }
    return std::optional(std::move(settings));
}

void ShowRefresh(std::ostream& out, const OvxComponent::ChannelRefresh& refresh) {
    if (refresh.succeeded) {
        out << "ovxext host: channel refreshed: " << refresh.placed << " placed, " << refresh.replaced
            << " replaced, " << refresh.removed << " removed\n";
    } else {
        out << "ovxext host: channel refresh refused: " << Utf8(refresh.reason) << "\n";
    }
}

}  // namespace

int RunHost(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddOption("--data");
    parser.AddOption("--source", true);
    parser.AddOption("--app");
    parser.AddOption("--feature", true);
    parser.AddOption("--trust", true);
    parser.AddOption("--trust-mode");
    parser.AddFlag("--once");
    parser.AddFlag("--safe");
    parser.AddOption("--pin", true);
    parser.AddFlag("--timings");
    for (const char* option : {"--channel-root", "--channel", "--channel-targets", "--channel-every"})
        parser.AddOption(option);
    if (!parser.Parse(context.args)) return ReportUsage(context, "host", parser.Error());
    if (!parser.Positional().empty()) {
        return ReportUsage(context, "host", "unexpected argument '" + parser.Positional()[0] + "'");
    }
    const auto data = parser.Value("--data");
    const std::vector<std::string> sources = parser.Values("--source");
    if (!data || sources.empty()) return ReportUsage(context, "host", "--data and --source are required");

    HostOptions options;
    options.dataFolder = FromUtf8(*data);
    for (const std::string& source : sources) {
        if (!OvxUtils::SystemIO::Folder::Exists(FromUtf8(source))) {
            return ReportError(context, "host", source, "the source folder does not exist", kExitUsage);
        }
        options.sourceFolders.push_back(FromUtf8(source));
    }
    if (const auto app = parser.Value("--app")) {
        const auto parsed = OvxComponent::ExtensionAppSupportFromString(FromUtf8(*app));
        if (!parsed) return ReportUsage(context, "host", "unknown application '" + *app + "'");
        options.app = *parsed;
    }
    for (const std::string& feature : parser.Values("--feature")) options.features.push_back(FromUtf8(feature));
    for (const std::string& key : parser.Values("--trust")) options.trust.trustedKeyFiles.push_back(FromUtf8(key));
    if (!options.trust.trustedKeyFiles.empty()) options.trust.mode = OvxComponent::TrustMode::Require;
    if (const auto mode = parser.Value("--trust-mode")) {
        if (*mode != "warn" && *mode != "require") {
            return ReportUsage(context, "host", "--trust-mode is warn or require, not '" + *mode + "'");
        }
        options.trust.mode = *mode == "warn" ? OvxComponent::TrustMode::Warn : OvxComponent::TrustMode::Require;
    }
    if (parser.Has("--safe")) {
        options.safeStart.emplace();
        for (const std::string& pinned : parser.Values("--pin")) {
            const auto id = OvxUtils::Guid::FromString(FromUtf8(pinned));
            if (!id) return ReportUsage(context, "host", "--pin takes a document ID, not '" + pinned + "'");
            options.safeStart->push_back(*id);
        }
    } else if (!parser.Values("--pin").empty()) {
        return ReportUsage(context, "host", "--pin goes with --safe");
    }
    options.timings = parser.Has("--timings");
    auto channelSettings = ChannelSettings(parser, options);
    if (!channelSettings) return ReportUsage(context, "host", Utf8(channelSettings.ErrorText()));
    if (auto made = OvxUtils::SystemIO::Folder::EnsureExists(options.dataFolder); !made) {
        return ReportError(context, "host", *data, Utf8(made.ErrorText()), kExitFailure);
    }

    HostSession session(context.out, options);
    if (!parser.Has("--once")) {
        Interrupt::Install();
        context.out << "ovxext host: watching; press Ctrl+C to stop\n";
    }
    // Tracking first: a package updated while the host was stopped is unpacked by the first
    // scan and then loaded by the initial pass, instead of the older copy.
    if (auto started = session.Start(true); !started) {
        return ReportError(context, "host", "--trust", Utf8(started.ErrorText()), kExitFailure);
    }
    std::unique_ptr<OvxComponent::UpdateChannel> channel;
    bool refused = false;
    if (*channelSettings) {
        // The channel's thread hands each refresh to the main thread, which prints it.
        auto& loop = session.Loop();
        auto* out = &context.out;
        (*channelSettings)->onRefresh = [&loop, out, &channel](bool, const CString&) {
            loop.Post([out, &channel] {
                if (auto refresh = channel ? channel->LastRefresh() : std::nullopt) ShowRefresh(*out, *refresh);
            });
        };
        if (parser.Has("--once")) (*channelSettings)->onRefresh = nullptr;
        auto started = OvxComponent::UpdateChannel::Start(session.Manager(), std::move(**channelSettings));
        if (!started) return ReportError(context, "host", "--channel", Utf8(started.ErrorText()), kExitFailure);
        channel = std::move(*started);
        if (parser.Has("--once")) {
            // The channel refreshes at once when it starts: that refresh is the one to wait for.
            session.Loop().RunUntil([&] { return channel->LastRefresh().has_value(); }, std::chrono::minutes(5));
            auto refresh = channel->LastRefresh();
            if (refresh) ShowRefresh(context.out, *refresh);
            refused = !refresh || !refresh->succeeded;
            session.Settle();
        }
    }
    if (!parser.Has("--once")) session.Loop().RunUntil([] { return Interrupt::Requested(); }, std::chrono::hours(24 * 365));
    context.out << "ovxext host: stopping\n";
    channel.reset();
    return session.Finish() == 0 && !refused ? kExitOk : kExitProblems;
}

}  // namespace Ovxext
