#include "vxkd/platform/qlg.h"

#include <sstream>

#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"

namespace {

std::wstring unescape(const std::string& raw) {
  std::wstring text = cuSz::fromUtf8(raw);
  std::wstring out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != L'\\' || i + 1 == text.size()) {
      out += text[i];
      continue;
    }
    wchar_t next = text[++i];
    out += next == L'r' ? L'\r' : next == L'n' ? L'\n' : next == L't' ? L'\t' : next;
  }
  return out;
}

}  // namespace

bool CQlg::open(const wchar_t* dictionaryPath, const wchar_t* textsPath) {
  close();
  std::vector<std::string> lines;
  if (!cuFile::readTextLines(dictionaryPath, lines)) return false;

  bool formatSeen = false;
  long defaultId = 0;
  std::vector<Language> languages;
  for (const auto& line : lines) {
    if (cuFile::isCommentOrBlank(line)) continue;
    std::istringstream words(line);
    std::string keyword;
    words >> keyword;
    if (keyword == "format") {
      std::string name;
      int version = 0;
      words >> name >> version;
      formatSeen = name == "vxkd-language-texts" && version == 1;
    } else if (keyword == "language") {
      long id = 0;
      std::string flag, name;
      words >> id >> flag;
      std::getline(words, name);
      if (id < 1500) return false;
      languages.push_back({id, CWsz(cuSz::fromUtf8(name)).trim()});
      if (flag == "default") defaultId = id;
    }
  }
  if (!formatSeen || defaultId == 0) return false;

  if (!cuFile::readTextLines(textsPath, lines)) return false;
  std::unordered_map<long, std::unordered_map<long, std::wstring>> texts;
  std::unordered_map<long, std::wstring>* section = nullptr;
  for (const auto& line : lines) {
    if (cuFile::isCommentOrBlank(line)) continue;
    if (line[0] == '[') {
      long id = 0;
      if (!cuSz::scanLong(line.c_str() + 1, id)) return false;
      bool declared = false;
      for (const auto& l : languages) declared = declared || l.id == id;
      if (!declared) return false;
      section = &texts[id];
      continue;
    }
    size_t eq = line.find('=');
    long id = 0;
    if (!section || eq == std::string::npos || !cuSz::scanLong(line.substr(0, eq).c_str(), id) ||
        id < 1)
      continue;
    (*section)[id] = unescape(line.substr(eq + 1));
  }

  languages_ = std::move(languages);
  texts_ = std::move(texts);
  defaultLanguage_ = activeLanguage_ = defaultId;
  return true;
}

void CQlg::close() {
  languages_.clear();
  texts_.clear();
  defaultLanguage_ = activeLanguage_ = 0;
}

bool CQlg::setActiveLanguage(long id) {
  for (const auto& l : languages_)
    if (l.id == id) {
      activeLanguage_ = id;
      return true;
    }
  return false;
}

long CQlg::languageIdAt(int index) const {
  return index >= 0 && index < languageCount() ? languages_[index].id : 0;
}

CWsz CQlg::languageNameAt(int index) const {
  return index >= 0 && index < languageCount() ? languages_[index].name : CWsz();
}

const wchar_t* CQlg::find(long id) const {
  auto language = texts_.find(activeLanguage_);
  if (language == texts_.end()) return nullptr;
  auto text = language->second.find(id);
  return text == language->second.end() ? nullptr : text->second.c_str();
}

CWsz CQlg::text(long id, const wchar_t* defaultText) const {
  if (!defaultText) defaultText = L"";
  if (id < 1) return CWsz(defaultText);
  if (const wchar_t* found = find(id)) return CWsz(found);
  return CWsz(defaultText[0] == L'#' ? defaultText + 1 : defaultText);
}
