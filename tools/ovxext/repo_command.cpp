// ovxext repo: a publisher's TUF repository of extension packages, the other end of the
// update channel (docs/update-channel.md).

#include "argument_parser.h"
#include "commands.h"
#include "json_output.h"
#include "repository_store.h"
#include "signing.h"

#include "platform/system_io/file.h"
#include "platform/system_io/path.h"

#include <charconv>

namespace Ovxext {

namespace {

namespace Minisign = OvxComponent::Minisign;
namespace Path = OvxUtils::SystemIO::Path;

constexpr const char* kHelp =
    "usage: ovxext repo init DIR [--author-key PUBLIC]... [--no-password] [--expires ROLE=DAYS]...\n"
    "                            [--no-consistent-snapshots] [--keys KEYS] [--json]\n"
    "       ovxext repo add DIR PACKAGE... [--json]\n"
    "       ovxext repo remove DIR TARGET...\n"
    "       ovxext repo publish DIR [--keys KEYS] [--json]\n"
    "       ovxext repo timestamp DIR [--expires-in SECONDS] [--keys KEYS] [--json]\n"
    "       ovxext repo rotate DIR ROLE [--threshold N] [--keys KEYS] [--json]\n"
    "\n"
    "Keeps a repository of The Update Framework that hosts' update channels read. DIR/public\n"
    "is what a web server serves (metadata/ and targets/); every file there appears in one\n"
    "step, the timestamp last, so a server never shows a half-published repository.\n"
    "\n"
    "  init       makes the repository: an Ed25519 key for each role (root, targets, snapshot,\n"
    "             timestamp) in KEYS (default DIR/keys), encrypted with a password (asked on the\n"
    "             terminal, or OVXEXT_KEY_PASSWORD) and readable by you alone; root version 1\n"
    "             (DIR/public/metadata/1.root.json, the file hosts ship) and empty targets\n"
    "  add        adds packages as targets, each with its length, SHA-256 and fields (document\n"
    "             ID, version, applications, platforms, extension type); with --author-key\n"
    "             given at init, a package whose signature does not hold under one of them is\n"
    "             refused\n"
    "  remove     removes targets by path (a package's file name)\n"
    "  publish    publishes new targets, snapshot and timestamp versions\n"
    "  timestamp  publishes only a new timestamp: run it from a scheduled job, well within the\n"
    "             timestamp's lifetime\n"
    "  rotate     gives ROLE new keys (N of them, N needed): a new root version signed by the\n"
    "             old root keys and the new, and the role republished; the retired secret keys\n"
    "             are deleted\n"
    "\n"
    "options:\n"
    "  --keys KEYS                the folder of the secret keys (keep root's and targets' offline)\n"
    "  --author-key PUBLIC        a minisign public key file whose signatures packages must carry\n"
    "  --no-password              leave the secret keys unencrypted (for a machine that keeps them\n"
    "                             safe otherwise)\n"
    "  --expires ROLE=DAYS        a role's lifetime (default root=365 targets=90 snapshot=7\n"
    "                             timestamp=1)\n"
    "  --no-consistent-snapshots  metadata and targets without version and hash prefixes\n"
    "  --expires-in SECONDS       timestamp: this lifetime instead of the timestamp's\n"
    "  --threshold N              rotate: how many new keys, all needed (default 1)\n"
    "  --json                     report as one JSON document\n"
    "\n"
    "exit codes: 0 done, 1 add: a package is refused, 2 usage error, 3 the repository or a\n"
    "key cannot be read or written\n";

std::optional<std::int64_t> Number(const std::string& text) {
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 1) return std::nullopt;
    return value;
}

// The password of the repository's keys, asked once for all of them.
KeyAccess AccessTo(const CString& folder, const std::string& shownPath, bool confirm) {
    auto cached = std::make_shared<std::optional<Minisign::SecretString>>();
    return {folder, [cached, shownPath, confirm]() -> OvxUtils::Result<Minisign::SecretString> {
                if (!*cached) {
                    auto given = KeyPassword(shownPath, confirm);
                    if (!given) return given.TakeError();
                    if (given->IsEmpty())
                        return OvxUtils::Error{u"an empty password: use --no-password for none"};
                    cached->emplace(std::move(*given));
                }
                return Minisign::SecretString((*cached)->View());
            }};
}

Json VersionsJson(const RepositoryStore& store) {
    Json versions = Json::object();
    for (const char* role : {"root", "targets", "snapshot", "timestamp"})
        versions[role] = store.VersionOf(role);
    return versions;
}

void Report(const CommandContext& context, bool json, const RepositoryStore& store, const std::string& what) {
    if (json) {
        WriteJson(context, {{"versions", VersionsJson(store)}});
        return;
    }
    context.out << what << ": root " << store.VersionOf("root") << ", targets " << store.VersionOf("targets")
                << ", snapshot " << store.VersionOf("snapshot") << ", timestamp "
                << store.VersionOf("timestamp") << "\n";
}

int RunRepoCommand(const CommandContext& context);

}  // namespace

int RunRepo(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    // repository.json is read field by field; a field of the wrong kind means the file was
    // damaged or edited by hand.
    try {
        return RunRepoCommand(context);
    } catch (const nlohmann::json::exception& error) {
        const std::string dir = context.args.size() > 1 ? context.args[1] : "repo";
        return ReportError(context, "repo", dir, std::string("repository.json is damaged: ") + error.what(),
                           kExitFailure);
    }
}

