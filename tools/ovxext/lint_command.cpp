// ovxext lint: every problem of a package that can be found, not just the first.
//
// The problems are kept as their text is, for --json, and shown escaped when printed.
// The package is opened as a host opens it; when the container refuses its record, the
// record is read once more on its own so that the fields read before the refusal can
// still be looked at, and requirements.xml is walked element by element.

#include "argument_parser.h"
#include "commands.h"
#include "json_output.h"
#include "metadata_values.h"
#include "package_reader.h"

#include "OvxComponent/extensions/format/extension_container_schema.h"
#include "extensions/format/extension_requirement_type.h"
#include "platform/system_io/file.h"

#include <algorithm>
#include <set>

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext lint FILE [--json | --quiet]\n"
    "\n"
    "Lists every problem found in the package FILE, one per line as 'FILE: problem':\n"
    "a package or record that cannot be read, requirements.xml elements that are missing,\n"
    "unknown or refused (feature requirements make a package unreadable), empty\n"
    "application or platform lists, a platform list without x64, version ranges that no\n"
    "version can pass, a zero document ID, a missing extension type, version or title.\n"
    "\n"
    "options:\n"
    "  --json    answer with one JSON object\n"
    "  --quiet   answer only with the exit code\n"
    "\n"
    "exit codes: 0 no problems, 1 problems found, 2 usage error, 3 the file cannot be read\n";

namespace Schema = OvxComponent::ExtensionContainerSchema;
using OvxComponent::ExtensionRequirementType;

void LintRequirementsDocument(const OvxComponent::ExtensionContainer& package, std::vector<std::string>& problems) {
    auto document = package.Container().ReadXml(CString(Schema::requirementFile));
    if (!document) {
        problems.push_back("requirements.xml: " + JsonText(document.ErrorText()));
        return;
    }
    const VdcContainer::XmlNS::Node& root = (*document)->Root();
    if (!root.Is(Schema::xml::requirements)) {
        problems.push_back("requirements.xml: the root element is not 'requirements'");
        return;
    }
    std::set<ExtensionRequirementType> seen;
    for (const VdcContainer::XmlNS::Node* child : root.GetAllChildNodes()) {
        if (!child->Is(Schema::xml::must)) {
            problems.push_back("requirements.xml: element '" + child->GetLocalName() +
                               "' is not allowed (only require_must)");
            continue;
        }
        const std::string typeText = child->GetAttribute(Schema::xml::requirement_type).value_or(std::string());
        const auto type = OvxComponent::ExtensionRequirementTypeFromString(FromUtf8(typeText));
        if (!type) {
            problems.push_back("requirements.xml: unknown require_type '" + typeText + "'");
            continue;
        }
        seen.insert(*type);
        if (*type == ExtensionRequirementType::Feature) {
            problems.push_back("requirements.xml: feature requirement '" +
                               child->GetAttribute(Schema::xml::required_list).value_or(std::string()) +
                               "': packages stating feature requirements cannot be read by hosts");
        }
    }
    for (const auto type : {ExtensionRequirementType::OrvexApplication, ExtensionRequirementType::OrvexSuiteVersion,
                            ExtensionRequirementType::PlatformBits, ExtensionRequirementType::WindowsVersion}) {
        if (seen.count(type) == 0) {
            problems.push_back("requirements.xml: no " + JsonText(ToString(type)) + " requirement");
        }
    }
}

void LintRecord(const OvxComponent::ExtensionContainerInfo& info, std::vector<std::string>& problems) {
    const OvxComponent::ExtensionData& data = info.data();
    if (info.GetDocumentID().IsNull()) problems.push_back("document ID: all zero (the extension has no identity)");
    if (data.Version.IsEmpty()) problems.push_back("version: missing");
    if (data.ExtensionType.IsEmpty()) problems.push_back("extension type: missing (no installer can load it)");
    if (data.Title.IsEmpty()) problems.push_back("title: missing");
    const auto& requirements = data.requirements;
    if (requirements.AppList.empty()) problems.push_back("applications: empty list, no host can load it");
    if (requirements.PlatformSupport.empty()) {
        problems.push_back("platforms: empty list, no host can load it");
    } else if (std::find(requirements.PlatformSupport.begin(), requirements.PlatformSupport.end(),
                         OvxUtils::runtime_bits::x64) == requirements.PlatformSupport.end()) {
        problems.push_back("platforms: x64 is not listed, so 64-bit hosts cannot load it");
    }
    for (const auto& [what, range] : {std::pair{"suite version", requirements.AppVersion},
                                      std::pair{"Windows version", requirements.WinVersion}}) {
        if (auto empty = CheckRangeNotEmpty(what, range); !empty) problems.push_back(JsonText(empty.ErrorText()));
    }
    for (const auto& group : requirements.Features) {
        if (group.empty()) problems.push_back("features: an empty feature group, never met");
    }
}

}  // namespace

int RunLint(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddFlag("--json");
    parser.AddFlag("--quiet");
    if (!parser.Parse(context.args)) return ReportUsage(context, "lint", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "lint", "expected one package FILE");
    const std::string& file = parser.Positional()[0];
    if (!OvxUtils::SystemIO::File::Exists(FromUtf8(file))) {
        return ReportError(context, "lint", file, "no such file", kExitFailure);
    }

    std::vector<std::string> problems;
    auto package = OpenPackage(file);
    if (!package) {
        problems.push_back("package: cannot be opened: " + JsonText(package.ErrorText()));
    } else {
        const OvxComponent::ExtensionContainerInfo* info = package->GetInfo();
        std::unique_ptr<OvxComponent::ExtensionContainerInfo> reread;
        if (info == nullptr) {
            problems.push_back("record: hosts cannot read it: " + JsonText(package->GetInfoError()));
            bool complete = false;
            reread = ReadRecordAgain(*package, complete);
            if (reread && !complete) problems.push_back("record: reading stopped early, later fields were not checked");
            info = reread.get();
        }
        LintRequirementsDocument(*package, problems);
        if (info != nullptr) LintRecord(*info, problems);
    }
    const int code = problems.empty() ? kExitOk : kExitProblems;
    if (parser.Has("--json")) {
        WriteJson(context, {{"file", file}, {"problems", problems}});
        return code;
    }
    if (parser.Has("--quiet")) return code;
    for (const std::string& problem : problems) context.out << Shown(file) << ": " << Shown(problem) << "\n";
    if (problems.empty()) {
        context.out << Shown(file) << ": no problems\n";
    } else {
        context.out << Shown(file) << ": " << problems.size() << (problems.size() == 1 ? " problem\n" : " problems\n");
    }
    return code;
}

}  // namespace Ovxext
