// The fixed messages of the extension manager's log, each with its level and the kind of
// subject it is written under. The texts and levels are a contract with hosts that read
// the log, surprising ones included ("clone failed" is an error while "Error when
// unpacking" is only a warning); do not change them.
#pragma once

#include "OvxComponent/extensions/log/extension_log_entry.h"

#include <string_view>

namespace OvxComponent {

// A message written under a subject name (a path, a MIME type or "manager").
struct NameMessage {
    std::u16string_view text;
    ExtensionLogLevel level;
};

// A message written under an extension's document ID.
struct GuidMessage {
    std::u16string_view text;
    ExtensionLogLevel level;
};

namespace LogMessages {

inline constexpr std::u16string_view kManagerSubject = u"manager";

// Opening a package: under the path, then under the document ID.
inline constexpr NameMessage kOpeningPackage{u"opening...", ExtensionLogLevel::Information};
inline constexpr GuidMessage kOpening{u"opening...", ExtensionLogLevel::Information};
inline constexpr NameMessage kNoValidInfo{u"no valid extension info?", ExtensionLogLevel::Warning};
inline constexpr NameMessage kWithoutInfo{u"extension without info found", ExtensionLogLevel::Warning};

// Unpack decision.
inline constexpr NameMessage kFileFormatError{u"File format error.", ExtensionLogLevel::Warning};
inline constexpr NameMessage kAlreadyLoaded{u"Extension already loaded.", ExtensionLogLevel::Warning};
inline constexpr NameMessage kSameVersionNotOlder{u"same version with not older timestamp there", ExtensionLogLevel::Information};

// Unpack work.
inline constexpr GuidMessage kBadInstallDirectory{u"Bad install directory", ExtensionLogLevel::Warning};
inline constexpr GuidMessage kAlreadyInstalled{u"Extension already installed", ExtensionLogLevel::Information};
inline constexpr GuidMessage kCannotOpenUnpackLocation{u"Cannot open extension unpack location", ExtensionLogLevel::Warning};
inline constexpr GuidMessage kCloned{u"cloned", ExtensionLogLevel::Information};
inline constexpr GuidMessage kCloneFailed{u"clone failed", ExtensionLogLevel::Error};
inline constexpr GuidMessage kErrorWhenUnpacking{u"Error when unpacking", ExtensionLogLevel::Warning};

// Verification of unpacked extensions, and the end of the loading phase.
inline constexpr NameMessage kGuidMismatch{u"Guid mismatch", ExtensionLogLevel::Warning};
inline constexpr NameMessage kVersionMismatch{u"Version mismatch", ExtensionLogLevel::Warning};
inline constexpr NameMessage kCouldNotUnpack{u"Could not unpack extension.", ExtensionLogLevel::Error};
inline constexpr GuidMessage kFailedToLoadFinal{u"Extension failed to load.", ExtensionLogLevel::Error};

// Trying to load, and the load state at start-up.
inline constexpr NameMessage kFailedToLoad{u"failed to load", ExtensionLogLevel::Error};
inline constexpr NameMessage kLoaded{u"loaded!", ExtensionLogLevel::Information};
inline constexpr NameMessage kUnpackedBeforeAutoload{u"unpacked before autoload begins", ExtensionLogLevel::Information};
inline constexpr NameMessage kUnpackedBeforeLoaderActive{u"unpacked before extension loader active", ExtensionLogLevel::Information};
inline constexpr NameMessage kUnpackedAfterLoaderDestroyed{u"unpacked *after* extension loader destroyed", ExtensionLogLevel::Warning};
inline constexpr NameMessage kUnpackedNotLoaded{u"unpacked, not loaded for an unknown reason", ExtensionLogLevel::Warning};

// Loading one extension.
inline constexpr GuidMessage kLoadingThisExtension{u"loading this extension", ExtensionLogLevel::Information};
inline constexpr GuidMessage kMimeTypeNotRegistered{u"mime type not registered", ExtensionLogLevel::Warning};
inline constexpr GuidMessage kMimeTypeHandlerNotFunctional{u"mime type handler not functional", ExtensionLogLevel::Error};
inline constexpr GuidMessage kLoaderFailed{u"extension loader failed to load extension", ExtensionLogLevel::Error};
inline constexpr GuidMessage kResourcesFailed{u"resources failed to load", ExtensionLogLevel::Error};
inline constexpr GuidMessage kUiModificationsFailed{u"ui modifications failed", ExtensionLogLevel::Error};
inline constexpr GuidMessage kUiModificationsApplied{u"ui modifications applied", ExtensionLogLevel::Information};
inline constexpr GuidMessage kNoUiModificationsFound{u"no ui modifications found", ExtensionLogLevel::Information};
inline constexpr GuidMessage kLoadedWithoutUiModifications{u"loaded, no ui modifications applied", ExtensionLogLevel::Information};

// Visiting UI modifications and resources.
inline constexpr GuidMessage kNoUiModsDetected{u"no ui mods detected", ExtensionLogLevel::Information};
inline constexpr GuidMessage kResourcesDetected{u"resources detected, visiting", ExtensionLogLevel::Information};
inline constexpr GuidMessage kNoResourcesDetected{u"no resources detected", ExtensionLogLevel::Information};

// Unloading one extension.
inline constexpr GuidMessage kNullExtension{u"null extension error", ExtensionLogLevel::Error};
inline constexpr GuidMessage kInstallerNotFound{u"extension installer not found", ExtensionLogLevel::Warning};
inline constexpr GuidMessage kUnloadFailed{u"unload failed", ExtensionLogLevel::Information};

// Installer registry.
inline constexpr NameMessage kRegisteringInstaller{u"registering an extension installer", ExtensionLogLevel::Information};
inline constexpr NameMessage kNullInstaller{u"null installer?", ExtensionLogLevel::Error};
inline constexpr NameMessage kInstallerBeingRemoved{u"installer being removed:", ExtensionLogLevel::Information};
inline constexpr GuidMessage kAlreadyRemoved{u"already removed", ExtensionLogLevel::Information};
inline constexpr NameMessage kNewInstallerScanning{u"new installer means we are scanning for extensions to load",
                                                   ExtensionLogLevel::Information};

// Initial loading.
inline constexpr NameMessage kPossibleInfiniteLoop{
    u"Possible infinite loop in extension unpacking detected.  Bailing out.", ExtensionLogLevel::Warning};
inline constexpr NameMessage kFileMissing{u"file missing", ExtensionLogLevel::Error};
inline constexpr NameMessage kClaimedToLoad{u"extension claimed to load, but not found", ExtensionLogLevel::Error};
inline constexpr NameMessage kFinishedInitialLoading{u"finished initial loading unpacked extensions", ExtensionLogLevel::Information};

// Auto-load, change tracking and rescans.
inline constexpr NameMessage kAutoLoaded{u"auto loaded", ExtensionLogLevel::Information};
inline constexpr NameMessage kAutoLoadDisabled{u"auto load disabled", ExtensionLogLevel::Error};
inline constexpr NameMessage kNoLongerTracking{u"No longer tracking old directories.  Unexpected.", ExtensionLogLevel::Warning};
inline constexpr NameMessage kRedundantUnpackCheck{u"Redundant unpack check failed?", ExtensionLogLevel::Warning};

// Removal.
inline constexpr GuidMessage kRemovingExtension{u"removing extension", ExtensionLogLevel::Information};
inline constexpr GuidMessage kUnloadDelayed{u"unload delayed", ExtensionLogLevel::Information};
inline constexpr GuidMessage kCannotDeleteData{u"Cannot delete extension data", ExtensionLogLevel::Warning};

// Shutdown.
inline constexpr NameMessage kUnloadingEverything{u"unloading everything", ExtensionLogLevel::Information};

// Trust in package signatures, when the host set a trust policy; the cause follows as a
// reason line at the same level.
inline constexpr NameMessage kUntrustedButWarned{
    u"untrusted package: its signature does not hold under a trusted key; loaded because the trust policy only warns",
    ExtensionLogLevel::Error};
inline constexpr GuidMessage kContentNotAsSigned{
    u"untrusted content: files differ from the signed digests; kept because the trust policy only warns",
    ExtensionLogLevel::Error};
inline constexpr NameMessage kInstallNotAsSigned{
    u"untrusted install: its unpacked files differ from the signed digests; not loaded", ExtensionLogLevel::Error};
inline constexpr NameMessage kInstallNotAsSignedButWarned{
    u"untrusted install: its unpacked files differ from the signed digests; loaded because the trust policy only "
    u"warns",
    ExtensionLogLevel::Error};
inline constexpr NameMessage kRefusedBefore{
    u"not unpacked again: the trust policy refused this package before, and it has not changed since",
    ExtensionLogLevel::Error};
inline constexpr GuidMessage kEarlierInstallStays{
    u"an earlier install of this extension could not be cleared away; the package is unpacked at a later start",
    ExtensionLogLevel::Warning};
// Under the document ID at Information, once unpacked: this prefix + the key ID.
inline constexpr std::u16string_view kSignedByPrefix = u"signature holds: signed by key ";

// The cause of a refusal, written right after the refusal's own line, under its subject
// and at its level: kReasonPrefix + the cause.
inline constexpr std::u16string_view kReasonPrefix = u"reason: ";

// Repairs of the install state, made once per start (and when a version proves unusable).
inline constexpr NameMessage kThoroughRepair{
    u"repair: the last session in this folder did not end cleanly; checking every installed extension",
    ExtensionLogLevel::Information};
inline constexpr NameMessage kOtherSessionAtWork{
    u"repair: another session is at work in this folder; what it has not finished is left to it",
    ExtensionLogLevel::Information};
inline constexpr NameMessage kRemovedDebris{
    u"repair: deleted what an interrupted install or removal left behind", ExtensionLogLevel::Information};
inline constexpr NameMessage kCannotRemoveDebris{
    u"repair: cannot delete what an interrupted install or removal left behind", ExtensionLogLevel::Warning};
inline constexpr NameMessage kExtractedAgain{
    u"repair: unpacked files were missing or incomplete; extracted them again from the installed copy",
    ExtensionLogLevel::Warning};
inline constexpr NameMessage kCannotExtractAgain{
    u"repair: unpacked files are missing or incomplete and cannot be extracted again; this version is not loaded",
    ExtensionLogLevel::Error};
inline constexpr NameMessage kClearedUnusableVersion{
    u"repair: deleted this version, which has no usable installed copy, so that its package is unpacked again",
    ExtensionLogLevel::Warning};

}  // namespace LogMessages
}  // namespace OvxComponent