namespace {

int RunRepoCommand(const CommandContext& context) {
    ArgumentParser parser;
    for (const char* flag : {"--json", "--no-password", "--no-consistent-snapshots"}) parser.AddFlag(flag);
    for (const char* option : {"--keys", "--expires-in", "--threshold"}) parser.AddOption(option);
    parser.AddOption("--author-key", true);
    parser.AddOption("--expires", true);
    if (!parser.Parse(context.args)) return ReportUsage(context, "repo", parser.Error());
    const auto& positional = parser.Positional();
    if (positional.size() < 2) return ReportUsage(context, "repo", "expected a subcommand and DIR");
    const std::string& subcommand = positional[0];
    const std::string& dir = positional[1];
    const std::vector<std::string> rest(positional.begin() + 2, positional.end());
    const CString folder = FromUtf8(dir);
    const CString keysFolder =
        parser.Value("--keys") ? FromUtf8(*parser.Value("--keys")) : Path::Combine(folder, u"keys");
    const bool json = parser.Has("--json");
    if (!Minisign::StartSodium())
        return ReportError(context, "repo", dir, "libsodium does not start", kExitFailure);

    if (subcommand == "init") {
        if (!rest.empty()) return ReportUsage(context, "repo", "init takes DIR only");
        RepositoryOptions options;
        options.consistentSnapshot = !parser.Has("--no-consistent-snapshots");
        options.encryptKeys = !parser.Has("--no-password");
        for (const std::string& expires : parser.Values("--expires")) {
            auto equals = expires.find('=');
            auto days = equals == std::string::npos ? std::nullopt : Number(expires.substr(equals + 1));
            std::string role = expires.substr(0, equals);
            if (!days || !options.lifetimeDays.contains(role))
                return ReportUsage(context, "repo", "--expires takes ROLE=DAYS, not '" + expires + "'");
            options.lifetimeDays[role] = *days;
        }
        for (const std::string& key : parser.Values("--author-key")) {
            auto text = OvxUtils::SystemIO::File::ReadAllBytes(FromUtf8(key));
            if (!text) return ReportError(context, "repo", key, Utf8(text.ErrorText()), kExitFailure);
            options.authorKeys.push_back(*text);
        }
        auto made = RepositoryStore::Create(folder, options, AccessTo(keysFolder, dir, true));
        if (!made) return ReportError(context, "repo", dir, Utf8(made.ErrorText()), kExitFailure);
        const std::string root = (Path::Combine(folder, u"public/metadata/1.root.json")).ToUtf8();
        if (json) {
            WriteJson(context, {{"repository", dir}, {"root", root}, {"versions", VersionsJson(*made)}});
        } else {
            context.out << "made the repository " << Shown(dir) << "; hosts ship " << Shown(root) << "\n";
        }
        return kExitOk;
    }

    auto store = RepositoryStore::Open(folder);
    if (!store) return ReportError(context, "repo", dir, Utf8(store.ErrorText()), kExitFailure);
    const KeyAccess keys = AccessTo(keysFolder, dir, false);
    if (subcommand == "add" || subcommand == "remove") {
        if (rest.empty())
            return ReportUsage(context, "repo", subcommand + " needs at least one package or target");
        Json added = Json::array(), removed = Json::array();
        for (const std::string& item : rest) {
            if (subcommand == "remove") {
                if (auto gone = store->Remove(item); !gone)
                    return ReportError(context, "repo", item, Utf8(gone.ErrorText()), kExitProblems);
                removed.push_back(item);
                if (!json) context.out << "removed " << Shown(item) << " (publish to make it public)\n";
                continue;
            }
            auto target = store->Add(FromUtf8(item));
            if (!target) return ReportError(context, "repo", item, Utf8(target.ErrorText()), kExitProblems);
            added.push_back({{"path", target->path},
                             {"length", target->length},
                             {"sha256", target->sha256},
                             {"custom", Json::parse(target->custom.dump())}});
            if (!json) context.out << "added " << Shown(target->path) << " (publish to make it public)\n";
        }
        if (json)
            WriteJson(context, subcommand == "add" ? Json{{"targets", added}} : Json{{"removed", removed}});
        return kExitOk;
    }
    if (!rest.empty() && subcommand != "rotate")
        return ReportUsage(context, "repo", subcommand + " takes DIR only");
    OvxUtils::Result<void> done;
    if (subcommand == "publish") {
        done = store->Publish(keys);
    } else if (subcommand == "timestamp") {
        std::optional<std::int64_t> expiresIn;
        if (auto given = parser.Value("--expires-in")) {
            expiresIn = Number(*given);
            if (!expiresIn) return ReportUsage(context, "repo", "--expires-in takes a number of seconds");
        }
        done = store->RefreshTimestamp(keys, expiresIn);
    } else if (subcommand == "rotate") {
        if (rest.size() != 1) return ReportUsage(context, "repo", "rotate takes DIR and ROLE");
        auto threshold = parser.Value("--threshold") ? Number(*parser.Value("--threshold"))
                                                     : std::optional<std::int64_t>(1);
        if (!threshold) return ReportUsage(context, "repo", "--threshold takes a number");
        done = store->Rotate(rest[0], static_cast<std::uint64_t>(*threshold), keys);
    } else {
        return ReportUsage(context, "repo", "unknown subcommand '" + subcommand + "'");
    }
    if (!done) return ReportError(context, "repo", dir, Utf8(done.ErrorText()), kExitFailure);
    Report(context, json, *store, subcommand == "rotate" ? "rotated" : "published");
    return kExitOk;
}

}  // namespace

}  // namespace Ovxext
