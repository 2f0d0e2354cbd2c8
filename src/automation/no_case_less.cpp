// NoCaseLess: the comparison of CString::CompareNoCase over plain wide text.
#include "OvxComponent/automation/no_case_less.h"

namespace OvxComponent {

int NoCaseLess::Compare(std::wstring_view a, std::wstring_view b) noexcept { return CString::CompareNoCase(a, b); }

}  // namespace OvxComponent
