#include "vxkd/reports/report.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/qbase.h"

namespace {

CSReportColumn column(long propertyId, const char* header1, const char* header2 = "",
                      float length = 10.0f) {
  CSReportColumn c;
  c.setPropertyId(propertyId);
  c.setHeader1(header1);
  c.setHeader2(header2);
  c.setLength(length);
  return c;
}

// Every field of a report, one per line, for comparing a report with its copy read back.
std::string fieldsOf(const CKdReport& r) {
  std::string out = "id " + std::to_string(r.dbId()) + "\nname " + r.desc().toUtf8() +
                    "\norientation " + std::to_string(r.orientation()) + "\nentity types";
  for (short id : r.entityTypeIds()) out += " " + std::to_string(id);
  out += "\ndevice groups";
  for (int i = 0; i < r.devGroups().length(); ++i)
    out += " " + r.devGroups().objAt(i)->toWsz().toUtf8();
  for (int i = 0; i < r.columns().length(); ++i) {
    const CSReportColumn& c = *r.columns().at(i);
    out += "\ncolumn " + std::to_string(c.propertyId()) + " " + std::to_string(c.length()) + " [" +
           c.header1() + "] [" + c.header2() + "] " + std::to_string(c.lineType());
  }
  out += "\nsort " + std::to_string(r.sortPropertyId()) + " " + std::to_string(r.sortType()) +
         "\nstyle " + r.fontStyleName().toUtf8() + " " + std::to_string(r.fontHeight()) +
         "\ncells " + std::to_string(r.cellHeight()) + " " + std::to_string(r.cellWidth()) +
         "\nheadings " + std::to_string(r.firstRowHeight()) + " " +
         std::to_string(r.firstColWidth()) + " " + std::to_string(r.verticalTextsInFirstRow());
  return out;
}

TEST(Report, NewOrResetReportHasEveryDefault) {
  CKdReport report;
  report.setDbId(9);
  report.setDesc(L"x");
  report.entityTypeIds().append(3);
  CKdGuid group("00000000-0000-0000-0000-0000000000AA");
  report.devGroups().append(&group);
  CSReportColumn c = column(4, "W");
  report.columns().append(&c);
  report.setSortPropertyId(4);
  report.setSortType(VxKd::sortDescending);
  report.setOrientation(CKdReport::vertical);
  report.setFontStyleName(L"Bold");
  report.setFontHeight(5);
  report.setCellHeight(6);
  report.setCellWidth(7);
  report.setFirstRowHeight(8);
  report.setFirstColWidth(9);
  report.setVerticalTextsInFirstRow(true);
  report.reset();
  const CKdReport fresh;
  for (const CKdReport* r : {static_cast<const CKdReport*>(&report), &fresh})
    EXPECT_EQ(fieldsOf(*r),
              "id 0\nname \norientation 0\nentity types 1\ndevice groups\nsort 0 1\n"
              "style Standard 2.000000\ncells 3.000000 2.000000\n"
              "headings 10.000000 10.000000 0");
  EXPECT_STREQ(report.getClassId(), "RE");
}

TEST(Report, EntityTypeQueriesAnswerForTheirIdsOnly) {
  CKdReport report;
  report.entityTypeIds().empty();
  for (short id : {2, 5, 9}) report.entityTypeIds().append(id);
  EXPECT_FALSE(report.hasDevices());
  EXPECT_TRUE(report.hasDucts());
  EXPECT_FALSE(report.hasPipes());
  EXPECT_FALSE(report.hasPowerCables());
  EXPECT_TRUE(report.hasDataCables());
  report.entityTypeIds().append(1);
  report.entityTypeIds().append(3);
  report.entityTypeIds().append(4);
  EXPECT_TRUE(report.hasDevices() && report.hasPipes() && report.hasPowerCables());
}

TEST(Report, OrientationAndSortNamesAreTheirTexts) {
  ASSERT_TRUE(vxkd_test::openLanguageDb());
  EXPECT_EQ(CKdReport::getOrientationName(CKdReport::horizontal), L"Horizontal (data in rows)");
  EXPECT_EQ(CKdReport::getOrientationName(CKdReport::vertical), L"Vertical (data in columns)");
  EXPECT_EQ(CKdReport::getOrientationName(static_cast<CKdReport::reportOrient>(2)), L"");
  EXPECT_EQ(VxKd::getSortTypeName(VxKd::sortAscending), L"Ascending");
  EXPECT_EQ(VxKd::getSortTypeName(VxKd::sortDescending), L"Descending");
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_EQ(CKdReport::getOrientationName(CKdReport::vertical), L"Vertikal (Daten in Spalten)");
}

TEST(Report, SortTypeIsAscendingUnlessDescending) {
  CKdReport report;
  report.setSortType(static_cast<VxKd::SortType>(5));
  EXPECT_EQ(report.sortType(), VxKd::sortAscending);
  report.setSortType(VxKd::sortDescending);
  EXPECT_EQ(report.sortType(), VxKd::sortDescending);
}

// ---- Heights and widths ----

TEST(Report, FirstRowIsTwoCellsHighWhenAHeadingHasTwoLines) {
  const struct {
    CKdReport::reportOrient orientation;
    std::vector<CSReportColumn> columns;
    float height;
  } cases[] = {
      {CKdReport::horizontal, {}, 3.0f},
      {CKdReport::horizontal, {column(1, "A"), column(2, "B")}, 3.0f},
      {CKdReport::horizontal, {column(1, "A"), column(2, "B", "[mm]")}, 6.0f},
      {CKdReport::vertical, {}, 3.0f},
      {CKdReport::vertical, {column(1, "A"), column(2, "B", "[mm]")}, 3.0f},
      {CKdReport::vertical, {column(1, "A", "[mm]"), column(2, "B")}, 6.0f},
      {static_cast<CKdReport::reportOrient>(7), {column(1, "A", "[mm]")}, 3.0f},
  };
  for (const auto& c : cases) {
    CKdReport report;
    report.setOrientation(c.orientation);
    for (const CSReportColumn& col : c.columns) report.columns().append(&col);
    EXPECT_EQ(report.calcFirstRowHeight(), c.height) << c.orientation << " " << c.columns.size();
    report.setFirstRowHeight(c.height + 0.0009f);
    EXPECT_TRUE(report.isAutoFirstRowHeight());
    report.setFirstRowHeight(c.height + 0.002f);
    EXPECT_FALSE(report.isAutoFirstRowHeight());
  }
}

TEST(Report, TotalWidthIsTheColumnsOrTheDataAndTheHeadingColumn) {
  CKdReport report;
  EXPECT_EQ(report.calcTotalWidth(4), 0.0f) << "horizontal, no columns";
  EXPECT_EQ(report.calcFirstRowHeight(), report.cellHeight());
  for (float length : {12.5f, 30.0f}) {
    CSReportColumn c = column(1, "A", "", length);
    report.columns().append(&c);
  }
  EXPECT_EQ(report.calcTotalWidth(99), 42.5f);
  report.setOrientation(CKdReport::vertical);
  report.setCellWidth(2.0f);
  report.setFirstColWidth(10.0f);
  EXPECT_EQ(report.calcTotalWidth(4), 18.0f);
  report.setOrientation(static_cast<CKdReport::reportOrient>(2));
  EXPECT_EQ(report.calcTotalWidth(4), 0.0f);
}

TEST(Report, UsesThePropertyDefinitionsOfItsColumnsAndItsSort) {
  CKdReport report;
  CSReportColumn c = column(12, "A");
  report.columns().append(&c);
  report.setSortPropertyId(-1);
  EXPECT_EQ(report.propertyDefUsageKind(), iKdPropertyDefUser::reportDefinitions);
  EXPECT_TRUE(report.usesPropertyDef(12));
  EXPECT_TRUE(report.usesPropertyDef(-1));
  EXPECT_FALSE(report.usesPropertyDef(13));
  EXPECT_FALSE(CKdReport().usesPropertyDef(0)) << "unsorted uses nothing";
}

// ---- Record "RE" ----

class ReportRecord : public vxkd_test::TempDatasetTest {
 protected:
  // A report with no field at its default.
  static CKdReport everyField() {
    CKdReport r;
    r.setDbId(42);
    r.setDesc(L"Kanäle, nach Breite");
    r.entityTypeIds().empty();
    for (short id : {2, 1, 5}) r.entityTypeIds().append(id);
    for (const char* text :
         {"00000000-0000-0000-0000-0000000000AA", "12345678-9ABC-DEF0-1234-56789ABCDEF0"}) {
      CKdGuid guid(text);
      r.devGroups().append(&guid);
    }
    CSReportColumn a = column(7, "Breite", "[mm]", 25.0f);
    a.setLineType(2);
    CSReportColumn b = column(-1, "Teil", "", 40.5f);
    b.setLineType(0);
    r.columns().append(&a);
    r.columns().append(&b);
    r.setSortPropertyId(7);
    r.setSortType(VxKd::sortDescending);
    r.setOrientation(CKdReport::vertical);
    r.setFontStyleName(L"Schmal");
    r.setFontHeight(2.5f);
    r.setCellHeight(4.0f);
    r.setCellWidth(15.0f);
    r.setFirstRowHeight(8.0f);
    r.setFirstColWidth(30.0f);
    r.setVerticalTextsInFirstRow(true);
    return r;
  }

