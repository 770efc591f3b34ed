#include "vxkd/drawingdefs/def_import_report.h"

#include <string>

void CKdDefImportReport::empty() {
  added_.empty();
  replaced_.empty();
  skipped_.empty();
}

void CKdDefImportReport::addSkipped(const wchar_t* name, int lineNumber, skipReason reason) {
  std::wstring item = name && *name ? name : L"line " + std::to_wstring(lineNumber);
  skipped_.append(CWsz(item + L": " + reasonText(reason)));
}

const wchar_t* CKdDefImportReport::reasonText(skipReason reason) {
  switch (reason) {
    case reservedName:
      return L"a name every drawing has already";
    case noName:
      return L"no name";
    case noPattern:
      return L"no pattern line";
    case lineTooLong:
      return L"a line too long";
  }
  return L"";
}
