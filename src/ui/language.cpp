#include "vxkd/ui/language.h"

#include "platform/ui_thread.h"

namespace VxKd {

CQlg& lngDb() {
  VXKD_ASSERT_UI_THREAD();
  static CQlg db;
  return db;
}

CWsz lngDbText(long id, const wchar_t* defaultText) { return lngDb().text(id, defaultText); }

const wchar_t* appTitle() { return L"Vantrix"; }

}  // namespace VxKd
