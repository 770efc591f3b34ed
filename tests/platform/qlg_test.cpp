#include "vxkd/platform/qlg.h"

#include <gtest/gtest.h>

#include <string>

#include "support/temp_folder.h"
#include "vxkd/platform/paths.h"

namespace {

class QlgTest : public ::testing::Test {
 protected:
  CWsz write(const char* name, const std::string& content) {
    dir_.write(name, content);
    return CWsz::fromUtf8(dir_.native(name).c_str());
  }
  CWsz dictionary() {
    return write("lang.ddq",
                 "# languages\nformat vxkd-language-texts 1\nlanguage 1500 default English\n"
                 "language 1501 - Deutsch\n");
  }

  vxkd_test::TempFolder dir_;
  CQlg db_;
};

TEST_F(QlgTest, ShippedTextsOpenInBothLanguages) {
  CWsz folder = cuFile::libraryFolder();
  ASSERT_TRUE(
      db_.open(cuFile::joinPath(folder, L"VantQLG.ddq"), cuFile::joinPath(folder, L"VxKd.qlg")));
  EXPECT_EQ(db_.defaultLanguage(), 1500);
  EXPECT_EQ(db_.text(10250, L"#Duct").str(), L"Duct");
  ASSERT_TRUE(db_.setActiveLanguage(1501));
  EXPECT_EQ(db_.text(10250, L"#Duct").str(), L"Kanal");
  EXPECT_EQ(db_.text(10132, L"#Cannot save data").str(), L"Daten können nicht gespeichert werden");
}

TEST_F(QlgTest, LookUpRuleStripsOneHashOnlyWhenFallingBack) {
  ASSERT_TRUE(db_.open(dictionary(), write("t.qlg", "[1500]\n5=Five\n")));
  EXPECT_EQ(db_.text(5, L"#Fallback").str(), L"Five");
  EXPECT_EQ(db_.text(6, L"#Fallback").str(), L"Fallback");
  EXPECT_EQ(db_.text(6, L"##Two").str(), L"#Two");
  EXPECT_EQ(db_.text(6, L"Plain").str(), L"Plain");
  EXPECT_EQ(db_.text(0, L"#Kept").str(), L"#Kept");
  EXPECT_EQ(db_.text(-1, L"#Kept").str(), L"#Kept");
  EXPECT_EQ(db_.text(6, nullptr).str(), L"");
}

TEST_F(QlgTest, MissingFilesLeaveItClosedGivingDefaults) {
  EXPECT_FALSE(db_.open(L"/nonexistent/VantQLG.ddq", L"/nonexistent/VxKd.qlg"));
  EXPECT_FALSE(db_.open(dictionary(), L"/nonexistent/VxKd.qlg"));
  EXPECT_FALSE(db_.open(nullptr, nullptr));
  EXPECT_FALSE(db_.isOpen());
  EXPECT_EQ(db_.text(10250, L"#Duct").str(), L"Duct");
  EXPECT_EQ(db_.find(10250), nullptr);
}

TEST_F(QlgTest, LanguageWithoutATextFallsBackToTheCodeDefault) {
  ASSERT_TRUE(db_.open(dictionary(), write("t.qlg", "[1500]\n5=Five\n[1501]\n6=Sechs\n")));
  ASSERT_TRUE(db_.setActiveLanguage(1501));
  EXPECT_EQ(db_.text(5, L"#Default five").str(), L"Default five");
  EXPECT_EQ(db_.text(6, L"#Six").str(), L"Sechs");
  EXPECT_FALSE(db_.setActiveLanguage(1033));
  EXPECT_EQ(db_.activeLanguage(), 1501);
}

TEST_F(QlgTest, EscapesCommentsAndBadLines) {
  ASSERT_TRUE(db_.open(dictionary(), write("t.qlg",
                                           "\xEF\xBB\xBF# comment\r\n[1500]\r\n"
                                           "1=Line one\\r\\nLine two\r\n"
                                           "2=Back\\\\slash = kept\r\n"
                                           "junk line\r\n0=zero\r\nabc=x\r\n  # indented\r\n")));
  EXPECT_EQ(db_.text(1, L"").str(), L"Line one\r\nLine two");
  EXPECT_EQ(db_.text(2, L"").str(), L"Back\\slash = kept");
  EXPECT_EQ(db_.find(0), nullptr);
}

TEST_F(QlgTest, BadFilesFailToOpenAndLeaveTheDatabaseClosed) {
  const std::pair<const char*, const char*> files[] = {
      {"language 1500 default English\n", "[1500]\n1=x\n"},                     // no format line
      {"format vxkd-language-texts 1\nlanguage 1500 - English\n", "[1500]\n"},  // no default
      {"format vxkd-language-texts 1\nlanguage 1033 default English\n", "[1033]\n"},
      {"format vxkd-language-texts 1\nlanguage 1500 default English\n", "[1600]\n1=x\n"},
      {"\x01\x02\xFF garbage", "[1500]\n"}};
  for (const auto& [dictionary, texts] : files) {
    EXPECT_FALSE(db_.open(write("d.ddq", dictionary), write("t.qlg", texts))) << dictionary;
    EXPECT_FALSE(db_.isOpen());
    EXPECT_EQ(db_.text(1, L"#One").str(), L"One");
  }
}

}  // namespace
