#pragma once
// The message boxes of the program. Each looks its text (and caption) up in the language
// database (an id below 1: the text as it stands), and shows a task-modal box through the
// user-interface backend. Where a box has several buttons, the result is the button pressed.

#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/ui/language.h"

// What the message boxes need of the user's preferences: the one switch of the messages that
// warnIfWantedMsgBox shows. Start-up (VxKd::initVxKd) installs the user's preferences as the
// registry holds them; a host or a test may install its own.
class VXKD_API iKdMsgBoxPreferences {
 public:
  virtual ~iKdMsgBoxPreferences() = default;
  // Whether those messages are shown.
  virtual bool displayCreatedWithMsg() const = 0;
  // Stores the switch; false when it cannot be stored.
  virtual bool setDisplayCreatedWithMsg(bool on) = 0;
};

namespace VxKd {

// Installs `preferences` and returns the ones it replaces; null installs a switch kept in
// memory, on at first. The caller keeps ownership and keeps `preferences` alive while they
// are installed. REQUIRES the user-interface thread.
VXKD_API iKdMsgBoxPreferences* setMsgBoxPreferences(iKdMsgBoxPreferences* preferences);
// The installed preferences. REQUIRES the user-interface thread.
VXKD_API iKdMsgBoxPreferences& msgBoxPreferences();

// OK, caption the application title.
VXKD_API int msgBox(cuWin::HWND hwnd, long textId, const wchar_t* text);
// OK with the stop icon.
VXKD_API int msgErrorBox(cuWin::HWND hwnd, long textId, const wchar_t* text);
// OK with the exclamation icon.
VXKD_API int msgWarningBox(cuWin::HWND hwnd, long textId, const wchar_t* text);
// OK and Cancel.
VXKD_API int okCancelMsgBox(cuWin::HWND hwnd, long textId, const wchar_t* text);
// Yes and No with the question icon.
VXKD_API int yesNoMsgBox(cuWin::HWND hwnd, long textId, const wchar_t* text);
VXKD_API int yesNoMsgBox(cuWin::HWND hwnd, long textId, const wchar_t* text, long captionId,
                         const wchar_t* caption);
// Yes and No with the exclamation icon.
VXKD_API int yesNoWarningMsgBox(cuWin::HWND hwnd, long textId, const wchar_t* text);
// The general form: the two style words combined, plus task-modal.
VXKD_API int msgBox(cuWin::HWND hwnd, long textId, const wchar_t* text, long captionId,
                    const wchar_t* caption, int style1, int style2);
// The text, "\r\n", then "\r\n - " and each item; OK with the information icon.
VXKD_API int msgBox(cuWin::HWND hwnd, long textId, const wchar_t* text, long captionId,
                    const wchar_t* caption, const CWszArray& items);
// "Cannot save data" under "Save Failed", with the stop icon.
VXKD_API int commonSaveErrorMsgBox(cuWin::HWND hwnd);

// Shows the looked-up text with a "show again" check box when `condition` is 1 and the
// installed preferences have not switched such messages off. Unticking the box switches off
// every message of this kind, not just this one: they share one switch.
VXKD_API void warnIfWantedMsgBox(cuWin::HWND hwnd, int condition, long textId, const wchar_t* text);

}  // namespace VxKd
