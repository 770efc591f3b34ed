#include "vxkd/drawingdefs/text_style_def.h"

#include <gtest/gtest.h>

#include <string>

#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/foundation/common_list_item.h"
#include "vxkd/platform/dialog.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

using namespace cuWin;

namespace {

using namespace std::string_literals;

// A style with every field away from its default.
CKdTextStyleDef fullStyle(const wchar_t* name, long id) {
  CKdTextStyleDef s;
  s.setDbId(id);
  s.setName(name);
  s.setTypeFace(L"Liberation Sans");
  s.setFontFile(L"LiberationSans-Regular.ttf");
  s.setBold(true);
  s.setItalic(false);
  s.setVertical(true);
  s.setHasShapeFile(false);
  s.setCharSet(1);
  s.setPitch(2);
  s.setFamily(32);
  s.setFlags(4);
  s.setOblAngle(15.0f);
  s.setTextSize(2.5f);
  s.setXScale(0.8f);
  return s;
}

std::wstring names(const CKdObjArray& defs) {
  std::wstring out;
  for (int i = 0; i < defs.length(); ++i) out += (i ? L" " : L"") + std::wstring(defs.nameAt(i));
  return out;
}

class TextStyleRecordTest : public vxkd_test::TempDatasetTest {};

// The flag text keeps vertical before the shape file, the other way round than the style.
TEST_F(TextStyleRecordTest, FlagTextHoldsBoldItalicVerticalShapeFile) {
  struct Case {
    bool bold, italic, vertical, shape;
    const char* text;
  } cases[] = {{false, false, true, false, "0010"},
               {false, false, false, true, "0001"},
               {true, false, false, false, "1000"},
               {false, true, true, true, "0111"}};
  for (const Case& c : cases) {
    CKdTextStyleDef s;
    s.setDbId(1);
    s.setBold(c.bold);
    s.setItalic(c.italic);
    s.setVertical(c.vertical);
    s.setHasShapeFile(c.shape);
    ASSERT_TRUE(s.saveTo(db_));
    ASSERT_TRUE(db_.fetchRec("LX", "000001"));
    CChBuffer text;
    ASSERT_TRUE(db_.getSz(1507, text));
    EXPECT_STREQ(text, c.text);
    CKdTextStyleDef back;
    ASSERT_TRUE(back.readFrom(db_));
    EXPECT_EQ(back, s) << c.text;
  }
}

TEST_F(TextStyleRecordTest, EveryFieldButTheBigFontFileIsStoredAndReadBack) {
  CKdTextStyleDefArray styles;
  CKdTextStyleDef a = fullStyle(L"Dimensions", 7);
  a.setBigFontFile(L"bigfont.shx");
  CKdTextStyleDef b;
  b.setName(L"Plain");
  b.setDbId(3);
  styles.append(&a);
  styles.append(&b);
  ASSERT_TRUE(styles.saveTo(db_));
  CQbase db;
  ASSERT_TRUE(reopen(db));
  CKdTextStyleDefArray back;
  ASSERT_TRUE(back.readFrom(db));
  ASSERT_EQ(back.length(), 2);
  EXPECT_EQ(names(back), L"Plain Dimensions");  // key order
  a.setBigFontFile(L"");
  EXPECT_EQ(*back.objAt(1), a);
  EXPECT_EQ(*back.objAt(0), b);
  EXPECT_FLOAT_EQ(back.objAt(0)->xScale(), 1.0f);
}

TEST_F(TextStyleRecordTest, RecordsWithoutAnIdAreLeftOutAndDeleteFromRemovesOne) {
  ASSERT_TRUE(db_.createRec("LX", "000000"));
  ASSERT_TRUE(db_.saveRec());
  ASSERT_TRUE(db_.createRec("LX", "abc"));
  ASSERT_TRUE(db_.saveRec());
  CKdTextStyleDef s = fullStyle(L"Kept", 5);
  ASSERT_TRUE(s.saveTo(db_));
  CKdTextStyleDefArray back;
  back.readFrom(db_);
  EXPECT_EQ(names(back), L"Kept");
  ASSERT_TRUE(s.deleteFrom(db_));
  back.readFrom(db_);
  EXPECT_EQ(back.length(), 0);
}

TEST(TextStyleDefArray, AppendGivesAStyleWithoutIdTheNextFreeOne) {
  CKdTextStyleDefArray styles;
  CKdTextStyleDef s;
  s.setName(L"A");
  ASSERT_TRUE(styles.append(&s));
  s.setDbId(40);
  ASSERT_TRUE(styles.append(&s));
  s.setDbId(0);
  ASSERT_TRUE(styles.append(&s));
  EXPECT_EQ(styles.idAt(0), 1);
  EXPECT_EQ(styles.idAt(1), 40);
  EXPECT_EQ(styles.idAt(2), 41);
  EXPECT_FALSE(styles.append(nullptr));
}

TEST(TextStyleDefArray, ListItemsAndComboBoxShowTheNamesInArrayOrder) {
  CKdTextStyleDefArray styles;
  for (const wchar_t* name : {L"Standard", L"Notes", L"notes"}) {
    CKdTextStyleDef s;
    s.setName(name);
    styles.append(&s);
  }
  CKdCommonListItemArray items;
  styles.asCommonListItems(items);
  ASSERT_EQ(items.length(), 3);
  EXPECT_EQ(items.idAt(2), 2);
  EXPECT_EQ(items.objAt(1)->text(), L"Notes");

  VXDialog dialog;
  VxComboBox& combo = dialog.comboBox(101);
  combo.addString(L"stale");
  styles.fillCb(dialog.handle(), 101, L"NOTES");
  ASSERT_EQ(combo.count(), 3);
  EXPECT_EQ(combo.textAt(0), L"Standard");
  EXPECT_EQ(combo.curSel(), 2);  // the last of the names that match
  styles.fillCb(dialog.handle(), 101, L"Missing");
  EXPECT_EQ(combo.curSel(), VxComboBox::kError);
  styles.fillCb(nullptr, 101, L"Notes");  // no dialog: nothing happens
}

TEST(TextStyleDefArray, SortsByNameFontFileOrTypeFace) {
  CKdTextStyleDefArray styles;
  const wchar_t* rows[][3] = {{L"b", L"z.ttf", L"Arial"}, {L"A", L"y.ttf", L"courier"}};
  for (auto& row : rows) {
    CKdTextStyleDef s;
    s.setName(row[0]);
    s.setFontFile(row[1]);
    s.setTypeFace(row[2]);
    styles.append(&s);
  }
  styles.sort(CKdTextStyleDefArray::sortByName);
  EXPECT_EQ(names(styles), L"A b");
  styles.sort(CKdTextStyleDefArray::sortByTypeFace);
  EXPECT_EQ(names(styles), L"b A");
  styles.sort(-CKdTextStyleDefArray::sortByFontFile);
  EXPECT_EQ(names(styles), L"b A");
  styles.sort(CKdTextStyleDefArray::sortByFontFile);
  EXPECT_EQ(names(styles), L"A b");
}

// ---- STY files ----

class StyFileTest : public vxkd_test::TextsUiTest {
 protected:
  CWsz path(const char* name) const { return dir_.path(CWsz::fromUtf8(name)); }
  bool importText(const std::string& bytes) {
    EXPECT_TRUE(dir_.write("in.sty", bytes));
    return styles_.importSty(nullptr, path("in.sty"), &report_);
  }

