/// \file
/// CEnumBase: IEnumVARIANT implemented once over two operations, the number of elements
/// and a copy of one element by position, for the enumerators that automation
/// collections hand out for _NewEnum (a script's For Each).
///
/// An enumerator is a single-threaded apartment object: one thread uses it, the count is
/// not atomic and there is no lock. QueryInterface, AddRef and Release come from the
/// creatable object (CComObjectAppLock) made of the concrete class.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/comsupport/com_object_root.h"
#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>
#include <oaidl.h>

#include <cstddef>
#include <cstdint>

namespace OvxComponent {

/// The IEnumVARIANT of a collection: Next, Skip and Reset over the elements that a
/// derived class counts and copies out (GetCount, GetItem).
class OVX_API CEnumBase : public CComObjectRootEx<CComSingleThreadModel>, public IEnumVARIANT {
public:
    CEnumBase() = default;
    virtual ~CEnumBase();

    /// Copies up to count elements into items, whose elements must be valid VARIANTs
    /// (VT_EMPTY, for instance): each is cleared before it is overwritten. fetched may be
    /// null only when count is 1. S_FALSE when fewer than count were left. When copying an
    /// element fails, the ones copied by this call are cleared, *fetched stays 0, and the
    /// failure is returned; the position stays past the elements that were copied.
    /// \param count The most elements to copy.
    /// \param items Receives the elements.
    /// \param fetched Receives how many were copied; may be null when count is 1.
    /// \return S_OK, S_FALSE, or the failure.
    STDMETHODIMP Next(ULONG count, VARIANT* items, ULONG* fetched) override;
    /// S_FALSE, with the position at the end, when fewer than count were left.
    /// \param count The number of elements to pass over.
    /// \return S_OK or S_FALSE.
    STDMETHODIMP Skip(ULONG count) override;
    /// Goes back to the first element.
    /// \return S_OK.
    STDMETHODIMP Reset() override;

protected:
    /// Answers IUnknown and IEnumVARIANT with this object and one reference.
    /// \param iid The interface asked for.
    /// \param object Receives it.
    /// \return S_OK, E_NOINTERFACE, or E_POINTER for a null object.
    HRESULT InternalQueryInterface(REFIID iid, void** object);

    /// \return The number of elements.
    virtual std::size_t GetCount() const = 0;
    /// A copy of the element at position into out (cleared first); E_FAIL past the end.
    /// \param position The element's index.
    /// \param out Receives the copy.
    /// \return S_OK, E_FAIL past the end, or the copy's failure.
    virtual HRESULT GetItem(std::size_t position, VARIANT& out) = 0;

    std::uint64_t m_position = 0;  ///< of the next element to return
};

}  // namespace OvxComponent
