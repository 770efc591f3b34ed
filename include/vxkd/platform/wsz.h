#pragma once
// CWsz, the wide string of every signature, and CWszArray, a list of them.

#include <string>
#include <string_view>
#include <vector>

#include "vxkd/platform/export.h"

// An owned wide string (wchar_t is 32 bits here, one code point per character). Converts to
// `const wchar_t*`, never null.
class VXKD_API CWsz {
 public:
  CWsz() = default;
  CWsz(const wchar_t* text) : str_(text ? text : L"") {}  // NOLINT: implicit on purpose
  CWsz(std::wstring text) : str_(std::move(text)) {}      // NOLINT
  CWsz(std::wstring_view text) : str_(text) {}            // NOLINT

  operator const wchar_t*() const { return str_.c_str(); }  // NOLINT
  const wchar_t* wsz() const { return str_.c_str(); }
  const std::wstring& str() const { return str_; }
  std::wstring& str() { return str_; }

  int length() const { return static_cast<int>(str_.size()); }
  bool isEmpty() const { return str_.empty(); }
  void empty() { str_.clear(); }
  wchar_t at(int i) const { return i >= 0 && i < length() ? str_[i] : L'\0'; }

  CWsz& set(const wchar_t* text);
  CWsz& cat(const wchar_t* text);
  CWsz& cat(wchar_t c);
  // Appends the decimal form of `value`; the second argument is kept for the callers that
  // pass it and has no effect.
  CWsz& cat(int value, int);

  // Exact and case-insensitive comparison; negative, 0 or positive.
  int compare(const wchar_t* other) const;
  int compareNoCase(const wchar_t* other) const;
  bool isEqual(const wchar_t* other) const { return compare(other) == 0; }
  bool isEqualNoCase(const wchar_t* other) const { return compareNoCase(other) == 0; }

  // Position of `what` at or after `from`, or -1.
  int find(const wchar_t* what, int from = 0) const;
  int find(wchar_t c, int from = 0) const;
  int findNoCase(const wchar_t* what) const;

  // Characters [from, from + count); count < 0 means to the end. Out-of-range parts are cut.
  CWsz mid(int from, int count = -1) const;
  CWsz left(int count) const { return mid(0, count); }
  // Removes blanks, tabs and line breaks at both ends.
  CWsz& trim();
  // Replaces every `from` by `to`; returns how many were replaced.
  int replace(wchar_t from, wchar_t to);

  std::string toUtf8() const;
  static CWsz fromUtf8(const char* text);

  bool operator==(const CWsz& other) const { return str_ == other.str_; }
  bool operator==(const wchar_t* other) const { return str_ == (other ? other : L""); }

 private:
  std::wstring str_;
};

// An ordered list of wide strings.
class VXKD_API CWszArray {
 public:
  int length() const { return static_cast<int>(items_.size()); }
  bool isEmpty() const { return items_.empty(); }
  void empty() { items_.clear(); }
  // The element at `i`; an empty string for an index out of range.
  const CWsz& at(int i) const;
  void append(const wchar_t* text) { items_.emplace_back(text); }
  void append(const CWsz& text) { items_.push_back(text); }
  bool setAt(int i, const wchar_t* text);
  bool removeAt(int i);
  // Index of the first element equal to `text` ignoring case, or -1.
  int findNoCase(const wchar_t* text) const;
  // The elements joined with `separator` between them.
  CWsz join(const wchar_t* separator) const;

  // Replaces the contents by the lines of `text` (split at "\r\n" and "\n"), each wrapped
  // at word boundaries to at most `width` characters; a word longer than `width` is cut.
  // A width below 1 leaves the lines unwrapped.
  void parseMemo(const wchar_t* text, int width);

  std::vector<CWsz>::const_iterator begin() const { return items_.begin(); }
  std::vector<CWsz>::const_iterator end() const { return items_.end(); }
  bool operator==(const CWszArray& other) const { return items_ == other.items_; }

 private:
  std::vector<CWsz> items_;
};
