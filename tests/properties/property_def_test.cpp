#include "vxkd/properties/property_def.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/fake_property_def_user.h"
#include "support/temp_dataset.h"
#include "support/ui_fixture.h"

using namespace cuWin;

namespace {

using V = CKdPropertyValue;

// Width 1, Height 2, Diameter 3, Material 4: names, descriptions, units and types that order
// differently by each sort key.
CKdPropertyDefArray sampleDefs() {
  CKdPropertyDefArray defs;
  CKdPropertyDef rows[] = {
      {1, L"Width", L"Duct width", V::typeDoubleReal, CKdUnit::unitMm, 0},
      {2, L"Height", L"duct height", V::typeInt32, CKdUnit::unitM, 1},
      {3, L"Diameter", L"Pipe size", V::typeInt16, CKdUnit::unitIn, 0},
      {4, L"Material", L"", V::typeText, CKdUnit::unitNone, 0},
  };
  for (const CKdPropertyDef& def : rows) defs.append(&def);
  return defs;
}

// The entries of a format as "'literal'" or "name#id", joined by blanks.
std::wstring describe(const CKdPropertyDefArray& entries) {
  std::wstring out;
  for (int i = 0; i < entries.length(); ++i) {
    const CKdPropertyDef* e = entries.objAt(i);
    if (i > 0) out += L' ';
    if (e->name().isEmpty())
      out += L"'" + e->desc().str() + L"'";
    else
      out += e->name().str() + L"#" + std::to_wstring(e->dbId());
  }
  return out;
}

// Every field of every definition, one line each.
std::wstring fields(const CKdPropertyDefArray& defs) {
  std::wstring out;
  for (int i = 0; i < defs.length(); ++i) {
    const CKdPropertyDef* d = defs.objAt(i);
    out += std::to_wstring(d->dbId()) + L"|" + d->name().str() + L"|" + d->desc().str() + L"|" +
           std::to_wstring(d->valueType()) + L"|" + std::to_wstring(d->decimals()) + L"|" +
           std::to_wstring(d->unit().id()) + L"\n";
  }
  return out;
}

std::wstring names(const CKdObjArray& defs) {
  std::wstring out;
  for (int i = 0; i < defs.length(); ++i) out += (i ? L" " : L"") + std::wstring(defs.nameAt(i));
  return out;
}

TEST(PropertyDefArray, AddTakesSpecialIdOrNextFreeUserId) {
  CKdPropertyDefArray defs = sampleDefs();
  ASSERT_TRUE(defs.add(L"Depth", L"", V::typeInt32, CKdUnit::unitMm, 0));
  ASSERT_TRUE(defs.add(L"*partid*", L"", V::typeText, CKdUnit::unitNone, 0));
  EXPECT_EQ(defs.objAt(4)->dbId(), 5);
  EXPECT_EQ(defs.objAt(5)->dbId(), -1);

  CKdPropertyDef top(CKdPropertyDefArray::kMaxId, L"Top", L"", V::typeText, {}, 0);
  CKdPropertyDefArray gap;
  gap.append(&top);
  ASSERT_TRUE(gap.add(L"Next", L"", V::typeText, {}, 0));
  EXPECT_EQ(gap.objAt(1)->dbId(), 1);
}

TEST(PropertyDefArray, AddOfANameThatExistsIgnoringCaseFails) {
  CKdPropertyDefArray defs;
  ASSERT_TRUE(defs.add(L"Width", L"Duct width", V::typeInt32, CKdUnit::unitMm, 0));
  for (const wchar_t* same : {L"Width", L"WIDTH", L"width"})
    EXPECT_FALSE(defs.add(same, L"again", V::typeInt32, CKdUnit::unitMm, 0));
  ASSERT_TRUE(defs.add(L"Widths", L"", V::typeInt32, CKdUnit::unitMm, 0));
  EXPECT_EQ(names(defs), L"Width Widths");
  EXPECT_EQ(defs.objAt(0)->desc().str(), L"Duct width");
}

TEST(PropertyDefArray, AddStdPropertyTakesTheSpecialRowOrRefuses) {
  vxkd_test::openLanguageDb();
  CKdPropertyDefArray defs;
  ASSERT_TRUE(defs.addStdProperty(L"*SysTempSup*"));
  const CKdPropertyDef* def = defs.objAt(0);
  EXPECT_TRUE(def->dbId() == -24 && def->valueType() == V::typeSingleReal && def->isStdProperty());
  EXPECT_EQ(def->desc(), L"V&P System supply pipe temperature [C]");

  for (const wchar_t* name : {L"SYSTEMPSUP", L"*NOPE*", L"", static_cast<const wchar_t*>(nullptr)})
    EXPECT_FALSE(defs.addStdProperty(name));
  EXPECT_EQ(defs.length(), 1);
}

TEST(PropertyDefArray, FilterKeepsDefinitionsHoldingEveryWordInNameOrDescription) {
  const struct {
    const wchar_t* text;
    const wchar_t* kept;
    bool result;
  } cases[] = {{L"dia  PIPE ", L"Diameter", true},
               {L"duct", L"Width Height", true},
               {L"height DUCT", L"Height", true},
               {L"pipe width", L"", true},
               {L" ", L"Width Height Diameter Material", true},
               {L"", L"Width Height Diameter Material", false},
               {nullptr, L"Width Height Diameter Material", false}};
  CKdPropertyDefArray defs = sampleDefs();
  for (const auto& c : cases) {
    CKdPropertyDefArray out;
    out.append(defs.objAt(0));  // whatever `out` held is replaced
    EXPECT_EQ(defs.filter(c.text, out), c.result) << c.kept;
    EXPECT_EQ(names(out), c.kept);
  }
}

TEST(PropertyDefArray, FormatReadsLiteralsAndDefinitionsAndWritesThemBack) {
  ASSERT_TRUE(vxkd_test::openLanguageDb());
  const struct {
    const wchar_t* format;
    const wchar_t* entries;
    const wchar_t* written;
  } cases[] = {
      {L"Size {Width}x{Height}", L"'Size ' Width#1 'x' Height#2", L"Size {Width}x{Height}"},
      {L"{*PARTID*}-{Unknown}", L"*PARTID*#-1 '-'", L"{*PARTID*}-"},
      {L"abc{def", L"'abc'", L"abc"},
      {L"{width}{*crnl*}", L"Width#1 *crnl*#-2", L"{Width}{*crnl*}"},
      {L"a}b{x{Height}}", L"'a}b' '}'", L"a}b}"},
      {nullptr, L"", L""}};
  CKdPropertyDefArray entries;
  entries.readFormat(L"{Width}", sampleDefs());  // replaced by the next read
  for (const auto& c : cases) {
    entries.readFormat(c.format, sampleDefs());
    EXPECT_EQ(describe(entries), c.entries);
    CWsz written(L"old");
    entries.writeFormat(written);
    EXPECT_EQ(written, c.written);
  }
}

TEST(PropertyDefArray, SortOrdersByEachKeyBothWays) {
  struct {
    int sortId;
    const wchar_t* order;
  } cases[] = {
      {CKdPropertyDefArray::sortByName, L"Diameter Height Material Width"},
      {-CKdPropertyDefArray::sortByName, L"Width Material Height Diameter"},
      {-CKdPropertyDefArray::sortByDescription, L"Diameter Width Height Material"},
      {CKdPropertyDefArray::sortByUnit, L"Material Width Height Diameter"},
      {CKdPropertyDefArray::sortByValueType, L"Material Diameter Height Width"},
      {9, L"Width Height Diameter Material"},
  };
  for (const auto& c : cases) {
    CKdPropertyDefArray defs = sampleDefs();
    defs.sort(c.sortId);
    EXPECT_EQ(names(defs), c.order) << c.sortId;
  }
}

// ---- Name validation and deletion: message boxes ----

constexpr unsigned kErrorBox = MB_OK | MB_ICONSTOP | MB_TASKMODAL;
const wchar_t* const kReservedText =
    L"Property name cannot contain any of the following characters:\r* ; : , | & = < > { } ";

using PropertyDefName = vxkd_test::RecordingUiTest;

TEST_F(PropertyDefName, IsAcceptedOrRefusedWithItsMessage) {
  const struct {
    const wchar_t* name;
    int editedIndex;  // -1: a new definition
    bool accepted;
    const wchar_t* message;  // null: no box
  } cases[] = {{L"", -1, false, nullptr},
               {nullptr, 0, false, nullptr},
               {L"width", -1, false, L"Property name must be unique"},
               {L"WIDTH", 0, false, L"Property name must be unique"},
               {L"Height", 0, false, L"Property name must be unique"},
               {L"Width", 0, true, nullptr},
               {L"Depth", 0, true, nullptr},
               {L"A;B", -1, false, kReservedText},
               {L"*X*", -1, false, kReservedText},
               {L"a>b", 1, false, kReservedText},
               {L"W}H", -1, false, kReservedText},
               {L"{W", 0, false, kReservedText},
               {L"A\tB", -1, false, L"Property name contains illegal special character"},
               {L"A\xDC00", -1, false, L"Property name contains illegal special character"},
               {L"A\x110000", -1, false, L"Property name contains illegal special character"},
               {L"Länge ß \x1F600 #()[]/\\\"'", -1, true, nullptr}};
  CKdPropertyDefArray defs = sampleDefs();
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << (c.name ? CWsz(c.name).toUtf8() : "null"));
    ui_.clear();
    const CKdPropertyDef* edited = c.editedIndex >= 0 ? defs.objAt(c.editedIndex) : nullptr;
    EXPECT_EQ(CKdPropertyDefArray::validateName(nullptr, defs, c.name, edited), c.accepted);
    ASSERT_EQ(ui_.boxCount(), c.message ? 1 : 0);
    if (c.message) {
      EXPECT_EQ(ui_.lastBox().caption, L"Invalid Property Name");
      EXPECT_EQ(ui_.lastBox().text, c.message);
      EXPECT_EQ(ui_.lastBox().style, kErrorBox);
    }
  }
}

