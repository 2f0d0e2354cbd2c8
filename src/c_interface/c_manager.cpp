// The C interface's manager functions: a handle over the C++ manager, the work that it
// dispatches to the host's main thread, and its failure report.
#include "OvxComponent/extensions/manager/extension_manager.h"
#include "OvxComponent/extensions/manager/extension_timings.h"
#include "OvxComponent/extensions/manager/quarantine.h"
#include "OvxComponent/ovx_component.h"
#include "c_interface/c_installer.h"
#include "c_interface/last_error.h"
#include "c_interface/manager_handle.h"
#include "c_interface/log_line_stream.h"
#include "extensions/manager/install_layout.h"

#include <string>
#include <vector>

struct ovx_installer {
    std::shared_ptr<const OvxComponent::IExtensionInstaller> registration;
};

struct ovx_work {
    OvxUtils::Delegate<void()> work;
};

namespace OvxComponent::CInterface {
namespace {

std::optional<CString> FromUtf8(const char* text) {
    if (!text) return std::nullopt;
    return CString::FromUtf8(text);
}

std::vector<std::string> Texts(const char* const* texts, size_t count) {
    std::vector<std::string> result;
    for (size_t i = 0; i < count; ++i) result.emplace_back(texts[i]);
    return result;
}

TrustPolicy PolicyOf(const ovx_trust_policy* policy) {
    TrustPolicy result;
    if (!policy) return result;
    // Only the three defined values get here (see ovx_manager_create_with_trust).
    result.mode = policy->mode == OVX_TRUST_REQUIRE ? TrustMode::Require
                  : policy->mode == OVX_TRUST_WARN  ? TrustMode::Warn
                                                    : TrustMode::Off;
    result.trustedKeys = Texts(policy->trusted_keys, policy->trusted_key_count);
    for (size_t i = 0; i < policy->trusted_key_file_count; ++i) {
        result.trustedKeyFiles.push_back(CString::FromUtf8(policy->trusted_key_files[i]));
    }
    result.revokedKeyIds = Texts(policy->revoked_key_ids, policy->revoked_key_id_count);
    return result;
}

// A list of count texts must have every one.
bool HasAll(const char* const* texts, size_t count) {
    if (count == 0) return true;
    if (!texts) return false;
    for (size_t i = 0; i < count; ++i) {
        if (!texts[i]) return false;
    }
    return true;
}

OvxUtils::Result<std::shared_ptr<IExtensionManager>> Make(const ovx_manager_config& config,
                                                          const ovx_trust_policy* policy) {
    std::vector<ExtensionSourceFolder> sources;
    for (size_t i = 0; i < config.source_folder_count; ++i) {
        const ovx_source_folder& source = config.source_folders[i];
        sources.push_back({CString::FromUtf8(source.label ? source.label : ""), CString::FromUtf8(source.folder)});
    }
    std::vector<CString> addonNames;
    for (size_t i = 0; i < config.addon_name_count; ++i) addonNames.push_back(CString::FromUtf8(config.addon_names[i]));

    void* context = config.context;
    auto dispatch = [context, dispatch = config.dispatch](OvxUtils::Delegate<void()> work) {
        dispatch(context, new ovx_work{std::move(work)});
    };
    auto requirementMet = [context, answer = config.requirement_met](CString requirement) {
        return answer && answer(context, requirement.ToUtf8().c_str()) != 0;
    };
    auto appSupported = [context, answer = config.app_supported](ExtensionAppSupport app) {
        return answer && answer(context, static_cast<int>(app)) != 0;
    };

    const CString rootFolder = CString::FromUtf8(config.data_folder);
    OvxUtils::NamedOutStream log;
    if (config.log_line) {
        const CString file = InstallLayout::LogFile(InstallLayout::PlatformFolder(rootFolder));
        log.name = file;
        log.path = file;
        log.stream = std::make_shared<LogLineStream>(
            file, [context, onLine = config.log_line](const std::string& line) { onLine(context, line.c_str()); });
    }
    return MakeExtensionManager(rootFolder, sources, std::move(dispatch), std::move(requirementMet),
                                std::move(appSupported), addonNames, std::move(log), PolicyOf(policy));
}

// The strings of one log entry, kept alive while the host reads the C view of it.
struct EntryText {
    std::string name, guid, message;
};

}  // namespace
}  // namespace OvxComponent::CInterface

using namespace OvxComponent;
using CInterface::Fail;
using CInterface::Guarded;
using CInterface::InvalidArgument;