  // Reads record `key` into a fresh report from the file reopened.
  ::testing::AssertionResult readBack(const char* key, CKdReport& out, bool& result) {
    CQbase db;
    if (!reopen(db)) return ::testing::AssertionFailure() << "cannot reopen";
    if (!db.fetchRec("RE", key)) return ::testing::AssertionFailure() << "no record " << key;
    out.setDbId(77);  // replaced by the read
    result = out.readFrom(db);
    db.abandon();
    return db_.openDatabase(vxkd_test::datasetDictionary(), path(), false)
               ? ::testing::AssertionSuccess()
               : ::testing::AssertionFailure() << "cannot open again";
  }
};

TEST_F(ReportRecord, EveryFieldReadsBackAsSaved) {
  CKdReport saved = everyField();
  ASSERT_TRUE(saved.saveTo(db_));
  CKdReport read;
  bool result = false;
  ASSERT_TRUE(readBack("000042", read, result));
  EXPECT_TRUE(result);
  EXPECT_EQ(fieldsOf(read), fieldsOf(saved));
  EXPECT_EQ(read.origin().key(), "000042");
}

TEST_F(ReportRecord, FieldsAreStoredAsTheDictionarySays) {
  ASSERT_TRUE(everyField().saveTo(db_));
  ASSERT_TRUE(db_.fetchRec("RE", "000042"));
  long sort = 0, version = 0;
  short flags = 0, orientation = 0;
  CFloatArray rows, widths;
  CInt16Array lineTypes;
  CByteBuffer items;
  int count = 0;
  ASSERT_TRUE(db_.getLong(1211, sort) && db_.getLong(1208, version) && db_.getShort(1103, flags) &&
              db_.getShort(1112, orientation) && db_.getFloatArray(1308, rows) &&
              db_.getFloatArray(1307, widths) && db_.getShortArray(1113, lineTypes) &&
              db_.getBinaryArray(1604, items, count));
  EXPECT_EQ(sort, 15) << "property 7 descending";
  EXPECT_EQ(version, 2014110);
  EXPECT_EQ(flags, 1);
  EXPECT_EQ(orientation, 1);
  EXPECT_EQ(rows, (CFloatArray{8.0f, 4.0f}));
  EXPECT_EQ(widths, (CFloatArray{30.0f, 15.0f}));
  EXPECT_EQ(lineTypes, (CInt16Array{2, 0}));
  ASSERT_EQ(count, 2);
  ASSERT_EQ(items.size(), 256);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(items.data()), 16),
            std::string("\x07\0\0\0\0\0\xC8\x41"
                        "Breite\0\0",
                        16));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(items.data()) + 128, 4),
            std::string("\xFF\xFF\xFF\xFF", 4));
}

