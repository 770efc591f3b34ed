#pragma once
// The message boxes of the program. Each looks its text (and caption) up in the language
// database (an id below 1: the text as it stands), and shows a task-modal box through the
// user-interface backend. Where a box has several buttons, the result is the button pressed.

#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/ui/language.h"

namespace VxKd {

// OK, caption the application title.
VXKD_API int msgBox(HWND hwnd, long textId, const wchar_t* text);
// OK with the stop icon.
VXKD_API int msgErrorBox(HWND hwnd, long textId, const wchar_t* text);
// OK with the exclamation icon.
VXKD_API int msgWarningBox(HWND hwnd, long textId, const wchar_t* text);
// OK and Cancel.
VXKD_API int okCancelMsgBox(HWND hwnd, long textId, const wchar_t* text);
// Yes and No with the question icon.
VXKD_API int yesNoMsgBox(HWND hwnd, long textId, const wchar_t* text);
VXKD_API int yesNoMsgBox(HWND hwnd, long textId, const wchar_t* text, long captionId,
                         const wchar_t* caption);
// Yes and No with the exclamation icon.
VXKD_API int yesNoWarningMsgBox(HWND hwnd, long textId, const wchar_t* text);
// The general form: the two style words combined, plus task-modal.
VXKD_API int msgBox(HWND hwnd, long textId, const wchar_t* text, long captionId,
                    const wchar_t* caption, int style1, int style2);
// The text, "\r\n", then "\r\n - " and each item; OK with the information icon.
VXKD_API int msgBox(HWND hwnd, long textId, const wchar_t* text, long captionId,
                    const wchar_t* caption, const CWszArray& items);
// "Cannot save data" under "Save Failed", with the stop icon.
VXKD_API int commonSaveErrorMsgBox(HWND hwnd);

// Shows the looked-up text with a "show again" check box when `condition` is 1 and the
// user has not switched such messages off. Unticking the box switches off every message of
// this kind, not just this one: they share one switch.
VXKD_API void warnIfWantedMsgBox(HWND hwnd, int condition, long textId, const wchar_t* text);

}  // namespace VxKd
