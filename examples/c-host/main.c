/* A host of the extension manager written in C, through the C interface: the same order
 * of calls as the C++ example, with one installer made of callbacks.
 *
 *   ovx-example-c-host DATA_FOLDER SOURCE_FOLDER [EXPECTED [SECONDS]]
 *
 * Loads the packages of type application/x-vnd.example.tool in SOURCE_FOLDER and ends
 * when EXPECTED extensions are loaded (exit 0) or after SECONDS (exit 1). The work that
 * the manager dispatches is kept in a list guarded by a lock, because the tracking thread
 * dispatches too. */
#if !defined(_WIN32) && !defined(_POSIX_C_SOURCE)
#define _POSIX_C_SOURCE 200809L /* nanosleep under -std=c99 */
#endif
#include <OvxComponent/ovx_component.h>
#include <OvxComponent/version.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#ifdef _WIN32
#include <windows.h>
typedef CRITICAL_SECTION lock_t;
static void lock_init(lock_t* lock) { InitializeCriticalSection(lock); }
static void lock_take(lock_t* lock) { EnterCriticalSection(lock); }
static void lock_give(lock_t* lock) { LeaveCriticalSection(lock); }
static void pause_briefly(void) { Sleep(10); }
#else
#include <pthread.h>
typedef pthread_mutex_t lock_t;
static void lock_init(lock_t* lock) { pthread_mutex_init(lock, NULL); }
static void lock_take(lock_t* lock) { pthread_mutex_lock(lock); }
static void lock_give(lock_t* lock) { pthread_mutex_unlock(lock); }
static void pause_briefly(void) {
    struct timespec pause = {0, 10 * 1000 * 1000};
    nanosleep(&pause, NULL);
}
#endif

#define MAX_WORK 256

struct host {
    lock_t lock;
    ovx_work* work[MAX_WORK];
    size_t work_count;
    int loaded;
};

static void dispatch(void* context, ovx_work* work) {
    struct host* host = context;
    lock_take(&host->lock);
    if (host->work_count < MAX_WORK) {
        host->work[host->work_count++] = work;
        work = NULL;
    }
    lock_give(&host->lock);
    if (work) ovx_work_discard(work); /* the queue is full: a later rescan catches up */
}

/* Runs what was dispatched so far, on this, the main thread. */
static void run_dispatched(struct host* host) {
    ovx_work* batch[MAX_WORK];
    size_t count, i;
    lock_take(&host->lock);
    count = host->work_count;
    memcpy(batch, host->work, count * sizeof batch[0]);
    host->work_count = 0;
    lock_give(&host->lock);
    for (i = 0; i < count; ++i) ovx_work_run(batch[i]);
}

static int app_supported(void* context, int app) {
    (void)context;
    return app == 0; /* this host is Atlas */
}

static void* load(void* context, const ovx_extension_info* info) {
    struct host* host = context;
    printf("loaded %s %s from %s\n", info->document_id, info->version, info->folder);
    ++host->loaded;
    return host; /* any non-null token of the host's own */
}

static ovx_unload_result unload(void* context, void* extension) {
    struct host* host = context;
    (void)extension;
    printf("unloaded\n");
    --host->loaded;
    return OVX_UNLOADED;
}

static void print_failures(void* context, const ovx_log_entry* entries, size_t count, const char* log_name) {
    size_t i;
    (void)context;
    for (i = 0; i < count; ++i) printf("failure: %s\n", entries[i].message);
    printf("(details in %s)\n", log_name);
}

static int fail(const char* what) {
    fprintf(stderr, "%s: %s\n", what, ovx_last_error());
    return 1;
}

int main(int argc, char** argv) {
    struct host host;
    ovx_manager_config config;
    ovx_source_folder source;
    ovx_installer_callbacks callbacks;
    ovx_manager* manager = NULL;
    ovx_installer* installer = NULL;
    const char* mime_type = "application/x-vnd.example.tool";
    int expected, seconds, done;
    time_t deadline;

    if (argc < 3) {
        fprintf(stderr, "usage: ovx-example-c-host DATA_FOLDER SOURCE_FOLDER [EXPECTED [SECONDS]]\n");
        return 2;
    }
    expected = argc > 3 ? atoi(argv[3]) : 1;
    seconds = argc > 4 ? atoi(argv[4]) : 30;
    printf("OvxComponent %s (built against %s)\n", ovx_version(), OVX_COMPONENT_VERSION_STRING);

    memset(&host, 0, sizeof host);
    lock_init(&host.lock);
    source.label = "examples";
    source.folder = argv[2];
    memset(&config, 0, sizeof config);
    config.data_folder = argv[1];
    config.source_folders = &source;
    config.source_folder_count = 1;
    config.context = &host;
    config.dispatch = dispatch;
    config.app_supported = app_supported;
    if (ovx_manager_create(&config, &manager) != OVX_OK) return fail("ovx_manager_create");

    memset(&callbacks, 0, sizeof callbacks);
    callbacks.context = &host;
    callbacks.load = load;
    callbacks.unload = unload;
    if (ovx_manager_register_installer(manager, &mime_type, 1, &callbacks, &installer) != OVX_OK) {
        ovx_manager_release(manager);
        return fail("ovx_manager_register_installer");
    }

    ovx_manager_start_loading(manager);
    ovx_manager_finish_loading(manager);
    ovx_manager_track_source_folders(manager);
    deadline = time(NULL) + seconds;
    while (host.loaded < expected && time(NULL) < deadline) {
        run_dispatched(&host);
        pause_briefly();
    }
    done = host.loaded >= expected;
    ovx_manager_report_failures(manager, print_failures, NULL);

    ovx_manager_unload_all(manager, NULL);
    ovx_installer_release(installer);
    ovx_manager_release(manager);
    run_dispatched(&host); /* frees what came in meanwhile; the manager is gone, so it does nothing */
    printf("%s\n", done ? "done" : "timed out");
    return done ? 0 : 1;
}