TEST_F(ReportRecord, EmptyNameIsNotWrittenAndEmptyListsReadBackEmpty) {
  CKdReport saved;
  saved.setDbId(1);
  saved.entityTypeIds().empty();
  ASSERT_TRUE(saved.saveTo(db_));
  CWsz desc;
  ASSERT_TRUE(db_.fetchRec("RE", "000001"));
  EXPECT_FALSE(db_.getWsz(1502, desc));
  CByteBuffer items;
  int count = 0;
  EXPECT_FALSE(db_.getBinaryArray(1604, items, count)) << "no columns, no field";
  CKdReport read;
  bool result = false;
  ASSERT_TRUE(readBack("000001", read, result));
  EXPECT_EQ(fieldsOf(read), fieldsOf(saved));
}

TEST_F(ReportRecord, SortWordHoldsTheIdTwiceAndTheDirectionInItsLowBit) {
  const struct {
    long word;
    long property;
    VxKd::SortType type;
  } cases[] = {{7, 3, VxKd::sortDescending},  {6, 3, VxKd::sortAscending},
               {0, 0, VxKd::sortAscending},   {-1, -1, VxKd::sortDescending},
               {-2, -1, VxKd::sortAscending}, {1999999, 999999, VxKd::sortDescending}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.word);
    ASSERT_TRUE(db_.createRec("RE", "000005") && db_.setLong(1211, c.word) && db_.saveRec());
    ASSERT_TRUE(db_.fetchRec("RE", "000005"));
    CKdReport read;
    ASSERT_TRUE(read.readFrom(db_));
    EXPECT_EQ(read.sortPropertyId(), c.property);
    EXPECT_EQ(read.sortType(), c.type);

    ASSERT_TRUE(read.saveTo(db_) && db_.fetchRec("RE", "000005"));
    long word = 99;
    ASSERT_TRUE(db_.getLong(1211, word));
    EXPECT_EQ(word, c.word);
  }
  CKdReport wide;
  wide.setDbId(6);
  wide.setSortPropertyId(0x40000000);  // twice that does not fit the word
  EXPECT_FALSE(wide.saveTo(db_));
}

