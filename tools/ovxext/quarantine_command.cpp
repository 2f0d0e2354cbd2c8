// ovxext quarantine: the extensions that a host keeps off because its process died in a
// call into them, listed or released, from the host's data folder.

#include "argument_parser.h"
#include "commands.h"
#include "json_output.h"

#include "extensions/log/log_timestamp.h"
#include "extensions/manager/install_layout.h"
#include "extensions/manager/quarantine.h"
#include "platform/system_io/folder.h"

#include <string>

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext quarantine list --data DIR [--json]\n"
    "       ovxext quarantine release --data DIR ID\n"
    "\n"
    "A host whose process dies in a call into an extension (its load or unload, or the visit\n"
    "of its UI or resource files), by a crash or by a kill while the call hangs, keeps that\n"
    "extension off from its next start on, until the extension's package changes. list shows\n"
    "those extensions: the document ID, the call the host died in, when it began and how often\n"
    "it happened. release lets one load again at the host's next start. DIR is the host's data\n"
    "folder (as ovxext host --data takes it).\n"
    "\n"
    "options:\n"
    "  --data DIR   the host's data folder\n"
    "  --json       list: one JSON document\n"
    "\n"
    "exit codes: 0 done, 1 release: the extension is not in quarantine, 2 usage error\n";

}  // namespace

int RunQuarantine(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddOption("--data");
    parser.AddFlag("--json");
    if (!parser.Parse(context.args)) return ReportUsage(context, "quarantine", parser.Error());
    const auto& positional = parser.Positional();
    const auto data = parser.Value("--data");
    if (!data) return ReportUsage(context, "quarantine", "--data DIR is required");
    if (positional.empty()) return ReportUsage(context, "quarantine", "expected list or release");
    const CString platformFolder = OvxComponent::InstallLayout::PlatformFolder(FromUtf8(*data));
    OvxComponent::Quarantine quarantine(nullptr, platformFolder);

    if (positional[0] == "list" && positional.size() == 1) {
        const auto extensions = quarantine.List();
        if (parser.Has("--json")) {
            Json list = Json::array();
            for (const auto& extension : extensions) {
                list.push_back({{"id", JsonText(extension.documentId.ToString())},
                                {"call", JsonText(extension.call)},
                                {"began", JsonText(OvxComponent::FormatLocalTimestamp(extension.time / 10'000'000))},
                                {"crashes", extension.crashes}});
            }
            WriteJson(context, list);
            return kExitOk;
        }
        if (extensions.empty()) context.out << "no extension is in quarantine\n";
        for (const auto& extension : extensions) {
            context.out << Utf8(extension.documentId.ToString()) << "  " << Utf8(extension.call) << " call begun at "
                        << Utf8(OvxComponent::FormatLocalTimestamp(extension.time / 10'000'000)) << ", "
                        << extension.crashes << (extension.crashes == 1 ? " crash\n" : " crashes\n");
        }
        return kExitOk;
    }
    if (positional[0] == "release" && positional.size() == 2) {
        const auto id = OvxUtils::Guid::FromString(FromUtf8(positional[1]));
        if (!id) return ReportUsage(context, "quarantine", "'" + positional[1] + "' is not a document ID");
        if (!quarantine.Release(*id)) {
            return ReportError(context, "quarantine", positional[1], "is not in quarantine", kExitProblems);
        }
        context.out << "released " << Utf8(id->ToString()) << ": it loads at the host's next start\n";
        return kExitOk;
    }
    return ReportUsage(context, "quarantine", "expected list, or release and a document ID");
}

}  // namespace Ovxext
