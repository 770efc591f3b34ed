#pragma once
// cuSz: the text helpers every layer calls. Case-insensitive comparison uses Unicode simple
// case folding and never the process locale, so "Ä" equals "ä" under LC_ALL=C too and
// "ß" stays "ß". Narrow strings are UTF-8 throughout.

#include <string>
#include <string_view>

#include "vxkd/platform/export.h"

namespace cuSz {

// The simple case folding of one code point (itself when it has none).
VXKD_API char32_t foldCase(char32_t c);

// Compares two texts ignoring case: negative, 0 or positive. Null reads as "".
VXKD_API int compareNoCase(const wchar_t* a, const wchar_t* b);
VXKD_API bool equalNoCase(const wchar_t* a, const wchar_t* b);

// Position of the first occurrence of `needle` in `text` ignoring case, or -1. An empty
// needle is found at 0.
VXKD_API int findNoCase(std::wstring_view text, std::wstring_view needle);

// The natural order of file managers: runs of digits compare as numbers, everything else
// character by character ignoring case. Negative, 0 or positive.
VXKD_API int compareLogical(const wchar_t* a, const wchar_t* b);

// True for a Unicode scalar value: a code that is neither a surrogate nor beyond U+10FFFF.
// Any other code of a wide text is stored as U+FFFD.
constexpr bool isScalarValue(char32_t c) { return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF); }
// `text` with each code that is no scalar value replaced by U+FFFD: the text as a file
// stores it and gives it back.
VXKD_API std::wstring scalarValuesOf(std::wstring_view text);

// Appends the ASCII characters first..last to `out`, one byte a character, without the
// temporary that appending a range of another character type makes.
VXKD_API void appendAscii(std::wstring& out, const char* first, const char* last);

// UTF-8 <-> wide. Invalid UTF-8 bytes become U+FFFD; nothing throws.
VXKD_API std::string toUtf8(std::wstring_view text);
VXKD_API std::wstring fromUtf8(std::string_view text);
// The same into `out`, whose memory is reused: a reader or writer of many texts allocates
// once.
VXKD_API void toUtf8(std::wstring_view text, std::string& out);
VXKD_API void fromUtf8(std::string_view text, std::wstring& out);

// UTF-16LE <-> wide; characters outside the BMP use surrogate pairs.
VXKD_API std::u16string toUtf16(std::wstring_view text);
VXKD_API std::wstring fromUtf16(std::u16string_view text);

// Copies `text` into `buffer` of `size` characters, cut to size - 1 and terminated.
// Returns `buffer`. A size below 1 writes nothing.
VXKD_API char* copyTo(char* buffer, int size, std::string_view text);
VXKD_API wchar_t* copyTo(wchar_t* buffer, int size, std::wstring_view text);

// Reads one decimal number from the start of `text` the way "%ld" does: leading blanks, an
// optional sign, then digits; whatever follows the digits is ignored. False (value 0) when
// no digit is read or the number does not fit 32 bits. Null reads as "".
VXKD_API bool scanLong(const char* text, long& value);
VXKD_API bool scanLong(const wchar_t* text, long& value);

// printf into a std::string / std::wstring.
VXKD_API std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
VXKD_API std::wstring wformat(const wchar_t* fmt, ...);

}  // namespace cuSz