TEST_F(ReportRecord, MissingFieldsKeepTheirDefaults) {
  ASSERT_TRUE(db_.createRec("RE", "000003") && db_.saveRec());
  ASSERT_TRUE(db_.createRec("RE", "000004") && db_.setFloatArray(1308, {1.0f, 2.0f, 3.0f}) &&
              db_.setFloatArray(1307, {4.0f}) && db_.setLong(1208, 2014110) && db_.saveRec());
  for (const char* key : {"000003", "000004"}) {
    ASSERT_TRUE(db_.fetchRec("RE", key));
    CKdReport read;
    ASSERT_TRUE(read.readFrom(db_));
    CKdReport expected;
    expected.setDbId(key[5] - '0');
    // Without a version the heading row is computed: one cell high without columns.
    if (key[5] == '3') expected.setFirstRowHeight(3.0f);
    EXPECT_EQ(fieldsOf(read), fieldsOf(expected)) << "arrays not of two values are ignored";
  }
}

TEST_F(ReportRecord, KeyWithoutAnIdAboveZeroIsNotRead) {
  for (const char* key : {"000000", "x7", "-3"}) {
    SCOPED_TRACE(key);
    ASSERT_TRUE(db_.createRec("RE", key) && db_.setWsz(1502, L"Not read") && db_.saveRec());
    ASSERT_TRUE(db_.fetchRec("RE", key));
    CKdReport read;
    read.setDesc(L"old");
    EXPECT_FALSE(read.readFrom(db_));
    EXPECT_EQ(fieldsOf(read), fieldsOf(CKdReport()));
    EXPECT_EQ(read.origin().key(), key);
    EXPECT_EQ(read.writeObstacle(), CKdRecordOrigin::keyWithoutId);
    EXPECT_FALSE(read.saveTo(db_)) << "id 0 has no key";
    CWsz desc;
    ASSERT_TRUE(db_.fetchRec("RE", key) && db_.getWsz(1502, desc));
    EXPECT_EQ(desc, L"Not read") << "the record stays as it was";
  }
}

TEST_F(ReportRecord, ColumnsWithoutLineTypesReadBackWithLineTypeOne) {
  ASSERT_TRUE(everyField().saveTo(db_));
  CByteBuffer items;
  int count = 0;
  ASSERT_TRUE(db_.fetchRec("RE", "000042") && db_.getBinaryArray(1604, items, count));
  ASSERT_TRUE(db_.setShortArray(1113, {2}) && db_.saveRec());  // one line type for two columns
  ASSERT_TRUE(db_.createRec("RE", "000043") && db_.setBinaryArray(1604, items.data(), count) &&
              db_.saveRec());  // no line types at all
  for (const auto& [key, types] : {std::pair{"000042", "2 1"}, std::pair{"000043", "1 1"}}) {
    ASSERT_TRUE(db_.fetchRec("RE", key));
    CKdReport read;
    ASSERT_TRUE(read.readFrom(db_));
    ASSERT_EQ(read.columns().length(), 2);
    EXPECT_EQ(std::to_string(read.columns().at(0)->lineType()) + " " +
                  std::to_string(read.columns().at(1)->lineType()),
              types)
        << key;
  }
}

TEST_F(ReportRecord, ColumnsBeyond130AreNotRead) {
  std::vector<uint8_t> items(200 * CSReportColumn::itemSize);
  for (int i = 0; i < 200; ++i)
    column(i + 1, "C").toItem(items.data() + i * CSReportColumn::itemSize);
  ASSERT_TRUE(db_.createRec("RE", "000008") && db_.setBinaryArray(1604, items.data(), 200) &&
              db_.saveRec());
  CKdReport read;
  ASSERT_TRUE(db_.fetchRec("RE", "000008") && read.readFrom(db_));
  ASSERT_EQ(read.columns().length(), 130);
  EXPECT_EQ(read.columns().at(129)->propertyId(), 130);
}

