/// \file
/// Singleton<T>: one lazily created instance of T per process.
///
/// T keeps its constructor private and befriends Singleton<T>. The state lives in the
/// static m_Data; for a T that is shared between OvxComponent and its hosts, instantiate
/// the template once inside the library (template class OVX_API Singleton<T>;) and declare
/// it extern in T's header, so that every module of the process sees the same instance.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/thread_lock.h"

#include <atomic>

namespace OvxUtils {

/// The state of one Singleton.
template <class T>
struct SingletonData {
    /// The instance, once made.
    std::atomic<T*> instance{nullptr};
    bool m_released = false;  ///< set when the instance was released for good
    ThreadLock lock;          ///< guards creation and release of the instance

    ~SingletonData() {
        m_released = true;
        delete instance.exchange(nullptr);
    }
};

/// One instance of T per process, made on first use.
template <class T>
class Singleton {
public:
    /// The instance, created on first use. Once it exists no lock is taken.
    /// \return The instance.
    static T& GetInstance() {
        if (T* existing = m_Data.instance.load(std::memory_order_acquire)) return *existing;
        WriteLock guard(m_Data.lock);
        T* current = m_Data.instance.load(std::memory_order_relaxed);
        if (!current) {
            current = new T();
            m_Data.instance.store(current, std::memory_order_release);
        }
        return *current;
    }

    /// Destroys the instance now; the next GetInstance makes a new one. With final set,
    /// the release is also recorded as being for good (GetInstance does not consult it).
    /// \param final Whether the release is for good.
    static void ReleaseInstance(bool final) {
        WriteLock guard(m_Data.lock);
        delete m_Data.instance.exchange(nullptr, std::memory_order_acq_rel);
        if (final) m_Data.m_released = true;
    }

    /// Whether the instance was released.
    /// \return Whether ReleaseInstance was called with final set.
    static bool IsReleased() { return m_Data.m_released; }

private:
    static SingletonData<T> m_Data;
};

template <class T>
SingletonData<T> Singleton<T>::m_Data;

}  // namespace OvxUtils
