// ovxext check: whether a package would load on hosts that are given applications offering
// some features, and if not, which requirement fails: the evaluation behind
// CheckRequirements, with this host's answers.

#include "argument_parser.h"
#include "commands.h"
#include "json_output.h"
#include "package_reader.h"
#include "signature_report.h"

#include "metadata_values.h"

#include "OvxComponent/extensions/format/check_requirements.h"

#include <algorithm>
#include <sstream>
#include <optional>

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext check FILE --app NAMES [--feature NAME]... [-p PUBLIC]... [--json | --quiet]\n"
    "\n"
    "Tells whether the package FILE would load on a host that is the application NAME\n"
    "(Atlas, Beacon, Cinder or Delta) offering the given features, on this system with\n"
    "this component's suite version, for each application given (--app Atlas,Delta, or\n"
    "--app repeated). When it would not, names the requirement that fails, what it\n"
    "requires and what this host has. The last line is the signature: without -p only the\n"
    "key ID it claims, not checked; with -p whether it holds under one of the keys, as\n"
    "verify checks it, and why not. The signature does not change the exit code.\n"
    "\n"
    "options:\n"
    "  --app NAMES         the host applications to check for: Atlas, Beacon, Cinder or\n"
    "                      Delta, one or a comma-separated list (repeatable; required)\n"
    "  --feature NAME      a feature the host offers (repeatable)\n"
    "  -p, --public FILE   a trusted public key to check the signature under (repeatable)\n"
    "  --json              answer with one JSON object\n"
    "  --quiet             answer only with the exit code\n"
    "\n"
    "exit codes: 0 would load on every application, 1 would not load on one (or its record\n"
    "cannot be read), 2 usage error, 3 the package or a key cannot be read\n";

// The features as this host's side of a verdict: the text itself, shown when printed.
CString JoinTexts(const std::vector<CString>& texts) {
    CString joined;
    for (const CString& text : texts) joined += (joined.IsEmpty() ? CString() : CString(u",")) + text;
    return joined.IsEmpty() ? CString(u"(none)") : joined;
}

}  // namespace

int RunCheck(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddOption("--app", true);
    parser.AddOption("--feature", true);
    parser.AddOption("--public", true);
    parser.AddAlias("-p", "--public");
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
        out << Shown(file) << ": would not load\n" << "record: hosts cannot read it: " << Utf8(package->GetInfoError()) << "\n";
        if (json) WriteJson(context, {{"file", file}, {"loads", false}, {"record", JsonText(package->GetInfoError())}});
        return kExitProblems;
    }
    const auto signature = ReportSignature(*package, parser.Values("--public"));
    if (!signature) return ReportError(context, "check", file, Utf8(signature.ErrorText()), kExitFailure);
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
            out << Shown(file) << ": would load on " << appName << "\n";
            verdicts.push_back({{"app", appName}, {"loads", true}});
            continue;
        }
        const CString hostSide = unmet->what == u"feature" ? u"this host offers " + JoinTexts(features)
                                                           : FromUtf8("this host is " + appName);
        out << Shown(file) << ": would not load on " << appName << "\n" << Utf8(unmet->Text(hostSide)) << "\n";
        verdicts.push_back({{"app", appName},
                            {"loads", false},
                            {"unmet", {{"what", JsonText(unmet->what)},
                                       {"required", JsonText(unmet->required)},
                                       {"actual", JsonText(unmet->actual.IsEmpty() ? hostSide : unmet->actual)}}}});
        code = kExitProblems;
    }
    out << "signature: " << SignatureText(*signature) << "\n";
    if (json) {
        WriteJson(context,
                  {{"file", file}, {"loads", code == kExitOk}, {"apps", verdicts}, {"signature", SignatureJson(*signature)}});
    }
    return code;
}

}  // namespace Ovxext
