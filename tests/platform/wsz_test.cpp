#include "platform/wsz.h"

#include <gtest/gtest.h>

#include "platform/arrays.h"

namespace {

std::vector<std::wstring> lines(const CWszArray& a) {
  std::vector<std::wstring> out;
  for (const CWsz& s : a) out.push_back(s.str());
  return out;
}

TEST(WszTest, CatOfAnIntegerAppendsItsDecimalForm) {
  CWsz s(L"unit ");
  s.cat(101, 0).cat(L'/').cat(-5, 0);
  EXPECT_EQ(s.str(), L"unit 101/-5");
}

TEST(WszTest, MidTrimFindAndReplace) {
  CWsz s(L"  {Width} x {Height}\r\n");
  s.trim();
  EXPECT_EQ(s.str(), L"{Width} x {Height}");
  EXPECT_EQ(s.find(L'{', 1), 10);
  EXPECT_EQ(s.find(L"}", 9), 17);
  EXPECT_EQ(s.mid(1, 5).str(), L"Width");
  EXPECT_EQ(s.mid(30).str(), L"");
  EXPECT_EQ(s.findNoCase(L"HEIGHT"), 11);
  CWsz path(L"A/B/C");
  EXPECT_EQ(path.replace(L'/', L'\\'), 2);
  EXPECT_EQ(path.str(), L"A\\B\\C");
  CWsz blank(L" \t ");
  EXPECT_TRUE(blank.trim().isEmpty());
}

TEST(WszTest, NullTextIsEmptyAndConversionIsNeverNull) {
  CWsz s(static_cast<const wchar_t*>(nullptr));
  EXPECT_TRUE(s.isEmpty());
  EXPECT_NE(static_cast<const wchar_t*>(s), nullptr);
  EXPECT_TRUE(s == nullptr);
  EXPECT_EQ(CWsz::fromUtf8("Ääk").toUtf8(), "Ääk");
}

TEST(WszArrayTest, ParseMemoSplitsAtBothLineBreaks) {
  CWszArray a;
  a.parseMemo(L"first\r\nsecond\nthird", 0);
  EXPECT_EQ(lines(a), (std::vector<std::wstring>{L"first", L"second", L"third"}));
  a.parseMemo(L"one\r\n\r\ntwo\n", 80);
  EXPECT_EQ(lines(a), (std::vector<std::wstring>{L"one", L"", L"two", L""}));
  a.parseMemo(L"", 10);
  EXPECT_EQ(a.length(), 0);
}

TEST(WszArrayTest, ParseMemoWrapsAtWordsAndCutsLongWords) {
  CWszArray a;
  a.parseMemo(L"the quick brown fox jumps", 10);
  EXPECT_EQ(lines(a), (std::vector<std::wstring>{L"the quick", L"brown fox", L"jumps"}));
  a.parseMemo(L"abcdefghijklmnopqrstuvw xy", 10);
  EXPECT_EQ(lines(a), (std::vector<std::wstring>{L"abcdefghij", L"klmnopqrst", L"uvw xy"}));
  a.parseMemo(L"exactly ten", 11);
  EXPECT_EQ(lines(a), (std::vector<std::wstring>{L"exactly ten"}));
}

TEST(WszArrayTest, JoinAndFindNoCase) {
  CWszArray a;
  a.append(L"A");
  a.append(L"bß");
  EXPECT_EQ(a.join(L",").str(), L"A,bß");
  EXPECT_EQ(a.findNoCase(L"Bß"), 1);
  EXPECT_EQ(a.at(5).str(), L"");
}

TEST(ArraysTest, ValueArraysAnswerZeroOutOfRange) {
  CInt16Array a{3, -4};
  EXPECT_EQ(a.at(1), -4);
  EXPECT_EQ(a.at(2), 0);
  EXPECT_FALSE(a.setAt(2, 1));
  EXPECT_EQ(a.find(-4), 1);
  EXPECT_EQ(a.find(9), -1);
}

TEST(ArraysTest, ChBufferNeverCutsAUtf8Sequence) {
  CChBuffer b;
  b.set("abä", 3);  // "ä" takes two bytes; the limit falls inside it
  EXPECT_STREQ(b.sz(), "ab");
  b.set("abc", -1);
  EXPECT_STREQ(b, "abc");
}

}  // namespace
