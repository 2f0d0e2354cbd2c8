// What passes between unpacking and loading: a package opened as a container, an
// extension loaded from one, and what came of an attempt to load.
#pragma once

#include "OvxComponent/extensions/format/extension_container.h"
#include "OvxComponent/extensions/loading/extension_state.h"
#include "OvxComponent/platform/result.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <variant>

namespace OvxComponent {

namespace Trust {
struct SignatureVerdict;
}

// A package opened as a container, with the path it was opened from; for an unpacked
// extension, the path is its unpacked folder.
struct OpenedPackage {
    std::shared_ptr<ExtensionContainer> container;
    std::optional<CString> path;
    std::uint64_t fileTime = 0;  // the package file's last write time when it was opened
    // What the checks of its signature found; null while the host's trust policy is off.
    std::shared_ptr<const Trust::SignatureVerdict> trust;
};

// The package's metadata record; null when it is not open or has none.
inline const ExtensionContainerInfo* InfoOf(const OpenedPackage& package) {
    return package.container ? package.container->GetInfo() : nullptr;
}

// The package's metadata record, or why it has none.
inline OvxUtils::Result<const ExtensionContainerInfo*> MetadataOf(const OpenedPackage& package) {
    if (const ExtensionContainerInfo* info = InfoOf(package)) return info;
    if (!package.container) return OvxUtils::Error{u"the package is not open"};
    const CString reason = package.container->GetInfoError();
    return OvxUtils::Error{reason.IsEmpty() ? CString(u"the package has no extension metadata") : reason};
}

struct LoadedExtension {
    std::shared_ptr<IExtensionState> state;  // null once the extension is unloaded
    // The package the extension was loaded from: its installed copy, with the archive open
    // or, when the verification record answered for the copy, with the record read from it.
    std::shared_ptr<ExtensionContainer> container;
    CString path;
};

// Whether the record still holds the package it was loaded from.
inline bool IsHeld(const LoadedExtension& loaded) { return loaded.container && loaded.container->GetInfo() != nullptr; }

// The manager's records of loaded extensions, by document ID. A record is never erased on
// its own: unloading nulls its state.
using LoadedExtensions = std::unordered_map<OvxUtils::Guid, LoadedExtension>;

// An extension that stays unpacked and waits; the package is handed back to try again.
struct NotLoaded {
    OpenedPackage waiting;
};

// An attempt to load: loaded, waiting, or failed with the text that was logged.
using LoadOutcome = OvxUtils::Result<std::variant<LoadedExtension, NotLoaded>>;

inline const LoadedExtension* LoadedOf(const LoadOutcome& outcome) {
    return outcome ? std::get_if<LoadedExtension>(&*outcome) : nullptr;
}

}  // namespace OvxComponent
