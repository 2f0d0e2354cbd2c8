/// \file
/// ThreadLock: a reader/writer lock meant to be a base class, so that an object can be
/// its own lock; ReadLock and WriteLock hold it for a scope.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

#if !defined(_WIN32)
#include <shared_mutex>
#endif

namespace OvxUtils {

/// Anything that can be locked for reading and for writing.
class Lockable {
public:
    virtual ~Lockable() = default;
    ///@{
    /// Takes (releases) the lock for reading, shared with other readers.
    virtual void LockRead() const = 0;
    virtual void UnlockRead() const = 0;
    ///@}
    ///@{
    /// Takes (releases) the lock for writing, alone.
    virtual void LockWrite() const = 0;
    virtual void UnlockWrite() const = 0;
    ///@}
};

/// Not recursive: a thread that holds the lock must not take it again.
class OVX_API ThreadLock : public Lockable {
public:
    ThreadLock() = default;
    ~ThreadLock() override;
    ThreadLock(const ThreadLock&) = delete;
    ThreadLock& operator=(const ThreadLock&) = delete;

    ///@{
    /// See Lockable.
    void LockRead() const override;
    void UnlockRead() const override;
    void LockWrite() const override;
    void UnlockWrite() const override;
    ///@}

private:
#if defined(_WIN32)
    /// An SRWLOCK, kept as its one pointer so that this header needs no windows.h. The
    /// MinGW std::shared_mutex sits on winpthread's rwlock, which lets writers overlap
    /// under contention.
    mutable void* m_srwLock = nullptr;
#else
    mutable std::shared_mutex m_mutex;
#endif
};

/// Holds a Lockable for reading from construction to destruction.
class ReadLock {
public:
    /// Takes lock for reading; the destructor releases it.
    /// \param lock The lock to hold.
    explicit ReadLock(const Lockable& lock) : m_lock(lock) { m_lock.LockRead(); }
    ~ReadLock() { m_lock.UnlockRead(); }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;

private:
    const Lockable& m_lock;
};

/// Holds a Lockable for writing from construction to destruction.
class WriteLock {
public:
    /// Takes lock for writing; the destructor releases it.
    /// \param lock The lock to hold.
    explicit WriteLock(const Lockable& lock) : m_lock(lock) { m_lock.LockWrite(); }
    ~WriteLock() { m_lock.UnlockWrite(); }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

private:
    const Lockable& m_lock;
};

}  // namespace OvxUtils
