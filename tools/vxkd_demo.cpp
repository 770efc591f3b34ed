// Shows the message boxes of the library in each language of the language database,
// through the console backend.

#include <cstdio>

#include "platform/paths.h"
#include "platform/sz.h"
#include "ui/language.h"
#include "ui/message_box.h"

int main() {
  CWsz folder = cuFile::libraryFolder();
  CQlg& db = VxKd::lngDb();
  if (!db.open(cuFile::joinPath(folder, L"VantQLG.ddq"), cuFile::joinPath(folder, L"VxKd.qlg"))) {
    VxKd::msgBox(nullptr, 0, L"Cannot initialize language database", 0, VxKd::appTitle(), MB_OK,
                 MB_ICONSTOP);
    return 1;
  }
  for (int i = 0; i < db.languageCount(); ++i) {
    db.setActiveLanguage(db.languageIdAt(i));
    std::printf("== Language %ld: %s\n", db.languageIdAt(i),
                cuSz::toUtf8(db.languageNameAt(i).str()).c_str());
    VxKd::commonSaveErrorMsgBox(nullptr);
    VxKd::msgBox(nullptr, 12534, L"#Dataset cannot be opened", 12536, L"#Cannot Open Dataset",
                 MB_OK, MB_ICONSTOP);
    CWszArray items;
    items.append(VxKd::lngDbText(11120, L"#Product definitions"));
    items.append(VxKd::lngDbText(11124, L"#Layer definitions"));
    VxKd::msgBox(nullptr, 11140,
                 L"#Some of the selected property definitions could not be deleted. They are "
                 L"used in following items:",
                 11142, L"#Cannot Delete", items);
    std::printf("System types: %s, %s, %s, %s\n",
                VxKd::lngDbText(10250, L"#Duct").toUtf8().c_str(),
                VxKd::lngDbText(10251, L"#Pipe").toUtf8().c_str(),
                VxKd::lngDbText(10252, L"#Elec").toUtf8().c_str(),
                VxKd::lngDbText(10253, L"#Data").toUtf8().c_str());
  }
  return 0;
}
