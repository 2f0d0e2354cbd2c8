// Fault injection for the file layer: every call by which the component (and libzip
// inside it) changes the disk passes here first. On POSIX systems the test program
// defines the C library's mkdir, rename, unlink, rmdir, write and fsync and forwards them;
// on Windows it fills the program's import slots of CreateDirectoryW, MoveFileExW,
// DeleteFileW, RemoveDirectoryW, CopyFileW, WriteFile and FlushFileBuffers with hooks
// that forward to kernel32. The shipped library has none of this: only the test programs
// that link this file do. Armed, the layer can end the process at the Nth change of the
// disk, as a crash or a kill would (no destructor runs, nothing more reaches the disk), or
// fail changes as a full disk or a read-only folder does. Disarmed (the default) it only
// forwards.
#pragma once

namespace OvxTest::Faults {

// The exit code of a process that the layer ended on Windows (POSIX: SIGKILL).
inline constexpr unsigned kCrashExitCode = 0xDEAD;

// True where the layer works.
bool Available();

// Ends the process at the count-th change of the disk from now on.
void CrashAt(int count);
// From now on every write fails with error (ENOSPC or ERROR_DISK_FULL: a full disk), or
// with allChanges every change of the disk does (EROFS or ERROR_ACCESS_DENIED: a folder
// that cannot be written).
void Fail(int error, bool allChanges);
void Disarm();

}  // namespace OvxTest::Faults
