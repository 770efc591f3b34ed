#include "vxkd/drawingdefs/linetype_def.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/record_key.h"
#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/drawingdefs/layer_def.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

using namespace cuWin;

namespace {

// The office library: 46 linetypes written with CRLF line ends, comments between and inside
// definitions, complex linetypes with text and shape references.
const std::string kLibrary = VXKD_TEST_SOURCE_DIR "/drawingdefs/data/tessund-office.lin";

std::wstring names(const CKdObjArray& defs) {
  std::wstring out;
  for (int i = 0; i < defs.length(); ++i) out += (i ? L" " : L"") + std::wstring(defs.nameAt(i));
  return out;
}

CKdLinetypeDefArray arrayOf(std::initializer_list<CKdLinetypeDef> defs) {
  CKdLinetypeDefArray out;
  for (const CKdLinetypeDef& def : defs) out.append(&def);
  return out;
}

void expectSame(const CKdLinetypeDefArray& a, const CKdLinetypeDefArray& b) {
  ASSERT_EQ(a.length(), b.length()) << cuSz::toUtf8(names(a)) << "\n" << cuSz::toUtf8(names(b));
  for (int i = 0; i < a.length(); ++i)
    EXPECT_TRUE(*a.objAt(i) == *b.objAt(i)) << "linetype " << i << " " << cuSz::toUtf8(a.nameAt(i));
}

// ---- the array and its records ----

TEST(LinetypeDefArray, StartsWithTheBuiltInSolidLinetypeOnly) {
  CKdLinetypeDefArray defs;
  ASSERT_EQ(defs.length(), 1);
  EXPECT_EQ(defs.objAt(0)->name(), L"CONTINUOUS");
  EXPECT_EQ(defs.objAt(0)->desc(), L"__________");
  EXPECT_TRUE(defs.objAt(0)->data().isEmpty());
  EXPECT_EQ(defs.findLinetypeDef(L"continuous"), defs.objAt(0));
  EXPECT_EQ(defs.findLinetypeDef(L"DASHED"), nullptr);
}

TEST(LinetypeDefArray, CommonStringsNameTheLinetypesEveryDrawingKnows) {
  EXPECT_STREQ(VxKd::getCommonString(VxKd::commonStringByLayer), L"BYLAYER");
  EXPECT_STREQ(VxKd::getCommonString(VxKd::commonStringByBlock), L"BYBLOCK");
  EXPECT_STREQ(VxKd::getCommonString(VxKd::commonStringSolidLine), L"__________");
  EXPECT_STREQ(VxKd::getCommonString(VxKd::commonStringContinuous), L"CONTINUOUS");
  EXPECT_STREQ(VxKd::getCommonString(0), L"");
  EXPECT_STREQ(VxKd::getCommonString(5), L"");
  for (const wchar_t* name : {L"ByLayer", L"byblock", L"Continuous"})
    EXPECT_TRUE(VxKd::isCommonLinetypeName(name)) << cuSz::toUtf8(name);
  EXPECT_FALSE(VxKd::isCommonLinetypeName(L"__________"));
  EXPECT_FALSE(VxKd::isCommonLinetypeName(L"DASHED"));
}

TEST(LinetypeDefArray, SortsByNameOrDescriptionIgnoringCase) {
  CKdLinetypeDefArray defs = arrayOf({{L"b", L"Zeta", L"A,1"}, {L"A", L"alpha", L"A,2"}});
  defs.sort(CKdLinetypeDefArray::sortByName);
  EXPECT_EQ(names(defs), L"A b CONTINUOUS");
  defs.sort(-CKdLinetypeDefArray::sortByName);
  EXPECT_EQ(names(defs), L"CONTINUOUS b A");
  defs.sort(CKdLinetypeDefArray::sortByDescription);
  EXPECT_EQ(names(defs), L"CONTINUOUS A b");  // "_" sorts before letters
  defs.sort(3);
  EXPECT_EQ(names(defs), L"CONTINUOUS A b");
}

class LinetypeRecordTest : public vxkd_test::TempDatasetTest {};

TEST_F(LinetypeRecordTest, ADatasetWithoutRecordsReadsAsTheBuiltInLinetypeAlone) {
  CKdLinetypeDefArray defs = arrayOf({{L"DASHED", L"", L"A,.5,-.25"}});
  ASSERT_TRUE(defs.readFrom(db_));
  EXPECT_EQ(names(defs), L"CONTINUOUS");
}

TEST_F(LinetypeRecordTest, SaveKeysTheLinetypesByPositionLeavingTheBuiltInOneOut) {
  CKdLinetypeDefArray defs =
      arrayOf({{L"DASHED", L"Dashed", L"A,.5,-.25"}, {L"DOT", L"", L"A,0,-.25"}, {L"E", L"", L""}});
  ASSERT_TRUE(defs.saveTo(db_));
  std::vector<std::string> keys;
  for (bool more = db_.fetchFirstMember("LT"); more; more = db_.fetchNextMember()) {
    CChBuffer key;
    db_.getObjId(key);
    keys.push_back(key.str());
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"000002", "000003", "000004"}));

  CQbase db;
  ASSERT_TRUE(reopen(db));
  CKdLinetypeDefArray back;
  ASSERT_TRUE(back.readFrom(db));
  expectSame(back, defs);  // empty fields included
}

