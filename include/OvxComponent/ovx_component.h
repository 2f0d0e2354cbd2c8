/** \file
 * The C interface of OvxComponent: the host's main flow with the extension manager, for
 * hosts written in C or built with another C++ compiler than the library (on Windows,
 * the C++ interface needs the same compiler and runtime as the DLL; this one does not).
 *
 * Conventions:
 * - Strings are UTF-8, NUL-terminated. Strings handed to a callback are valid during the
 *   call only; copy what you keep.
 * - Every function that can fail returns an ovx_status. After a status other than OVX_OK,
 *   ovx_last_error() gives the text of the failure on the calling thread (for a failure
 *   of the manager, the text it logged).
 * - Handles are opaque; each one that a function hands out is released with its own
 *   release function. Memory never changes hands: the library frees what it allocates.
 * - As with the C++ interface, every manager function is called on the host's main
 *   thread; the dispatch callback and the failure notifier may run on another thread
 *   (see docs/threads.md).
 */
#ifndef OVX_COMPONENT_OVX_COMPONENT_H
#define OVX_COMPONENT_OVX_COMPONENT_H

#include "OvxComponent/platform/ovx_export.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The outcome of a call that can fail. */
typedef enum ovx_status {
    /** Done. */
    OVX_OK = 0,
    OVX_E_INVALID_ARGUMENT = 1, /**< a null handle or pointer, or text that is not UTF-8 */
    OVX_E_FAILED = 2,           /**< the operation failed; ovx_last_error() says why */
    /** The library could not allocate memory. */
    OVX_E_OUT_OF_MEMORY = 3
} ovx_status;

/** The level of a log entry. */
typedef enum ovx_log_level { OVX_LOG_INFORMATION = 0, OVX_LOG_WARNING = 1, OVX_LOG_ERROR = 2 } ovx_log_level;

/** An installer's answer to an unload. */
typedef enum ovx_unload_result {
    OVX_UNLOADED = 0,       /**< the extension is unloaded now */
    OVX_UNLOAD_DELAYED = 1, /**< accepted; it completes later and the files stay */
    /** The extension could not be unloaded; it stays loaded. */
    OVX_UNLOAD_FAILED = 2
} ovx_unload_result;

/** An extension manager (opaque). */
typedef struct ovx_manager ovx_manager;
/** The registration of an installer (opaque). */
typedef struct ovx_installer ovx_installer;
/** Work that the manager hands the host's main thread (opaque). */
typedef struct ovx_work ovx_work;

/** The text of the last failure on this thread; "" when there was none. Valid until the
 * next call into the library on this thread. */
/** \return The text, owned by the library. */
OVX_API const char* ovx_last_error(void);

/** The release of the library that is running, as "major.minor.patch.build". Compare its
 * major number with OVX_COMPONENT_VERSION_MAJOR of OvxComponent/version.h. */
/** \return The version text, owned by the library and valid while it is loaded. */
OVX_API const char* ovx_version(void);

/** A folder that the manager searches for packages and tracks. */
typedef struct ovx_source_folder {
    const char* label;  /**< the host's own name for it */
    const char* folder; /**< searched for packages, recursively, and tracked */
} ovx_source_folder;

/** What a manager is made with. */
typedef struct ovx_manager_config {
    /** The host's data folder; the manager works in its "x64" folder. */
    const char* data_folder;
    /** The source folders, source_folder_count of them. */
    const ovx_source_folder* source_folders;
    /** The number of source_folders. */
    size_t source_folder_count;
    /** Names of the "addon" marker folders that extensions may carry. */
    const char* const* addon_names;
    /** The number of addon_names. */
    size_t addon_name_count;

    void* context; /**< handed to every callback below */
    /** Required. Carries work to the main thread: the host calls ovx_work_run(work) there,
     * exactly once, or ovx_work_discard(work) when it shuts down first. May be called on
     * the tracking thread. */
    void (*dispatch)(void* context, ovx_work* work);
    /** Answers a named requirement of an extension; nonzero when the host offers it. NULL:
     * no named requirement is met. */
    int (*requirement_met)(void* context, const char* requirement);
    /** Answers whether the host is the application numbered app (0 Atlas, 1 Beacon,
     * 2 Cinder, 3 Delta); NULL: none is. */
    int (*app_supported)(void* context, int app);
    /** Optional: receives every log line, without its line end, as it is written. The log
     * file "orvex_extensions.log" in the platform folder is written either way. */
    void (*log_line)(void* context, const char* line);
} ovx_manager_config;

/** Makes a manager; *manager receives the handle, to be released with ovx_manager_release. */
/** \param config What the manager is made with; read during the call only.
 * \param manager Receives the handle.
 * \return OVX_OK, or why no manager was made. */
