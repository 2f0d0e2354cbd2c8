// CComObjectAppLock<Base>: makes Base a creatable COM object that keeps the host
// application locked while it lives.
//
// Base derives from CComObjectRootEx and supplies InternalQueryInterface; this template
// adds QueryInterface, AddRef and Release. Objects are handed to script clients, which may
// hold them after the code that made them is gone; the application lock keeps the host
// from shutting down under them. AppLock names the lock: HostAppLock, defined by the host
// binding, locks the application object the host registered, if any.
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace OvxComponent {

struct HostAppLock;

template <class Base, class AppLock = HostAppLock>
class CComObjectAppLock final : public Base {
public:
    // A new object with count 0 and the application locked. E_POINTER when result is null;
    // E_OUTOFMEMORY, with *result null, when the object cannot be made or locking the
    // application throws.
    static HRESULT CreateInstance(CComObjectAppLock** result) noexcept {
        if (!result) return E_POINTER;
        *result = nullptr;
        try {
            *result = new CComObjectAppLock();
        } catch (...) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        return this->InternalQueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return this->InternalAddRef(); }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG count = this->InternalRelease();
        if (count == 0) delete this;
        return count;
    }

private:
    // A throwing lock leaves the object unmade: the destructor, and with it the unlock,
    // does not run.
    CComObjectAppLock() { AppLock::Lock(); }

    ~CComObjectAppLock() override {
        // A count far from zero, so that a reference taken and dropped during destruction
        // cannot destroy the object a second time.
        this->m_refCount = 0xC0000001;
        try {
            AppLock::Unlock();
        } catch (...) {  // nothing may leave a Release
        }
    }
};

}  // namespace OvxComponent
