/// \file
/// CComPtr<T>: a counted reference to a COM interface.
///
/// The pointer holds one reference for as long as it is set. Constructing or assigning from
/// a raw pointer takes a new reference; attach() adopts one the caller already holds.
/// put() releases the current pointer first, so that a pointer can be filled by an
/// out-parameter again and again without leaking.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <cstddef>
#include <utility>

namespace OvxComponent {

template <class T>
class CComPtr {
public:
    CComPtr() noexcept = default;
    CComPtr(std::nullptr_t) noexcept {}  // NOLINT: lets a function return nullptr
    explicit CComPtr(T* pointer) noexcept : m_p(pointer) {
        if (m_p) m_p->AddRef();
    }
    CComPtr(const CComPtr& other) noexcept : CComPtr(other.m_p) {}
    CComPtr(CComPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    ~CComPtr() { reset(); }

    CComPtr& operator=(const CComPtr& other) noexcept {
        CComPtr(other).swap(*this);
        return *this;
    }
    CComPtr& operator=(CComPtr&& other) noexcept {
        CComPtr(std::move(other)).swap(*this);
        return *this;
    }

    T* get() const noexcept { return m_p; }
    T* operator->() const noexcept { return m_p; }
    explicit operator bool() const noexcept { return m_p != nullptr; }

    /// Releases the current pointer and hands out the empty slot for an out-parameter.
    T** put() noexcept {
        reset();
        return &m_p;
    }
    /// The same slot typed for QueryInterface-style out-parameters.
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }

    void reset() noexcept {
        if (T* old = std::exchange(m_p, nullptr)) old->Release();
    }
    /// Adopts a reference the caller holds; the previous pointer is released.
    void attach(T* pointer) noexcept {
        reset();
        m_p = pointer;
    }
    /// Gives the held reference to the caller.
    [[nodiscard]] T* detach() noexcept { return std::exchange(m_p, nullptr); }
    void swap(CComPtr& other) noexcept { std::swap(m_p, other.m_p); }

    /// Copies the pointer into an out-parameter with a reference of its own.
    HRESULT CopyTo(T** out) const noexcept {
        if (!out) return E_POINTER;
        *out = m_p;
        if (m_p) m_p->AddRef();
        return S_OK;
    }

    template <class U>
    HRESULT QueryInterface(REFIID iid, CComPtr<U>& out) const noexcept {
        if (!m_p) return E_POINTER;
        return m_p->QueryInterface(iid, out.put_void());
    }

    /// Whether this pointer and other belong to one COM object (compared through IUnknown).
    bool IsSameObject(IUnknown* other) const noexcept {
        if (!m_p || !other) return m_p == nullptr && other == nullptr;
        CComPtr<IUnknown> mine, theirs;
        if (FAILED(m_p->QueryInterface(IID_IUnknown, mine.put_void())) ||
            FAILED(other->QueryInterface(IID_IUnknown, theirs.put_void())))
            return false;
        return mine.get() == theirs.get();
    }

    friend bool operator==(const CComPtr& a, const CComPtr& b) noexcept { return a.m_p == b.m_p; }
    friend bool operator==(const CComPtr& a, std::nullptr_t) noexcept { return a.m_p == nullptr; }

private:
    T* m_p = nullptr;
};

}  // namespace OvxComponent
