#pragma once
// CQlg, the language database: translated texts by numeric id, one set per language.
//
// The texts file holds "[language id]" sections of "id=text" lines (UTF-8; "\r", "\n",
// "\t" and "\\" escapes; "#" begins a comment line). Its dictionary declares the languages
// ("language <id> default|- <name>", ids 1500 and above) under the line
// "format vxkd-language-texts 1".

#include <map>
#include <string>
#include <unordered_map>

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

class VXKD_API CQlg {
 public:
  // Reads the dictionary and the texts. False, and the database closed, when either file
  // cannot be read, the dictionary declares no default language, or the texts name an
  // undeclared language. Lines that are not "id=text" with an id of 1 or more are skipped.
  bool open(const wchar_t* dictionaryPath, const wchar_t* textsPath);
  void close();
  bool isOpen() const { return defaultLanguage_ != 0; }

  // The default language id; 0 when closed.
  long defaultLanguage() const { return defaultLanguage_; }
  long activeLanguage() const { return activeLanguage_; }
  // Makes `id` active; false, and nothing changed, when the dictionary does not declare it.
  bool setActiveLanguage(long id);

  int languageCount() const { return static_cast<int>(languages_.size()); }
  long languageIdAt(int index) const;
  CWsz languageNameAt(int index) const;

  // The text of `id` in the active language, or null when it has none.
  const wchar_t* find(long id) const;
  // The look-up rule of every user-visible text: an id below 1 gives `defaultText` as it
  // stands; otherwise the active language's text, or `defaultText` without one leading "#".
  CWsz text(long id, const wchar_t* defaultText) const;

 private:
  struct Language {
    long id;
    CWsz name;
  };
  std::vector<Language> languages_;
  std::unordered_map<long, std::unordered_map<long, std::wstring>> texts_;
  long defaultLanguage_ = 0;
  long activeLanguage_ = 0;
};
