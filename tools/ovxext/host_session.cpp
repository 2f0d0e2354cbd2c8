// HostSession: the host that ovxext demo and host run around a manager.
#include "host_session.h"

#include "OvxComponent/extensions/manager/extension_timings.h"
#include "OvxComponent/extensions/manager/quarantine.h"

#include "command_context.h"
#include "console_log_stream.h"

#include "OvxComponent/extensions/loading/simple_file_extension_installer.h"
#include "platform/system_io/path.h"

#include <algorithm>

namespace Ovxext {

namespace {

namespace Path = OvxUtils::SystemIO::Path;
using namespace OvxComponent;
using namespace std::chrono_literals;

// ".../{DOCUMENT-ID}/VERSION/unpacked/content" as "{DOCUMENT-ID} VERSION", shown by the
// display rule.
std::string ExtensionOf(const CString& contentFolder) {
    const CString versionFolder = Path::GetParentFolder(Path::GetParentFolder(contentFolder));
    return Utf8(Path::GetFileName(Path::GetParentFolder(versionFolder))) + " " + Utf8(Path::GetFileName(versionFolder));
}

std::string FileList(const std::vector<CString>& files) {
    std::string list;
    for (const CString& file : files) list += (list.empty() ? "" : ", ") + Utf8(Path::GetFileName(file));
    return list;
}

}  // namespace

HostSession::HostSession(std::ostream& out, HostOptions options) : m_out(out), m_options(std::move(options)) {}

HostSession::~HostSession() {
    m_registration.reset();
    m_manager.reset();
}

OvxUtils::Result<void> HostSession::Start(bool scanFirst) {
    std::vector<ExtensionSourceFolder> sources;
    for (const CString& folder : m_options.sourceFolders) sources.push_back({u"source", folder});
    const CString addonNames[] = {kHostAddonName};
    auto dispatch = [this](OvxUtils::Delegate<void()> work) { m_loop.Post(std::move(work)); };
    auto features = [offered = m_options.features](CString feature) {
        return std::find(offered.begin(), offered.end(), feature) != offered.end();
    };
    auto apps = [app = m_options.app](ExtensionAppSupport candidate) { return candidate == app; };
    auto made = MakeExtensionManager(m_options.dataFolder, sources, dispatch, features, apps, addonNames,
                                     {u"ovxext console", std::nullopt, std::make_shared<ConsoleLogStream>(m_out, "  log ")},
                                     m_options.trust);
    if (!made) return made.TakeError();
    m_manager = std::move(*made);
    if (m_options.safeStart) {
        StartSafely(*m_manager, *m_options.safeStart);
        m_out << "  host starts safely: extensions are off for this run"
              << (m_options.safeStart->empty() ? "" : " but the pinned ones") << "\n";
    }

    std::ostream& out = m_out;
    auto loaded = m_loaded;
    m_registration = m_manager->RegisterInstaller(
        {kHostExtensionType},
        MakeSimpleFileExtensionInstaller(
            {kHostExtensionType},
            [&out, loaded](CString content) -> std::shared_ptr<void> {
                out << "  host loads " << ExtensionOf(content) << "\n";
                loaded->insert(ExtensionOf(content));
                return std::make_shared<CString>(content);
            },
            [&out, loaded](CString content, std::shared_ptr<void>& handle) -> OvxUtils::optional<UnloadResult> {
                out << "  host unloads " << ExtensionOf(content) << "\n";
                loaded->erase(ExtensionOf(content));
                handle.reset();
                return UnloadResult::Unloaded;
            },
            nullptr));
    m_manager->SetUiHandlers(
        [&out](const std::vector<UiModification>& application, const std::vector<UiModification>& user, bool) {
            std::vector<CString> files;
            for (const auto& list : {application, user}) {
                for (const UiModification& modification : list) files.push_back(modification.path);
            }
            out << "  host applies UI modifications: " << FileList(files) << "\n";
            return true;
        },
        [&out] { out << "  host reloads its UI\n"; });
    m_manager->SetResourceLoader([&out](const std::vector<CString>& files) {
        out << "  host loads resources: " << FileList(files) << "\n";
        return true;
    });
    m_manager->SetFailureNotifier([&out](std::shared_ptr<IExtensionManager>) { out << "  host: failures were recorded\n"; });

    if (scanFirst) {
        m_manager->TrackSourceFolders();
        Settle();
    }
    m_manager->StartLoading();
    m_manager->FinishLoading();
    if (!scanFirst) m_manager->TrackSourceFolders();
    Settle();
    // The extensions kept off because an earlier run died in them, with how to let them in.
    for (const QuarantinedExtension& extension : QuarantinedExtensions(*m_manager)) {
        m_out << "  host keeps " << Utf8(extension.documentId.ToString()) << " off: it died in its "
              << Utf8(extension.call) << " call (ovxext quarantine release --data DIR "
              << Utf8(extension.documentId.ToString()) << ")\n";
    }
    return {};
}

void HostSession::Settle() { m_loop.RunUntilQuiet(400ms, 30s); }

std::size_t HostSession::Finish() {
    if (!m_manager) return 0;
    m_manager->UnloadAll();
    if (m_options.timings) {
        constexpr std::size_t kSlowest = 10;
        const auto timings = ExtensionTimings(*m_manager);
        m_out << "  slowest calls into extensions:" << (timings.empty() ? " none\n" : "\n");
        for (std::size_t i = 0; i < timings.size() && i < kSlowest; ++i) {
            const auto& timing = timings[i];
            const auto micros = [](std::chrono::nanoseconds time) {
                return std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(time).count()) + " us";
            };
            m_out << "    " << Utf8(timing.documentId.ToString()) << " " << Utf8(timing.call) << ": " << timing.calls
                  << (timing.calls == 1 ? " call, " : " calls, ") << micros(timing.total) << " in all, the longest "
                  << micros(timing.longest) << "\n";
        }
    }
    std::size_t failedEntries = 0;
    m_manager->ReportFailures([&](OvxUtils::array_view<const ExtensionLogEntry> entries, CString logName) {
        failedEntries = entries.size();
        if (entries.empty()) {
            m_out << "  failure report (" << Utf8(logName) << "): nothing failed\n";
            return;
        }
        // The messages come escaped from the log; the names are its keys, as they are.
        m_out << "  failure report (" << Utf8(logName) << "):\n";
        for (const ExtensionLogEntry& entry : entries) {
            m_out << "    " << Utf8(LevelText(entry.level)) << " ";
            if (entry.name) {
                m_out << '"' << Utf8(*entry.name) << '"';
            } else {
                m_out << Utf8(entry.guid->ToString());
            }
            m_out << " " << Utf8(entry.message) << "\n";
        }
    });
    m_registration.reset();
    m_manager.reset();
    return failedEntries;
}

std::vector<std::string> HostSession::Loaded() const { return {m_loaded->begin(), m_loaded->end()}; }

}  // namespace Ovxext
