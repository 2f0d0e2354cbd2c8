// HostSession: a small host application around an extension manager, as `ovxext demo`
// and `ovxext host` run it: the manager's log shown as it is written, a main-thread loop,
// the simple file installer for one extension type, and UI and resource callbacks that
// say what they were given.
#pragma once

#include "main_thread_loop.h"

#include "OvxComponent/extensions/manager/extension_manager.h"

#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <optional>
#include <vector>

namespace Ovxext {

// The extension type that ovxext's hosts load, and the add-on name of their UI files.
inline const CString kHostExtensionType = u"application/x-vnd.ovx.demo-tool";
inline const CString kHostAddonName = u"OvxDemo";

struct HostOptions {
    CString dataFolder;
    std::vector<CString> sourceFolders;
    OvxComponent::ExtensionAppSupport app = OvxComponent::ExtensionAppSupport::Atlas;
    std::vector<CString> features;
    OvxComponent::TrustPolicy trust;  // off unless --trust or --trust-mode
    // A safe start: every extension off for this run but the pinned ones.
    std::optional<std::vector<OvxUtils::Guid>> safeStart;
    bool timings = false;  // list the slowest calls into extensions at the end
};

class HostSession {
public:
    HostSession(std::ostream& out, HostOptions options);
    ~HostSession();

    // Makes the manager and registers the installer and callbacks. With scanFirst, the
    // source folders are tracked (and scanned) before loading starts, which is how a host
    // takes updates of extensions that it loaded in an earlier run. Fails when the trust
    // policy's keys cannot be used; then nothing is started.
    OvxUtils::Result<void> Start(bool scanFirst = false);
    // Runs the main thread until nothing has happened for a moment.
    void Settle();
    // Ends the session: everything unloaded, the failure report shown; the number of
    // entries in the report.
    std::size_t Finish();

    OvxComponent::IExtensionManager& Manager() { return *m_manager; }
    MainThreadLoop& Loop() { return m_loop; }
    // The extensions loaded now, as "{DOCUMENT-ID} VERSION", sorted.
    std::vector<std::string> Loaded() const;

private:
    std::ostream& m_out;
    HostOptions m_options;
    MainThreadLoop m_loop;
    std::shared_ptr<OvxComponent::IExtensionManager> m_manager;
    std::shared_ptr<const OvxComponent::IExtensionInstaller> m_registration;
    std::shared_ptr<std::set<std::string>> m_loaded = std::make_shared<std::set<std::string>>();
};

}  // namespace Ovxext
