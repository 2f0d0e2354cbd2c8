// ovxext pack: builds an extension package from a folder, with the metadata given as
// options, in a metadata file, or both (options win).

#include "argument_parser.h"
#include "commands.h"
#include "instance_id.h"
#include "metadata_file.h"
#include "metadata_values.h"
#include "pack_selection.h"
#include "signing.h"

#include "OvxComponent/extensions/format/extension_packing.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"


namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext pack FOLDER -o FILE [options]\n"
    "\n"
    "Packs the files under FOLDER into the package FILE (.OrvexExtension is appended when\n"
    "FILE has another extension or none), below content/ with paths relative to FOLDER.\n"
    "\n"
    "options:\n"
    "  -o, --output FILE      the package to write (required)\n"
    "  --reproducible         same input, same bytes: sorted entries, fixed times, and an\n"
    "                         instance ID derived from the document ID and version\n"
    "  --metadata META.xml    read the metadata from this file first (see docs/ovxext.md)\n"
    "  --id GUID              document ID (required here, in the metadata file, or in the\n"
    "                         project file that 'ovxext init FOLDER' writes)\n"
    "  --version V            extension version, for example 1.2.0 (default 1.0)\n"
    "  --type MIME            extension type: the MIME type of the host's installer (required,\n"
    "                         here or in the metadata file)\n"
    "  --title T              title\n"
    "  --description D        description\n"
    "  --notes N              notes\n"
    "  --app NAMES            host applications: Atlas, Beacon, Cinder or Delta, one or a\n"
    "                         comma-separated list (repeatable; at least one, here or in the\n"
    "                         metadata file)\n"
    "  --platform P           x32 or x64, or x32,x64 (repeatable; default x64)\n"
    "  --suite-min V          lowest suite version (inclusive; '*' for none)\n"
    "  --suite-max V          suite version bound (exclusive; '*' for none)\n"
    "  --windows-min V        lowest Windows version (inclusive; '*' for none)\n"
    "  --windows-max V        Windows version bound (exclusive; '*' for none)\n"
    "  --keyword K            a keyword (repeatable)\n"
    "  --creator-tool T       the tool that made the package (default ovxext)\n"
    "  --sign SECRET          sign the package with this secret key ('ovxext keygen'; an\n"
    "                         encrypted key's password is asked on the terminal, or taken\n"
    "                         from OVXEXT_KEY_PASSWORD when there is none)\n"
    "  --force                replace FILE when it exists\n"
    "  --dry-run              list the entries that would be packed, and write nothing\n"
    "  --quiet                print nothing but errors\n"
    "  --follow-links         pack the files that symbolic links inside FOLDER point to\n"
    "                         (otherwise any link is refused; links out of FOLDER always are)\n"
    "\n"
    "The project file FOLDER/ovxext.xml ('ovxext init'), then --metadata, then the options give\n"
    "the metadata; a list option given on the command line replaces the file's list.\n"
    "Left out: version-control folders (.git, .svn, ...), system and editor debris (.DS_Store,\n"
    "Thumbs.db, name~, .name.swp, ...), what FOLDER/.ovxextignore names (gitignore's rules),\n"
    "the project and ignore files, and FILE itself. The package is written\n"
    "under a temporary name, read back as a host reads it, and only then named FILE.\n"
    "\n"
    "exit codes: 0 packed, 2 usage error or metadata no host can accept, 3 a file or the\n"
    "secret key cannot be read, a link is refused, nothing is left to pack, or the package\n"
    "cannot be written\n";