  vxkd_test::TempFolder dir_;
  CKdTextStyleDefArray styles_;
  CKdDefImportReport report_;
};

TEST_F(StyFileTest, ExportWritesTheBannerAndTheKeysInTheirOrder) {
  CKdTextStyleDef s = fullStyle(L"Dimensions", 7);
  s.setBigFontFile(L"big.shx");
  styles_.append(&s);
  ASSERT_TRUE(styles_.exportSty(nullptr, path("out.sty")));
  std::string text = dir_.read("out.sty");
  size_t dateEnd = text.find('\n', text.find("// Date: ")) + 1;
  EXPECT_EQ(text.substr(0, text.find("// Date: ")),
            "// -----------------------------------\n"
            "// VANTRIX - TEXT STYLE DEFINITION FILE\n"
            "//\n");
  EXPECT_EQ(text.substr(dateEnd),
            "// -----------------------------------\n"
            "\n"
            "[TEXTSTYLE]\n"
            "Name=Dimensions\n"
            "FontFile=LiberationSans-Regular.ttf\n"
            "BigFontFile=big.shx\n"
            "TypeFace=Liberation Sans\n"
            "Bold=1\n"
            "Italic=0\n"
            "CharSet=1\n"
            "Pitch=2\n"
            "Family=32\n"
            "Flags=4\n"
            "HasShapeFile=0\n"
            "Vertical=1\n"
            "OblAngle=15.0000\n"
            "PriorSize=1.0000\n"
            "TextSize=2.5000\n"
            "Xscale=0.8000\n"
            "\n");
}

TEST_F(StyFileTest, ExportThenImportGivesTheSameStyles) {
  CKdTextStyleDefArray source;
  CKdTextStyleDef a = fullStyle(L"Dimensions", 7);
  a.setBigFontFile(L"big.shx");
  CKdTextStyleDef b = fullStyle(L"Notes äöü", 9);
  b.setTextSize(1234.5f);
  b.setOblAngle(-7.25f);
  source.append(&a);
  source.append(&b);
  ASSERT_TRUE(source.exportSty(nullptr, path("round.sty")));
  ASSERT_TRUE(styles_.importSty(nullptr, path("round.sty"), &report_));
  ASSERT_EQ(styles_.length(), 2);
  a.setDbId(1);
  b.setDbId(2);
  EXPECT_EQ(*styles_.objAt(0), a);
  EXPECT_EQ(*styles_.objAt(1), b);
  EXPECT_EQ(report_.added().join(L","), L"Dimensions,Notes äöü");
}

TEST_F(StyFileTest, ImportIgnoresUnknownKeysAndLeavesMissingOnesAtTheirDefaults) {
  ASSERT_TRUE(
      importText("// written by hand\r\n"
                 "[OTHERSECTION]\r\n"
                 "Name=NotAStyle\r\n"
                 "[textstyle]\r\n"
                 "  name = Hand written  \r\n"
                 "COLOR=red\r\n"
                 "TextSize=abc\r\n"
                 "xscale=0.75\r\n"
                 "Bold=2\r\n"
                 "Flags=300\r\n"
                 "[TEXTSTYLE]\r\n"
                 "FontFile=nameless.shx\r\n"));
  ASSERT_EQ(styles_.length(), 1);
  const CKdTextStyleDef* s = styles_.objAt(0);
  EXPECT_EQ(s->name(), L"Hand written");
  EXPECT_FLOAT_EQ(s->xScale(), 0.75f);
  EXPECT_FLOAT_EQ(s->textSize(), 0.0f);
  EXPECT_TRUE(s->isBold());
  EXPECT_EQ(s->flags(), 0);
  EXPECT_TRUE(s->fontFile().isEmpty());
  EXPECT_EQ(report_.skipped().join(L"|"), L"line 11: no name");
}

TEST_F(StyFileTest, AStyleWhoseNameExistsIsReplacedKeepingItsId) {
  CKdTextStyleDef old = fullStyle(L"Standard", 12);
  styles_.append(&old);
  ASSERT_TRUE(
      importText("[TEXTSTYLE]\nName=STANDARD\nFontFile=romans\n"
                 "[TEXTSTYLE]\nName=Second\n"));
  ASSERT_EQ(styles_.length(), 2);
  EXPECT_EQ(styles_.objAt(0)->dbId(), 12);
  EXPECT_EQ(styles_.objAt(0)->name(), L"Standard");
  EXPECT_EQ(styles_.objAt(0)->fontFile(), L"romans");
  EXPECT_FALSE(styles_.objAt(0)->isBold());  // replaced as a whole
  EXPECT_EQ(styles_.objAt(1)->dbId(), 13);
  EXPECT_EQ(report_.replaced().join(L","), L"Standard");
}

TEST_F(StyFileTest, AFileWithoutStylesWarnsAndChangesNothing) {
  CKdTextStyleDef old = fullStyle(L"Standard", 1);
  styles_.append(&old);
  const std::string cases[] = {
      "",
      "\0\0\x01\x02[TEXTSTYLE]\nName=Bin\n"s,
      "[TEXTSTYLE]\nFontFile=txt\n",
      "Name=Outside\n",
      "[TEXTSTYLE]\nName=Long\nTypeFace=" + std::string(100000, 'x') + "\n",
  };
  for (const std::string& bytes : cases) {
    ui_.clear();
    EXPECT_FALSE(importText(bytes));
    EXPECT_TRUE(lastBoxIs(L"No text styles found in the file", L"Vantrix",
                          MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL));
    ASSERT_EQ(styles_.length(), 1);
    EXPECT_EQ(*styles_.objAt(0), old);
  }
  EXPECT_FALSE(styles_.importSty(nullptr, path("missing.sty")));
}

TEST_F(StyFileTest, TheDialogFormsAskForTheFileFirst) {
  CKdTextStyleDef s = fullStyle(L"Standard", 1);
  styles_.append(&s);
  ui_.answerFileDialogWith(path("styles"));
  ASSERT_TRUE(styles_.exportSty(nullptr));
  EXPECT_EQ(ui_.interactions()[0].caption, L"*.STY|*.STY|");
  EXPECT_FALSE(dir_.read("styles.STY").empty());
  ui_.cancelFileDialog();
  EXPECT_FALSE(styles_.importSty(nullptr));
  ui_.answerFileDialogWith(path("styles.STY"));
  EXPECT_TRUE(styles_.importSty(nullptr));
  EXPECT_EQ(styles_.length(), 1);
}

}  // namespace
