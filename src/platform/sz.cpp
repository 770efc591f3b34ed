#include "vxkd/platform/sz.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <limits>

#include "platform/casefold_table.h"

namespace cuSz {

char32_t foldCase(char32_t c) {
  if (c < 0x80) return (c >= U'A' && c <= U'Z') ? c + 32 : c;
  const detail::CaseFoldPair* first = detail::kCaseFoldTable;
  const detail::CaseFoldPair* last = first + detail::kCaseFoldTableSize;
  auto it = std::lower_bound(first, last, c,
                             [](const detail::CaseFoldPair& p, char32_t v) { return p.from < v; });
  return (it != last && it->from == c) ? it->to : c;
}

int compareNoCase(const wchar_t* a, const wchar_t* b) {
  if (!a) a = L"";
  if (!b) b = L"";
  for (;; ++a, ++b) {
    if (*a == *b) {
      if (*a == 0) return 0;
      continue;
    }
    char32_t fa = foldCase(static_cast<char32_t>(*a));
    char32_t fb = foldCase(static_cast<char32_t>(*b));
    if (fa != fb) return fa < fb ? -1 : 1;
    if (*a == 0) return 0;
  }
}

bool equalNoCase(const wchar_t* a, const wchar_t* b) { return compareNoCase(a, b) == 0; }

int findNoCase(std::wstring_view text, std::wstring_view needle) {
  if (needle.empty()) return 0;
  if (needle.size() > text.size()) return -1;
  for (size_t i = 0; i + needle.size() <= text.size(); ++i) {
    size_t k = 0;
    while (k < needle.size() && foldCase(static_cast<char32_t>(text[i + k])) ==
                                    foldCase(static_cast<char32_t>(needle[k])))
      ++k;
    if (k == needle.size()) return static_cast<int>(i);
  }
  return -1;
}

namespace {

bool isDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

}  // namespace

int compareLogical(const wchar_t* a, const wchar_t* b) {
  if (!a) a = L"";
  if (!b) b = L"";
  while (*a && *b) {
    if (isDigit(*a) && isDigit(*b)) {
      while (*a == L'0' && isDigit(a[1])) ++a;
      while (*b == L'0' && isDigit(b[1])) ++b;
      const wchar_t* ea = a;
      const wchar_t* eb = b;
      while (isDigit(*ea)) ++ea;
      while (isDigit(*eb)) ++eb;
      if (ea - a != eb - b) return (ea - a) < (eb - b) ? -1 : 1;
      for (; a < ea; ++a, ++b)
        if (*a != *b) return *a < *b ? -1 : 1;
      continue;
    }
    char32_t fa = foldCase(static_cast<char32_t>(*a));
    char32_t fb = foldCase(static_cast<char32_t>(*b));
    if (fa != fb) return fa < fb ? -1 : 1;
    ++a;
    ++b;
  }
  if (*a == *b) return 0;
  return *a ? 1 : -1;
}

std::wstring scalarValuesOf(std::wstring_view text) {
  std::wstring out(text);
  for (wchar_t& c : out)
    if (!isScalarValue(static_cast<char32_t>(c))) c = L'\xFFFD';
  return out;
}

void appendAscii(std::wstring& out, const char* first, const char* last) {
  const size_t at = out.size();
  out.resize(at + static_cast<size_t>(last - first));
  std::copy(first, last, out.begin() + static_cast<std::ptrdiff_t>(at));
}

std::string toUtf8(std::wstring_view text) {
  std::string out;
  toUtf8(text, out);
  return out;
}

void toUtf8(std::wstring_view text, std::string& out) {
  // The length first, then the bytes written in place: a save converts megabytes of text,
  // which byte-by-byte appending would check for room at every byte.
  size_t bytes = 0;
  for (wchar_t wc : text) {
    auto c = static_cast<char32_t>(wc);
    bytes += c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 || !isScalarValue(c) ? 3 : 4;
  }
  out.resize(bytes);
  char* p = out.data();
  for (wchar_t wc : text) {
    auto c = static_cast<char32_t>(wc);
    if (c < 0x80) {
      *p++ = static_cast<char>(c);
      continue;
    }
    if (!isScalarValue(c)) c = 0xFFFD;
    if (c < 0x800) {
      *p++ = static_cast<char>(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
      *p++ = static_cast<char>(0xE0 | (c >> 12));
      *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    } else {
      *p++ = static_cast<char>(0xF0 | (c >> 18));
      *p++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    }
    *p++ = static_cast<char>(0x80 | (c & 0x3F));
  }
}

std::wstring fromUtf8(std::string_view text) {
  std::wstring out;
  fromUtf8(text, out);
  return out;
}

void fromUtf8(std::string_view text, std::wstring& out) {
  out.clear();
  out.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    // Runs of ASCII, most of any text, are copied without decoding.
    size_t ascii = i;
    while (ascii < text.size() && static_cast<unsigned char>(text[ascii]) < 0x80) ++ascii;
    if (ascii > i) {
      out.append(text.begin() + i, text.begin() + ascii);
      i = ascii;
      continue;
    }
    auto b0 = static_cast<unsigned char>(text[i]);
    int extra = b0 < 0x80           ? 0
                : (b0 >> 5) == 0x6  ? 1
                : (b0 >> 4) == 0xE  ? 2
                : (b0 >> 3) == 0x1E ? 3
                                    : -1;
    if (extra < 0 || i + extra >= text.size() + (extra == 0 ? 1 : 0)) {
      out += L'\xFFFD';
      ++i;
      continue;
    }
    char32_t c = extra == 0 ? b0 : (b0 & (0x3F >> extra));
    bool ok = true;
    for (int k = 1; k <= extra; ++k) {
      auto bk = static_cast<unsigned char>(text[i + k]);
      if ((bk & 0xC0) != 0x80) {
        ok = false;
        break;
      }
      c = (c << 6) | (bk & 0x3F);
    }
    static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (!ok || c < kMin[extra] || !isScalarValue(c)) {
      out += L'\xFFFD';
      ++i;
      continue;
    }
    out += static_cast<wchar_t>(c);
    i += extra + 1;
  }
}

std::u16string toUtf16(std::wstring_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (wchar_t wc : text) {
    auto c = static_cast<char32_t>(wc);
    if (!isScalarValue(c)) c = 0xFFFD;
    if (c < 0x10000) {
      out += static_cast<char16_t>(c);
    } else {
      c -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (c >> 10));
      out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    }
  }
  return out;
}