// Applies the options to data.
OvxUtils::Result<void> ApplyOptions(const ArgumentParser& parser, OvxComponent::ExtensionData& data) {
    auto& requirements = data.requirements;
    if (auto id = parser.Value("--id")) {
        auto parsed = ParseGuid(*id);
        if (!parsed) return parsed.TakeError();
        data.DocumentID = *parsed;
    }
    if (auto version = parser.Value("--version")) {
        auto parsed = ParseVersion(*version);
        if (!parsed) return parsed.TakeError();
        data.Version = *parsed;
    }
    if (auto type = parser.Value("--type")) data.ExtensionType = FromUtf8(*type);
    if (auto title = parser.Value("--title")) data.Title.SetDefault(FromUtf8(*title));
    if (auto description = parser.Value("--description")) data.Description.SetDefault(FromUtf8(*description));
    if (auto notes = parser.Value("--notes")) data.Notes.SetDefault(FromUtf8(*notes));
    if (auto tool = parser.Value("--creator-tool")) data.CreatorTool = FromUtf8(*tool);
    if (parser.Has("--app")) {
        auto apps = ParseApps(parser.Values("--app"));
        if (!apps) return apps.TakeError();
        requirements.AppList = std::move(*apps);
    }
    if (parser.Has("--platform")) {
        auto platforms = ParsePlatforms(parser.Values("--platform"));
        if (!platforms) return platforms.TakeError();
        requirements.PlatformSupport = std::move(*platforms);
    }
    if (parser.Has("--keyword")) {
        data.Keywords.clear();
        for (const std::string& keyword : parser.Values("--keyword")) {
            data.Keywords.push_back(MultiLanguageString(FromUtf8(keyword)));
        }
    }
    const std::pair<const char*, std::optional<OvxUtils::Version>*> bounds[] = {
        {"--suite-min", &requirements.AppVersion.min},
        {"--suite-max", &requirements.AppVersion.max},
        {"--windows-min", &requirements.WinVersion.min},
        {"--windows-max", &requirements.WinVersion.max},
    };
    for (const auto& [option, bound] : bounds) {
        if (auto text = parser.Value(option)) {
            auto parsed = ParseBound(*text);
            if (!parsed) return parsed.TakeError();
            *bound = *parsed;
        }
    }
    return {};
}

// What every host checks before it reads a package, checked before anything is written.
OvxUtils::Result<void> CheckPackable(const OvxComponent::ExtensionData& data) {
    if (data.DocumentID.IsNull()) {
        return OvxUtils::Error{u"no document ID: give --id GUID, or run 'ovxext init FOLDER' once to make a project "
                               u"file that keeps one for every pack"};
    }
    if (data.ExtensionType.IsEmpty()) {
        return OvxUtils::Error{u"the extension type is required (--type MIME or <type> in the metadata file)"};
    }
    if (data.requirements.AppList.empty()) {
        return OvxUtils::Error{u"at least one application is required (--app NAME or <app> in the metadata file)"};
    }
    if (data.requirements.PlatformSupport.empty()) {
        return OvxUtils::Error{u"at least one platform is required (--platform x64)"};
    }
    if (auto suite = CheckRangeNotEmpty("suite version", data.requirements.AppVersion); !suite) return suite;
    if (auto windows = CheckRangeNotEmpty("Windows version", data.requirements.WinVersion); !windows) return windows;
    return CheckTextsWritable(data);
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

// Writes the package at path. The caller reads it back before it counts as written.
// With a seal, the package is signed as it is written.
OvxUtils::Result<void> WritePackage(const CString& path, const OvxComponent::ExtensionData& data, const CString& folder,
                                    const std::vector<CString>& files, bool reproducible,
                                    VdcContainer::SaveSeal* seal) {
    CString openError;
    const OvxComponent::ExtensionContainerOpener opener = [&]() {
        auto opened = OvxComponent::ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::Create);
        if (!opened) {
            openError = opened.ErrorText();
            return OvxComponent::ExtensionContainer();
        }
        return std::move(opened).Value();
    };
    // The final separator makes the paths relative to the folder itself.
    OvxComponent::ExtensionContainer package = OvxComponent::PackFiles(opener, data, folder + u"/", files);
    if (!package) {
        return OvxUtils::Error{openError.IsEmpty() ? u"the files under " + folder + u" cannot be added" : openError};
    }
    if (reproducible) {
        package.Container().SetReproducible(true);
        auto info = package.GetInfo()->Modify();
        info->SetInstanceID(DeriveInstanceID(data.DocumentID, data.Version));
        package.SetInfo(std::move(info));
    }
    package.Container().SetSaveSeal(seal);
    return package.Close();
}

// Opens the package as a host does: the container, its record and its requirements.
OvxUtils::Result<void> ReadBack(const CString& path) {
    auto package = OvxComponent::ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::ReadOnly);
    if (!package) return OvxUtils::Error{u"the package written cannot be opened again: " + package.ErrorText()};
    if (package->GetInfo() == nullptr) {
        return OvxUtils::Error{u"hosts could not read the package written: " + package->GetInfoError()};
    }
    return {};
}

}  // namespace

