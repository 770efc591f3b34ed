#pragma once
// The program's language texts for the property tests.
//
// The unit table translates its descriptions once, at its first use in the process, so
// every test that touches units opens the texts with the default language (English)
// first, and a test that switches language switches back before it ends.

#include "platform/paths.h"
#include "ui/language.h"

namespace vxkd_test {

// Opens the language database of the program folder, the default language active, unless
// it is open already. The English texts equal their defaults without "#", so a test sees
// the same wording whether or not the files were found.
inline void openLanguageTexts() {
  CQlg& db = VxKd::lngDb();
  if (!db.isOpen())
    db.open(cuFile::joinPath(cuFile::libraryFolder(), L"VantQLG.ddq"),
            cuFile::joinPath(cuFile::libraryFolder(), L"VxKd.qlg"));
}

// Makes a language active for one scope, then the default language again.
class ScopedLanguage {
 public:
  explicit ScopedLanguage(long languageId) {
    openLanguageTexts();
    active_ = VxKd::lngDb().setActiveLanguage(languageId);
  }
  ~ScopedLanguage() { VxKd::lngDb().setActiveLanguage(VxKd::lngDb().defaultLanguage()); }
  ScopedLanguage(const ScopedLanguage&) = delete;
  ScopedLanguage& operator=(const ScopedLanguage&) = delete;

  // False when the texts could not be opened or do not declare the language.
  bool active() const { return active_; }

 private:
  bool active_ = false;
};

constexpr long kGerman = 1501;

}  // namespace vxkd_test
