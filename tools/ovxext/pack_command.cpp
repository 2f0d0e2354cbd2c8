// ovxext pack: builds an extension package from a folder, with the metadata given as
// options, in a metadata file, or both (options win).

#include "argument_parser.h"
#include "commands.h"
#include "instance_id.h"
#include "metadata_file.h"
#include "metadata_values.h"

#include "extensions/format/extension_packing.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext pack FOLDER -o FILE [options]\n"
    "\n"
    "Packs every file under FOLDER into the package FILE (.OrvexExtension is appended when\n"
    "FILE has another extension or none), below content/ with paths relative to FOLDER.\n"
    "\n"
    "options:\n"
    "  -o, --output FILE      the package to write (required)\n"
    "  --reproducible         same input, same bytes: sorted entries, fixed times, and an\n"
    "                         instance ID derived from the document ID and version\n"
    "  --metadata META.xml    read the metadata from this file first (see docs/ovxext.md)\n"
    "  --id GUID              document ID; without one a new ID is made and printed\n"
    "  --version V            extension version, for example 1.2.0 (default 1.0)\n"
    "  --type MIME            extension type: the MIME type of the host's installer (required,\n"
    "                         here or in the metadata file)\n"
    "  --title T              title\n"
    "  --description D        description\n"
    "  --notes N              notes\n"
    "  --app NAME             a host application: Atlas, Beacon, Cinder or Delta (repeatable;\n"
    "                         at least one, here or in the metadata file)\n"
    "  --platform P           x32 or x64 (repeatable; default x64)\n"
    "  --suite-min V          lowest suite version (inclusive; '*' for none)\n"
    "  --suite-max V          suite version bound (exclusive; '*' for none)\n"
    "  --windows-min V        lowest Windows version (inclusive; '*' for none)\n"
    "  --windows-max V        Windows version bound (exclusive; '*' for none)\n"
    "  --keyword K            a keyword (repeatable)\n"
    "  --creator-tool T       the tool that made the package (default ovxext)\n"
    "\n"
    "A list option given on the command line replaces the metadata file's list.\n"
    "\n"
    "exit codes: 0 packed, 2 usage error, 3 a file cannot be read or the package written\n";

// Applies the options to data; false with error set for a value that is not valid.
bool ApplyOptions(const ArgumentParser& parser, OvxComponent::ExtensionData& data, std::string& error) {
    auto& requirements = data.requirements;
    if (auto id = parser.Value("--id"); id && !ParseGuid(*id, data.DocumentID, error)) return false;
    if (auto version = parser.Value("--version"); version && !ParseVersion(*version, data.Version, error)) return false;
    if (auto type = parser.Value("--type")) data.ExtensionType = FromUtf8(*type);
    if (auto title = parser.Value("--title")) data.Title.SetDefault(FromUtf8(*title));
    if (auto description = parser.Value("--description")) data.Description.SetDefault(FromUtf8(*description));
    if (auto notes = parser.Value("--notes")) data.Notes.SetDefault(FromUtf8(*notes));
    if (auto tool = parser.Value("--creator-tool")) data.CreatorTool = FromUtf8(*tool);
    if (parser.Has("--app")) {
        requirements.AppList.clear();
        for (const std::string& name : parser.Values("--app")) {
            OvxComponent::ExtensionAppSupport app{};
            if (!ParseApp(name, app, error)) return false;
            requirements.AppList.push_back(app);
        }
    }
    if (parser.Has("--platform")) {
        requirements.PlatformSupport.clear();
        for (const std::string& name : parser.Values("--platform")) {
            OvxUtils::runtime_bits platform{};
            if (!ParsePlatform(name, platform, error)) return false;
            requirements.PlatformSupport.push_back(platform);
        }
    }
    if (parser.Has("--keyword")) {
        data.Keywords.clear();
        for (const std::string& keyword : parser.Values("--keyword")) data.Keywords.emplace_back(FromUtf8(keyword));
    }
    const std::pair<const char*, std::optional<OvxUtils::Version>*> bounds[] = {
        {"--suite-min", &requirements.AppVersion.min},
        {"--suite-max", &requirements.AppVersion.max},
        {"--windows-min", &requirements.WinVersion.min},
        {"--windows-max", &requirements.WinVersion.max},
    };
    for (const auto& [option, bound] : bounds) {
        if (auto text = parser.Value(option); text && !ParseBound(*text, *bound, error)) return false;
    }
    return true;
}

