#include "platform/sz.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace {

// Restores the process locale after a test that changes it.
class LocaleTest : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override { saved_ = std::setlocale(LC_ALL, nullptr); }
  void TearDown() override { std::setlocale(LC_ALL, saved_.c_str()); }
  std::string saved_;
};

TEST_P(LocaleTest, CaseInsensitiveLookUpDoesNotDependOnTheLocale) {
  // C.UTF-8 may be missing on a minimal system; C always exists.
  if (!std::setlocale(LC_ALL, GetParam())) GTEST_SKIP() << GetParam() << " not installed";
  EXPECT_TRUE(cuSz::equalNoCase(L"Ääkkönen", L"ÄÄKKÖNEN"));
  EXPECT_EQ(cuSz::findNoCase(L"Herr Ääkkönen aus Åbo", L"ÄÄKKÖNEN"), 5);
  EXPECT_TRUE(cuSz::equalNoCase(L"ΣΊΣΥΦΟΣ", L"σίσυφος"));
  EXPECT_TRUE(cuSz::equalNoCase(L"ДАННЫЕ", L"данные"));
}

INSTANTIATE_TEST_SUITE_P(Locales, LocaleTest, ::testing::Values("C", "C.UTF-8"));

TEST(SzTest, FoldingIsSimpleNotFull) {
  // Sharp s has no simple folding: it stays itself and does not equal "ss".
  EXPECT_EQ(cuSz::foldCase(U'ß'), U'ß');
  EXPECT_FALSE(cuSz::equalNoCase(L"Straße", L"STRASSE"));
  EXPECT_TRUE(cuSz::equalNoCase(L"ẞ", L"ß"));
  EXPECT_EQ(cuSz::foldCase(U'K'), U'k');
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
  EXPECT_EQ(cuSz::findNoCase(L"Diameter", L"DIA"), 0);
  EXPECT_EQ(cuSz::findNoCase(L"Pipe size", L"SIZE"), 5);
  EXPECT_EQ(cuSz::findNoCase(L"Pipe", L"pipes"), -1);
  EXPECT_EQ(cuSz::findNoCase(L"Pipe", L""), 0);
}

struct LogicalCase {
  const wchar_t* a;
  const wchar_t* b;
  int sign;
};

class LogicalOrderTest : public ::testing::TestWithParam<LogicalCase> {};

TEST_P(LogicalOrderTest, DigitRunsCompareAsNumbers) {
  int r = cuSz::compareLogical(GetParam().a, GetParam().b);
  EXPECT_EQ((r > 0) - (r < 0), GetParam().sign) << "a=" << GetParam().a;
  int back = cuSz::compareLogical(GetParam().b, GetParam().a);
  EXPECT_EQ((back > 0) - (back < 0), -GetParam().sign);
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, LogicalOrderTest,
    ::testing::Values(LogicalCase{L"2", L"10", -1}, LogicalCase{L"9", L"10", -1},
                      LogicalCase{L"item2", L"item10", -1}, LogicalCase{L"Item10", L"item10", 0},
                      LogicalCase{L"a100b2", L"a100b10", -1}, LogicalCase{L"abc", L"abd", -1},
                      LogicalCase{L"x", L"x1", -1}, LogicalCase{L"007", L"7", 0},
                      LogicalCase{L"12345678901234567890", L"9", 1}, LogicalCase{L"", L"", 0}));

TEST(SzTest, Utf8RoundTripsAndReplacesBadBytes) {
  std::wstring text = L"Ääkkönen € 𝄞";
  EXPECT_EQ(cuSz::fromUtf8(cuSz::toUtf8(text)), text);
  EXPECT_EQ(cuSz::toUtf8(L"€"), "\xE2\x82\xAC");
  EXPECT_EQ(cuSz::fromUtf8("a\xFF\x62"), L"a\xFFFD\x62");
  EXPECT_EQ(cuSz::fromUtf8("\xE2\x82"), L"\xFFFD\xFFFD");  // truncated sequence
  EXPECT_EQ(cuSz::fromUtf8("\xC0\xAF"), L"\xFFFD\xFFFD");  // overlong form
}

TEST(SzTest, Utf16UsesSurrogatePairsOutsideTheBmp) {
  std::u16string u = cuSz::toUtf16(L"a𝄞");
  ASSERT_EQ(u.size(), 3u);
  EXPECT_EQ(u[1], 0xD834);
  EXPECT_EQ(u[2], 0xDD1E);
  EXPECT_EQ(cuSz::fromUtf16(u), L"a𝄞");
  EXPECT_EQ(cuSz::fromUtf16(std::u16string(1, char16_t(0xD800))), L"\xFFFD");
}

struct ScanCase {
  const char* text;
  bool ok;
  long value;
};

class ScanLongTest : public ::testing::TestWithParam<ScanCase> {};

TEST_P(ScanLongTest, ReadsLikePercentLd) {
  long value = 123;
  EXPECT_EQ(cuSz::scanLong(GetParam().text, value), GetParam().ok) << GetParam().text;
  EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Texts, ScanLongTest,
                         ::testing::Values(ScanCase{"000042", true, 42}, ScanCase{"  -7", true, -7},
                                           ScanCase{"12abc", true, 12}, ScanCase{"abc", false, 0},
                                           ScanCase{"", false, 0}, ScanCase{nullptr, false, 0},
                                           ScanCase{"-", false, 0},
                                           ScanCase{"2147483647", true, 2147483647},
                                           ScanCase{"2147483648", false, 0},
                                           ScanCase{"-2147483648", true, -2147483648L},
                                           ScanCase{"99999999999999999999", false, 0}));

TEST(SzTest, CopyToCutsAndTerminates) {
  char buffer[4];
  EXPECT_STREQ(cuSz::copyTo(buffer, 4, "abcdef"), "abc");
  wchar_t wide[3];
  EXPECT_STREQ(cuSz::copyTo(wide, 3, L"xyz"), L"xy");
}

TEST(SzTest, FormatGrowsPastItsFirstBuffer) {
  EXPECT_EQ(cuSz::format("%6.6ld", 42L), "000042");
  std::wstring longText(500, L'x');
  EXPECT_EQ(cuSz::wformat(L"%ls-%d", longText.c_str(), 7), longText + L"-7");
}

}  // namespace
