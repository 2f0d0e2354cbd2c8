// ovxext demo: the life of extensions in a host, step by step, in a temporary folder:
// sample packages are packed and dropped into a watched source folder, loaded, refused,
// removed and updated, with the manager's log shown as it is written.

#include "argument_parser.h"
#include "commands.h"
#include "host_session.h"

#include "OvxComponent/extensions/format/extension_packing.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <chrono>
#include <filesystem>
#include <random>

namespace Ovxext {

namespace {

namespace fs = std::filesystem;
namespace SystemIO = OvxUtils::SystemIO;
using namespace OvxComponent;
using namespace std::chrono_literals;

constexpr const char* kHelp =
    "usage: ovxext demo [--keep DIR]\n"
    "\n"
    "Walks through the life of extensions in a host: packs sample extensions, starts an\n"
    "extension manager over a watched source folder, drops packages in and takes them away,\n"
    "and shows the manager's log as it is written and the loaded extensions after each step.\n"
    "Works in a temporary folder, removed at the end.\n"
    "\n"
    "options:\n"
    "  --keep DIR   work in DIR (which must not exist) and keep it\n"
    "\n"
    "exit codes: 0 done, 2 usage error, 3 the working folder cannot be made\n";

struct Sample {
    const char* name;
    OvxUtils::Guid id;
    OvxUtils::Version version;
    ExtensionAppSupport app;
    std::vector<std::pair<CString, std::string>> files;  // below content/
};

const OvxUtils::Guid kToolbox(0x0D3E0001, 0x7A1B, 0x4C2D, {0x8E, 0x3F, 0x10, 0x21, 0x32, 0x43, 0x54, 0x65});
const OvxUtils::Guid kLegacy(0x0D3E0002, 0x7A1B, 0x4C2D, {0x8E, 0x3F, 0x10, 0x21, 0x32, 0x43, 0x54, 0x65});
const OvxUtils::Guid kPalette(0x0D3E0003, 0x7A1B, 0x4C2D, {0x8E, 0x3F, 0x10, 0x21, 0x32, 0x43, 0x54, 0x65});

Sample Toolbox() {
    return {"Toolbox", kToolbox, {1, 0}, ExtensionAppSupport::Atlas,
            {{u"Toolbox/tools.txt", "brush, smudge, clone\n"},
             {u"Toolbox/appui.xslt", "<xsl:stylesheet version=\"1.0\"/>\n"},
             {u"Toolbox/config.xml", "<config/>\n"},
             {u"Toolbox/" + kHostAddonName + u"/addon", ""}}};
}
Sample Legacy() {
    return {"Legacy Panel", kLegacy, {3, 1}, ExtensionAppSupport::Delta, {{u"panel.txt", "panel\n"}}};
}
Sample Palette(int major) {
    return {"Palette", kPalette, {major, 0}, ExtensionAppSupport::Atlas,
            {{u"palette.txt", "palette " + std::to_string(major) + "\n"}}};
}


class Demo {
public:
    Demo(const CommandContext& context, CString work)
        : m_context(context), m_out(context.out), m_work(std::move(work)), m_data(Combine(u"data")),
          m_source(Combine(u"source")), m_staging(Combine(u"staging")) {}

