/// \file
/// CEnumBase: IEnumVARIANT implemented once over two operations, the number of elements
/// and a copy of one element by position, for the enumerators that automation
/// collections hand out for _NewEnum (a script's For Each).
///
/// An enumerator is a single-threaded apartment object: one thread uses it, the count is
/// not atomic and there is no lock. QueryInterface, AddRef and Release come from the
/// creatable object (CComObjectAppLock) made of the concrete class.
#pragma once

#include "OvxComponent/comsupport/com_object_root.h"
#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>
#include <oaidl.h>

#include <cstddef>
#include <cstdint>

namespace OvxComponent {

class OVX_API CEnumBase : public CComObjectRootEx<CComSingleThreadModel>, public IEnumVARIANT {
public:
    CEnumBase() = default;
    virtual ~CEnumBase();

    /// Copies up to count elements into items, whose elements must be valid VARIANTs
    /// (VT_EMPTY, for instance): each is cleared before it is overwritten. fetched may be
    /// null only when count is 1. S_FALSE when fewer than count were left. When copying an
    /// element fails, the ones copied by this call are cleared, *fetched stays 0, and the
    /// failure is returned; the position stays past the elements that were copied.
    STDMETHODIMP Next(ULONG count, VARIANT* items, ULONG* fetched) override;
    /// S_FALSE, with the position at the end, when fewer than count were left.
    STDMETHODIMP Skip(ULONG count) override;
    STDMETHODIMP Reset() override;

protected:
    /// Answers IUnknown and IEnumVARIANT with this object and one reference.
    HRESULT InternalQueryInterface(REFIID iid, void** object);

    virtual std::size_t GetCount() const = 0;
    /// A copy of the element at position into out (cleared first); E_FAIL past the end.
    virtual HRESULT GetItem(std::size_t position, VARIANT& out) = 0;

    std::uint64_t m_position = 0;  ///< of the next element to return
};

}  // namespace OvxComponent
