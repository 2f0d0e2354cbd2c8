// ScopedBstr: the BSTR owner's allocation and release.
#include "OvxComponent/comsupport/scoped_bstr.h"

#include <utility>

namespace OvxComponent {

ScopedBstr::ScopedBstr(std::wstring_view text) noexcept
    : m_bstr(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}

ScopedBstr ScopedBstr::Adopt(BSTR bstr) noexcept {
    ScopedBstr owner;
    owner.m_bstr = bstr;
    return owner;
}

ScopedBstr::ScopedBstr(ScopedBstr&& other) noexcept : m_bstr(std::exchange(other.m_bstr, nullptr)) {}

ScopedBstr& ScopedBstr::operator=(ScopedBstr&& other) noexcept {
    if (this != &other) {
        reset();
        m_bstr = std::exchange(other.m_bstr, nullptr);
    }
    return *this;
}

ScopedBstr::~ScopedBstr() { reset(); }

BSTR* ScopedBstr::put() noexcept {
    reset();
    return &m_bstr;
}

void ScopedBstr::reset() noexcept { SysFreeString(std::exchange(m_bstr, nullptr)); }

BSTR ScopedBstr::detach() noexcept { return std::exchange(m_bstr, nullptr); }

std::wstring_view ScopedBstr::View() const noexcept {
    return m_bstr ? std::wstring_view(m_bstr, SysStringLen(m_bstr)) : std::wstring_view();
}

}  // namespace OvxComponent
