/// \file
/// IExtensionManager: what a host holds to find, unpack, load, track and unload its
/// extensions, and MakeExtensionManager, which makes one.
///
/// A host makes one manager, registers its installers and callbacks, then calls
/// StartLoading, FinishLoading and TrackSourceFolders, and at shutdown UnloadAll. Every
/// operation is to be called on the host's main thread; expected failures are values and
/// log lines, never exceptions.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/format/extension_app_support.h"
#include "OvxComponent/extensions/loading/extension_installer.h"
#include "OvxComponent/extensions/loading/host_callbacks.h"
#include "OvxComponent/extensions/log/extension_log_entry.h"
#include "OvxComponent/extensions/trust/trust_policy.h"
#include "OvxComponent/platform/array_view.h"
#include "OvxComponent/platform/delegate.h"
#include "OvxComponent/platform/result.h"
#include "OvxComponent/platform/stream/named_out_stream.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace OvxComponent {

/// A folder in which the manager looks for packages, recursively, and whose changes it
/// tracks. The label is the host's own; the manager only carries it.
struct ExtensionSourceFolder {
    /// The host's own name for the folder.
    CString label;
    /// The folder's path.
    CString folder;

    /// Equal when label and folder are.
    friend bool operator==(const ExtensionSourceFolder&, const ExtensionSourceFolder&) = default;
};

/// Receives the log entries of the failed subjects and the log's name.
using FailureReport = std::function<void(OvxUtils::array_view<const ExtensionLogEntry> entries, CString logName)>;

/// What a host holds to find, unpack, load, track and unload its extensions.
struct IExtensionManager {
    /// Unloads one extension through its installer; skipUiReload leaves the host's UI as it is.
    /// \param state The loaded extension's state.
    /// \param skipUiReload Whether to leave the host's UI as it is.
    /// \return The installer's answer, or why it was not asked.
    virtual UnloadOutcome UnloadExtension(std::shared_ptr<IExtensionState> state, bool skipUiReload) = 0;
    /// The state of a loaded extension; nothing when it is not loaded.
    /// \param documentId The extension's document ID.
    /// \return The state, or nothing.
    virtual std::optional<std::shared_ptr<IExtensionState>> FindExtension(const OvxUtils::Guid& documentId) = 0;
    /// Registers installer for every one of mimeTypes, all or nothing. Keep the returned
    /// pointer as long as the installer shall serve: releasing its last copy unregisters
    /// the installer and unloads its extensions. Null when nothing was registered (the
    /// reason is in the log).
    /// \param mimeTypes The extension types the installer serves.
    /// \param installer The installer.
    /// \return The registration, or null.
    virtual std::shared_ptr<const IExtensionInstaller> RegisterInstaller(
        std::set<CString> mimeTypes, std::shared_ptr<const IExtensionInstaller> installer) = 0;
    /// The data folder joined with "x64", where extensions are unpacked and the log lies.
    /// \return The platform folder.
    virtual CString GetPlatformFolder() const = 0;
    /// The source folders the manager was made with.
    /// \return The source folders.
    virtual std::vector<ExtensionSourceFolder> GetSourceFolders() const = 0;
    /// Lets installers load, and loads what is already unpacked.
    virtual void StartLoading() = 0;
    /// Starts watching every source folder, scanning each once at once.
    virtual void TrackSourceFolders() = 0;
    ///@{
    /// Sets (clears) the UI modification flag handed to the UI modifier.
    virtual void SetUiModificationFlag() = 0;
    virtual void ClearUiModificationFlag() = 0;
    ///@}
    /// Calls visitor once with the UI modification files of every loaded extension, all together.
    /// \param visitor Receives the files.
    /// \return What visitor answered.
    virtual bool VisitUiModifications(UiModifier visitor) = 0;
    /// Installs (or, empty, removes) the UI modifier and the UI reload callback. The first
    /// modifier set gets the files of the extensions loaded before it at once.
    /// \param modifier The UI modifier, or empty.
    /// \param reload Reloads the host's UI, or empty.
    virtual void SetUiHandlers(UiModifier modifier, std::function<void()> reload) = 0;
    /// Calls visitor once with the resource files of every loaded extension.
    /// \param visitor Receives the files.
    /// \return What visitor answered.
    virtual bool VisitResources(ResourceLoader visitor) = 0;
    /// Installs (or, empty, removes) the resource loader; the first one set gets the files
    /// of the extensions loaded before it at once.
    /// \param loader The resource loader, or empty.
    virtual void SetResourceLoader(ResourceLoader loader) = 0;
    /// Calls report once with the log entries of every subject that failed and has not been
    /// acknowledged, oldest first, and the name of the log's output.
    /// \param report Receives the entries and the log's name.
    virtual void ReportFailures(FailureReport report) = 0;
    /// The notifier is called, with the manager, whenever failures are recorded after a
    /// loading pass or a rescan, and at once when some are recorded already.
    /// \param notifier The notifier, or empty to remove it.
    virtual void SetFailureNotifier(std::function<void(std::shared_ptr<IExtensionManager>)> notifier) = 0;
    /// Acknowledges the recorded failures: they are no longer reported.
    virtual void ClearFailures() = 0;
    /// Ends the loading phase: from now on a load that does not happen is a failure.
    virtual void FinishLoading() = 0;
    /// Unloads every extension; one outcome per extension.
    /// \return The outcomes.
    virtual std::vector<UnloadOutcome> UnloadAll() = 0;
    /// Always empty in this version.
    /// \return An empty list.
    virtual std::vector<CString> GetPendingItems() const = 0;
    virtual ~IExtensionManager() = default;
};

