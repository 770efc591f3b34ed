#pragma once
// The program's language texts: the one language database and the look-up with default.

#include "vxkd/platform/export.h"
#include "vxkd/platform/qlg.h"
#include "vxkd/platform/wsz.h"

namespace VxKd {

// The one language database of the program (closed until start-up opens it; while closed
// every text is its default).
VXKD_API CQlg& lngDb();

// The text of `id` in the active language. An id below 1 gives `defaultText` as it stands;
// a text the language lacks gives `defaultText` without its leading "#".
VXKD_API CWsz lngDbText(long id, const wchar_t* defaultText);

// The application title, caption of the program's own boxes.
VXKD_API const wchar_t* appTitle();

}  // namespace VxKd
