// The fault-injecting file layer (see fault_injection.h): on POSIX systems definitions of
// the C library's disk-changing calls, on Windows the import slots of the Win32 ones.
#include "support/fault_injection.h"

#include <atomic>

namespace {

enum class Mode { Off, Crash, FailWrites, FailAll };

std::atomic<Mode> g_mode{Mode::Off};
std::atomic<int> g_countdown{0};
std::atomic<int> g_error{0};

void EndAsAKillWould();
void SetError(int error);

// Called before each change of the disk; false when the change must fail with the error set.
bool Proceed(bool isWrite) {
    switch (g_mode.load()) {
    case Mode::Off: return true;
    case Mode::Crash:
        if (--g_countdown == 0) EndAsAKillWould();
        return true;
    case Mode::FailWrites:
    case Mode::FailAll:
        if (!isWrite && g_mode.load() == Mode::FailWrites) return true;
        SetError(g_error.load());
        return false;
    }
    return true;
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

#if defined(_WIN32)

// Windows: the program's import slots of the disk-changing Win32 calls. The component's
// code calls Win32 through these __imp_ pointers; defined here, they take precedence over
// the import library's, and each hook forwards to kernel32 itself. Code that takes a
// call's address instead (libzip's table of file operations) gets the direct entry
// points of fault_injection_thunks_win.cpp, which lead to the same hooks.
#include <windows.h>

namespace {

void EndAsAKillWould() { ::TerminateProcess(::GetCurrentProcess(), OvxTest::Faults::kCrashExitCode); }
void SetError(int error) { ::SetLastError(static_cast<DWORD>(error)); }

template <class Function>
Function Real(const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), name)));
}

}  // namespace

// A hook and the import slot it fills. The hooks are also called by the direct entry
// points of fault_injection_thunks_win.cpp.
#define OVX_FAULT_HOOK(name, isWrite, parameters, arguments)              \
    BOOL WINAPI OvxFault##name parameters {                                 \
        static const auto real = Real<decltype(&OvxFault##name)>(#name);   \
        return Proceed(isWrite) ? real arguments : FALSE;                   \
    }                                                                       \
    decltype(&OvxFault##name) __imp_##name = &OvxFault##name;

extern "C" {
OVX_FAULT_HOOK(CreateDirectoryW, false, (LPCWSTR path, LPSECURITY_ATTRIBUTES security), (path, security))
OVX_FAULT_HOOK(MoveFileExW, false, (LPCWSTR from, LPCWSTR to, DWORD flags), (from, to, flags))
OVX_FAULT_HOOK(DeleteFileW, false, (LPCWSTR path), (path))
OVX_FAULT_HOOK(RemoveDirectoryW, false, (LPCWSTR path), (path))
OVX_FAULT_HOOK(CopyFileW, true, (LPCWSTR from, LPCWSTR to, BOOL failIfExists), (from, to, failIfExists))
OVX_FAULT_HOOK(WriteFile, true, (HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped),
               (file, data, size, written, overlapped))
OVX_FAULT_HOOK(FlushFileBuffers, false, (HANDLE file), (file))
}

#else

#include <dlfcn.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

void EndAsAKillWould() { ::kill(::getpid(), SIGKILL); }
void SetError(int error) { errno = error; }

template <class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

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
