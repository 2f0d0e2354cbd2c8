// ovxext unpack: safe extraction of a whole package.

#include "argument_parser.h"
#include "commands.h"
#include "package_reader.h"

#include "OvxComponent/container/zip_container.h"
#include "container/extract_folder.h"

#include <string>

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext unpack FILE DIR [--quiet]\n"
    "\n"
    "Extracts every entry of the package FILE (the container's own entries and content/)\n"
    "into DIR. Entry names are checked, sizes and checksums verified, and nothing outside\n"
    "DIR is written; a failed extraction leaves DIR as it was. DIR may exist, but an entry\n"
    "that exists there already fails the extraction.\n"
    "\n"
    "options:\n"
    "  --quiet   print nothing but errors\n"
    "\n"
    "exit codes: 0 extracted, 2 usage error, 3 the package cannot be read or extracted\n";

}  // namespace

int RunUnpack(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddFlag("--quiet");
    if (!parser.Parse(context.args)) return ReportUsage(context, "unpack", parser.Error());
    if (parser.Positional().size() != 2) return ReportUsage(context, "unpack", "expected a package FILE and a folder DIR");
    const std::string& file = parser.Positional()[0];
    const std::string& target = parser.Positional()[1];
    auto package = OpenPackage(file);
    if (!package) return ReportError(context, "unpack", file, Utf8(package.ErrorText()), kExitFailure);
    const auto entries = package->Container().GetEntries();
    std::uint64_t bytes = 0;
    for (const auto& entry : entries) bytes += entry.size;
    if (IsLargeWork(entries.size(), bytes)) {
        ReportProgress(context, "unpacking " + std::to_string(entries.size()) + " entries, " +
                                    std::to_string(bytes >> 20) + " MB, into " + Shown(target) + " ...");
    }
    if (auto extracted = VdcContainer::ExtractFolder(*package, CString(), FromUtf8(target)); !extracted) {
        return ReportError(context, "unpack", file, Utf8(extracted.ErrorText()), kExitFailure);
    }
    if (!parser.Has("--quiet")) context.out << "unpacked " << Shown(file) << " into " << Shown(target) << "\n";
    return kExitOk;
}

}  // namespace Ovxext