    int Run() {
        for (const CString& folder : {m_data, m_source, m_staging}) {
            if (auto made = SystemIO::Folder::EnsureExists(folder); !made) {
                return ReportError(m_context, "demo", Utf8(m_work), Utf8(made.ErrorText()), kExitFailure);
            }
        }
        m_out << "ovxext demo: the life of extensions in a host\n\n"
              << "work folder:   " << Utf8(m_work) << "\n"
              << "data folder:   " << Utf8(m_data) << " (the manager works in its x64 folder)\n"
              << "source folder: " << Utf8(m_source) << " (watched)\n"
              << "The host is the application Atlas. It registers the simple file installer for\n"
              << "extensions of type " << kHostExtensionType.ToUtf8() << " and takes UI modifications\n"
              << "and resources under the add-on name " << kHostAddonName.ToUtf8() << ".\n";

        Step("1. Start-up: MakeExtensionManager, RegisterInstaller, the UI and resource callbacks,\n"
             "   StartLoading, FinishLoading, TrackSourceFolders. Nothing is installed yet.");
        auto session = std::make_unique<HostSession>(m_out, Options());
        static_cast<void>(session->Start());  // no trust policy: nothing to fail
        ShowLoaded(*session);

        Step("2. Toolbox 1.0 is dropped into the source folder: the manager unpacks it, loads it\n"
             "   through the installer and hands its UI and resource files to the host.");
        Drop(Toolbox(), u"toolbox.OrvexExtension");
        Await(*session, [&] { return IsLoaded(*session, kToolbox); });
        ShowLoaded(*session);

        Step("3. Legacy Panel is dropped. It requires the application Delta, so the manager refuses it\n"
             "   and unpacks nothing.");
        Drop(Legacy(), u"legacy-panel.OrvexExtension");
        AwaitRescan(*session);
        ShowLoaded(*session);

        Step("4. Palette 1.0 is dropped, into a subfolder: source folders are watched recursively.");
        Drop(Palette(1), u"colors/palette.OrvexExtension");
        Await(*session, [&] { return IsLoaded(*session, kPalette); });
        ShowLoaded(*session);

        Step("5. Toolbox's package is deleted: the manager unloads Toolbox, the host reloads its UI,\n"
             "   and the installed copy is deleted.");
        SystemIO::File::Delete(Combine(u"source/toolbox.OrvexExtension"));
        Await(*session, [&] { return !IsLoaded(*session, kToolbox); });
        session->Settle();
        ShowLoaded(*session);

        Step("6. Palette 2.0 replaces Palette 1.0 while the host runs. A document ID that has been\n"
             "   loaded keeps its record until UnloadAll, so the newer package is refused with\n"
             "   \"Extension already loaded.\" and Palette 1.0 stays loaded.");
        Drop(Palette(2), u"colors/palette.OrvexExtension");
        AwaitRescan(*session);
        ShowLoaded(*session);

        Step("7. Taking the update: the host unloads everything and makes a new manager that\n"
             "   scans its source folders before it starts loading. Palette 2.0 replaces 1.0 on\n"
             "   disk and is loaded; Legacy Panel is refused again.");
        session->Finish();
        session = std::make_unique<HostSession>(m_out, Options());
        static_cast<void>(session->Start(true));  // no trust policy: nothing to fail
        ShowLoaded(*session);

        Step("8. Shutdown: UnloadAll, then the failure report that a host shows its user.");
        session->Finish();
        m_out << "\nInstalled below " << Utf8(m_data) << ":\n";
        for (const CString& file : SystemIO::Folder::GetFiles(SystemIO::Path::Combine(m_data, u"x64"), true)) {
            m_out << "  " << Utf8(file.Mid(m_data.GetLength() + 1)) << "\n";
        }
        return kExitOk;
    }

private:
    CString Combine(const CString& relative) const { return SystemIO::Path::Combine(m_work, relative); }
    HostOptions Options() const { return {m_data, {m_source}, ExtensionAppSupport::Atlas, {u"brushes"}, {}, {}, false}; }

    void Step(const char* text) { m_out << "\n== " << text << "\n"; }

