// ThreadLock on Windows: a slim reader/writer lock.
#include "OvxComponent/platform/thread_lock.h"

#include <windows.h>

namespace OvxUtils {
namespace {

static_assert(sizeof(SRWLOCK) == sizeof(void*), "SRWLOCK is one pointer");

PSRWLOCK Srw(void*& storage) { return reinterpret_cast<PSRWLOCK>(&storage); }

}  // namespace

// An SRW lock needs no cleanup.
ThreadLock::~ThreadLock() = default;
void ThreadLock::LockRead() const { AcquireSRWLockShared(Srw(m_srwLock)); }
void ThreadLock::UnlockRead() const { ReleaseSRWLockShared(Srw(m_srwLock)); }
void ThreadLock::LockWrite() const { AcquireSRWLockExclusive(Srw(m_srwLock)); }
void ThreadLock::UnlockWrite() const { ReleaseSRWLockExclusive(Srw(m_srwLock)); }

}  // namespace OvxUtils
