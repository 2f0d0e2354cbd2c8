// ovxext check: whether a package would load on a host that is one application offering
// some features. CheckRequirements gives the verdict; the steps are evaluated again here
// only to say which requirement fails, required against actual.

#include "argument_parser.h"
#include "commands.h"
#include "package_reader.h"

#include "extensions/format/check_requirements.h"
#include "extensions/format/system_version.h"
#include "platform/component_version.h"

#include <algorithm>
#include <optional>

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext check FILE --app NAME [--feature NAME]...\n"
    "\n"
    "Tells whether the package FILE would load on a host that is the application NAME\n"
    "(Atlas, Beacon, Cinder or Delta) offering the given features, on this system with\n"
    "this component's suite version. When it would not, names the requirement that fails,\n"
    "what it requires and what this host has.\n"
    "\n"
    "exit codes: 0 would load, 1 would not load (or its record cannot be read),\n"
    "            2 usage error, 3 the package cannot be opened\n";

using OvxUtils::Version;

std::string JoinTexts(const std::vector<CString>& texts) {
    std::string joined;
    for (const CString& text : texts) joined += (joined.empty() ? "" : ",") + Utf8(text);
    return joined.empty() ? "(none)" : joined;
}

// The running system's version without trailing zero components past major.minor.
std::string SystemVersionText() {
    std::vector<std::int32_t> components = OvxComponent::GetRunningSystemVersion().Components();
    while (components.size() > 2 && components.back() == 0) components.pop_back();
    return Utf8(Version(components).ToString());
}

std::optional<std::string> ExplainFailure(const OvxComponent::ExtensionRequirements& requirements,
                                          OvxComponent::ExtensionAppSupport app, const std::vector<CString>& features) {
    using OvxComponent::SystemVersionTest;
    if (requirements.WinVersion.min &&
        !OvxComponent::RunningSystemPasses(*requirements.WinVersion.min, SystemVersionTest::AtOrAfter)) {
        return "Windows version: requires at or after " + Utf8(requirements.WinVersion.min->ToString()) +
               ", this system is " + SystemVersionText();
    }
    if (requirements.WinVersion.max &&
        !OvxComponent::RunningSystemPasses(*requirements.WinVersion.max, SystemVersionTest::Before)) {
        return "Windows version: requires before " + Utf8(requirements.WinVersion.max->ToString()) +
               ", this system is " + SystemVersionText();
    }
    const auto& platforms = requirements.PlatformSupport;
    if (std::find(platforms.begin(), platforms.end(), OvxComponent::kRunningPlatform) == platforms.end()) {
        std::vector<CString> names;
        for (auto platform : platforms) names.push_back(ToString(platform));
        return "platform: requires one of " + JoinTexts(names) + ", this host is " +
               Utf8(ToString(OvxComponent::kRunningPlatform));
    }
    const auto& apps = requirements.AppList;
    if (std::find(apps.begin(), apps.end(), app) == apps.end()) {
        std::vector<CString> names;
        for (auto listed : apps) names.push_back(ToString(listed));
        return "application: requires one of " + JoinTexts(names) + ", this host is " + Utf8(ToString(app));
    }
    const Version suite = OvxComponent::GetComponentVersion();
    if (requirements.AppVersion.min && suite < *requirements.AppVersion.min) {
        return "suite version: requires at or after " + Utf8(requirements.AppVersion.min->ToString()) +
               ", this host is " + Utf8(suite.ToString());
    }
    if (requirements.AppVersion.max && !(suite < *requirements.AppVersion.max)) {
        return "suite version: requires before " + Utf8(requirements.AppVersion.max->ToString()) + ", this host is " +
               Utf8(suite.ToString());
    }
    for (const auto& group : requirements.Features) {
        const bool met = std::any_of(group.begin(), group.end(), [&](const CString& name) {
            return std::find(features.begin(), features.end(), name) != features.end();
        });
        if (!met) return "feature: requires one of " + JoinTexts(group) + ", this host offers " + JoinTexts(features);
    }
    return std::nullopt;
}

}  // namespace

int RunCheck(const CommandContext& context) {
    if (WantsHelp(context.args)) {
        context.out << kHelp;
        return kExitOk;
    }
    ArgumentParser parser;
    parser.AddOption("--app");
    parser.AddOption("--feature", true);
    if (!parser.Parse(context.args)) return ReportUsage(context, "check", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "check", "expected one package FILE");
    const auto appName = parser.Value("--app");
    if (!appName) return ReportUsage(context, "check", "--app NAME is required");
    const auto app = OvxComponent::ExtensionAppSupportFromString(FromUtf8(*appName));
    if (!app) {
        return ReportUsage(context, "check",
                           "unknown application '" + *appName + "' (expected Atlas, Beacon, Cinder or Delta)");
    }
    std::vector<CString> features;
    for (const std::string& feature : parser.Values("--feature")) features.push_back(FromUtf8(feature));

    const std::string& file = parser.Positional()[0];
    auto package = OpenPackage(file);
    if (!package) return ReportError(context, "check", file, Utf8(package.ErrorText()), kExitFailure);
    const OvxComponent::ExtensionContainerInfo* info = package->GetInfo();
    if (info == nullptr) {
        context.out << file << ": would not load\n"
                    << "record: the package's record cannot be read: " << Utf8(package->GetInfoError()) << "\n";
        return kExitProblems;
    }
    const OvxComponent::ExtensionRequirements& requirements = info->GetRequirements();
    const bool loads = OvxComponent::CheckRequirements(
        requirements,
        [&features](CString name) { return std::find(features.begin(), features.end(), name) != features.end(); },
        [&app](OvxComponent::ExtensionAppSupport candidate) { return candidate == *app; });
    if (loads) {
        context.out << file << ": would load on " << *appName << "\n";
        return kExitOk;
    }
    context.out << file << ": would not load\n"
                << ExplainFailure(requirements, *app, features).value_or("requirements: not met") << "\n";
    return kExitProblems;
}

}  // namespace Ovxext
