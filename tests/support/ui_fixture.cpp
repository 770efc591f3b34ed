#include "support/ui_fixture.h"

#include "platform/paths.h"
#include "ui/language.h"

namespace vxkd_test {

bool openLanguageDb(long language) {
  CWsz folder = cuFile::libraryFolder();
  CQlg& db = VxKd::lngDb();
  if (!db.open(cuFile::joinPath(folder, L"VantQLG.ddq"), cuFile::joinPath(folder, L"VxKd.qlg")))
    return false;
  return language == 0 || db.setActiveLanguage(language);
}

ScopedLanguage::ScopedLanguage(long language) {
  CQlg& db = VxKd::lngDb();
  active_ = (db.isOpen() || openLanguageDb()) && db.setActiveLanguage(language);
}

ScopedLanguage::~ScopedLanguage() {
  VxKd::lngDb().setActiveLanguage(VxKd::lngDb().defaultLanguage());
}

}  // namespace vxkd_test
