// Fault injection for the file layer, on POSIX systems: the test program defines the
// system calls that change the disk (mkdir, rename, unlink, rmdir, write, fsync) and
// forwards them to the C library, so that every call that the component makes passes
// here first. Armed, the layer can end the process at the Nth such call, as a crash or a
// kill would (no destructor runs, nothing more reaches the disk), or fail writes as a full
// disk does. Disarmed (the default) it only forwards.
#pragma once

namespace OvxTest::Faults {

// True where the layer works (not on Windows, where system calls cannot be interposed).
bool Available();

// Ends the process with SIGKILL at the count-th change of the disk from now on.
void CrashAt(int count);
// From now on every write fails with error (ENOSPC: a full disk), or with allChanges
// every change of the disk does (EROFS: a read-only file system).
void Fail(int error, bool allChanges);
void Disarm();

}  // namespace OvxTest::Faults
