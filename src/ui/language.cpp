#include "vxkd/ui/language.h"

namespace VxKd {

CQlg& lngDb() {
  static CQlg db;
  return db;
}

CWsz lngDbText(long id, const wchar_t* defaultText) { return lngDb().text(id, defaultText); }

const wchar_t* appTitle() { return L"Vantrix"; }

}  // namespace VxKd
