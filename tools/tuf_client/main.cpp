// ovx-tuf-client: the update channel's repository client on the command line, as the TUF
// conformance suite drives a client under test:
//   ovx-tuf-client --metadata-dir DIR init ROOT.json
//   ovx-tuf-client --metadata-dir DIR --metadata-url URL refresh
//   ovx-tuf-client --metadata-dir DIR --metadata-url URL --target-name PATH...
//                  --target-base-url URL --target-dir DIR download
// Exit code 0 when everything asked for succeeded, 1 otherwise; each step on stderr, and
// every run says at least one line.
#include "OvxComponent/update/fetcher.h"
#include "platform/system_io/file.h"
#include "platform/system_io/path.h"
#include "update/update_error.h"
#include "update/updater.h"

#include <ctime>
#include <iostream>
#include <string>
#include <vector>

namespace {

namespace File = OvxUtils::SystemIO::File;
namespace Path = OvxUtils::SystemIO::Path;

struct Arguments {
    std::string metadataDir;
    std::string metadataUrl;
    std::string targetBaseUrl;
    std::string targetDir;
    std::vector<std::string> targetNames;
    std::string command;
    std::string trustedRoot;
};

bool Parse(int argc, char** argv, Arguments& arguments) {
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        auto value = [&](std::string& into) {
            if (i + 1 >= argc) return false;
            into = argv[++i];
            return true;
        };
        std::string name;
        if (argument == "--metadata-dir") {
            if (!value(arguments.metadataDir)) return false;
        } else if (argument == "--metadata-url") {
            if (!value(arguments.metadataUrl)) return false;
        } else if (argument == "--target-base-url") {
            if (!value(arguments.targetBaseUrl)) return false;
        } else if (argument == "--target-dir") {
            if (!value(arguments.targetDir)) return false;
        } else if (argument == "--target-name") {
            if (!value(name)) return false;
            arguments.targetNames.push_back(name);
        } else if (arguments.command.empty()) {
            arguments.command = argument;
        } else if (arguments.command == "init" && arguments.trustedRoot.empty()) {
            arguments.trustedRoot = argument;
        } else {
            return false;
        }
    }
    return !arguments.metadataDir.empty() && !arguments.command.empty();
}

std::string WithSlash(std::string url) {
    if (!url.empty() && url.back() != '/') url += '/';
    return url;
}

int Fail(const std::string& what) {
    std::cerr << "ovx-tuf-client: " << what << "\n";
    return 1;
}

int Run(const Arguments& arguments) {
    CString metadataDir = CString::FromUtf8(arguments.metadataDir);
    if (arguments.command == "init") {
        if (arguments.trustedRoot.empty()) return Fail("init needs the trusted root's file");
        auto root = File::ReadAllBytes(CString::FromUtf8(arguments.trustedRoot));
        if (!root) return Fail(root.ErrorText().ToUtf8());
        auto stored = File::WriteAtomically(Path::Combine(metadataDir, u"root.json"), *root);
        if (!stored) return Fail(stored.ErrorText().ToUtf8());
        std::cerr << "ovx-tuf-client: trusting the root in " << arguments.trustedRoot << "\n";
        return 0;
    }
    if (arguments.command != "refresh" && arguments.command != "download")
        return Fail("unknown command " + arguments.command);
    OvxUpdate::UpdaterSettings settings;
    settings.metadataFolder = metadataDir;
    settings.metadataUrl = WithSlash(arguments.metadataUrl);
    settings.targetsUrl = WithSlash(arguments.targetBaseUrl);
    auto fetcher = OvxUpdate::MakeSystemFetcher();
    OvxUpdate::Updater updater(
        settings, *fetcher, static_cast<std::int64_t>(std::time(nullptr)),
        [](const std::string& step) { std::cerr << "ovx-tuf-client: " << step << "\n"; });
    if (auto refreshed = updater.Refresh(); !refreshed) return Fail(refreshed.ErrorText().ToUtf8());
    if (arguments.command == "refresh") return 0;
    if (arguments.targetNames.empty() || arguments.targetDir.empty())
        return Fail("download needs --target-name and --target-dir");
    for (const auto& name : arguments.targetNames) {
        auto target = updater.FindTarget(name);
        if (!target) return Fail(target.ErrorText().ToUtf8());
        if (!*target) return Fail("no role lists target " + OvxUpdate::Named(name));
        CString path = Path::Combine(CString::FromUtf8(arguments.targetDir),
                                     CString::FromUtf8(OvxUpdate::PercentEncoded(name)));
        if (updater.IsDownloaded(**target, path)) continue;
        if (auto downloaded = updater.Download(**target, path); !downloaded)
            return Fail(downloaded.ErrorText().ToUtf8());
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    if (!Parse(argc, argv, arguments))
        return Fail(
            "usage: ovx-tuf-client --metadata-dir DIR [--metadata-url URL] "
            "[--target-name PATH]... [--target-base-url URL] [--target-dir DIR] (init ROOT | refresh | "
            "download)");
    return Run(arguments);
}