int RunPack(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    for (const char* flag : {"--reproducible", "--force", "--follow-links", "--dry-run", "--quiet"}) parser.AddFlag(flag);
    parser.AddOption("--output");
    parser.AddAlias("-o", "--output");
    for (const char* option : {"--metadata", "--id", "--version", "--type", "--title", "--description", "--notes",
                               "--suite-min", "--suite-max", "--windows-min", "--windows-max", "--creator-tool",
                               "--sign"}) {
        parser.AddOption(option);
    }
    for (const char* option : {"--app", "--platform", "--keyword"}) parser.AddOption(option, true);
    if (!parser.Parse(context.args)) return ReportUsage(context, "pack", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "pack", "expected one FOLDER to pack");
    const auto output = parser.Value("--output");
    if (!output) return ReportUsage(context, "pack", "-o FILE is required");
    const std::string& folderText = parser.Positional()[0];
    const CString folder = FromUtf8(folderText);
    if (!OvxUtils::SystemIO::Folder::Exists(folder)) {
        return ReportError(context, "pack", folderText, "no such folder", kExitFailure);
    }

    // The project file first, then a metadata file, then the options: each wins over
    // what came before.
    OvxComponent::ExtensionData data = DefaultData();
    const CString projectFile = OvxUtils::SystemIO::Path::Combine(folder, kProjectFileName);
    std::vector<std::string> metadataFiles;
    if (OvxUtils::SystemIO::File::Exists(projectFile)) metadataFiles.push_back(projectFile.ToUtf8());
    if (auto metadata = parser.Value("--metadata")) metadataFiles.push_back(*metadata);
    for (const std::string& file : metadataFiles) {
        if (auto read = ReadMetadataFile(file, data); !read) {
            return ReportError(context, "pack", file, Utf8(read.ErrorText()), kExitFailure);
        }
    }
    if (auto applied = ApplyOptions(parser, data); !applied) return ReportUsage(context, "pack", Utf8(applied.ErrorText()));
    if (auto packable = CheckPackable(data); !packable) return ReportUsage(context, "pack", Utf8(packable.ErrorText()));

    const CString packagePath = PackagePath(*output);
    const std::string packageText = Utf8(packagePath);
    const bool dryRun = parser.Has("--dry-run");
    if (!dryRun && OvxUtils::SystemIO::File::Exists(packagePath) && !parser.Has("--force")) {
        return ReportError(context, "pack", packageText, "exists already (--force replaces it)", kExitFailure);
    }
    auto files = SelectFilesToPack(folder, {parser.Has("--follow-links"), packagePath});
    if (!files) return ReportError(context, "pack", folderText, Utf8(files.ErrorText()), kExitFailure);
    if (dryRun) {
        for (const CString& file : *files) context.out << "content/" << Shown(RelativeName(folder, file)) << "\n";
        context.out << files->size() << (files->size() == 1 ? " file" : " files") << " would be packed into "
                    << packageText << "\n";
        return kExitOk;
    }

    // The key is read, its password asked, before anything is written.
    std::optional<OvxComponent::Minisign::SecretKey> key;
    if (const auto secret = parser.Value("--sign")) {
        auto read = ReadSecretKey(*secret);
        if (!read) return ReportError(context, "pack", *secret, Utf8(read.ErrorText()), kExitFailure);
        key = std::move(*read);
    }

    std::uint64_t bytes = 0;
    for (const CString& file : *files) bytes += OvxUtils::SystemIO::File::GetSize(file).value_or(0);
    if (IsLargeWork(files->size(), bytes)) {
        ReportProgress(context, "packing " + std::to_string(files->size()) + " files, " + std::to_string(bytes >> 20) +
                                    " MB, into " + packageText + " ...");
    }
    // Written under a temporary name and read back as a host reads it; only a package
    // that passes takes its name.
    const bool reproducible = parser.Has("--reproducible");
    std::optional<OvxComponent::Trust::SigningSeal> seal;
    if (key) {
        seal.emplace(*key, OvxComponent::Trust::TrustedCommentFor(SigningTime(reproducible), data.DocumentID,
                                                                  data.Version));
    }
    auto written = OvxUtils::SystemIO::File::ReplaceAtomically(packagePath, [&](const CString& temporary) {
        auto made = WritePackage(temporary, data, folder, *files, reproducible, seal ? &*seal : nullptr);
        if (made) made = ReadBack(temporary);
        if (made && key) {
            if (auto signer = CheckSigned(temporary, *key); !signer) made = signer.TakeError();
        }
        return made;
    });
    if (!written) return ReportError(context, "pack", packageText, Utf8(written.ErrorText()), kExitFailure);
    if (!parser.Has("--quiet")) {
        context.out << "packed " << files->size() << (files->size() == 1 ? " file" : " files") << " into "
                    << packageText << (key ? ", signed with key ID " + OvxComponent::Minisign::KeyIdText(key->id) : "")
                    << "\n";
    }
    return kExitOk;
}

}  // namespace Ovxext