OVX_API ovx_status ovx_manager_create(const ovx_manager_config* config, ovx_manager** manager);
/** Which packages the manager may unpack and load, by who signed them
 * (docs/signing.md). */
typedef enum ovx_trust_mode {
    OVX_TRUST_OFF = 0,    /**< signatures are not looked at */
    OVX_TRUST_WARN = 1,   /**< every package loads; an untrusted one is logged as an error */
    OVX_TRUST_REQUIRE = 2 /**< only packages signed by a trusted key are unpacked and loaded */
} ovx_trust_mode;

/** Which packages a manager lets run, by who signed them. */
typedef struct ovx_trust_policy {
    /** Off, warn or require. */
    ovx_trust_mode mode;
    /** minisign public keys: the base64 line of a key file ("RWT..."), or the file's text. */
    const char* const* trusted_keys;
    /** The number of trusted_keys. */
    size_t trusted_key_count;
    /** Paths of minisign public key files. */
    const char* const* trusted_key_files;
    /** The number of trusted_key_files. */
    size_t trusted_key_file_count;
    /** Key IDs as minisign prints them ("90C8B8E792068CFE") whose signatures no longer count. */
    const char* const* revoked_key_ids;
    /** The number of revoked_key_ids. */
    size_t revoked_key_id_count;
} ovx_trust_policy;

/** ovx_manager_create with a trust policy; a NULL policy means OVX_TRUST_OFF. Fails with
 * OVX_E_FAILED, and ovx_last_error() naming the item, when a key, key file or key ID cannot
 * be used, or OVX_TRUST_REQUIRE is given no key. */
/** \param config What the manager is made with; read during the call only.
 * \param policy The trust policy, or NULL; read during the call only.
 * \param manager Receives the handle.
 * \return OVX_OK, or why no manager was made. */
OVX_API ovx_status ovx_manager_create_with_trust(const ovx_manager_config* config, const ovx_trust_policy* policy,
                                                 ovx_manager** manager);
/** Releases the handle. Unload the extensions first (ovx_manager_unload_all). */
/** \param manager The manager; NULL is ignored. */
OVX_API void ovx_manager_release(ovx_manager* manager);

/** Runs work handed to the dispatch callback and frees it. Call on the main thread. */
/** \param work What the dispatch callback received. */
OVX_API void ovx_work_run(ovx_work* work);
/** Frees work without running it. */
/** \param work What the dispatch callback received. */
OVX_API void ovx_work_discard(ovx_work* work);

/** What the manager hands an installer's load callback. */
typedef struct ovx_extension_info {
    const char* document_id; /**< the extension's identity, "{XXXXXXXX-XXXX-...}" */
    const char* version;     /**< "1.2.0.0" */
    /** the extension type that chose the installer */
    const char* mime_type;
    const char* folder; /**< the unpacked extension */
} ovx_extension_info;

/** An installer: what the host does to load, unload and remove an extension. */
typedef struct ovx_installer_callbacks {
    void* context; /**< handed to every callback below */
    /** Required. Loads an extension: returns the host's own non-null token for it, or NULL
     * when it cannot be loaded. */
    void* (*load)(void* context, const ovx_extension_info* info);
    /** Required. Unloads what load returned. */
    ovx_unload_result (*unload)(void* context, void* extension);
    /** Deletes the extension's installed data below folder; nonzero on success. NULL: the
     * data is kept. */
    int (*remove_data)(void* context, const char* folder);
    /** Optional: called once when the registration is over and the installer is no longer
     * used, to free context. */
    void (*destroy)(void* context);
} ovx_installer_callbacks;

/** Registers an installer for the MIME types, all or nothing. *installer receives the
 * registration; releasing it unregisters the installer and unloads its extensions. */
/** \param manager The manager.
 * \param mime_types The extension types the installer serves, mime_type_count of them.
 * \param mime_type_count The number of mime_types.
 * \param callbacks The installer; copied during the call.
 * \param installer Receives the registration.
 * \return OVX_OK, or why nothing was registered. */
OVX_API ovx_status ovx_manager_register_installer(ovx_manager* manager, const char* const* mime_types,
                                                  size_t mime_type_count, const ovx_installer_callbacks* callbacks,
                                                  ovx_installer** installer);
/** Ends the registration: the installer is unregistered and its extensions unloaded. */
/** \param installer The registration; NULL is ignored. */
OVX_API void ovx_installer_release(ovx_installer* installer);

/** Lets installers load, and loads what is already unpacked. The host's sequence:
 * register installers, start loading, finish loading, track. */