std::wstring fromUtf16(std::u16string_view text) {
  std::wstring out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    out += static_cast<wchar_t>(c);
  }
  return out;
}

char* copyTo(char* buffer, int size, std::string_view text) {
  if (!buffer || size < 1) return buffer;
  size_t n = std::min(text.size(), static_cast<size_t>(size - 1));
  std::copy_n(text.data(), n, buffer);
  buffer[n] = '\0';
  return buffer;
}

wchar_t* copyTo(wchar_t* buffer, int size, std::wstring_view text) {
  if (!buffer || size < 1) return buffer;
  size_t n = std::min(text.size(), static_cast<size_t>(size - 1));
  std::copy_n(text.data(), n, buffer);
  buffer[n] = L'\0';
  return buffer;
}

namespace {

template <typename Ch>
bool scanLongImpl(const Ch* text, long& value) {
  value = 0;
  if (!text) return false;
  while (*text == ' ' || *text == '\t' || *text == '\n' || *text == '\r' || *text == '\v' ||
         *text == '\f')
    ++text;
  bool negative = false;
  if (*text == '+' || *text == '-') negative = *text++ == '-';
  if (!(*text >= '0' && *text <= '9')) return false;
  long long v = 0;
  for (; *text >= '0' && *text <= '9'; ++text) {
    v = v * 10 + (*text - '0');
    if (v > static_cast<long long>(std::numeric_limits<int32_t>::max()) + 1) return false;
  }
  if (negative) v = -v;
  if (v > std::numeric_limits<int32_t>::max() || v < std::numeric_limits<int32_t>::min())
    return false;
  value = static_cast<long>(v);
  return true;
}

}  // namespace

bool scanLong(const char* text, long& value) { return scanLongImpl(text, value); }
bool scanLong(const wchar_t* text, long& value) { return scanLongImpl(text, value); }

std::string format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  va_list copy;
  va_copy(copy, args);
  int n = std::vsnprintf(nullptr, 0, fmt, copy);
  va_end(copy);
  std::string out(n > 0 ? n : 0, '\0');
  if (n > 0) std::vsnprintf(out.data(), n + 1, fmt, args);
  va_end(args);
  return out;
}

std::wstring wformat(const wchar_t* fmt, ...) {
  std::wstring out(128, L'\0');
  for (;;) {
    va_list args;
    va_start(args, fmt);
    int n = std::vswprintf(out.data(), out.size(), fmt, args);
    va_end(args);
    if (n >= 0 && static_cast<size_t>(n) < out.size()) {
      out.resize(n);
      return out;
    }
    if (out.size() > (1u << 20)) return std::wstring();
    out.resize(out.size() * 2);
  }
}

}  // namespace cuSz
