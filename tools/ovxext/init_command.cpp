// ovxext init: the project file of an extension's folder, holding the document ID that
// every later pack of the folder reuses, so that each pack is the same extension to a host.

#include "argument_parser.h"
#include "commands.h"
#include "metadata_values.h"
#include "pack_selection.h"

#include "OvxComponent/container/xml_document.h"
#include "OvxComponent/extensions/format/extension_app_support.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

namespace Ovxext {

namespace {

constexpr const char* kHelp =
    "usage: ovxext init FOLDER [--type MIME] [--app NAMES]... [--force]\n"
    "\n"
    "Writes the project file FOLDER/ovxext.xml with a new document ID, version 1.0 and the\n"
    "type and applications given. 'ovxext pack FOLDER' reads it first, so every package of\n"
    "the folder keeps that ID and hosts take a new pack as an update of the same extension.\n"
    "The file is a metadata file (see docs/ovxext.md) and is never packed itself.\n"
    "\n"
    "options:\n"
    "  --type MIME    the extension type\n"
    "  --app NAMES    host applications (Atlas,Beacon,Cinder,Delta; repeatable)\n"
    "  --force        replace an existing project file (and its document ID)\n"
    "\n"
    "exit codes: 0 written, 2 usage error, 3 the folder is missing or the file cannot be written\n";

using VdcContainer::XmlNS::ElementDef;
using VdcContainer::XmlNS::NamespaceDef;

ElementDef Name(const char* localName) { return ElementDef{NamespaceDef{"", ""}, localName}; }

}  // namespace

int RunInit(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddOption("--type");
    parser.AddOption("--app", true);
    parser.AddFlag("--force");
    if (!parser.Parse(context.args)) return ReportUsage(context, "init", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "init", "expected one FOLDER");
    auto apps = ParseApps(parser.Values("--app"));
    if (!apps) return ReportUsage(context, "init", Utf8(apps.ErrorText()));
    const std::string& folderText = parser.Positional()[0];
    const CString folder = FromUtf8(folderText);
    if (!OvxUtils::SystemIO::Folder::Exists(folder)) {
        return ReportError(context, "init", folderText, "no such folder", kExitFailure);
    }
    const CString file = OvxUtils::SystemIO::Path::Combine(folder, kProjectFileName);
    if (OvxUtils::SystemIO::File::Exists(file) && !parser.Has("--force")) {
        return ReportError(context, "init", Utf8(file),
                           "exists already; it keeps the extension's document ID (--force makes a new one)", kExitFailure);
    }

    const OvxUtils::Guid id = OvxUtils::Guid::Generate();
    const auto document = VdcContainer::XmlNS::Document::Create(Name("ovxext-metadata"));
    auto& root = document->Root();
    root.AddChildNode(Name("id"), id.ToString().ToUtf8());
    root.AddChildNode(Name("version"), "1.0");
    if (auto type = parser.Value("--type")) root.AddChildNode(Name("type"), *type);
    for (const auto app : *apps) root.AddChildNode(Name("app"), ToString(app).ToUtf8());
    if (auto written = OvxUtils::SystemIO::File::WriteAtomically(file, document->ToBytes()); !written) {
        const std::string reason = Utf8(OvxUtils::SystemErrorText(written.SystemCode()));
        return ReportError(context, "init", Utf8(file), "cannot be written: " + reason, kExitFailure);
    }
    context.out << "Document ID: " << Utf8(id.ToString()) << "\nwrote " << Utf8(file) << "\n";
    return kExitOk;
}

}  // namespace Ovxext