/** \param manager The manager.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager). */
OVX_API ovx_status ovx_manager_start_loading(ovx_manager* manager);
/** Loads every extension that is unpacked and not loaded yet, after start loading. */
/** \param manager The manager.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager). */
OVX_API ovx_status ovx_manager_finish_loading(ovx_manager* manager);
/** Starts watching the source folders, scanning each once at once. */
/** \param manager The manager.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager). */
OVX_API ovx_status ovx_manager_track_source_folders(ovx_manager* manager);

/** Copies the platform folder (data folder joined with "x64", where the log lies) into
 * buffer as UTF-8 with its NUL; *length receives the bytes needed without the NUL. A
 * buffer too small (or NULL with size 0) gets nothing and the call fails. */
/** \param manager The manager.
 * \param buffer Receives the folder, or NULL with size 0 to ask for the length.
 * \param size The bytes that buffer holds.
 * \param length Receives the bytes the folder needs, without the NUL.
 * \return OVX_OK, or OVX_E_FAILED when the buffer is too small. */
OVX_API ovx_status ovx_manager_platform_folder(ovx_manager* manager, char* buffer, size_t size, size_t* length);

/** Whether the extension with this document ID is loaded: *loaded receives 1 or 0. */
/** \param manager The manager.
 * \param document_id The document ID, as "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
 * \param loaded Receives 1 when the extension is loaded, otherwise 0.
 * \return OVX_OK, or OVX_E_INVALID_ARGUMENT for a text that is not a document ID. */
OVX_API ovx_status ovx_manager_is_loaded(ovx_manager* manager, const char* document_id, int* loaded);

/** One entry of the manager's log. */
typedef struct ovx_log_entry {
    /** Information, warning or error. */
    ovx_log_level level;
    int64_t time;        /**< 100 ns ticks since 1970-01-01 UTC */
    const char* name;    /**< the subject's name, or NULL */
    const char* guid;    /**< the subject's GUID, or NULL */
    /** The entry's text. */
    const char* message;
} ovx_log_entry;

/** Calls report once for every subject that failed and was not acknowledged, with its log
 * entries oldest first and the name of the log. */
/** \param manager The manager.
 * \param report Called once per failed subject with its entries, their count and the log's
 * name; what it receives is valid during the call only.
 * \param context Handed to report.
 *  \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager or report). */
OVX_API ovx_status ovx_manager_report_failures(ovx_manager* manager,
                                               void (*report)(void* context, const ovx_log_entry* entries,
                                                              size_t count, const char* log_name),
                                               void* context);
/** Calls notify (possibly on the tracking thread) whenever failures were recorded; notify
 * receives a handle that is valid during the call. NULL removes the notifier. */
/** \param manager The manager.
 * \param notify The notifier, or NULL to remove it.
 * \param context Handed to notify.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager). */
OVX_API ovx_status ovx_manager_set_failure_notifier(ovx_manager* manager,
                                                    void (*notify)(void* context, ovx_manager* manager),
                                                    void* context);
/** Acknowledges the recorded failures: they are no longer reported. */
/** \param manager The manager.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager). */
OVX_API ovx_status ovx_manager_clear_failures(ovx_manager* manager);

/** Unloads every extension; *failures (optional) receives how many unloads failed. */
/** \param manager The manager.
 * \param failures Receives the number of unloads that failed, or NULL.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager). */
OVX_API ovx_status ovx_manager_unload_all(ovx_manager* manager, size_t* failures);

/** An extension in quarantine: the host's process died in a call into it, and it is kept
 * off until its package changes or it is released. */
typedef struct ovx_quarantined_extension {
    const char* document_id; /**< "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" */
    const char* call;        /**< "load", "unload", "UI visit" or "resource visit" */
    int64_t time;            /**< when that call began, 100 ns ticks since 1970-01-01 UTC */
    int crashes;             /**< how often the host died in its calls since its package last changed */
} ovx_quarantined_extension;

/** Calls list once with the extensions in quarantine (count may be 0). */
/** \param manager The manager.
 * \param list Called once; what it receives is valid during the call only.
 * \param context Handed to list.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager or list). */
OVX_API ovx_status ovx_manager_quarantined(ovx_manager* manager,
                                           void (*list)(void* context, const ovx_quarantined_extension* extensions,
                                                        size_t count),
                                           void* context);
/** Lets an extension in quarantine load again, from the next start on. */
/** \param manager The manager.
 * \param document_id The document ID, as "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
 * \return OVX_OK, or why not (OVX_E_FAILED when the extension is not in quarantine). */
OVX_API ovx_status ovx_manager_release_from_quarantine(ovx_manager* manager, const char* document_id);
/** How often an extension must take the host down before it is kept off (1, the default,
 * keeps it off after the first time); set it before ovx_manager_start_loading. */
