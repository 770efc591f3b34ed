#include "foundation/reg_file.h"

#include <algorithm>

#include "vxkd/platform/sz.h"

namespace {

constexpr wchar_t kHeader[] = L"Windows Registry Editor Version 5.00";
// Hex values are wrapped before this column, as the registry editor does.
constexpr size_t kHexLineWidth = 76;

std::wstring decode(std::string_view data) {
  if (data.size() >= 2 && static_cast<uint8_t>(data[0]) == 0xFF &&
      static_cast<uint8_t>(data[1]) == 0xFE) {
    std::u16string units;
    units.reserve(data.size() / 2);
    for (size_t i = 2; i + 1 < data.size(); i += 2)
      units.push_back(static_cast<char16_t>(static_cast<uint8_t>(data[i]) |
                                            static_cast<uint8_t>(data[i + 1]) << 8));
    return cuSz::fromUtf16(units);
  }
  if (data.substr(0, 3) == "\xEF\xBB\xBF") data.remove_prefix(3);
  return cuSz::fromUtf8(data);
}

bool isBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

std::wstring_view trim(std::wstring_view text) {
  while (!text.empty() && (isBlank(text.front()) || text.front() == L'\r')) text.remove_prefix(1);
  while (!text.empty() && (isBlank(text.back()) || text.back() == L'\r')) text.remove_suffix(1);
  return text;
}

std::vector<std::wstring_view> splitLines(std::wstring_view text) {
  std::vector<std::wstring_view> lines;
  while (!text.empty()) {
    size_t end = text.find(L'\n');
    lines.push_back(text.substr(0, end));
    if (end == std::wstring_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return lines;
}

// True when `text` begins with the ASCII `word`, ignoring its case.
bool startsWithWord(std::wstring_view text, std::string_view word) {
  if (text.size() < word.size()) return false;
  for (size_t i = 0; i < word.size(); ++i) {
    wchar_t c = text[i] >= L'A' && text[i] <= L'Z' ? text[i] + (L'a' - L'A') : text[i];
    if (c != static_cast<wchar_t>(word[i])) return false;
  }
  return true;
}

int hexDigit(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

// One to `maxDigits` hexadecimal digits and nothing else.
bool parseHexNumber(std::wstring_view text, size_t maxDigits, uint32_t& out) {
  if (text.empty() || text.size() > maxDigits) return false;
  out = 0;
  for (wchar_t c : text) {
    int d = hexDigit(c);
    if (d < 0) return false;
    out = out << 4 | static_cast<uint32_t>(d);
  }
  return true;
}

// A quoted text starting at text[pos] (a '"'), with \\ and \" escapes. On success `pos` is
// just past the closing quote.
bool parseQuoted(std::wstring_view text, size_t& pos, std::wstring& out) {
  out.clear();
  if (pos >= text.size() || text[pos] != L'"') return false;
  for (++pos; pos < text.size();) {
    wchar_t c = text[pos++];
    if (c == L'"') return true;
    if (c == L'\\' && pos < text.size() && (text[pos] == L'\\' || text[pos] == L'"'))
      c = text[pos++];
    out += c;
  }
  return false;
}

// A comma-separated list of bytes, two hexadecimal digits each (one digit is a cut line).
bool parseHexBytes(std::wstring_view list, std::vector<uint8_t>& out) {
  out.clear();
  while (!list.empty()) {
    size_t comma = list.find(L',');
    std::wstring_view item = trim(list.substr(0, comma));
    uint32_t byte = 0;
    if (!item.empty()) {
      if (item.size() != 2 || !parseHexNumber(item, 2, byte)) return false;
      out.push_back(static_cast<uint8_t>(byte));
    }
    if (comma == std::wstring_view::npos) break;
    list.remove_prefix(comma + 1);
  }
  return true;
}

// The data part of a value line (after "="): a quoted text, dword: or hex.
bool parseData(std::wstring_view data, CRegFile::Value& value) {
  if (!data.empty() && data[0] == L'"') {
    size_t pos = 0;
    if (!parseQuoted(data, pos, value.text) || !trim(data.substr(pos)).empty()) return false;
    value.type = CRegFile::typeSz;
    return true;
  }
  if (startsWithWord(data, "dword:")) {
    // All eight digits, as the registry editor writes them: fewer is a cut line.
    std::wstring_view digits = trim(data.substr(6));
    value.type = CRegFile::typeDword;
    return digits.size() == 8 && parseHexNumber(digits, 8, value.dword);
  }
  if (!startsWithWord(data, "hex")) return false;
  data.remove_prefix(3);
  uint32_t type = CRegFile::typeBinary;
  if (!data.empty() && data[0] == L'(') {
    size_t close = data.find(L')');
    if (close == std::wstring_view::npos || !parseHexNumber(data.substr(1, close - 1), 8, type))
      return false;
    data.remove_prefix(close + 1);
  }
  if (data.empty() || data[0] != L':' || !parseHexBytes(data.substr(1), value.bytes)) return false;
  value.type = type;
  if (type == CRegFile::typeDword) {
    if (value.bytes.size() != 4) return false;
    value.dword = 0;
    for (int i = 3; i >= 0; --i) value.dword = value.dword << 8 | value.bytes[i];
    value.bytes.clear();
  } else if (type == CRegFile::typeSz) {
    // UTF-16LE with its terminator; a string without one was cut. Only the terminator goes:
    // NULs before it are part of the value, which a rewrite of the file must keep.
    if (value.bytes.size() % 2 != 0) return false;
    std::u16string units;
    for (size_t i = 0; i < value.bytes.size(); i += 2)
      units.push_back(static_cast<char16_t>(value.bytes[i] | value.bytes[i + 1] << 8));
    if (units.empty() || units.back() != u'\0') return false;
    units.pop_back();
    value.text = cuSz::fromUtf16(units);
    value.bytes.clear();
  }
  return true;
}

std::wstring quoted(std::wstring_view text) {
  std::wstring out = L"\"";
  for (wchar_t c : text) {
    if (c == L'\\' || c == L'"') out += L'\\';
    out += c;
  }
  return out + L"\"";
}

std::wstring hexToken(uint32_t type, const std::vector<uint8_t>& bytes, size_t column) {
  std::wstring out = type == CRegFile::typeBinary ? L"hex:" : cuSz::wformat(L"hex(%x):", type);
  column += out.size();
  for (size_t i = 0; i < bytes.size(); ++i) {
    std::wstring item = cuSz::wformat(L"%02x", bytes[i]);
    if (i + 1 < bytes.size()) item += L',';
    if (column + item.size() >= kHexLineWidth && i + 1 < bytes.size()) {
      out += L"\\\n  ";
      column = 2;
    }
    out += item;
    column += item.size();
  }
  return out;
}

// A text that a quoted string cannot carry on one line goes out as hex(1): UTF-16LE with its
// terminator, as the registry editor writes such strings.
bool needsHexForm(std::wstring_view text) {
  return std::any_of(text.begin(), text.end(), [](wchar_t c) { return c < 0x20 && c != L'\t'; });
}

std::wstring dataToken(const CRegFile::Value& value, size_t column) {
  switch (value.type) {
    case CRegFile::typeDword:
      return cuSz::wformat(L"dword:%08x", value.dword);
    case CRegFile::typeSz: {
      if (!needsHexForm(value.text)) return quoted(value.text);
      std::vector<uint8_t> bytes;
      for (char16_t unit : cuSz::toUtf16(value.text)) {
        bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<uint8_t>(unit >> 8));
      }
      bytes.insert(bytes.end(), {0, 0});
      return hexToken(CRegFile::typeSz, bytes, column);
    }
    default:
      return hexToken(value.type, value.bytes, column);
  }
}

bool hasLineBreak(std::wstring_view text) {
  return text.find_first_of(L"\r\n") != std::wstring_view::npos;
}

// The key under which a name is looked up: names that differ only in letter case are one.
std::wstring folded(std::wstring_view text) {
  std::wstring out;
  out.reserve(text.size());
  for (wchar_t c : text) out += static_cast<wchar_t>(cuSz::foldCase(static_cast<char32_t>(c)));
  return out;
}

// True when the folded `path` is the folded `top` or lies below it.
bool isAtOrBelow(std::wstring_view path, std::wstring_view top) {
  if (path.size() < top.size() || path.substr(0, top.size()) != top) return false;
  return path.size() == top.size() || path[top.size()] == L'\\';
}

}  // namespace

std::wstring CRegFile::normalizePath(std::wstring_view path) {
  std::wstring out;
  while (!path.empty()) {
    size_t slash = path.find(L'\\');
    std::wstring_view part = path.substr(0, slash);
    if (!part.empty()) {
      if (!out.empty()) out += L'\\';
      out += part;
    }
    if (slash == std::wstring_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return out;
}

void CRegFile::parse(std::string_view data) {
  keys_.clear();
  keyIndex_.clear();
  const std::wstring all = decode(data);
  const std::vector<std::wstring_view> lines = splitLines(all);
  Key* current = nullptr;  // valid until the next key is added
  for (size_t i = 0; i < lines.size(); ++i) {
    std::wstring_view line = trim(lines[i]);
    if (line.empty()) continue;
    if (line[0] == L'[') {
      current = nullptr;
      size_t close = line.rfind(L']');
      if (close == std::wstring_view::npos || close == 0) continue;
      std::wstring_view path = line.substr(1, close - 1);
      if (!path.empty() && path[0] == L'-') {
        deleteTree(normalizePath(path.substr(1)));
        continue;
      }
      std::wstring normalized = normalizePath(path);
      if (!normalized.empty()) current = &keyFor(normalized);
      continue;
    }
    if (line[0] != L'"' && line[0] != L'@') continue;  // the header, comments, garbage

    Value value;
    size_t pos = 1;  // past "@", the default value's name
    if (line[0] == L'"') {
      pos = 0;
      if (!parseQuoted(line, pos, value.name)) continue;
    }
    while (pos < line.size() && isBlank(line[pos])) ++pos;
    if (pos >= line.size() || line[pos] != L'=') continue;
    std::wstring data(trim(line.substr(pos + 1)));
    // A hex list goes on over the lines that its trailing backslashes join.
    if (startsWithWord(data, "hex")) {
      while (!data.empty() && data.back() == L'\\' && i + 1 < lines.size()) {
        data.pop_back();
        data += trim(lines[++i]);
      }
    }
    if (!current) continue;
    if (data == L"-") {
      eraseValue(*current, value.name);
      continue;
    }
    if (parseData(data, value)) putValue(*current, std::move(value));
  }
}

std::string CRegFile::text() const {
  std::wstring out = kHeader;
  out += L"\n";
  for (const Key& key : keys_) {
    out += L"\n[" + key.path + L"]\n";
    for (const Value& value : key.values) {
      std::wstring line = value.name.empty() ? L"@" : quoted(value.name);
      line += L'=';
      line += dataToken(value, line.size());
      out += line + L"\n";
    }
  }
  return cuSz::toUtf8(out);
}

const CRegFile::Key* CRegFile::findKey(std::wstring_view normalizedPath) const {
  auto it = keyIndex_.find(folded(normalizedPath));
  return it == keyIndex_.end() ? nullptr : &keys_[it->second];
}

CRegFile::Key& CRegFile::keyFor(const std::wstring& normalizedPath) {
  auto [it, added] = keyIndex_.try_emplace(folded(normalizedPath), keys_.size());
  if (added) keys_.push_back({normalizedPath, {}, {}});
  return keys_[it->second];
}

void CRegFile::reindexKeys() {
  keyIndex_.clear();
  for (size_t i = 0; i < keys_.size(); ++i) keyIndex_.emplace(folded(keys_[i].path), i);
}

void CRegFile::putValue(Key& key, Value value) {
  auto [it, added] = key.valueIndex.try_emplace(folded(value.name), key.values.size());
  if (added) {
    key.values.push_back(std::move(value));
  } else {
    Value& stored = key.values[it->second];
    value.name = std::move(stored.name);  // the stored spelling stays
    stored = std::move(value);
  }
}

void CRegFile::eraseValue(Key& key, std::wstring_view name) {
  auto it = key.valueIndex.find(folded(name));
  if (it == key.valueIndex.end()) return;
  key.values.erase(key.values.begin() + static_cast<std::ptrdiff_t>(it->second));
  key.valueIndex.clear();
  for (size_t i = 0; i < key.values.size(); ++i)
    key.valueIndex.emplace(folded(key.values[i].name), i);
}

const CRegFile::Value* CRegFile::findValue(std::wstring_view path, std::wstring_view name) const {
  const Key* key = findKey(normalizePath(path));
  if (!key) return nullptr;
  auto it = key->valueIndex.find(folded(name));
  return it == key->valueIndex.end() ? nullptr : &key->values[it->second];
}

bool CRegFile::createKey(std::wstring_view path) {
  std::wstring normalized = normalizePath(path);
  // A leading "-" would read back as the deletion of the key, a "]" as the end of its
  // section line.
  if (normalized.empty() || normalized[0] == L'-' || hasLineBreak(normalized) ||
      normalized.find(L']') != std::wstring::npos)
    return false;
  keyFor(normalized);
  return true;
}

bool CRegFile::setValue(std::wstring_view path, Value value) {
  if (hasLineBreak(value.name) || !createKey(path)) return false;
  putValue(keyFor(normalizePath(path)), std::move(value));
  return true;
}

bool CRegFile::deleteTree(std::wstring_view path) {
  std::wstring top = folded(normalizePath(path));
  if (top.empty()) return false;
  size_t removed =
      std::erase_if(keys_, [&](const Key& key) { return isAtOrBelow(folded(key.path), top); });
  reindexKeys();
  return removed > 0;
}