    // Packs the sample outside the source folder, then moves the finished package in, as
    // a download or an installer would.
    void Drop(const Sample& sample, const CString& name) {
        const CString folder = SystemIO::Path::Combine(m_staging, CString::FromUtf8(sample.name));
        SystemIO::Folder::DeleteRecursive(folder, true);
        std::vector<CString> files;
        for (const auto& [relative, bytes] : sample.files) {
            const CString file = SystemIO::Path::Combine(folder, relative);
            auto written = SystemIO::Folder::EnsureExists(SystemIO::Path::GetParentFolder(file));
            if (written) written = SystemIO::File::WriteAllBytes(file, bytes);
            if (!written) {
                m_out << "  (the sample " << sample.name << " could not be written: " << Utf8(written.ErrorText())
                      << ")\n";
                return;
            }
            files.push_back(file);
        }
        ExtensionData data;
        data.DocumentID = sample.id;
        data.Version = sample.version;
        data.ExtensionType = kHostExtensionType;
        data.Title = MultiLanguageString(CString::FromUtf8(sample.name));
        data.requirements.AppList = {sample.app};
        data.requirements.PlatformSupport = {OvxUtils::runtime_bits::x64};
        data.requirements.AppVersion = {OvxUtils::Version{18}, OvxUtils::Version{19}};
        const CString target = SystemIO::Path::Combine(m_source, name);
        if (auto made = SystemIO::Folder::EnsureExists(SystemIO::Path::GetParentFolder(target)); !made) {
            m_out << "  (" << Utf8(name) << " could not be dropped: " << Utf8(made.ErrorText()) << ")\n";
            return;
        }
        // Packed under a temporary name that the manager passes over, and then renamed into
        // place, as a download or an installer would drop it.
        auto dropped = SystemIO::File::ReplaceAtomically(target, [&](const CString& temporary) {
            ExtensionContainer package = PackFiles(
                [&] {
                    auto opened = ExtensionContainer::Open(temporary, VdcContainer::ZipFile::OpenMode::Create);
                    return opened ? std::move(*opened) : ExtensionContainer();
                },
                data, folder + CString(1, SystemIO::Path::Separator()), files);
            if (!package) return OvxUtils::Result<void>(OvxUtils::Error{u"the sample could not be packed"});
            return package.Close();
        });
        if (!dropped) {
            m_out << "  (the sample " << sample.name << " could not be dropped: " << Utf8(dropped.ErrorText()) << ")\n";
            return;
        }
        m_out << "  (dropped " << Utf8(name) << ", " << sample.name << " " << sample.version.ToString().ToUtf8()
              << ")\n";
    }

    template <class Condition>
    void Await(HostSession& session, Condition condition) {
        if (!session.Loop().RunUntil(condition, 30s)) m_out << "  (the change did not arrive within 30 s)\n";
        session.Settle();
    }
    void AwaitRescan(HostSession& session) {
        const std::size_t before = session.Loop().RunCount();
        Await(session, [&] { return session.Loop().RunCount() > before; });
    }

    static bool IsLoaded(HostSession& session, const OvxUtils::Guid& id) {
        return session.Manager().FindExtension(id).has_value();
    }

    void ShowLoaded(const HostSession& session) {
        const std::vector<std::string> loaded = session.Loaded();
        m_out << "loaded:";
        if (loaded.empty()) m_out << " (none)";
        for (const std::string& extension : loaded) m_out << "\n  " << extension << " (" << NameOf(extension) << ")";
        m_out << "\n";
    }
    static std::string NameOf(const std::string& extension) {
        for (const Sample& sample : {Toolbox(), Legacy(), Palette(1)}) {
            if (extension.starts_with(sample.id.ToString().ToUtf8())) return sample.name;
        }
        return "?";
    }

    const CommandContext& m_context;
    std::ostream& m_out;
    CString m_work;
    CString m_data;
    CString m_source;
    CString m_staging;
};

CString TemporaryWorkFolder() {
    std::random_device random;
    const fs::path folder = fs::temp_directory_path() / ("ovxext-demo-" + std::to_string(random()));
    const std::u8string utf8 = folder.u8string();
    return CString::FromUtf8(std::string(utf8.begin(), utf8.end()));
}

}  // namespace

int RunDemo(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddOption("--keep");
    if (!parser.Parse(context.args)) return ReportUsage(context, "demo", parser.Error());
    if (!parser.Positional().empty()) return ReportUsage(context, "demo", "unexpected argument '" + parser.Positional()[0] + "'");
    const auto keep = parser.Value("--keep");
    const CString work = keep ? FromUtf8(*keep) : TemporaryWorkFolder();
    if (SystemIO::Folder::Exists(work) || SystemIO::File::Exists(work)) {
        return ReportError(context, "demo", Utf8(work), "already exists; give a folder that does not", kExitUsage);
    }
    const int code = Demo(context, work).Run();
    if (!keep) SystemIO::Folder::DeleteRecursive(work, true);
    return code;
}

}  // namespace Ovxext
