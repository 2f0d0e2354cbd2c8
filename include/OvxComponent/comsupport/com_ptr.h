/// \file
/// CComPtr<T>: a counted reference to a COM interface.
///
/// The pointer holds one reference for as long as it is set. Constructing or assigning from
/// a raw pointer takes a new reference; attach() adopts one the caller already holds.
/// put() releases the current pointer first, so that a pointer can be filled by an
/// out-parameter again and again without leaking.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <windows.h>
#include <unknwn.h>

#include <cstddef>
#include <utility>

namespace OvxComponent {

template <class T>
/// A counted reference to the COM interface T.
/// \tparam T The interface.
class CComPtr {
public:
    CComPtr() noexcept = default;
    /// An empty pointer, so that a function can return nullptr.
    CComPtr(std::nullptr_t) noexcept {}  // NOLINT: lets a function return nullptr
    /// Takes a new reference on pointer.
    /// \param pointer The interface, or null.
    explicit CComPtr(T* pointer) noexcept : m_p(pointer) {
        if (m_p) m_p->AddRef();
    }
    /// Takes a new reference on the other's interface.
    /// \param other The pointer to copy.
    CComPtr(const CComPtr& other) noexcept : CComPtr(other.m_p) {}
    /// Takes over the other's reference.
    /// \param other The pointer to move from; empty afterwards.
    CComPtr(CComPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    ~CComPtr() { reset(); }

    /// Releases the current reference and takes one on the other's interface.
    /// \param other The pointer to copy.
    /// \return This pointer.
    CComPtr& operator=(const CComPtr& other) noexcept {
        CComPtr(other).swap(*this);
        return *this;
    }
    /// Releases the current reference and takes over the other's.
    /// \param other The pointer to move from; empty afterwards.
    /// \return This pointer.
    CComPtr& operator=(CComPtr&& other) noexcept {
        CComPtr(std::move(other)).swap(*this);
        return *this;
    }

    /// \return The interface, without a reference of the caller's own; or null.
    T* get() const noexcept { return m_p; }
    /// \return The interface, to call it.
    T* operator->() const noexcept { return m_p; }
    /// \return Whether an interface is held.
    explicit operator bool() const noexcept { return m_p != nullptr; }

    /// Releases the current pointer and hands out the empty slot for an out-parameter.
    /// \return The slot, empty.
    T** put() noexcept {
        reset();
        return &m_p;
    }
    /// The same slot typed for QueryInterface-style out-parameters.
    /// \return The slot, empty.
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }

    /// Releases the reference; the pointer is empty afterwards.
    void reset() noexcept {
        if (T* old = std::exchange(m_p, nullptr)) old->Release();
    }
    /// Adopts a reference the caller holds; the previous pointer is released.
    /// \param pointer The interface whose reference is adopted, or null.
    void attach(T* pointer) noexcept {
        reset();
        m_p = pointer;
    }
    /// Gives the held reference to the caller.
    /// \return The interface, with the reference the pointer held; or null.
    [[nodiscard]] T* detach() noexcept { return std::exchange(m_p, nullptr); }
    /// Exchanges the interfaces of two pointers.
    /// \param other The other pointer.
    void swap(CComPtr& other) noexcept { std::swap(m_p, other.m_p); }

    /// Copies the pointer into an out-parameter with a reference of its own.
    /// \param out Receives the interface, or null when none is held.
    /// \return S_OK, or E_POINTER for a null out.
    HRESULT CopyTo(T** out) const noexcept {
        if (!out) return E_POINTER;
        *out = m_p;
        if (m_p) m_p->AddRef();
        return S_OK;
    }

    template <class U>
    /// Asks the held object for another interface.
    /// \tparam U The interface asked for.
    /// \param iid Its interface ID.
    /// \param out Receives it.
    /// \return The object's answer; E_POINTER when no interface is held.
    HRESULT QueryInterface(REFIID iid, CComPtr<U>& out) const noexcept {
        if (!m_p) return E_POINTER;
        return m_p->QueryInterface(iid, out.put_void());
    }

    /// Whether this pointer and other belong to one COM object (compared through IUnknown).
    /// \param other Another interface, or null.
    /// \return Whether both are null or belong to one object.
    bool IsSameObject(IUnknown* other) const noexcept {
        if (!m_p || !other) return m_p == nullptr && other == nullptr;
        CComPtr<IUnknown> mine, theirs;
        if (FAILED(m_p->QueryInterface(IID_IUnknown, mine.put_void())) ||
            FAILED(other->QueryInterface(IID_IUnknown, theirs.put_void())))
            return false;
        return mine.get() == theirs.get();
    }

    /// \param a The first pointer.
    /// \param b The second pointer.
    /// \return Whether both hold the same interface pointer.
    friend bool operator==(const CComPtr& a, const CComPtr& b) noexcept { return a.m_p == b.m_p; }
    /// \param a The pointer.
    /// \return Whether it is empty.
    friend bool operator==(const CComPtr& a, std::nullptr_t) noexcept { return a.m_p == nullptr; }

private:
    T* m_p = nullptr;
};

}  // namespace OvxComponent
