/// \file
/// CVariantEnum: an IEnumVARIANT over a list of VARIANTs that a collection fills before it
/// hands the enumerator out.
///
/// It exists only as CComObjectAppLock<CVariantEnum>, made by CreateObjectInstance: the
/// object keeps the host application locked (when one is registered) for as long as it
/// lives, so that the host does not shut down under a script that is still enumerating.
/// Unlike the usual IEnumVARIANT contract, a clone starts at the first element, not at the
/// position of the enumerator it was cloned from.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/automation/enum_base.h"
#include "OvxComponent/comsupport/scoped_variant.h"
#include "OvxComponent/platform/ovx_export.h"

#include <vector>

namespace OvxComponent {

/// An IEnumVARIANT over VARIANTs it holds: what a collection's _NewEnum returns, so that
/// script clients can walk it with For Each.
class OVX_API CVariantEnum : public CEnumBase {
public:
    /// A new enumerator with one reference in *result. E_POINTER when result is null;
    /// E_OUTOFMEMORY, with *result null, when it cannot be made or locking the host
    /// application throws.
    /// \param result Receives the enumerator.
    /// \return S_OK, E_POINTER or E_OUTOFMEMORY.
    static HRESULT CreateObjectInstance(CVariantEnum** result);
    /// The same; null on failure.
    /// \return The enumerator with one reference, or null.
    static CVariantEnum* CreateObjectInstance();

    /// Appends object as a VT_DISPATCH element. With addRef the enumerator takes a
    /// reference of its own; without, it adopts the caller's. Throws std::bad_alloc when
    /// out of memory, after releasing what it had adopted.
    /// \param object The element.
    /// \param addRef Whether to take a reference of its own.
    void AddObject(IDispatch* object, bool addRef);
    /// With copy, appends a deep copy and value stays the caller's (a value VariantCopy
    /// refuses, of a type it does not know, is appended as VT_EMPTY). Without, it takes
    /// value over as it is: the caller must not clear value afterwards. Throws
    /// std::bad_alloc when out of memory (an adopted value is cleared then).
    /// \param value The element.
    /// \param copy Whether to append a copy instead of taking value over.
    void AddVariant(VARIANT& value, bool copy);

    /// A new enumerator over deep copies of the elements, positioned at the first one.
    /// E_OUTOFMEMORY when it cannot be made; the failure of VariantCopy when an element
    /// cannot be copied.
    /// \param result Receives the new enumerator.
    /// \return S_OK, or the failure.
    STDMETHODIMP Clone(IEnumVARIANT** result) override;

protected:
    CVariantEnum() = default;
    ~CVariantEnum() override;

    /// \return The number of elements.
    std::size_t GetCount() const override;
    /// \param position The element's index.
    /// \param out Receives the copy.
    /// \return S_OK, E_FAIL past the end, or the copy's failure.
    HRESULT GetItem(std::size_t position, VARIANT& out) override;

private:
    std::vector<ScopedVariant> m_items;
};

}  // namespace OvxComponent
