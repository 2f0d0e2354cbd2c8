// ovxext check: whether a package would load on hosts that are given applications offering
// some features, and if not, which requirement fails: the evaluation behind
// CheckRequirements, with this host's answers.

#include "argument_parser.h"
#include "commands.h"
#include "package_reader.h"

#include "metadata_values.h"

#include "extensions/format/check_requirements.h"

#include <algorithm>
#include <optional>

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext check FILE --app NAMES [--feature NAME]...\n"
    "\n"
    "Tells whether the package FILE would load on a host that is the application NAME\n"
    "(Atlas, Beacon, Cinder or Delta) offering the given features, on this system with\n"
    "this component's suite version, for each application given (--app Atlas,Delta, or\n"
    "--app repeated). When it would not, names the requirement that fails, what it\n"
    "requires and what this host has.\n"
    "\n"
    "exit codes: 0 would load on every application, 1 would not load on one (or its record\n"
    "            cannot be read),\n"
    "            2 usage error, 3 the package cannot be opened\n";

std::string JoinTexts(const std::vector<CString>& texts) {
    std::string joined;
    for (const CString& text : texts) joined += (joined.empty() ? "" : ",") + Utf8(text);
    return joined.empty() ? "(none)" : joined;
}

}  // namespace

int RunCheck(const CommandContext& context) {
    if (WantsHelp(context.args)) {
        context.out << kHelp;
        return kExitOk;
    }
    ArgumentParser parser;
    parser.AddOption("--app", true);
    parser.AddOption("--feature", true);
    if (!parser.Parse(context.args)) return ReportUsage(context, "check", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "check", "expected one package FILE");
    if (!parser.Has("--app")) return ReportUsage(context, "check", "--app NAME is required");
    auto apps = ParseApps(parser.Values("--app"));
    if (!apps) return ReportUsage(context, "check", Utf8(apps.ErrorText()));
    std::vector<CString> features;
    for (const std::string& feature : parser.Values("--feature")) features.push_back(FromUtf8(feature));

    const std::string& file = parser.Positional()[0];
    auto package = OpenPackage(file);
    if (!package) return ReportError(context, "check", file, Utf8(package.ErrorText()), kExitFailure);
    const OvxComponent::ExtensionContainerInfo* info = package->GetInfo();
    if (info == nullptr) {
        context.out << file << ": would not load\n"
                    << "record: hosts cannot read it: " << Utf8(package->GetInfoError()) << "\n";
        return kExitProblems;
    }
    // One verdict per application: the same evaluation that hosts run, with this host's
    // answers.
    int code = kExitOk;
    for (const OvxComponent::ExtensionAppSupport app : *apps) {
        const auto unmet = OvxComponent::FirstUnmetRequirement(
            info->GetRequirements(),
            [&features](CString name) { return std::find(features.begin(), features.end(), name) != features.end(); },
            [app](OvxComponent::ExtensionAppSupport candidate) { return candidate == app; });
        const std::string appName = Utf8(ToString(app));
        if (!unmet) {
            context.out << file << ": would load on " << appName << "\n";
            continue;
        }
        const CString hostSide = unmet->what == u"feature" ? FromUtf8("this host offers " + JoinTexts(features))
                                                           : FromUtf8("this host is " + appName);
        context.out << file << ": would not load on " << appName << "\n" << Utf8(unmet->Text(hostSide)) << "\n";
        code = kExitProblems;
    }
    return code;
}

}  // namespace Ovxext
