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

}  // namespace vxkd_test
