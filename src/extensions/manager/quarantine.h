// Quarantine: the extensions that took the host down, kept off until they are released.
//
// At the start after a session that died in a call into an extension (the session marker
// it left says which, see CallGuard), the extension's crash is counted; once it has taken
// the host down as often as the threshold says (once, unless the host says otherwise), it
// is in quarantine: it is not loaded, and an Error entry under its document ID names the
// call, the time and how to release it, so that the failure report shows it. Everything
// else loads as usual. The quarantine holds until the extension's installed copy changes (a
// new version, or a changed package installed again), or the host or the user releases it.
//
// Kept in the platform folder ("orvex_extensions.quarantine"), written atomically at each
// change; the manager and `ovxext quarantine` read and write it. A damaged file reads as
// empty. Used on the main thread only.
#pragma once

#include "OvxComponent/extensions/manager/quarantine.h"
#include "extensions/loading/call_guard.h"
#include "extensions/log/extension_log.h"
#include "platform/system_io/file.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace OvxComponent {

class Quarantine {
public:
    using FileIdentity = OvxUtils::SystemIO::File::FileIdentity;

    struct Entry {
        ExtensionCall call = ExtensionCall::Load;
        std::int64_t started = 0;
        int crashes = 0;
        std::optional<FileIdentity> copy;  // the installed copy when it last crashed
    };

    // The quarantine of the platform folder of dataFolder; log may be null (ovxext).
    Quarantine(ExtensionLog* log, const CString& platformFolder);

    // Counts the crash of a call; the extension's installed copy is the one it ran from.
    void RecordCrash(const InFlightCall& crash);
    // The extensions in quarantine now, by document ID.
    std::vector<QuarantinedExtension> List();
    // Lets the extension load again; false when it was not in quarantine.
    bool Release(const OvxUtils::Guid& documentId);
    void SetThreshold(int crashes) { m_threshold = crashes < 1 ? 1 : crashes; }

    // Logs and answers the refusal of an extension in quarantine; an extension whose
    // installed copy changed since it crashed is let go first.
    std::optional<CString> Refuse(const OvxUtils::Guid& documentId);

    static std::string Format(const std::map<OvxUtils::Guid, Entry>& entries);
    static std::optional<std::map<OvxUtils::Guid, Entry>> Parse(std::string_view text);

private:
    void Load();
    void Save();
    std::optional<FileIdentity> InstalledCopyOf(const OvxUtils::Guid& documentId) const;
    bool IsQuarantined(const Entry& entry) const { return entry.crashes >= m_threshold; }

    ExtensionLog* m_log;
    CString m_platformFolder;
    CString m_file;
    int m_threshold = 1;
    bool m_loaded = false;
    std::map<OvxUtils::Guid, Entry> m_entries;
};

}  // namespace OvxComponent