extern "C" {

ovx_status ovx_manager_create(const ovx_manager_config* config, ovx_manager** manager) {
    return ovx_manager_create_with_trust(config, nullptr, manager);
}

ovx_status ovx_manager_create_with_trust(const ovx_manager_config* config, const ovx_trust_policy* policy,
                                         ovx_manager** manager) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        *manager = nullptr;
        if (!config) return InvalidArgument("config");
        if (!config->data_folder) return InvalidArgument("config->data_folder");
        if (!config->dispatch) return InvalidArgument("config->dispatch");
        if (config->source_folder_count != 0 && !config->source_folders) return InvalidArgument("config->source_folders");
        for (size_t i = 0; i < config->source_folder_count; ++i) {
            if (!config->source_folders[i].folder) return InvalidArgument("a source folder");
        }
        if (!CInterface::HasAll(config->addon_names, config->addon_name_count)) return InvalidArgument("an addon name");
        // A mode the interface does not define fails closed: it is refused, never read as off.
        if (policy && policy->mode != OVX_TRUST_OFF && policy->mode != OVX_TRUST_WARN &&
            policy->mode != OVX_TRUST_REQUIRE) {
            return InvalidArgument("policy->mode (not OVX_TRUST_OFF, OVX_TRUST_WARN or OVX_TRUST_REQUIRE)");
        }
        if (policy && (!CInterface::HasAll(policy->trusted_keys, policy->trusted_key_count) ||
                       !CInterface::HasAll(policy->trusted_key_files, policy->trusted_key_file_count) ||
                       !CInterface::HasAll(policy->revoked_key_ids, policy->revoked_key_id_count))) {
            return InvalidArgument("a key, key file or key ID of the trust policy");
        }
        auto made = CInterface::Make(*config, policy);
        if (!made) return Fail(OVX_E_FAILED, "the extension manager could not be made: " + made.ErrorText().ToUtf8());
        if (!*made) return Fail(OVX_E_FAILED, "the extension manager could not be made");
        *manager = new ovx_manager{std::move(*made)};
        return OVX_OK;
    });
}

void ovx_manager_release(ovx_manager* manager) { delete manager; }

void ovx_work_run(ovx_work* work) {
    if (!work) return;
    try {
        if (work->work) work->work();
    } catch (...) {
        // The manager's work reports its failures in the log; nothing may cross into C.
    }
    delete work;
}

void ovx_work_discard(ovx_work* work) { delete work; }

ovx_status ovx_manager_register_installer(ovx_manager* manager, const char* const* mime_types, size_t mime_type_count,
                                          const ovx_installer_callbacks* callbacks, ovx_installer** installer) {
    return Guarded([&] {
        if (!installer) return InvalidArgument("installer");
        *installer = nullptr;
        if (!manager) return InvalidArgument("manager");
        if (!callbacks || !callbacks->load || !callbacks->unload) return InvalidArgument("a required installer callback");
        std::set<CString> types;
        for (size_t i = 0; i < mime_type_count; ++i) {
            const auto type = CInterface::FromUtf8(mime_types ? mime_types[i] : nullptr);
            if (!type) return InvalidArgument("a MIME type");
            types.insert(*type);
        }
        auto registration =
            manager->manager->RegisterInstaller(std::move(types), std::make_shared<CInterface::CInstaller>(*callbacks));
        if (!registration) return Fail(OVX_E_FAILED, "the installer was not registered (the log says why)");
        *installer = new ovx_installer{std::move(registration)};
        return OVX_OK;
    });
}

void ovx_installer_release(ovx_installer* installer) { delete installer; }

ovx_status ovx_manager_start_loading(ovx_manager* manager) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        manager->manager->StartLoading();
        return OVX_OK;
    });
}

ovx_status ovx_manager_finish_loading(ovx_manager* manager) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        manager->manager->FinishLoading();
        return OVX_OK;
    });
}

ovx_status ovx_manager_track_source_folders(ovx_manager* manager) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        manager->manager->TrackSourceFolders();
        return OVX_OK;
    });
}

ovx_status ovx_manager_platform_folder(ovx_manager* manager, char* buffer, size_t size, size_t* length) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        const std::string folder = manager->manager->GetPlatformFolder().ToUtf8();
        if (length) *length = folder.size();
        if (!buffer || size <= folder.size()) {
            return Fail(OVX_E_FAILED, "the buffer holds " + std::to_string(size) + " bytes; the folder needs " +
                                          std::to_string(folder.size() + 1));
        }
        folder.copy(buffer, folder.size());
        buffer[folder.size()] = '\0';
        return OVX_OK;
    });
}

ovx_status ovx_manager_is_loaded(ovx_manager* manager, const char* document_id, int* loaded) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        if (!loaded) return InvalidArgument("loaded");
        const auto id = document_id ? OvxUtils::Guid::FromString(CString::FromUtf8(document_id)) : std::nullopt;
        if (!id) return Fail(OVX_E_INVALID_ARGUMENT, "document_id is not a GUID");
        *loaded = manager->manager->FindExtension(*id).has_value() ? 1 : 0;
        return OVX_OK;
    });
}

ovx_status ovx_manager_report_failures(ovx_manager* manager,
                                       void (*report)(void*, const ovx_log_entry*, size_t, const char*),
                                       void* context) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        if (!report) return InvalidArgument("report");
        manager->manager->ReportFailures([&](OvxUtils::array_view<const ExtensionLogEntry> entries, CString logName) {
            std::vector<CInterface::EntryText> texts;
            texts.reserve(entries.size());
            std::vector<ovx_log_entry> view;
            view.reserve(entries.size());
            for (const ExtensionLogEntry& entry : entries) {
                const auto& text = texts.emplace_back(CInterface::EntryText{
                    entry.name ? entry.name->ToUtf8() : std::string(),
                    entry.guid ? entry.guid->ToString().ToUtf8() : std::string(), entry.message.ToUtf8()});
                view.push_back({static_cast<ovx_log_level>(entry.level), entry.time,
                                entry.name ? text.name.c_str() : nullptr, entry.guid ? text.guid.c_str() : nullptr,
                                text.message.c_str()});
            }
            report(context, view.data(), view.size(), logName.ToUtf8().c_str());
        });
        return OVX_OK;
    });
}

