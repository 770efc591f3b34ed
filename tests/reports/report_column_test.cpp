#include "vxkd/reports/report_column.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/ui_fixture.h"

namespace {

TEST(ReportColumn, StartsWithItsDefaults) {
  CSReportColumn column;
  EXPECT_EQ(column.propertyId(), 0);
  EXPECT_EQ(column.length(), 10.0f);
  EXPECT_STREQ(column.header1(), "");
  EXPECT_STREQ(column.header2(), "");
  EXPECT_EQ(column.lineType(), 0);
}

// What a heading setter keeps is what the 60-byte slot stores: 59 bytes, whole characters.
TEST(ReportColumn, HeadingKeepsAtMost59BytesOfWholeCharacters) {
  const struct {
    std::string text;
    std::string kept;
  } cases[] = {{"Width", "Width"},
               {std::string(59, 'a'), std::string(59, 'a')},
               {std::string(70, 'a'), std::string(59, 'a')},
               {std::string(58, 'a') + "\xC3\xA4", std::string(58, 'a')},  // "ä" would be cut
               {std::string(57, 'a') + "\xC3\xA4", std::string(57, 'a') + "\xC3\xA4"},
               {"", ""}};
  for (const auto& c : cases) {
    CSReportColumn column;
    column.setHeader1(c.text.c_str());
    column.setHeader2(c.text.c_str());
    EXPECT_EQ(column.header1(), c.kept) << c.text.size();
    EXPECT_EQ(column.header2(), c.kept);
  }
  CSReportColumn column;
  column.setHeader1("old");
  column.setHeader1(nullptr);
  EXPECT_STREQ(column.header1(), "");
}

TEST(ReportColumn, ItemIs128LittleEndianBytesWithZerosAfterEachHeading) {
  CSReportColumn column;
  column.setPropertyId(0x01020304);
  column.setLength(-2.5f);  // 0xC0200000
  column.setHeader1("Ab");
  column.setHeader2("\xC3\xA4");
  column.setLineType(2);
  uint8_t item[CSReportColumn::itemSize];
  std::memset(item, 0xEE, sizeof item);
  column.toItem(item);
  uint8_t expected[CSReportColumn::itemSize] = {0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0x20, 0xC0};
  expected[8] = 'A';
  expected[9] = 'b';
  expected[68] = 0xC3;
  expected[69] = 0xA4;
  EXPECT_EQ(std::memcmp(item, expected, sizeof item), 0);

  CSReportColumn back;
  back.setLineType(1);
  back.fromItem(item);
  EXPECT_EQ(back.propertyId(), 0x01020304);
  EXPECT_EQ(back.length(), -2.5f);
  EXPECT_STREQ(back.header1(), "Ab");
  EXPECT_STREQ(back.header2(), "\xC3\xA4");
  EXPECT_EQ(back.lineType(), 1) << "the line type is not in the item";
}

TEST(ReportColumn, StoredHeadingIsReadUpToItsNulOr59Bytes) {
  uint8_t item[CSReportColumn::itemSize] = {};
  std::memset(item + 8, 'x', 60);  // heading 1 without NUL
  std::memcpy(item + 68, "ab\0cd", 5);
  CSReportColumn column;
  column.fromItem(item);
  EXPECT_EQ(std::string(column.header1()), std::string(59, 'x'));
  EXPECT_STREQ(column.header2(), "ab");
  EXPECT_EQ(column.propertyId(), 0);
  EXPECT_EQ(column.length(), 0.0f);
}

TEST(ReportColumn, LineTypeNamesComeFromTheActiveLanguage) {
  ASSERT_TRUE(vxkd_test::openLanguageDb());
  CSReportColumn column;
  column.setLineType(1);
  EXPECT_EQ(column.GetLineTypeName(), L"Draw line after column in DWG report");
  EXPECT_EQ(CSReportColumn::GetLineTypeName(2),
            L"Draw line only to first row's column in DWG report");
  for (short other : {0, 3, -1}) EXPECT_EQ(CSReportColumn::GetLineTypeName(other), L"");
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_EQ(column.GetLineTypeName(), L"Linie nach der Spalte im DWG-Bericht zeichnen");
}

TEST(ReportColumnArray, HoldsAtMost130ColumnsAndFindsThemByProperty) {
  CKdReportColumnArray columns;
  CSReportColumn column;
  for (int i = 1; i <= CKdReportColumnArray::maxColumns; ++i) {
    column.setPropertyId(i);
    ASSERT_TRUE(columns.append(&column)) << i;
  }
  EXPECT_TRUE(columns.isFull());
  column.setPropertyId(999);
  EXPECT_FALSE(columns.append(&column));
  EXPECT_FALSE(columns.insertAt(0, &column));
  EXPECT_EQ(columns.length(), 130);
  EXPECT_EQ(columns.at(0)->propertyId(), 1);
  EXPECT_EQ(columns.at(130), nullptr);

  CKdReportColumnArray few;
  few.append(&column);
  CKdReportColumnArray copy = columns;
  copy.deleteAt(0);
  EXPECT_FALSE(copy.append(columns)) << "only one more fits";
  EXPECT_EQ(copy.length(), 130);
  EXPECT_TRUE(copy.usesPropertyDef(1));
  EXPECT_FALSE(copy.usesPropertyDef(999));
  EXPECT_EQ(copy.idAt(128), 130);
  EXPECT_TRUE(few.usesPropertyDef(999));
}

}  // namespace
