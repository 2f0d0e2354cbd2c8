// ovxext info: every metadata field, entry point and requirement of a package, one
// "Field: value" per line, and its signature, checked when keys are given.

#include "commands.h"
#include "package_reader.h"
#include "signature_report.h"

#include "argument_parser.h"
#include "json_output.h"

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext info FILE [-p PUBLIC]... [--json]\n"
    "\n"
    "Shows every metadata field, entry point and requirement of the package FILE, one\n"
    "'Field: value' per line. Lists are joined by ','; an absent version bound is '*';\n"
    "texts with language variants show as 'default|lang=text'. Control characters and\n"
    "other text that could change how a line shows appear escaped ('\\x1B', '\\u202E').\n"
    "The last line is the signature: without -p only the key ID it claims, not checked;\n"
    "with -p whether it holds under one of the keys, as verify checks it, and why not.\n"
    "\n"
    "options:\n"
    "  -p, --public FILE   a trusted public key to check the signature under (repeatable)\n"
    "  --json              one JSON object with the same fields, lists as arrays and absent\n"
    "                      bounds as null\n"
    "\n"
    "exit codes: 0 shown, 2 usage error, 3 the package or a key cannot be read\n";

std::string Text(const MultiLanguageString& text) { return Utf8(text.ToString()); }
std::string LanguagesJson(const MultiLanguageString& text) { return JsonText(text.ToString()); }

void WriteInfo(const OvxComponent::ExtensionContainerInfo& info, std::ostream& out) {
    const OvxComponent::ExtensionData& data = info.data();
    out << "Title: " << Text(data.Title) << "\n";
    out << "Description: " << Text(data.Description) << "\n";
    out << "Document ID: " << Utf8(info.GetDocumentID().ToString()) << "\n";
    out << "Instance ID: " << Utf8(info.GetInstanceID().ToString()) << "\n";
    out << "Derived from: " << JoinUtf8(info.GetDerivedFrom(), [](const OvxUtils::Guid& id) { return id.ToString(); })
        << "\n";
    out << "Version: " << Utf8(info.GetVersionAsString()) << "\n";
    out << "Extension type: " << Utf8(info.GetSubformatAsString()) << "\n";
    out << "Keywords: " << Text(info.GetKeywords()) << "\n";
    out << "Creator tool: " << Utf8(info.GetCreatorTool()) << "\n";
    out << "Notes: " << Text(info.GetNotes()) << "\n";
    out << "Entry points: " << data.EntryPoints.size() << "\n";
    for (const OvxComponent::ExtensionEntryPoint& entry : data.EntryPoints) {
        out << "Entry point: " << Utf8(ToString(entry.Type)) << " " << Text(entry.Name) << " = " << Utf8(entry.Value);
        if (entry.Guid) out << " " << Utf8(*entry.Guid);
        if (!entry.ShortDescription.IsEmpty()) out << " (" << Text(entry.ShortDescription) << ")";
        out << "\n";
    }
    out << "Applications: " << Utf8(info.GetApplistAsString()) << "\n";
    out << "Platforms: " << Utf8(info.GetPlatformSupportAsString()) << "\n";
    out << "Suite version: " << Utf8(info.GetAppMinVersionAsString()) << " to "
        << Utf8(info.GetAppMaxVersionAsString()) << "\n";
    out << "Windows version: " << Utf8(info.GetWinMinVersionAsString()) << " to "
        << Utf8(info.GetWinMaxVersionAsString()) << "\n";
    std::string features;
    for (const CString& group : info.GetFeatureRequirementsAsStrings()) {
        features += (features.empty() ? "" : "; ") + Utf8(group);
    }
    out << "Features: " << features << "\n";
}

Json BoundJson(const std::optional<OvxUtils::Version>& bound) {
    return bound ? Json(JsonText(bound->ToString())) : Json(nullptr);
}

template <class T>
Json NamesJson(const std::vector<T>& items) {
    Json names = Json::array();
    for (const T& item : items) names.push_back(JsonText(ToString(item)));
    return names;
}

Json InfoJson(const OvxComponent::ExtensionContainerInfo& info) {
    const OvxComponent::ExtensionData& data = info.data();
    const OvxComponent::ExtensionRequirements& requirements = data.requirements;
    Json entryPoints = Json::array();
    for (const OvxComponent::ExtensionEntryPoint& entry : data.EntryPoints) {
        entryPoints.push_back({{"type", JsonText(ToString(entry.Type))},
                               {"name", LanguagesJson(entry.Name)},
                               {"value", JsonText(entry.Value)},
                               {"guid", entry.Guid ? Json(JsonText(*entry.Guid)) : Json(nullptr)},
                               {"shortDescription", LanguagesJson(entry.ShortDescription)}});
    }
    Json derivedFrom = Json::array();
    for (const OvxUtils::Guid& id : info.GetDerivedFrom()) derivedFrom.push_back(JsonText(id.ToString()));
    Json keywords = Json::array();
    for (const MultiLanguageString& keyword : data.Keywords) keywords.push_back(LanguagesJson(keyword));
    Json features = Json::array();
    for (const auto& group : requirements.Features) {
        Json names = Json::array();
        for (const CString& name : group) names.push_back(JsonText(name));
        features.push_back(names);
    }
    return {{"title", LanguagesJson(data.Title)},
            {"description", LanguagesJson(data.Description)},
            {"documentId", JsonText(info.GetDocumentID().ToString())},
            {"instanceId", JsonText(info.GetInstanceID().ToString())},
            {"derivedFrom", derivedFrom},
            {"version", JsonText(info.GetVersionAsString())},
            {"extensionType", JsonText(info.GetSubformatAsString())},
            {"keywords", keywords},
            {"creatorTool", JsonText(info.GetCreatorTool())},
            {"notes", LanguagesJson(info.GetNotes())},
            {"entryPoints", entryPoints},
            {"applications", NamesJson(requirements.AppList)},
            {"platforms", NamesJson(requirements.PlatformSupport)},
            {"suiteVersion", {{"min", BoundJson(requirements.AppVersion.min)}, {"max", BoundJson(requirements.AppVersion.max)}}},
            {"windowsVersion", {{"min", BoundJson(requirements.WinVersion.min)}, {"max", BoundJson(requirements.WinVersion.max)}}},
            {"features", features}};
}

}  // namespace

int RunInfo(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddFlag("--json");
    parser.AddOption("--public", true);
    parser.AddAlias("-p", "--public");
    if (!parser.Parse(context.args)) return ReportUsage(context, "info", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "info", "expected one package FILE");
    const std::string& file = parser.Positional()[0];
    auto package = OpenPackage(file);
    if (!package) return ReportError(context, "info", file, Utf8(package.ErrorText()), kExitFailure);
    const OvxComponent::ExtensionContainerInfo* info = package->GetInfo();
    if (info == nullptr) {
        return ReportError(context, "info", file, "not a readable extension package: " + Utf8(package->GetInfoError()),
                           kExitFailure);
    }
    const auto signature = ReportSignature(*package, parser.Values("--public"));
    if (!signature) return ReportError(context, "info", file, Utf8(signature.ErrorText()), kExitFailure);
    if (parser.Has("--json")) {
        Json document = InfoJson(*info);
        document["signature"] = SignatureJson(*signature);
        WriteJson(context, document);
    } else {
        WriteInfo(*info, context.out);
        context.out << "Signature: " << SignatureText(*signature) << "\n";
    }
    return kExitOk;
}

}  // namespace Ovxext
