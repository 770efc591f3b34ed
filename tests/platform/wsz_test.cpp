#include "vxkd/platform/wsz.h"

#include <gtest/gtest.h>

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/sz.h"

namespace {

std::vector<std::wstring> lines(const CWszArray& a) {
  std::vector<std::wstring> out;
  for (const CWsz& s : a) out.push_back(s.str());
  return out;
}

TEST(WszTest, CatMidTrimFindAndReplace) {
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
  EXPECT_EQ(path.cat(101, 0).cat(L'/').cat(-5, 0).str(), L"A\\B\\C101/-5");
  EXPECT_EQ(CWsz().cat(0, 0).cat(L' ').cat(-2147483647 - 1, 0).cat(L' ').cat(2147483647, 0).str(),
            L"0 -2147483648 2147483647");
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

TEST(WszArrayTest, ParseMemoSplitsAtLineBreaksAndWrapsAtWords) {
  const struct {
    const wchar_t* memo;
    int width;
    std::vector<std::wstring> lines;
  } cases[] = {{L"first\r\nsecond\nthird", 0, {L"first", L"second", L"third"}},
               {L"one\r\n\r\ntwo\n", 80, {L"one", L"", L"two", L""}},
               {L"", 10, {}},
               {L"the quick brown fox jumps", 10, {L"the quick", L"brown fox", L"jumps"}},
               {L"abcdefghijklmnopqrstuvw xy", 10, {L"abcdefghij", L"klmnopqrst", L"uvw xy"}},
               {L"exactly ten", 11, {L"exactly ten"}}};
  CWszArray a;
  for (const auto& c : cases) {
    a.parseMemo(c.memo, c.width);
    EXPECT_EQ(lines(a), c.lines) << cuSz::toUtf8(c.memo);
  }
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
