/// \file
/// MessageMgr: message boxes that the host may present itself.
///
/// Every function shows its text through the host's IAppUIService when the registered
/// application object offers one. Otherwise, when the host reports that it shows no
/// dialogs, nothing is shown and the answer a user would most likely give is returned
/// (OK, Ignore, Yes, or Cancel for retry/cancel). Otherwise a Win32 message box is shown,
/// captioned with the host's title (or the application object's name when no host is
/// registered) and owned by the host's main window.
///
/// The helpers may be called on any thread, but they show UI: worker threads should check
/// IsOnMainThread first.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

namespace OvxComponent::MessageMgr {

/// Shows a message with the information icon, through the host's service or Win32.
/// \param text The message.
OVX_API void ShowMessage(const wchar_t* text);
/// Shows a warning.
/// \param text The message.
OVX_API void ShowWarning(const wchar_t* text);
/// extra1..extra3 go to the host's service; the Win32 fallback does not show them.
/// Shows a warning with extra texts.
/// \param text The message.
/// \param extra1 An extra text, or null.
/// \param extra2 An extra text, or null.
/// \param extra3 An extra text, or null.
OVX_API void ShowWarning(const wchar_t* text, const wchar_t* extra1, const wchar_t* extra2,
                         const wchar_t* extra3);
/// Shows an error.
/// \param text The message.
OVX_API void ShowError(const wchar_t* text);
/// type: the Win32 MB_ buttons and icon. Returns the dialog result (IDOK ...).
/// Asks the user.
/// \param type The MB_ buttons and icon.
/// \param text The question.
/// \return The dialog result.
OVX_API int ShowConfirmation(unsigned int type, const wchar_t* text);

/// The Format* forms build the text with the Win32 FormatMessage insert syntax (%1,
/// %2!d! ...), not printf syntax. A null or empty format shows an empty text; a format
/// that FormatMessage refuses is shown as it is.
/// \param format The message's format.
OVX_API void FormatAndShowMessage(const wchar_t* format, ...);
/// Shows a formatted warning.
/// \param format The message's format.
OVX_API void FormatAndShowWarning(const wchar_t* format, ...);
/// Shows a formatted error.
/// \param format The message's format.
OVX_API void FormatAndShowError(const wchar_t* format, ...);
/// Asks the user with a formatted question.
/// \param type The MB_ buttons and icon.
/// \param format The question's format.
/// \return The dialog result.
OVX_API int FormatAndShowConfirmation(unsigned int type, const wchar_t* format, ...);

}  // namespace OvxComponent::MessageMgr
