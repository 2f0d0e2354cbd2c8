// ThreadLock on POSIX systems: a pthread reader/writer lock.
#include "OvxComponent/platform/thread_lock.h"

namespace OvxUtils {

ThreadLock::~ThreadLock() = default;
void ThreadLock::LockRead() const { m_mutex.lock_shared(); }
void ThreadLock::UnlockRead() const { m_mutex.unlock_shared(); }
void ThreadLock::LockWrite() const { m_mutex.lock(); }
void ThreadLock::UnlockWrite() const { m_mutex.unlock(); }

}  // namespace OvxUtils