/** \param manager The manager.
 * \param crashes At least 1; a smaller value counts as 1.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager). */
OVX_API ovx_status ovx_manager_set_quarantine_threshold(ovx_manager* manager, int crashes);

/** Keeps every extension off for the manager's life but the pinned ones: a safe start, from
 * which a user can always reach a working application. Call it before
 * ovx_manager_start_loading. */
/** \param manager The manager.
 * \param pinned Document IDs of the extensions that load all the same, or NULL.
 * \param count How many pinned has.
 * \return OVX_OK, or OVX_E_INVALID_ARGUMENT for a NULL manager or a text that is not a
 * document ID. */
OVX_API ovx_status ovx_manager_start_safely(ovx_manager* manager, const char* const* pinned, size_t count);

/** The calls of one kind into one extension in the manager's life. */
typedef struct ovx_extension_timing {
    const char* document_id; /**< "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" */
    const char* call;        /**< "load", "unload", "UI visit" or "resource visit" */
    int calls;               /**< how many */
    int64_t total_ns;        /**< how long they took together, in nanoseconds */
    int64_t longest_ns;      /**< the longest of them, in nanoseconds */
} ovx_extension_timing;

/** Calls list once with the calls made so far, the slowest (by total time) first. */
/** \param manager The manager.
 * \param list Called once; what it receives is valid during the call only.
 * \param context Handed to list.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager or list). */
OVX_API ovx_status ovx_manager_extension_timings(ovx_manager* manager,
                                                 void (*list)(void* context, const ovx_extension_timing* timings,
                                                              size_t count),
                                                 void* context);
/** A call into an extension that takes longer than milliseconds is logged as a Warning
 * under the extension; 0 sets no budget. */
/** \param manager The manager.
 * \param milliseconds The budget.
 * \return OVX_OK, or why not (OVX_E_INVALID_ARGUMENT for a NULL manager). */
OVX_API ovx_status ovx_manager_set_call_budget(ovx_manager* manager, int64_t milliseconds);

/** A running update channel (docs/update-channel.md): packages delivered into one of the
 * manager's source folders from a repository of The Update Framework, on a thread of the
 * channel's own. */
typedef struct ovx_channel ovx_channel;

/** What a channel is started with. */
typedef struct ovx_channel_config {
    /** The root metadata the host ships: the bytes of a "root.json". */
    const char* trusted_root;
    /** The number of bytes of trusted_root. */
    size_t trusted_root_length;
    /** The repository's metadata URL, http or https. */
    const char* metadata_url;
    /** The repository's targets URL, http or https. */
    const char* targets_url;
    /** The channel's own folder, below the host's data folder. */
    const char* state_folder;
    /** One of the manager's source folders, where packages go. */
    const char* destination;
    /** Seconds between refreshes; 0 for six hours. */
    int64_t poll_seconds;
    /** Called on the channel's thread after each refresh, or NULL; reason is "" when it
     * succeeded, and valid during the call only. */
    void (*on_refresh)(void* context, int succeeded, const char* reason);
    /** Handed to on_refresh. */
    void* context;
} ovx_channel_config;

/** Starts a channel that delivers the packages for this host's applications and platform;
 * *channel receives the handle, to be released with ovx_channel_release. */
/** \param manager The manager whose source folder is the destination.
 * \param config What the channel needs; read during the call only.
 * \param channel Receives the handle.
 * \return OVX_OK, or OVX_E_FAILED and ovx_last_error() naming what is wrong with the config. */
OVX_API ovx_status ovx_channel_start(ovx_manager* manager, const ovx_channel_config* config, ovx_channel** channel);
/** Asks for a refresh now; returns at once. */
/** \param channel The channel.
 * \return OVX_OK, or OVX_E_INVALID_ARGUMENT for a NULL channel. */
OVX_API ovx_status ovx_channel_refresh(ovx_channel* channel);
/** Asks for a refresh now and waits for it to end. */
/** \param channel The channel.
 * \param timeout_ms The longest wait.
 * \return OVX_OK when a refresh succeeded; OVX_E_FAILED with its reason in ovx_last_error()
 * when it was refused or did not end in time. */
OVX_API ovx_status ovx_channel_refresh_and_wait(ovx_channel* channel, int64_t timeout_ms);
/** Stops the channel (a download in progress is cut) and releases the handle. */
/** \param channel The channel; NULL is ignored. */
OVX_API void ovx_channel_release(ovx_channel* channel);

#ifdef __cplusplus
}
#endif

#endif /* OVX_COMPONENT_OVX_COMPONENT_H */
