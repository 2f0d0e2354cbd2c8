// CMenu: an owned popup menu handle and the calls made on it.
#include "OvxComponent/comsupport/menu.h"

#include <utility>

namespace OvxComponent {

CMenu::~CMenu() { DestroyMenu(); }

bool CMenu::CreatePopupMenu() {
    if (m_hMenu) return false;
    m_hMenu = ::CreatePopupMenu();
    return m_hMenu != nullptr;
}

bool CMenu::AppendMenu(unsigned int flags, UINT_PTR id, const wchar_t* text) {
    return m_hMenu && ::AppendMenuW(m_hMenu, flags, id, text);
}

void CMenu::Attach(HMENU menu) {
    DestroyMenu();
    m_hMenu = menu;
}

HMENU CMenu::Detach() { return std::exchange(m_hMenu, nullptr); }

void CMenu::DestroyMenu() {
    if (HMENU menu = std::exchange(m_hMenu, nullptr)) ::DestroyMenu(menu);
}

}  // namespace OvxComponent
