// The direct entry points of hooked Win32 calls (see fault_injection.h), for code that
// takes their address instead of calling through the import slots: libzip's table of
// file operations holds DeleteFileW and MoveFileExW. Defined here, in the program, the
// import library's own entry points are never linked. No <windows.h>: it declares these
// names as imports, which a definition may not be.
extern "C" {

int __stdcall OvxFaultMoveFileExW(const wchar_t* from, const wchar_t* to, unsigned long flags);
int __stdcall OvxFaultDeleteFileW(const wchar_t* path);

int __stdcall MoveFileExW(const wchar_t* from, const wchar_t* to, unsigned long flags) {
    return OvxFaultMoveFileExW(from, to, flags);
}
int __stdcall DeleteFileW(const wchar_t* path) { return OvxFaultDeleteFileW(path); }

}
