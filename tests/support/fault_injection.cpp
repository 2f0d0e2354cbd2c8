// The fault-injecting file layer: definitions of the C library's disk-changing calls that
// take precedence over the library's own for the whole program, the component included.
#include "support/fault_injection.h"

#if defined(_WIN32)

namespace OvxTest::Faults {

bool Available() { return false; }
void CrashAt(int) {}
void Fail(int, bool) {}
void Disarm() {}

}  // namespace OvxTest::Faults

#else

#include <dlfcn.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace {

enum class Mode { Off, Crash, FailWrites, FailAll };

std::atomic<Mode> g_mode{Mode::Off};
std::atomic<int> g_countdown{0};
std::atomic<int> g_error{0};

// Called before each change of the disk; false when the change must fail with ENOSPC.
bool Proceed(bool isWrite) {
    switch (g_mode.load()) {
    case Mode::Off: return true;
    case Mode::Crash:
        if (--g_countdown == 0) ::kill(::getpid(), SIGKILL);
        return true;
    case Mode::FailWrites:
    case Mode::FailAll:
        if (!isWrite && g_mode.load() == Mode::FailWrites) return true;
        errno = g_error.load();
        return false;
    }
    return true;
}

template <class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace OvxTest::Faults {

bool Available() { return true; }

void CrashAt(int count) {
    g_countdown = count;
    g_mode = Mode::Crash;
}

void Fail(int error, bool allChanges) {
    g_error = error;
    g_mode = allChanges ? Mode::FailAll : Mode::FailWrites;
}
void Disarm() { g_mode = Mode::Off; }

}  // namespace OvxTest::Faults

#define OVX_INTERPOSED extern "C" __attribute__((visibility("default")))

OVX_INTERPOSED int mkdir(const char* path, mode_t mode) {
    static const auto next = Next<int (*)(const char*, mode_t)>("mkdir");
    return Proceed(false) ? next(path, mode) : -1;
}

OVX_INTERPOSED int rename(const char* from, const char* to) noexcept {
    static const auto next = Next<int (*)(const char*, const char*)>("rename");
    return Proceed(false) ? next(from, to) : -1;
}

OVX_INTERPOSED int unlink(const char* path) noexcept {
    static const auto next = Next<int (*)(const char*)>("unlink");
    return Proceed(false) ? next(path) : -1;
}

OVX_INTERPOSED int rmdir(const char* path) noexcept {
    static const auto next = Next<int (*)(const char*)>("rmdir");
    return Proceed(false) ? next(path) : -1;
}

OVX_INTERPOSED ssize_t write(int fd, const void* data, size_t size) {
    static const auto next = Next<ssize_t (*)(int, const void*, size_t)>("write");
    return Proceed(true) ? next(fd, data, size) : -1;
}

OVX_INTERPOSED int fsync(int fd) {
    static const auto next = Next<int (*)(int)>("fsync");
    return Proceed(false) ? next(fd) : -1;
}

#endif
