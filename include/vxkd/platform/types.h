#pragma once
// Handle types and constants of the host's windowing system, in a namespace of their own so
// that they never meet a host's own HWND or MB_OK in the global namespace. The logic passes
// the handles through and never looks inside them; a null HWND is always valid (no parent
// window).

#include <cstdint>

namespace cuWin {

struct HWND__;
struct HKEY__;
using HWND = HWND__*;
using HKEY = HKEY__*;

// Message-box style words.
constexpr unsigned MB_OK = 0x0;
constexpr unsigned MB_OKCANCEL = 0x1;
constexpr unsigned MB_YESNO = 0x4;
constexpr unsigned MB_ICONSTOP = 0x10;
constexpr unsigned MB_ICONQUESTION = 0x20;
constexpr unsigned MB_ICONEXCLAMATION = 0x30;
constexpr unsigned MB_ICONINFORMATION = 0x40;
constexpr unsigned MB_TASKMODAL = 0x2000;
constexpr unsigned MB_TYPEMASK = 0xF;
constexpr unsigned MB_ICONMASK = 0xF0;

// Buttons a message box returns.
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

}  // namespace cuWin