OvxComponent::ExtensionData DefaultData() {
    OvxComponent::ExtensionData data;
    data.Version = OvxUtils::Version{1, 0};
    data.CreatorTool = u"ovxext";
    data.requirements.PlatformSupport = {OvxUtils::runtime_bits::x64};
    return data;
}

CString PackagePath(const std::string& output) {
    const CString path = FromUtf8(output);
    const CString extension = OvxComponent::Get_Extension_FileExtension();
    if (OvxUtils::SystemIO::Path::HasExtension(path, extension)) return path;
    return path + u"." + extension;
}

}  // namespace

int RunPack(const CommandContext& context) {
    if (WantsHelp(context.args)) {
        context.out << kHelp;
        return kExitOk;
    }
    ArgumentParser parser;
    parser.AddFlag("--reproducible");
    parser.AddOption("--output");
    parser.AddAlias("-o", "--output");
    for (const char* option : {"--metadata", "--id", "--version", "--type", "--title", "--description", "--notes",
                               "--suite-min", "--suite-max", "--windows-min", "--windows-max", "--creator-tool"}) {
        parser.AddOption(option);
    }
    for (const char* option : {"--app", "--platform", "--keyword"}) parser.AddOption(option, true);
    if (!parser.Parse(context.args)) return ReportUsage(context, "pack", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "pack", "expected one FOLDER to pack");
    const auto output = parser.Value("--output");
    if (!output) return ReportUsage(context, "pack", "-o FILE is required");

    OvxComponent::ExtensionData data = DefaultData();
    std::string error;
    if (auto metadata = parser.Value("--metadata"); metadata && !ReadMetadataFile(*metadata, data, error)) {
        return ReportError(context, "pack", *metadata, error, kExitFailure);
    }
    if (!ApplyOptions(parser, data, error)) return ReportUsage(context, "pack", error);
    if (data.ExtensionType.IsEmpty()) {
        return ReportUsage(context, "pack", "the extension type is required (--type MIME or <type> in the metadata file)");
    }
    // Hosts cannot read a package whose application or platform list is empty.
    if (data.requirements.AppList.empty()) {
        return ReportUsage(context, "pack", "at least one application is required (--app NAME or <app> in the metadata file)");
    }
    if (data.requirements.PlatformSupport.empty()) {
        return ReportUsage(context, "pack", "at least one platform is required (--platform x64)");
    }
    const std::string& folderText = parser.Positional()[0];
    const CString folder = FromUtf8(folderText);
    if (!OvxUtils::SystemIO::Folder::Exists(folder)) {
        return ReportError(context, "pack", folderText, "no such folder", kExitFailure);
    }
    if (data.DocumentID.IsNull()) {
        data.DocumentID = OvxUtils::Guid::Generate();
        context.out << "Document ID: " << Utf8(data.DocumentID.ToString()) << " (new)\n";
    }
    const std::vector<CString> files = OvxUtils::SystemIO::Folder::GetFiles(folder, true);
    const CString packagePath = PackagePath(*output);
    const std::string packageText = Utf8(packagePath);

    CString openError;
    const OvxComponent::ExtensionContainerOpener opener = [&]() {
        auto opened = OvxComponent::ExtensionContainer::Open(packagePath, VdcContainer::ZipFile::OpenMode::Create);
        if (!opened) {
            openError = opened.ErrorText();
            return OvxComponent::ExtensionContainer();
        }
        return std::move(opened).Value();
    };
    // The trailing separator makes the paths relative to the folder itself.
    OvxComponent::ExtensionContainer package = OvxComponent::PackFiles(opener, data, folder + u"/", files);
    if (!package) {
        const std::string why = openError.IsEmpty() ? "the files under " + folderText + " cannot be added"
                                                    : Utf8(openError);
        return ReportError(context, "pack", packageText, why, kExitFailure);
    }
    if (parser.Has("--reproducible")) {
        package.Container().SetReproducible(true);
        auto info = package.GetInfo()->Modify();
        info->SetInstanceID(DeriveInstanceID(data.DocumentID, data.Version));
        package.SetInfo(std::move(info));
    }
    if (auto saved = package.Close(); !saved) {
        return ReportError(context, "pack", packageText, Utf8(saved.ErrorText()), kExitFailure);
    }
    context.out << "packed " << files.size() << (files.size() == 1 ? " file" : " files") << " into " << packageText
                << "\n";
    return kExitOk;
}

}  // namespace Ovxext