// The German texts prove that each refusal looks up its own text.
TEST_F(PropertyDefName, RefusalsShowTheTextsOfTheActiveLanguage) {
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  CKdPropertyDefArray defs = sampleDefs();
  for (const wchar_t* name : {L"WIDTH", L"a|b", L"a\nb"})
    EXPECT_FALSE(CKdPropertyDefArray::validateName(nullptr, defs, name, nullptr));
  ASSERT_EQ(ui_.boxCount(), 3);
  const auto& boxes = ui_.interactions();
  EXPECT_EQ(boxes[0].caption, L"Ungültiger Eigenschaftsname");
  EXPECT_EQ(boxes[0].text, L"Der Eigenschaftsname muss eindeutig sein");
  EXPECT_EQ(
      boxes[1].text,
      L"Der Eigenschaftsname darf keines der folgenden Zeichen enthalten:\r* ; : , | & = < > { "
      L"} ");
  EXPECT_EQ(boxes[2].text, L"Der Eigenschaftsname enthält ein unzulässiges Sonderzeichen");
}

using FakeUser = vxkd_test::FakePropertyDefUser;

using PropertyDefDelete = vxkd_test::RecordingUiTest;

TEST_F(PropertyDefDelete, KeepsUsedDefinitionsAndNamesTheirUsersOnce) {
  FakeUser layersOf1(iKdPropertyDefUser::layerDefinitions, {1});
  CKdPropertyDefArray unused = sampleDefs();
  EXPECT_TRUE(unused.deleteUnused(nullptr, {3, 1}, {&layersOf1}));
  EXPECT_EQ(names(unused), L"Width Diameter");
  EXPECT_EQ(ui_.boxCount(), 0) << "nothing kept: no box";

  FakeUser report(iKdPropertyDefUser::reportDefinitions, {3});
  FakeUser products(iKdPropertyDefUser::productDefinitions, {2, 3});
  FakeUser moreProducts(iKdPropertyDefUser::productDefinitions, {2});
  FakeUser layers(iKdPropertyDefUser::layerDefinitions, {4});  // 4 is not selected
  CKdPropertyDefArray defs = sampleDefs();
  EXPECT_FALSE(
      defs.deleteUnused(nullptr, {2, 0, 1, 0, 17}, {&report, &products, &moreProducts, &layers}));
  EXPECT_EQ(names(defs), L"Height Diameter Material");
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Delete");
  EXPECT_EQ(ui_.lastBox().text,
            L"Some of the selected property definitions could not be deleted. They are used in "
            L"following items:\r\nProduct definitions\r\nReport definitions");
  EXPECT_EQ(ui_.lastBox().style, MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
}

TEST_F(PropertyDefDelete, ListsEveryKindInItsOrderInTheActiveLanguage) {
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  using K = iKdPropertyDefUser;
  FakeUser users[] = {{K::reportDefinitions, {1}},
                      {K::textFormats, {1}},
                      {K::layerDefinitions, {1}},
                      {K::partIdFormats, {1}},
                      {K::productDefinitions, {1}}};
  CKdPropertyDefArray defs = sampleDefs();
  EXPECT_FALSE(
      defs.deleteUnused(nullptr, {0}, {&users[0], &users[1], &users[2], &users[3], &users[4]}));
  EXPECT_EQ(defs.length(), 4);
  EXPECT_EQ(ui_.lastBox().caption, L"Löschen nicht möglich");
  EXPECT_EQ(ui_.lastBox().text,
            L"Einige der gewählten Eigenschaftsdefinitionen konnten nicht gelöscht werden. Sie "
            L"werden in folgenden Elementen verwendet:\r\nProduktdefinitionen\r\n"
            L"Teilenummernformate\r\nLayerdefinitionen\r\nTextformate\r\nBerichtsdefinitionen");
}

// ---- Records "RD" ----

using PropertyDefRecord = vxkd_test::TempDatasetTest;

TEST_F(PropertyDefRecord, StoresUnderASixDigitKeyAndOmitsEmptyTexts) {
  CKdPropertyDef def(42, L"", L"", V::typeDoubleReal, CKdUnit::unitM, 2);
  ASSERT_TRUE(def.saveTo(db_));
  ASSERT_TRUE(db_.fetchRec("RD", "000042"));
  CWsz text;
  EXPECT_FALSE(db_.getWsz(1501, text));
  EXPECT_FALSE(db_.getWsz(1502, text));
  uint8_t type = 0, decimals = 0;
  short unit = 0;
  EXPECT_TRUE(db_.getByte(1002, type) && db_.getByte(1001, decimals) && db_.getShort(1101, unit));
  EXPECT_EQ(type, V::typeDoubleReal);
  EXPECT_EQ(decimals, 2);
  EXPECT_EQ(unit, CKdUnit::unitM);

  EXPECT_TRUE(def.deleteFrom(db_));
  EXPECT_FALSE(db_.fetchRec("RD", "000042"));
}

TEST_F(PropertyDefRecord, ArrayReadsBackWhatItSavedInKeyOrder) {
  CKdPropertyDefArray expected = sampleDefs();
  expected.objAt(3)->setDesc(L"Länge, ß");
  expected.objAt(3)->setUnit(static_cast<CKdUnit::unitId>(999));  // kept though unknown
  CKdPropertyDefArray defs = expected;
  defs.sort(CKdPropertyDefArray::sortByName);
  ASSERT_TRUE(defs.saveTo(db_));

  CQbase fresh;
  ASSERT_TRUE(reopen(fresh));
  CKdPropertyDefArray read;
  read.add(L"Stale", L"", V::typeText, {}, 0);
  ASSERT_TRUE(read.readFrom(fresh));
  EXPECT_EQ(fields(read), fields(expected));
}

// Keys of every form as a hand-edited file may hold them, read and saved again.
TEST_F(PropertyDefRecord, BadKeysKeepTheirDefinitionsWithIdZeroAndBadIdsDoNotStop) {
  ASSERT_TRUE(db_.createRec("RD", "000000") && db_.setWsz(1501, L"Zero") && db_.saveRec());
  ASSERT_TRUE(db_.createRec("RD", "x1") && db_.setWsz(1501, L"Letters") && db_.saveRec());
  CKdPropertyDefArray defs;
  CKdPropertyDef rows[] = {{-1, L"*PARTID*", L"", V::typeText, {}, 0},
                           {7, L"Seven", L"", V::typeInt32, {}, 0},
                           {CKdPropertyDefArray::kMaxId + 1, L"Wide", L"", V::typeInt32, {}, 0}};
  for (const CKdPropertyDef& def : rows) defs.append(&def);
  EXPECT_FALSE(defs.saveTo(db_));  // a special id and a seven-digit one have no key

  CKdPropertyDefArray read;
  ASSERT_TRUE(read.readFrom(db_));
  EXPECT_EQ(names(read), L"Zero Seven Letters");
  EXPECT_EQ(read.objAt(0)->dbId(), 0);
  EXPECT_EQ(read.objAt(2)->dbId(), 0);
  EXPECT_EQ(read.objAt(2)->writeObstacle(), CKdRecordOrigin::keyWithoutId);
  EXPECT_FALSE(read.saveTo(db_)) << "id 0 is not written under 000000";
  EXPECT_TRUE(read.readFrom(db_));
  EXPECT_EQ(names(read), L"Zero Seven Letters");
}

// Which record a definition read from `key` ends up in after a save, and whether a record
// under the writer's key "000007" stood beside it.
TEST_F(PropertyDefRecord, DefinitionReadFromAKeyOfAnotherFormMovesToItsOwnKey) {
  const struct {
    const char* key;
    bool canonicalBeside;  // another record "000007" already there
    const char* keysAfter;
    bool saved;
  } cases[] = {
      {" 7", false, "000007", true},
      {"+7x", false, "000007", true},
      {"07", false, "000007", true},
      {" 7", true, " 7|000007", false},  // two records of id 7: neither replaces the other
      {"000007", false, "000007", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    for (const char* key : {" 7", "+7x", "07", "000007"}) db_.deleteRec("RD", key);
    ASSERT_TRUE(db_.createRec("RD", c.key) && db_.setWsz(1501, L"Mine") && db_.saveRec());
    if (c.canonicalBeside) {
      ASSERT_TRUE(db_.createRec("RD", "000007") && db_.setWsz(1501, L"Other") && db_.saveRec());
    }
    ASSERT_TRUE(db_.fetchRec("RD", c.key));
    CKdPropertyDef def;
    ASSERT_TRUE(def.readFrom(db_));
    EXPECT_EQ(def.dbId(), 7);
    EXPECT_EQ(def.origin().key(), c.key);
    EXPECT_EQ(def.saveTo(db_), c.saved);
    EXPECT_EQ(def.saveTo(db_), c.saved) << "a second save finds its own record";

    std::string keys;
    for (bool more = db_.fetchFirstMember("RD"); more; more = db_.fetchNextMember()) {
      CChBuffer key;
      db_.getObjId(key);
      keys += (keys.empty() ? "" : "|") + key.str();
    }
    EXPECT_EQ(keys, c.keysAfter);
    CWsz name;
    ASSERT_TRUE(db_.fetchRec("RD", "000007") && db_.getWsz(1501, name));
    EXPECT_EQ(name, c.canonicalBeside ? L"Other" : L"Mine");

    EXPECT_TRUE(def.deleteFrom(db_));
    EXPECT_EQ(db_.fetchRec("RD", "000007"), c.canonicalBeside) << "the other's record stays";
  }
}

// A copy of a definition read from the file, given an id of its own, is a new definition:
// saving or deleting it leaves the record of the definition it was copied from.
TEST_F(PropertyDefRecord, CopyWithAnotherIdLeavesTheRecordOfItsOriginal) {
  for (const char* key : {"000005", " 5"}) {
    SCOPED_TRACE(key);
    ASSERT_TRUE(runSql("DELETE FROM RD_property_definitions"));
    ASSERT_TRUE(db_.createRec("RD", key) && db_.setWsz(1501, L"Original") && db_.saveRec());
    CKdPropertyDefArray defs;
    ASSERT_TRUE(defs.readFrom(db_));
    CKdPropertyDef copy = *defs.objAt(0);
    copy.setDbId(defs.nextId(1, CKdPropertyDefArray::kMaxId));
    copy.setName(L"Copy");
    ASSERT_TRUE(defs.append(&copy));
    // Either order of saving: the copy first, as a sorted list may put it.
    for (int first : {1, 0}) {
      SCOPED_TRACE(first);
      EXPECT_TRUE(defs.objAt(first)->saveTo(db_));
      EXPECT_TRUE(defs.objAt(1 - first)->saveTo(db_));
      CKdPropertyDefArray read;
      ASSERT_TRUE(read.readFrom(db_));
      EXPECT_EQ(names(read), L"Original Copy");
    }
    EXPECT_TRUE(defs.objAt(1)->deleteFrom(db_));
    CKdPropertyDefArray read;
    ASSERT_TRUE(read.readFrom(db_));
    EXPECT_EQ(names(read), L"Original");
  }
}

// A definition whose key gave no id stays where it is until it is given an id: then it moves
// to that id's key, and the record without an id goes.
TEST_F(PropertyDefRecord, DefinitionOfAKeyWithoutAnIdMovesOnceGivenAnId) {
  ASSERT_TRUE(db_.createRec("RD", "x1") && db_.setWsz(1501, L"Rescued") && db_.saveRec());
  CKdPropertyDefArray defs;
  ASSERT_TRUE(defs.readFrom(db_));
  CKdPropertyDef* def = defs.objAt(0);
  EXPECT_FALSE(def->saveTo(db_));
  def->setDbId(defs.nextId(1, CKdPropertyDefArray::kMaxId));
  EXPECT_EQ(def->writeObstacle(), CKdRecordOrigin::noObstacle);
  EXPECT_TRUE(def->saveTo(db_));
  EXPECT_FALSE(db_.fetchRec("RD", "x1"));
  CKdPropertyDefArray read;
  ASSERT_TRUE(read.readFrom(db_));
  EXPECT_EQ(names(read), L"Rescued");
  EXPECT_EQ(read.idAt(0), 1);
}

TEST_F(PropertyDefRecord, KeysThatCannotBeRemovedOrReadKeepTheirRecords) {
  const struct {
    const char* key;  // one longer than the writer's cannot be addressed
    long id;
    CKdRecordOrigin::obstacle obstacle;
  } cases[] = {{"", 0, CKdRecordOrigin::keyWithoutId},
               {"-7", 0, CKdRecordOrigin::keyWithoutId},
               {"9999999(9999", 9999999, CKdRecordOrigin::idOutOfRange},
               {"0000007", 7, CKdRecordOrigin::keyNotRemovable}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    // The database refuses such keys: another program put them in.
    ASSERT_TRUE(runSql(
        "INSERT INTO RD_property_definitions (record_key, f1501_name) VALUES (?1, 'Odd')", c.key));
    ASSERT_TRUE(db_.fetchFirstMember("RD"));
    CKdPropertyDef def;
    def.readFrom(db_);
    EXPECT_EQ(def.dbId(), c.id);
    EXPECT_EQ(def.name(), L"Odd");
    EXPECT_EQ(def.writeObstacle(), c.obstacle);
    EXPECT_FALSE(def.saveTo(db_));
    EXPECT_FALSE(db_.fetchRec("RD", "000007"));
    ASSERT_TRUE(runSql("DELETE FROM RD_property_definitions"));
  }
}

// Codes that are no characters cannot be stored: name and description take them as the file
// gives them back, by every setter.
TEST(PropertyDef, NameAndDescriptionHoldOnlyCharacters) {
  const wchar_t* odd =
      L"a\xD800"
      L"b\x110000"
      L"c\x1F600";
  const std::wstring stored =
      L"a\xFFFD"
      L"b\xFFFD"
      L"c\x1F600";
  CKdPropertyDef def(1, odd, odd, V::typeText, {}, 0);
  EXPECT_EQ(def.name().str(), stored);
  EXPECT_EQ(def.desc().str(), stored);
  def.setName(odd);
  def.setDesc(odd);
  EXPECT_EQ(def.name().str(), stored);
  EXPECT_EQ(def.desc().str(), stored);
  def.setName(nullptr);
  EXPECT_TRUE(def.name().isEmpty());
}

TEST(PropertyDef, DecimalsAreHeldWithinTheBound) {
  CKdPropertyDef def(1, L"P", L"", V::typeDoubleReal, {}, 40);
  EXPECT_EQ(def.decimals(), V::maxDecimals);
  def.setDecimals(-1);
  EXPECT_EQ(def.decimals(), 0);
  def.setDecimals(V::maxDecimals);
  EXPECT_EQ(def.decimals(), 27);
}

}  // namespace