/// Makes a manager with no trust policy: every package may load.
/// \param rootFolder The host's data folder; the manager works in its "x64" folder.
/// \param sourceFolders The folders to search for packages and track.
/// \param dispatchToMainThread Carries work to the host's main thread; may be called on the
/// tracking thread.
/// \param requirementText Answers whether the host offers a named feature.
/// \param appSupported Answers whether the host is an application.
/// \param addonNames The names of the add-on folders that extensions may carry.
/// \param logStream Where the log is written, with the name the failure report shows.
/// \return The manager.
OVX_API std::shared_ptr<IExtensionManager> MakeExtensionManager(
    CString rootFolder, OvxUtils::array_view<const ExtensionSourceFolder> sourceFolders,
    std::function<void(OvxUtils::Delegate<void()>)> dispatchToMainThread, std::function<bool(CString)> requirementText,
    std::function<bool(ExtensionAppSupport)> appSupported, OvxUtils::array_view<const CString> addonNames,
    OvxUtils::NamedOutStream logStream);

/// The same, with a trust policy that decides which packages may be unpacked and loaded by
/// who signed them (TrustPolicy). Fails, naming the item, when a trusted key or key file
/// cannot be read or parsed, when a revoked key ID is not one, or when Require is given no
/// key to trust. With TrustMode::Off it makes the same manager as the function above.
/// \param rootFolder The host's data folder; the manager works in its "x64" folder.
/// \param sourceFolders The folders to search for packages and track.
/// \param dispatchToMainThread Carries work to the host's main thread.
/// \param requirementText Answers whether the host offers a named feature.
/// \param appSupported Answers whether the host is an application.
/// \param addonNames The names of the add-on folders that extensions may carry.
/// \param logStream Where the log is written, with the name the failure report shows.
/// \param trustPolicy Which packages may run, by who signed them.
/// \return The manager, or why the policy cannot be used.
OVX_API OvxUtils::Result<std::shared_ptr<IExtensionManager>> MakeExtensionManager(
    CString rootFolder, OvxUtils::array_view<const ExtensionSourceFolder> sourceFolders,
    std::function<void(OvxUtils::Delegate<void()>)> dispatchToMainThread, std::function<bool(CString)> requirementText,
    std::function<bool(ExtensionAppSupport)> appSupported, OvxUtils::array_view<const CString> addonNames,
    OvxUtils::NamedOutStream logStream, const TrustPolicy& trustPolicy);

}  // namespace OvxComponent
