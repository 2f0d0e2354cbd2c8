// ovxext ls: the entries of a package, as a reader lists them.

#include "argument_parser.h"
#include "commands.h"
#include "json_output.h"
#include "package_reader.h"

#include <iomanip>

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext ls FILE [--json]\n"
    "\n"
    "Lists every entry of the package FILE in archive order, one 'SIZE NAME' per line (a\n"
    "folder's name ends in '/'): the container's own entries, extension.xml,\n"
    "requirements.xml and the packed files under content/.\n"
    "\n"
    "options:\n"
    "  --json   one JSON array of {\"name\", \"size\"} objects\n"
    "\n"
    "exit codes: 0 listed, 2 usage error, 3 the package cannot be read\n";

}  // namespace

int RunLs(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddFlag("--json");
    if (!parser.Parse(context.args)) return ReportUsage(context, "ls", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "ls", "expected one package FILE");
    const std::string& file = parser.Positional()[0];
    auto package = OpenPackage(file);
    if (!package) return ReportError(context, "ls", file, Utf8(package.ErrorText()), kExitFailure);
    Json entries = Json::array();
    for (const VdcContainer::ContainerEntry& entry : package->Container().GetEntries()) {
        if (parser.Has("--json")) {
            entries.push_back({{"name", JsonText(entry.name)}, {"size", entry.size}});
        } else {
            context.out << std::setw(10) << entry.size << " " << Utf8(entry.name) << "\n";
        }
    }
    if (parser.Has("--json")) WriteJson(context, entries);
    return kExitOk;
}

}  // namespace Ovxext