// Records before the format of 2014110 had no heading height of their own.
TEST_F(ReportRecord, OlderRecordGetsItsHeadingHeightComputed) {
  CKdReport saved = everyField();
  saved.setOrientation(CKdReport::horizontal);
  saved.setFirstRowHeight(20.0f);
  ASSERT_TRUE(saved.saveTo(db_));
  const struct {
    long version;  // 0: no version field
    CKdReport::reportOrient orientation;
    float height;
  } cases[] = {{0, CKdReport::horizontal, 8.0f},
               {2014109, CKdReport::horizontal, 8.0f},
               {2014109, CKdReport::vertical, 20.0f},
               {2014110, CKdReport::horizontal, 20.0f},
               {2020001, CKdReport::horizontal, 20.0f}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.version);
    saved.setOrientation(c.orientation);
    ASSERT_TRUE(saved.saveTo(db_));
    if (c.version != 0) {
      ASSERT_TRUE(db_.fetchRec("RE", "000042") && db_.setLong(1208, c.version) && db_.saveRec());
    } else {
      ASSERT_TRUE(runSql("UPDATE RE_report_definitions SET f1208_format_version = NULL"));
    }
    CKdReport read;
    ASSERT_TRUE(db_.fetchRec("RE", "000042") && read.readFrom(db_));
    EXPECT_EQ(read.firstRowHeight(), c.height) << "two cells of 4.0 when computed";
  }
}

TEST_F(ReportRecord, DeviceGroupsAreKeptWhenTheReportListsNoDevices) {
  CKdReport saved = everyField();
  saved.entityTypeIds().empty();
  saved.entityTypeIds().append(CKdReport::entityPipes);
  ASSERT_TRUE(saved.saveTo(db_));
  CKdReport read;
  bool result = false;
  ASSERT_TRUE(readBack("000042", read, result));
  EXPECT_EQ(read.devGroups().length(), 2);
  EXPECT_EQ(fieldsOf(read), fieldsOf(saved));
}

TEST_F(ReportRecord, OtherBitsOfTheFlagWordAreKept) {
  ASSERT_TRUE(db_.createRec("RE", "000002") && db_.setShort(1103, 0x0106) && db_.saveRec());
  CKdReport read;
  ASSERT_TRUE(db_.fetchRec("RE", "000002") && read.readFrom(db_));
  EXPECT_FALSE(read.verticalTextsInFirstRow());
  read.setVerticalTextsInFirstRow(true);
  ASSERT_TRUE(read.saveTo(db_) && db_.fetchRec("RE", "000002"));
  short flags = 0;
  ASSERT_TRUE(db_.getShort(1103, flags));
  EXPECT_EQ(flags, 0x0107);
}

TEST_F(ReportRecord, ReportReadFromAKeyOfAnotherFormMovesToItsOwnKey) {
  ASSERT_TRUE(db_.createRec("RE", " 7") && db_.setWsz(1502, L"Moved") && db_.saveRec());
  CKdReport read;
  ASSERT_TRUE(db_.fetchRec("RE", " 7") && read.readFrom(db_));
  EXPECT_EQ(read.dbId(), 7);
  ASSERT_TRUE(read.saveTo(db_));
  EXPECT_FALSE(db_.fetchRec("RE", " 7"));
  CWsz desc;
  ASSERT_TRUE(db_.fetchRec("RE", "000007") && db_.getWsz(1502, desc));
  EXPECT_EQ(desc, L"Moved");
  EXPECT_TRUE(read.deleteFrom(db_));
  EXPECT_FALSE(db_.fetchRec("RE", "000007"));
}

TEST_F(ReportRecord, ArrayOfReportsReadsEveryRecordInKeyOrder) {
  CKdObjectArray<CKdReport> reports;
  for (long id : {30, 4}) {
    CKdReport r = everyField();
    r.setDbId(id);
    r.setDesc((L"Report " + std::to_wstring(id)).c_str());
    reports.append(&r);
  }
  EXPECT_TRUE(reports.saveTo(db_));
  ASSERT_TRUE(db_.createRec("RE", "000000") && db_.saveRec());
  CKdObjectArray<CKdReport> read;
  ASSERT_TRUE(read.readFrom(db_));
  ASSERT_EQ(read.length(), 3);
  EXPECT_EQ(read.idAt(0), 0) << "key 000000: an element that was not read";
  EXPECT_STREQ(read.nameAt(1), L"Report 4");
  EXPECT_EQ(read.findId(30), read.objAt(2));
  EXPECT_EQ(fieldsOf(*read.objAt(2)), fieldsOf(*reports.objAt(0)));
}

}  // namespace
