/// \file
/// IAppUIService: the host's own presentation of message boxes and popup menus, which
/// replaces the Win32 ones when the host offers it.
///
/// The host hands it out from QueryInterface of its application object, asked with
/// IID_IAppUIService. It is a plain interface owned by the host: the library never
/// releases it.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <windows.h>

namespace OvxComponent {

/// {C09E3AA2-365E-89A8-4041-F4284430123C}
inline constexpr GUID IID_IAppUIService = {
    0xC09E3AA2, 0x365E, 0x89A8, {0x40, 0x41, 0xF4, 0x28, 0x44, 0x30, 0x12, 0x3C}};

/// The host's own message boxes and popup menus, which the component uses instead of
/// Win32's when the host offers them (FindHostUIService).
class IAppUIService {
public:
    /// Shows text with the Win32 message-box type (MB_ buttons and icon) and returns the
    /// dialog result (IDOK ...). The extra strings are null unless the caller gave them;
    /// what the host shows of them is its own choice.
    /// \param text The message.
    /// \param extra1 An extra text, or null.
    /// \param type The MB_ buttons and icon.
    /// \param extra2 An extra text, or null.
    /// \param extra3 An extra text, or null.
    /// \return The dialog result.
    virtual int ShowMessageBox(const wchar_t* text, const wchar_t* extra1, unsigned int type,
                               const wchar_t* extra2, const wchar_t* extra3) = 0;
    /// Arguments and result as Win32 TrackPopupMenu.
    /// \param menu The menu.
    /// \param flags TPM_ flags.
    /// \param x The horizontal position, in screen coordinates.
    /// \param y The vertical position, in screen coordinates.
    /// \param reserved 0.
    /// \param owner The window that owns the menu.
    /// \param rect Ignored, as Win32 ignores it.
    /// \return The command with TPM_RETURNCMD, else nonzero on success.
    virtual int TrackPopupMenu(HMENU menu, unsigned int flags, int x, int y, int reserved, HWND owner,
                               const RECT* rect) = 0;

protected:
    ~IAppUIService() = default;
};

}  // namespace OvxComponent
