#include "support/ui_fixture.h"

#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"

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

::testing::AssertionResult RecordingUiTest::lastBoxIs(const wchar_t* text, const wchar_t* caption,
                                                      unsigned style) const {
  auto box = ui_.lastBox();
  if (box.text == text && box.caption == caption && box.style == style)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "last box: [" << cuSz::toUtf8(box.caption) << "] " << cuSz::toUtf8(box.text)
         << " style 0x" << std::hex << box.style;
}

void TextsUiTest::SetUp() {
  RecordingUiTest::SetUp();
  ASSERT_TRUE(openLanguageDb());
}

void TextsUiTest::TearDown() {
  VxKd::lngDb().close();
  RecordingUiTest::TearDown();
}

}  // namespace vxkd_test
