// ovxext check: whether a package would load on hosts that are given applications offering
// some features, and if not, which requirement fails: the evaluation behind
// CheckRequirements, with this host's answers.

#include "argument_parser.h"
#include "commands.h"
#include "signing.h"
#include "json_output.h"
#include "package_reader.h"

#include "metadata_values.h"

#include "OvxComponent/extensions/format/check_requirements.h"

#include <algorithm>
#include <sstream>
#include <optional>

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext check FILE --app NAMES [--feature NAME]... [--json | --quiet]\n"
    "\n"
    "Tells whether the package FILE would load on a host that is the application NAME\n"
    "(Atlas, Beacon, Cinder or Delta) offering the given features, on this system with\n"
    "this component's suite version, for each application given (--app Atlas,Delta, or\n"
    "--app repeated). When it would not, names the requirement that fails, what it\n"
    "requires and what this host has.\n"
    "\n"
    "options:\n"
    "  --app NAMES      the host applications to check for: Atlas, Beacon, Cinder or Delta,\n"
    "                   one or a comma-separated list (repeatable; required)\n"
    "  --feature NAME   a feature the host offers (repeatable)\n"
    "  --json           answer with one JSON object\n"
    "  --quiet          answer only with the exit code\n"
    "\n"
    "exit codes: 0 would load on every application, 1 would not load on one (or its record\n"
    "cannot be read), 2 usage error, 3 the package cannot be opened\n";

std::string JoinTexts(const std::vector<CString>& texts) {
    const std::string joined = JoinUtf8(texts, [](const CString& text) { return text; });
    return joined.empty() ? "(none)" : joined;
}

}  // namespace

int RunCheck(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddOption("--app", true);
    parser.AddOption("--feature", true);
    parser.AddFlag("--json");
    parser.AddFlag("--quiet");
    if (!parser.Parse(context.args)) return ReportUsage(context, "check", parser.Error());
    const bool json = parser.Has("--json");
    std::ostringstream discarded;
    std::ostream& out = parser.Has("--quiet") || json ? discarded : context.out;
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
    Json verdicts = Json::array();
    if (info == nullptr) {
        out << file << ": would not load\n" << "record: hosts cannot read it: " << Utf8(package->GetInfoError()) << "\n";
        if (json) WriteJson(context, {{"file", file}, {"loads", false}, {"record", JsonText(package->GetInfoError())}});
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
            out << file << ": would load on " << appName << "\n";
            verdicts.push_back({{"app", appName}, {"loads", true}});
            continue;
        }
        const CString hostSide = unmet->what == u"feature" ? FromUtf8("this host offers " + JoinTexts(features))
                                                           : FromUtf8("this host is " + appName);
        out << file << ": would not load on " << appName << "\n" << Utf8(unmet->Text(hostSide)) << "\n";
        verdicts.push_back({{"app", appName},
                            {"loads", false},
                            {"unmet", {{"what", JsonText(unmet->what)},
                                       {"required", JsonText(unmet->required)},
                                       {"actual", JsonText(unmet->actual.IsEmpty() ? hostSide : unmet->actual)}}}});
        code = kExitProblems;
    }
    out << "signature: " << SignerText(*package) << "\n";
    if (json) {
        WriteJson(context,
                  {{"file", file}, {"loads", code == kExitOk}, {"apps", verdicts}, {"signature", SignerJson(*package)}});
    }
    return code;
}

}  // namespace Ovxext
