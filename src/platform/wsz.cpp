#include "vxkd/platform/wsz.h"

#include <charconv>

#include "vxkd/platform/sz.h"

CWsz& CWsz::set(const wchar_t* text) {
  str_ = text ? text : L"";
  return *this;
}

CWsz& CWsz::cat(const wchar_t* text) {
  if (text) str_ += text;
  return *this;
}

CWsz& CWsz::cat(wchar_t c) {
  str_ += c;
  return *this;
}

CWsz& CWsz::cat(int value, int) {
  // to_chars rather than a wide printf, which costs many times more: a catalogue's save
  // prints an id for each of its hundreds of thousands of property values.
  char digits[16];
  const char* end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  cuSz::appendAscii(str_, digits, end);
  return *this;
}

int CWsz::compare(const wchar_t* other) const { return str_.compare(other ? other : L""); }

int CWsz::compareNoCase(const wchar_t* other) const {
  return cuSz::compareNoCase(str_.c_str(), other);
}

int CWsz::find(const wchar_t* what, int from) const {
  if (!what || from < 0) return -1;
  auto pos = str_.find(what, static_cast<size_t>(from));
  return pos == std::wstring::npos ? -1 : static_cast<int>(pos);
}

int CWsz::find(wchar_t c, int from) const {
  if (from < 0) return -1;
  auto pos = str_.find(c, static_cast<size_t>(from));
  return pos == std::wstring::npos ? -1 : static_cast<int>(pos);
}

int CWsz::findNoCase(const wchar_t* what) const { return what ? cuSz::findNoCase(str_, what) : -1; }

CWsz CWsz::mid(int from, int count) const {
  if (from < 0) from = 0;
  if (from >= length()) return CWsz();
  return CWsz(str_.substr(from, count < 0 ? std::wstring::npos : static_cast<size_t>(count)));
}

CWsz& CWsz::trim() {
  static const wchar_t* kBlanks = L" \t\r\n";
  auto first = str_.find_first_not_of(kBlanks);
  if (first == std::wstring::npos) {
    str_.clear();
    return *this;
  }
  auto last = str_.find_last_not_of(kBlanks);
  str_.erase(last + 1);
  str_.erase(0, first);
  return *this;
}

int CWsz::replace(wchar_t from, wchar_t to) {
  int n = 0;
  for (auto& c : str_)
    if (c == from) {
      c = to;
      ++n;
    }
  return n;
}

std::string CWsz::toUtf8() const { return cuSz::toUtf8(str_); }

CWsz CWsz::fromUtf8(const char* text) { return CWsz(cuSz::fromUtf8(text ? text : "")); }

const CWsz& CWszArray::at(int i) const {
  static const CWsz kEmpty;
  return i >= 0 && i < length() ? items_[i] : kEmpty;
}

bool CWszArray::setAt(int i, const wchar_t* text) {
  if (i < 0 || i >= length()) return false;
  items_[i].set(text);
  return true;
}

bool CWszArray::removeAt(int i) {
  if (i < 0 || i >= length()) return false;
  items_.erase(items_.begin() + i);
  return true;
}

int CWszArray::findNoCase(const wchar_t* text) const {
  for (int i = 0; i < length(); ++i)
    if (items_[i].isEqualNoCase(text)) return i;
  return -1;
}

CWsz CWszArray::join(const wchar_t* separator) const {
  CWsz out;
  for (int i = 0; i < length(); ++i) {
    if (i > 0) out.cat(separator);
    out.cat(items_[i]);
  }
  return out;
}

namespace {

// Wraps one line (no line breaks in it) into `out`.
void wrapLine(std::wstring_view line, int width, std::vector<CWsz>& out) {
  if (width < 1 || static_cast<int>(line.size()) <= width) {
    out.emplace_back(line);
    return;
  }
  std::wstring current;
  size_t i = 0;
  while (i < line.size()) {
    size_t wordEnd = line.find(L' ', i);
    if (wordEnd == std::wstring_view::npos) wordEnd = line.size();
    std::wstring_view word = line.substr(i, wordEnd - i);
    i = wordEnd + 1;
    if (word.empty()) continue;
    if (!current.empty() && current.size() + 1 + word.size() <= static_cast<size_t>(width)) {
      current += L' ';
      current += word;
      continue;
    }
    if (!current.empty()) out.emplace_back(std::move(current));
    current.clear();
    while (word.size() > static_cast<size_t>(width)) {
      out.emplace_back(word.substr(0, width));
      word.remove_prefix(width);
    }
    current = word;
  }
  if (!current.empty() || out.empty()) out.emplace_back(std::move(current));
}

}  // namespace

void CWszArray::parseMemo(const wchar_t* text, int width) {
  items_.clear();
  if (!text || !*text) return;
  std::wstring_view rest(text);
  for (;;) {
    size_t nl = rest.find(L'\n');
    std::wstring_view line = rest.substr(0, nl);
    if (!line.empty() && line.back() == L'\r') line.remove_suffix(1);
    wrapLine(line, width, items_);
    if (nl == std::wstring_view::npos) break;
    rest.remove_prefix(nl + 1);
  }
}
