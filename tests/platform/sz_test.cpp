#include "vxkd/platform/sz.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace {

TEST(SzTest, CaseInsensitiveLookUpDoesNotDependOnTheLocale) {
  const std::string saved = std::setlocale(LC_ALL, nullptr);
  bool utf8 = false;
  for (const char* locale : {"C", "C.UTF-8"}) {
    if (!std::setlocale(LC_ALL, locale)) continue;
    utf8 = std::string(locale) == "C.UTF-8";
    SCOPED_TRACE(locale);
    EXPECT_TRUE(cuSz::equalNoCase(L"Ääkkönen", L"ÄÄKKÖNEN"));
    EXPECT_EQ(cuSz::findNoCase(L"Herr Ääkkönen aus Åbo", L"ÄÄKKÖNEN"), 5);
    EXPECT_TRUE(cuSz::equalNoCase(L"ΣΊΣΥΦΟΣ", L"σίσυφος"));
    EXPECT_TRUE(cuSz::equalNoCase(L"ДАННЫЕ", L"данные"));
  }
  std::setlocale(LC_ALL, saved.c_str());
  // C.UTF-8 may be missing on a minimal system; C always exists.
  if (!utf8) GTEST_SKIP() << "C.UTF-8 not installed: checked under C only";
}

TEST(SzTest, FoldingIsSimpleNotFull) {
  // Sharp s has no simple folding: it stays itself and does not equal "ss".
  EXPECT_EQ(cuSz::foldCase(U'ß'), U'ß');
  EXPECT_FALSE(cuSz::equalNoCase(L"Straße", L"STRASSE"));
  EXPECT_TRUE(cuSz::equalNoCase(L"ẞ", L"ß"));
  EXPECT_EQ(cuSz::foldCase(U'\u212A'), U'k');  // Kelvin sign
  EXPECT_EQ(cuSz::foldCase(U'ς'), U'σ');
  EXPECT_EQ(cuSz::foldCase(U'7'), U'7');
  EXPECT_EQ(cuSz::foldCase(U'\U00010400'), U'\U00010428');  // Deseret, outside the BMP
}

TEST(SzTest, CompareAndFindNoCaseTreatNullAsEmpty) {
  EXPECT_LT(cuSz::compareNoCase(L"apple", L"BANANA"), 0);
  EXPECT_GT(cuSz::compareNoCase(L"Banana", L"apple"), 0);
  EXPECT_LT(cuSz::compareNoCase(L"abc", L"ABCD"), 0);
  EXPECT_EQ(cuSz::compareNoCase(nullptr, L""), 0);
  EXPECT_GT(cuSz::compareNoCase(L"a", nullptr), 0);
  EXPECT_EQ(cuSz::findNoCase(L"Pipe size", L"SIZE"), 5);
  EXPECT_EQ(cuSz::findNoCase(L"Pipe", L"pipes"), -1);
  EXPECT_EQ(cuSz::findNoCase(L"Pipe", L""), 0);
}

TEST(SzTest, LogicalOrderComparesDigitRunsAsNumbers) {
  const struct {
    const wchar_t* a;
    const wchar_t* b;
    int sign;
  } cases[] = {{L"9", L"10", -1},         {L"item2", L"item10", -1},
               {L"Item10", L"item10", 0}, {L"a100b2", L"a100b10", -1},
               {L"abc", L"abd", -1},      {L"x", L"x1", -1},
               {L"007", L"7", 0},         {L"12345678901234567890", L"9", 1}};
  for (const auto& c : cases) {
    int r = cuSz::compareLogical(c.a, c.b), back = cuSz::compareLogical(c.b, c.a);
    EXPECT_EQ((r > 0) - (r < 0), c.sign) << cuSz::toUtf8(c.a) << " " << cuSz::toUtf8(c.b);
    EXPECT_EQ((back > 0) - (back < 0), -c.sign) << cuSz::toUtf8(c.a) << " " << cuSz::toUtf8(c.b);
  }
}

TEST(SzTest, UtfConversionsRoundTripAndReplaceBadUnits) {
  std::wstring text = L"Ääkkönen € 𝄞";
  EXPECT_EQ(cuSz::fromUtf8(cuSz::toUtf8(text)), text);
  EXPECT_EQ(cuSz::toUtf8(L"€"), "\xE2\x82\xAC");
  // Every length of sequence, and codes that are no scalar values written as U+FFFD.
  std::wstring mixed = L"a\x7F\x80\x7FF\x800\xFFFF\x10000\x10FFFF";
  mixed += static_cast<wchar_t>(0xD800);
  mixed += static_cast<wchar_t>(0x110000);
  mixed += static_cast<wchar_t>(-1);
  EXPECT_EQ(cuSz::toUtf8(mixed),
            "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
  std::string bytes = "old bytes that are longer than the new ones";
  cuSz::toUtf8(L"\xE4x", bytes);
  EXPECT_EQ(bytes, "\xC3\xA4x");
  EXPECT_EQ(cuSz::fromUtf8("a\xFF\x62"), L"a\xFFFD\x62");
  EXPECT_EQ(cuSz::fromUtf8("\xE2\x82"), L"\xFFFD\xFFFD");  // truncated sequence
  EXPECT_EQ(cuSz::fromUtf8("\xC0\xAF"), L"\xFFFD\xFFFD");  // overlong form
  // Into a buffer: its old content goes, ASCII runs and sequences alternate as they come.
  std::wstring buffer = L"old content that is longer";
  cuSz::fromUtf8(
      "ab\xC3\xA4"
      "cd\xFF"
      "e",
      buffer);
  EXPECT_EQ(buffer,
            L"ab\xE4"
            L"cd\xFFFD"
            L"e");
  cuSz::fromUtf8("", buffer);
  EXPECT_TRUE(buffer.empty());
  std::u16string u = cuSz::toUtf16(L"a𝄞");
  EXPECT_EQ(u, (std::u16string{u'a', 0xD834, 0xDD1E}));
  EXPECT_EQ(cuSz::fromUtf16(u), L"a𝄞");
  EXPECT_EQ(cuSz::fromUtf16(std::u16string(1, char16_t(0xD800))), L"\xFFFD");
}

TEST(SzTest, ScanLongReadsLikePercentLdWithin32Bits) {
  const struct {
    const char* text;
    bool ok;
    long value;
  } cases[] = {{"000042", true, 42},
               {"  -7", true, -7},
               {"12abc", true, 12},
               {"abc", false, 0},
               {"", false, 0},
               {nullptr, false, 0},
               {"-", false, 0},
               {"2147483647", true, 2147483647},
               {"2147483648", false, 0},
               {"-2147483648", true, -2147483648L},
               {"99999999999999999999", false, 0}};
  for (const auto& c : cases) {
    long value = 123;
    EXPECT_EQ(cuSz::scanLong(c.text, value), c.ok) << (c.text ? c.text : "null");
    EXPECT_EQ(value, c.value) << (c.text ? c.text : "null");
  }
}

TEST(SzTest, CopyToCutsAndFormatGrowsPastItsFirstBuffer) {
  char buffer[4];
  EXPECT_STREQ(cuSz::copyTo(buffer, 4, "abcdef"), "abc");
  wchar_t wide[3];
  EXPECT_STREQ(cuSz::copyTo(wide, 3, L"xyz"), L"xy");
  EXPECT_EQ(cuSz::format("%6.6ld", 42L), "000042");
  std::wstring longText(500, L'x');
  EXPECT_EQ(cuSz::wformat(L"%ls-%d", longText.c_str(), 7), longText + L"-7");
}

}  // namespace
