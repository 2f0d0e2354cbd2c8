// ovxext info: every metadata field, entry point and requirement of a package, one
// "Field: value" per line.

#include "commands.h"
#include "package_reader.h"

#include "argument_parser.h"

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext info FILE\n"
    "\n"
    "Shows every metadata field, entry point and requirement of the package FILE, one\n"
    "'Field: value' per line. Lists are joined by ','; an absent version bound is '*';\n"
    "texts with language variants show as 'default|lang=text'.\n"
    "\n"
    "exit codes: 0 shown, 2 usage error, 3 the package cannot be read\n";

std::string Text(const MultiLanguageString& text) { return Utf8(text.ToString()); }

void WriteInfo(const OvxComponent::ExtensionContainerInfo& info, std::ostream& out) {
    const OvxComponent::ExtensionData& data = info.data();
    out << "Title: " << Text(data.Title) << "\n";
    out << "Description: " << Text(data.Description) << "\n";
    out << "Document ID: " << Utf8(info.GetDocumentID().ToString()) << "\n";
    out << "Instance ID: " << Utf8(info.GetInstanceID().ToString()) << "\n";
    std::string derived;
    for (const OvxUtils::Guid& id : info.GetDerivedFrom()) derived += (derived.empty() ? "" : ",") + Utf8(id.ToString());
    out << "Derived from: " << derived << "\n";
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

}  // namespace

int RunInfo(const CommandContext& context) {
    if (WantsHelp(context.args)) {
        context.out << kHelp;
        return kExitOk;
    }
    ArgumentParser parser;
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
    WriteInfo(*info, context.out);
    return kExitOk;
}

}  // namespace Ovxext