TEST_F(LinetypeRecordTest, SaveReplacesEveryOldRecord) {
  CKdLinetypeDefArray many =
      arrayOf({{L"A", L"", L"A,1"}, {L"B", L"", L"A,2"}, {L"C", L"", L"A,3"}});
  ASSERT_TRUE(many.saveTo(db_));
  CKdLinetypeDefArray fewer = arrayOf({{L"C", L"moved up", L"A,3"}});
  ASSERT_TRUE(fewer.saveTo(db_));
  CKdLinetypeDefArray back;
  back.readFrom(db_);
  expectSame(back, fewer);
}

TEST_F(LinetypeRecordTest, ARecordWithoutFieldsReadsAsAnEmptyLinetype) {
  ASSERT_TRUE(db_.createRec("LT", "000007"));
  ASSERT_TRUE(db_.saveRec());
  CKdLinetypeDefArray back;
  back.readFrom(db_);
  ASSERT_EQ(back.length(), 2);
  EXPECT_TRUE(*back.objAt(1) == CKdLinetypeDef());
}

// More old records than a save deletes: it gives up deleting, says so, and still writes every
// linetype, so that the commit that follows loses none of them.
TEST_F(LinetypeRecordTest, SaveGivesUpDeletingAfterTheCapButLosesNoLinetype) {
  const int records = CKdLinetypeDefArray::kMaxRecordDeletions + 3;
  for (int i = 1; i <= records; ++i) {
    ASSERT_TRUE(db_.createRec("LT", VxKd::buildDbId(i).c_str()));
    ASSERT_TRUE(db_.saveRec());
  }
  CKdLinetypeDefArray defs = arrayOf({{L"KEPT", L"", L"A,1"}});
  EXPECT_FALSE(defs.saveTo(db_));
  CKdLinetypeDefArray back;
  back.readFrom(db_);
  ASSERT_GE(back.length(), 2);
  EXPECT_TRUE(*back.objAt(1) == *defs.objAt(1));
  EXPECT_EQ(back.length(), 2 + 3);  // the three records beyond the cap were not deleted
}

}  // namespace

namespace {

// Products name linetypes too; this one names those it was given.
class FakeLinetypeUser : public iKdLinetypeUser {
 public:
  FakeLinetypeUser(usageKind kind, std::vector<std::wstring> names)
      : kind_(kind), names_(std::move(names)) {}
  usageKind linetypeUsageKind() const override { return kind_; }
  bool usesLinetype(const wchar_t* name) const override {
    for (const std::wstring& n : names_)
      if (cuSz::equalNoCase(n.c_str(), name)) return true;
    return false;
  }

 private:
  usageKind kind_;
  std::vector<std::wstring> names_;
};

class LinetypeDeleteTest : public vxkd_test::TextsUiTest {};

TEST_F(LinetypeDeleteTest, LinetypesInUseAndTheBuiltInOneAreKeptAndNamed) {
  CKdLinetypeDefArray defs =
      arrayOf({{L"A", L"", L"A,1"}, {L"B", L"", L"A,2"}, {L"C", L"", L"A,3"}, {L"D", L"", L"A,4"}});
  CKdLayerDefArray layers;
  layers.buildHardDefaultsArray();
  layers.findLayerDef(11)->setLinetype(L"b");
  FakeLinetypeUser blocks(iKdLinetypeUser::blockDefinitions, {L"D"});
  FakeLinetypeUser products(iKdLinetypeUser::productDefinitions, {L"X"});

  EXPECT_FALSE(
      defs.deleteUnused(nullptr, {0, 1, 2, 3, 4, 99}, {&layers, &products, &blocks, nullptr}));
  EXPECT_EQ(names(defs), L"CONTINUOUS B D");
  EXPECT_TRUE(
      lastBoxIs(L"Some of the selected linetypes could not be deleted. They are used in "
                L"following items:\r\nThe built-in linetype CONTINUOUS\r\nLayer "
                L"definitions\r\nBlock definitions",
                L"Cannot Delete", MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL));

  ui_.clear();
  EXPECT_TRUE(defs.deleteUnused(nullptr, {1}, {&products}));
  EXPECT_EQ(names(defs), L"CONTINUOUS D");
  EXPECT_EQ(ui_.boxCount(), 0);
}

}  // namespace
