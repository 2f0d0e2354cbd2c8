// The reference counting of CTypeLib and CTypeInfo, written once over their m_refCount.
//
// A count that has reached zero is final: the object is being destroyed, so TryAddRef
// refuses it, and a registry that still lists it hands out nothing.
#pragma once

#include <atomic>

namespace OvxComponent::RefCount {

inline void Add(std::atomic<unsigned long>& count) { count.fetch_add(1, std::memory_order_relaxed); }

// True when this was the last reference: the caller then unregisters and deletes.
inline bool Drop(std::atomic<unsigned long>& count) { return count.fetch_sub(1, std::memory_order_acq_rel) == 1; }

// Raises a count that has not reached zero; false once it has.
inline bool TryAdd(std::atomic<unsigned long>& count) {
    unsigned long current = count.load(std::memory_order_relaxed);
    while (current != 0) {
        if (count.compare_exchange_weak(current, current + 1, std::memory_order_acq_rel)) return true;
    }
    return false;
}

inline unsigned long Get(const std::atomic<unsigned long>& count) { return count.load(std::memory_order_relaxed); }

}  // namespace OvxComponent::RefCount