ovx_status ovx_manager_set_failure_notifier(ovx_manager* manager, void (*notify)(void*, ovx_manager*), void* context) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        if (!notify) {
            manager->manager->SetFailureNotifier({});
            return OVX_OK;
        }
        manager->manager->SetFailureNotifier([notify, context](std::shared_ptr<IExtensionManager> notifying) {
            ovx_manager borrowed{std::move(notifying)};
            notify(context, &borrowed);
        });
        return OVX_OK;
    });
}

ovx_status ovx_manager_clear_failures(ovx_manager* manager) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        manager->manager->ClearFailures();
        return OVX_OK;
    });
}

ovx_status ovx_manager_unload_all(ovx_manager* manager, size_t* failures) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        size_t failed = 0;
        for (const UnloadOutcome& outcome : manager->manager->UnloadAll()) {
            if (!outcome) ++failed;
        }
        if (failures) *failures = failed;
        return OVX_OK;
    });
}

}  // extern "C"

ovx_status ovx_manager_quarantined(ovx_manager* manager,
                                   void (*list)(void*, const ovx_quarantined_extension*, size_t), void* context) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        if (!list) return InvalidArgument("list");
        const std::vector<QuarantinedExtension> quarantined = QuarantinedExtensions(*manager->manager);
        std::vector<std::string> ids, calls;
        std::vector<ovx_quarantined_extension> view;
        for (const QuarantinedExtension& extension : quarantined) {
            ids.push_back(extension.documentId.ToString().ToUtf8());
            calls.push_back(extension.call.ToUtf8());
        }
        for (std::size_t i = 0; i < quarantined.size(); ++i) {
            view.push_back({ids[i].c_str(), calls[i].c_str(), quarantined[i].time, quarantined[i].crashes});
        }
        list(context, view.data(), view.size());
        return OVX_OK;
    });
}

ovx_status ovx_manager_release_from_quarantine(ovx_manager* manager, const char* document_id) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        const auto id = document_id ? OvxUtils::Guid::FromString(CString::FromUtf8(document_id)) : std::nullopt;
        if (!id) return Fail(OVX_E_INVALID_ARGUMENT, "document_id is not a GUID");
        if (auto released = ReleaseFromQuarantine(*manager->manager, *id); !released) {
            return Fail(OVX_E_FAILED, released.ErrorText().ToUtf8());
        }
        return OVX_OK;
    });
}

ovx_status ovx_manager_set_quarantine_threshold(ovx_manager* manager, int crashes) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        SetQuarantineThreshold(*manager->manager, crashes);
        return OVX_OK;
    });
}

ovx_status ovx_manager_start_safely(ovx_manager* manager, const char* const* pinned, size_t count) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        if (count > 0 && !pinned) return InvalidArgument("pinned");
        std::vector<OvxUtils::Guid> ids;
        for (size_t i = 0; i < count; ++i) {
            const auto id = pinned[i] ? OvxUtils::Guid::FromString(CString::FromUtf8(pinned[i])) : std::nullopt;
            if (!id) return Fail(OVX_E_INVALID_ARGUMENT, "pinned[" + std::to_string(i) + "] is not a GUID");
            ids.push_back(*id);
        }
        StartSafely(*manager->manager, ids);
        return OVX_OK;
    });
}

ovx_status ovx_manager_extension_timings(ovx_manager* manager,
                                         void (*list)(void*, const ovx_extension_timing*, size_t), void* context) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        if (!list) return InvalidArgument("list");
        const std::vector<ExtensionTiming> timings = ExtensionTimings(*manager->manager);
        std::vector<std::string> ids, calls;
        for (const ExtensionTiming& timing : timings) {
            ids.push_back(timing.documentId.ToString().ToUtf8());
            calls.push_back(timing.call.ToUtf8());
        }
        std::vector<ovx_extension_timing> view;
        for (std::size_t i = 0; i < timings.size(); ++i) {
            view.push_back({ids[i].c_str(), calls[i].c_str(), timings[i].calls,
                            static_cast<int64_t>(timings[i].total.count()), static_cast<int64_t>(timings[i].longest.count())});
        }
        list(context, view.data(), view.size());
        return OVX_OK;
    });
}

ovx_status ovx_manager_set_call_budget(ovx_manager* manager, int64_t milliseconds) {
    return Guarded([&] {
        if (!manager) return InvalidArgument("manager");
        SetCallBudget(*manager->manager, std::chrono::milliseconds(milliseconds < 0 ? 0 : milliseconds));
        return OVX_OK;
    });
}
