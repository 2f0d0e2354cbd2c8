// ThreadLock: a reader/writer lock meant to be a base class, so that an object can be
// its own lock; ReadLock and WriteLock hold it for a scope.
#pragma once

#include <shared_mutex>

namespace OvxUtils {

// Anything that can be locked for reading and for writing.
class Lockable {
public:
    virtual ~Lockable() = default;
    virtual void LockRead() const = 0;
    virtual void UnlockRead() const = 0;
    virtual void LockWrite() const = 0;
    virtual void UnlockWrite() const = 0;
};

// Not recursive: a thread that holds the lock must not take it again.
class ThreadLock : public Lockable {
public:
    ThreadLock() = default;
    ThreadLock(const ThreadLock&) = delete;
    ThreadLock& operator=(const ThreadLock&) = delete;

    void LockRead() const override { m_mutex.lock_shared(); }
    void UnlockRead() const override { m_mutex.unlock_shared(); }
    void LockWrite() const override { m_mutex.lock(); }
    void UnlockWrite() const override { m_mutex.unlock(); }

private:
    mutable std::shared_mutex m_mutex;
};

class ReadLock {
public:
    explicit ReadLock(const Lockable& lock) : m_lock(lock) { m_lock.LockRead(); }
    ~ReadLock() { m_lock.UnlockRead(); }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;

private:
    const Lockable& m_lock;
};

class WriteLock {
public:
    explicit WriteLock(const Lockable& lock) : m_lock(lock) { m_lock.LockWrite(); }
    ~WriteLock() { m_lock.UnlockWrite(); }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

private:
    const Lockable& m_lock;
};

}  // namespace OvxUtils
