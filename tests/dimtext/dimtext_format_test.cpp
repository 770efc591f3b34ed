#include "vxkd/dimtext/dimtext_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "support/fake_dimtext_format_user.h"
#include "support/fake_property_def_user.h"
#include "support/temp_dataset.h"
#include "support/ui_fixture.h"

using namespace cuWin;

namespace {

using O = CKdDimtextOptions;
using A = CKdDimtextFormatArray;

CKdDimtextFormat formatOf(long id, const wchar_t* desc, float height = 2.0f,
                          const wchar_t* fmt = L"", const wchar_t* style = L"Standard") {
  CKdDimtextFormat f;
  f.setId(id);
  f.setDesc(desc);
  f.setTextHeight(height);
  f.setFmt(fmt);
  f.setStyleName(style);
  return f;
}

A arrayOf(std::initializer_list<CKdDimtextFormat> formats) {
  A out;
  for (const CKdDimtextFormat& f : formats) out.append(&f);
  return out;
}

std::wstring descs(const A& formats) {
  std::wstring out;
  for (int i = 0; i < formats.length(); ++i)
    out += (i ? L" " : L"") + std::wstring(formats.descriptionAt(i));
  return out;
}

// Every field of a format on one line.
std::wstring fields(const CKdDimtextFormat& f) {
  const O& o = f.options();
  return std::to_wstring(f.id()) + L"|" + f.desc().str() + L"|" + f.fmt().str() + L"|" +
         f.styleName().str() + L"|" + std::to_wstring(f.textHeight()) + L"|" +
         std::to_wstring(f.fixedBorderDim()) + L"|" + std::to_wstring(f.refItemSize()) + L"|" +
         std::to_wstring(f.textColor()) + L"|" + std::to_wstring(o.reflineType()) + L"," +
         std::to_wstring(o.alignmentFlags()) + L"," + std::to_wstring(o.borderType());
}

TEST(DimtextOptions, NamesEveryValueAndNothingOutOfRange) {
  ASSERT_TRUE(vxkd_test::openLanguageDb());
  const std::pair<CWsz (*)(short), std::vector<const wchar_t*>> rows[] = {
      {O::getReflineTypeName,
       {L"None", L"Line only", L"Line and target line", L"Arrow", L"Filled circle"}},
      {O::getAlignmentFlagName, {L"Left", L"Center", L"Right"}},
      {O::getBorderTypeName,
       {L"None", L"First row underlined", L"All rows underlined", L"Rectangle", L"Diamond",
        L"Circle", L"Split circle", L"Break line", L"Hexagon"}},
  };
  for (const auto& [name, names] : rows) {
    const short count = static_cast<short>(names.size());
    for (short v = 0; v < count; ++v) EXPECT_EQ(name(v).str(), names[v]);
    EXPECT_TRUE(name(-1).isEmpty());
    EXPECT_TRUE(name(count).isEmpty());
  }
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_EQ(O::getBorderTypeName(O::borderHexagon).str(), L"Sechseck");
}

TEST(DimtextFormat, NewFormatCarriesTheRecordDefaults) {
  CKdDimtextFormat f;
  EXPECT_EQ(fields(f), L"0|||Standard|2.000000|-1.000000|1.000000|256|0,0,0");
  EXPECT_TRUE(f.isEmpty());
  f.setFmt(L"x");
  EXPECT_FALSE(f.isEmpty());
  char key[CKdDimtextFormat::kDbIdSize];
  EXPECT_STREQ(formatOf(42, L"").buildDbId(key), "000042");
  EXPECT_STREQ(formatOf(-2147483647 - 1, L"").buildDbId(key), "-2147483648");
}

TEST(DimtextFormat, FixedSizeOnlyAboveOneTenth) {
  for (auto [dim, fixed] :
       {std::pair{-1.0f, false}, {0.0f, false}, {0.1f, false}, {0.10001f, true}, {12.5f, true}}) {
    CKdDimtextFormat f;
    f.setFixedBorderDim(dim);
    EXPECT_EQ(f.isFixedSize(), fixed) << dim;
  }
}

TEST(DimtextFormat, ReferenceObjectIsRequiredByPropertyAndPartTokens) {
  const std::pair<const wchar_t*, bool> cases[] = {
      {L"", false},
      {L"Row 1{*CRNL*}Row 2{*crnl*}{*NOTE*}", false},
      {L"{*DESC*}{*GUID*}", false},
      {L"Size {Width} x {Height}", true},
      {L"{*PARTID*}", true},
      {L"{*partid*}", true},  // special names ignore case everywhere
      {L"{*P", true},         // the shortest format the scan reads
      {L"ab{W", false},       // the brace stands at index 2 of four: never examined
      {L"a{Wx", true},
  };
  for (const auto& [fmt, required] : cases)
    EXPECT_EQ(formatOf(1, L"", 2.0f, fmt).refObjectRequired(), required) << CWsz(fmt).toUtf8();
}

using DimtextPropertyUse = vxkd_test::TextsUiTest;

TEST_F(DimtextPropertyUse, FormatsKeepTheDefinitionsTheirTokensNameAsTextFormats) {
  CKdPropertyDefArray defs;  // Width 1, Height 2, Flow 3
  for (const wchar_t* name : {L"Width", L"Height", L"Flow"})
    defs.add(name, L"", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
  CKdDimtextFormat f = formatOf(1, L"", 2.0f, L"{width} x {*PARTID*}{Unknown}{Flow");
  EXPECT_TRUE(f.usesPropertyDef(1, defs)) << "names ignore case";
  EXPECT_TRUE(f.usesPropertyDef(-1, defs));
  EXPECT_FALSE(f.usesPropertyDef(3, defs)) << "an unterminated brace names nothing";
  EXPECT_FALSE(f.usesPropertyDef(0, defs)) << "literal text is no definition";

  A formats = arrayOf({formatOf(1, L"A", 2.0f, L"{Height}"), formatOf(2, L"B", 2.0f, L"{FLOW}")});
  CKdDimtextFormatPropertyDefUser user(formats, defs);
  vxkd_test::FakePropertyDefUser products(iKdPropertyDefUser::productDefinitions, {1});
  EXPECT_FALSE(defs.deleteUnused(nullptr, {0, 1, 2}, {&user, &products}));
  EXPECT_EQ(defs.length(), 3);
  EXPECT_EQ(ui_.lastBox().text,
            L"Some of the selected property definitions could not be deleted. They are used in "
            L"following items:\r\nProduct definitions\r\nText formats");
  formats.objAt(1)->setFmt(L"DN");
  EXPECT_FALSE(defs.deleteUnused(nullptr, {0, 1, 2}, {&user}));
  EXPECT_STREQ(defs.nameAt(0), L"Height");
  EXPECT_EQ(defs.length(), 1);
}

TEST(DimtextFormatArray, FindsByIdAndByDescriptionIgnoringCase) {
  A formats = arrayOf({formatOf(3, L"Duct"), formatOf(9, L"Pipe Größe")});
  EXPECT_EQ(formats.findFmt(9), formats.objAt(1));
  EXPECT_EQ(formats.findFmt(4), nullptr);
  int index = -7;
  EXPECT_EQ(formats.findFmt(L"PIPE GRÖSSE", &index), nullptr) << "ß does not fold to ss";
  EXPECT_EQ(index, -1);
  EXPECT_EQ(formats.findFmt(L"pipe größe", &index), formats.objAt(1));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(formats.findFmt(L"DUCT", nullptr), formats.objAt(0));
}

TEST(DimtextFormatArray, SortsByDescriptionAndStyleBothWays) {
  A formats =
      arrayOf({formatOf(1, L"beta", 2, L"", L"Romans"), formatOf(2, L"Alpha", 2, L"", L"iso"),
               formatOf(3, L"gamma", 2, L"", L"Standard")});
  for (int key : {A::sortByDescription, A::sortByStyle}) {
    formats.sort(key);
    EXPECT_EQ(descs(formats), L"Alpha beta gamma") << key;
    formats.sort(-key);
    EXPECT_EQ(descs(formats), L"gamma beta Alpha") << key;
  }
  formats.sort(4);
  EXPECT_EQ(descs(formats), L"gamma beta Alpha") << "an unknown key leaves the order";
}

TEST(DimtextFormatArray, HeightKeyAnswersOnlyHigherOrNot) {
  CKdDimtextFormat low = formatOf(1, L"", 1.5f), high = formatOf(2, L"", 3.0f);
  EXPECT_EQ(A::compareHeight(high, low), 1);
  EXPECT_EQ(A::compareHeight(low, high), 0);
  EXPECT_EQ(A::compareHeight(low, low), 0);
}

// From the twelfth element on the sort inserts by binary search, which takes an answer of 0
// as "equal": a comparison that answered 0 for "lower" would misplace elements there.
class DimtextHeightSort : public ::testing::TestWithParam<int> {};

TEST_P(DimtextHeightSort, OrdersEveryLengthCorrectlyBothWays) {
  const int count = GetParam();
  std::vector<float> heights;
  for (int i = 0; i < count; ++i) heights.push_back(0.5f + 0.25f * static_cast<float>(i % 23));
  std::mt19937 random(static_cast<unsigned>(count));
  for (int round = 0; round < 5; ++round) {
    std::shuffle(heights.begin(), heights.end(), random);
    A formats;
    for (int i = 0; i < count; ++i) {
      CKdDimtextFormat f = formatOf(i + 1, L"", heights[i]);
      formats.append(&f);
    }
    auto sortedHeights = [&](int sortId) {
      formats.sort(sortId);
      std::vector<float> out;
      for (int i = 0; i < formats.length(); ++i) out.push_back(formats.objAt(i)->textHeight());
      return out;
    };
    std::sort(heights.begin(), heights.end());
    EXPECT_EQ(sortedHeights(A::sortByHeight), heights);
    EXPECT_EQ(sortedHeights(-A::sortByHeight),
              std::vector<float>(heights.rbegin(), heights.rend()));
  }
}

INSTANTIATE_TEST_SUITE_P(Lengths, DimtextHeightSort, ::testing::Values(11, 12, 30, 200));

// ---- Records "RT" ----

using DimtextFormatRecord = vxkd_test::TempDatasetTest;

TEST_F(DimtextFormatRecord, StoresEveryFieldInItsNumberedField) {
  CKdDimtextFormat f = formatOf(42, L"Größe ß", 3.25f, L"{Width}{*CRNL*}", L"ISO");
  f.setFixedBorderDim(12.5f);
  f.setRefItemSize(0.75f);
  f.setTextColor(3);
  f.options().setReflineType(O::reflineFilledCircle);
  f.options().setAlignmentFlags(O::alignRight);
  f.options().setBorderType(O::borderHexagon);
  ASSERT_TRUE(f.saveTo(db_));
  ASSERT_TRUE(db_.fetchRec("RT", "000042"));
  CWsz text;
  EXPECT_TRUE(db_.getWsz(1502, text) && text == L"Größe ß");
  EXPECT_TRUE(db_.getWsz(1505, text) && text == L"{Width}{*CRNL*}");
  EXPECT_TRUE(db_.getWsz(1508, text) && text == L"ISO");
  for (auto [field, value] : {std::pair{1302, 3.25f}, {1305, 0.75f}, {1304, 12.5f}}) {
    float stored = 0;
    EXPECT_TRUE(db_.getFloat(field, stored) && stored == value) << field;
  }
  for (auto [field, value] : {std::pair{1107, 3}, {1104, 2}, {1105, 8}, {1106, 4}}) {
    short stored = 0;
    EXPECT_TRUE(db_.getShort(field, stored) && stored == value) << field;
  }
  CKdDimtextFormat back = formatOf(7, L"stale");
  ASSERT_TRUE(back.readFrom(db_));
  EXPECT_EQ(fields(back), fields(f));

  EXPECT_TRUE(f.deleteFrom(db_));
  EXPECT_FALSE(db_.fetchRec("RT", "000042"));
}

TEST_F(DimtextFormatRecord, ArrayReadsBackInKeyOrderWithDefaultsForMissingFields) {
  A read = arrayOf({formatOf(1, L"Stale")});
  ASSERT_TRUE(read.readFrom(db_));
  EXPECT_EQ(read.length(), 0) << "no records: empty and true";
  EXPECT_TRUE(read.saveTo(db_));

  A formats = arrayOf({formatOf(9, L"Nine", 5.0f, L"{A}"), formatOf(7, L"Seven")});
  ASSERT_TRUE(formats.saveTo(db_));
  ASSERT_TRUE(db_.createRec("RT", "000005") && db_.setWsz(1502, L"Bare") && db_.saveRec());
  CQbase fresh;
  ASSERT_TRUE(reopen(fresh));
  ASSERT_TRUE(read.readFrom(fresh));
  ASSERT_EQ(read.length(), 3);
  EXPECT_EQ(fields(*read.objAt(0)), fields(formatOf(5, L"Bare")));
  EXPECT_EQ(fields(*read.objAt(1)), fields(*formats.objAt(1)));
  EXPECT_EQ(fields(*read.objAt(2)), fields(*formats.objAt(0)));
}

TEST_F(DimtextFormatRecord, BadKeysReadAsNewFormatsWithIdZeroAndAreKept) {
  for (const char* key : {"-00003", "000008", "abc"})
    ASSERT_TRUE(db_.createRec("RT", key) && db_.setFloat(1302, 9.0f) && db_.saveRec());
  A read;
  ASSERT_TRUE(read.readFrom(db_));
  ASSERT_EQ(read.length(), 3);
  EXPECT_EQ(fields(*read.objAt(0)), fields(CKdDimtextFormat())) << "key -00003";
  EXPECT_EQ(fields(*read.objAt(1)), fields(formatOf(8, L"", 9.0f)));
  EXPECT_EQ(fields(*read.objAt(2)), fields(CKdDimtextFormat())) << "key abc";
}

// A format whose key gave no id is not that record's: a save leaves the record as it is and
// never writes the new format in its place, so a real format 0 is not replaced by it.
TEST_F(DimtextFormatRecord, FormatsOfBadKeysAreNeverWrittenSoTheirRecordsStay) {
  ASSERT_TRUE(formatOf(0, L"Zero", 4.0f).saveTo(db_));
  for (const char* key : {"-00003", "abc"})
    ASSERT_TRUE(db_.createRec("RT", key) && db_.setWsz(1502, L"Hand made") && db_.saveRec());
  A read;
  ASSERT_TRUE(read.readFrom(db_));
  ASSERT_EQ(descs(read), L" Zero ") << "keys -00003, 000000, abc";
  EXPECT_EQ(read.objAt(1)->writeObstacle(), CKdRecordOrigin::noObstacle);
  for (int i : {0, 2}) EXPECT_EQ(read.objAt(i)->writeObstacle(), CKdRecordOrigin::keyWithoutId);
  EXPECT_FALSE(read.saveTo(db_));

  A again;
  ASSERT_TRUE(again.readFrom(db_));
  EXPECT_EQ(fields(*again.objAt(1)), fields(formatOf(0, L"Zero", 4.0f)));
  for (const char* key : {"-00003", "abc"}) {
    CWsz desc;
    EXPECT_TRUE(db_.fetchRec("RT", key) && db_.getWsz(1502, desc) && desc == L"Hand made") << key;
  }
}

// Keys that read as an id in another form: the format moves to its own key, its old record
// goes in the same save, and a second save finds it there. Beside a record under its own key
// it stays where it is.
TEST_F(DimtextFormatRecord, FormatReadFromAKeyOfAnotherFormMovesToItsOwnKey) {
  const struct {
    const char* key;
    long id;
    std::string canonical;
    bool canonicalBeside;  // another record under the canonical key already there
    const char* keysAfter;
  } cases[] = {
      {" 7", 7, "000007", false, "000007"},
      {"0", 0, "000000", false, "000000"},
      {"7", 7, "000007", true, "000007|7"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    ASSERT_TRUE(runSql("DELETE FROM RT_dimension_text_formats"));
    ASSERT_TRUE(db_.createRec("RT", c.key) && db_.setWsz(1502, L"Mine") && db_.saveRec());
    const std::string& canonical = c.canonical;
    if (c.canonicalBeside) {
      ASSERT_TRUE(db_.createRec("RT", canonical.c_str()) && db_.setWsz(1502, L"Other") &&
                  db_.saveRec());
    }
    CKdDimtextFormat format;
    ASSERT_TRUE(db_.fetchRec("RT", c.key) && format.readFrom(db_));
    EXPECT_EQ(format.id(), c.id);
    EXPECT_EQ(format.recordKey(), canonical);
    EXPECT_EQ(format.saveTo(db_), !c.canonicalBeside);
    EXPECT_EQ(format.saveTo(db_), !c.canonicalBeside) << "a second save finds its own record";

    std::string keys;
    for (bool more = db_.fetchFirstMember("RT"); more; more = db_.fetchNextMember()) {
      CChBuffer key;
      db_.getObjId(key);
      keys += (keys.empty() ? "" : "|") + key.str();
    }
    EXPECT_EQ(keys, c.keysAfter);
    CWsz desc;
    ASSERT_TRUE(db_.fetchRec("RT", canonical.c_str()) && db_.getWsz(1502, desc));
    EXPECT_EQ(desc, c.canonicalBeside ? L"Other" : L"Mine");
    EXPECT_TRUE(format.deleteFrom(db_));
    EXPECT_EQ(db_.fetchRec("RT", canonical.c_str()), c.canonicalBeside) << "another's record";
  }
}

TEST_F(DimtextFormatRecord, ArraySaveGoesOnAfterAFailedRecord) {
  A formats = arrayOf({formatOf(-1000000, L"Key too long"), formatOf(3, L"Three")});
  EXPECT_FALSE(formats.saveTo(db_));
  EXPECT_TRUE(db_.fetchRec("RT", "000003"));
}

// ---- Deleting from the format list ----

using User = vxkd_test::FakeDimtextFormatUser;
using DimtextFormatDelete = vxkd_test::TextsUiTest;

A fourFormats() {
  return arrayOf(
      {formatOf(1, L"One"), formatOf(2, L"Two"), formatOf(3, L"Three"), formatOf(4, L"Four")});
}

TEST_F(DimtextFormatDelete, KeepsUsedFormatsAndNamesEachUsingItemOnce) {
  User products({{L"Socket", {1, 2}}, {L"Panel", {2}}});
  User moreProducts({{L"Socket", {2}}, {L"Cable tray", {3}}});
  User lamps({{L"Lamp", {4}}});
  A formats = fourFormats();
  EXPECT_TRUE(formats.deleteUnused(nullptr, {2, 0, 9, -1}, {&lamps}));
  EXPECT_EQ(descs(formats), L"Two Four");
  EXPECT_EQ(ui_.boxCount(), 0) << "nothing kept: no box";

  formats = fourFormats();
  EXPECT_FALSE(formats.deleteUnused(nullptr, {1, 3}, {&products, nullptr, &moreProducts}));
  EXPECT_EQ(descs(formats), L"One Two Three");
  EXPECT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(
      lastBoxIs(L"Some of the selected text formats could not be deleted. They are used "
                L"in following items:\r\nProduct definitions\r\n - Socket\r\n - Panel",
                L"Cannot Delete", MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL));

  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_FALSE(formats.deleteUnused(nullptr, {2}, {&moreProducts}));
  EXPECT_EQ(ui_.lastBox().caption, L"Löschen nicht möglich");
  EXPECT_EQ(ui_.lastBox().text,
            L"Einige der gewählten Textformate konnten nicht gelöscht werden. Sie werden in "
            L"folgenden Elementen verwendet:\r\nProduktdefinitionen\r\n - Cable tray");
}

}  // namespace
