#include "vxkd/dataset/project.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "foundation/record_key.h"
#include "support/fake_dimtext_format_user.h"
#include "support/fake_property_def_user.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/ui/language.h"

using namespace cuWin;

namespace {

// Opens the protected operations to the tests.
class TestProject : public CKdProject {
 public:
  using CKdProject::openDb;
  using CKdProject::read2dSymbols;
  using CKdProject::write2dSymbols;
};

CVxSymbolModel symbolOf(const char* id, int nodes, long projectId = 0) {
  CVxSymbolModel s;
  s.setProjectId(projectId);
  s.setSymbolId(id);
  s.setDesc((L"Symbol " + CWsz::fromUtf8(id).str()).c_str());
  for (int i = 0; i < nodes; ++i) {
    CGmNode node{};
    node.type = static_cast<int16_t>(i % 7);
    node.flags = static_cast<uint16_t>(i);
    for (int k = 0; k < 6; ++k) node.v[k] = static_cast<float>(i * 6 + k) / 3.0f;
    s.appendNode(node);
  }
  return s;
}

void expectSameDefs(const CKdPropertyDefArray& a, const CKdPropertyDefArray& b) {
  ASSERT_EQ(a.length(), b.length());
  for (int i = 0; i < a.length(); ++i) {
    const CKdPropertyDef* x = a.objAt(i);
    const CKdPropertyDef* y = b.objAt(i);
    EXPECT_EQ(x->dbId(), y->dbId());
    EXPECT_EQ(x->name(), y->name());
    EXPECT_EQ(x->desc(), y->desc());
    EXPECT_EQ(x->valueType(), y->valueType());
    EXPECT_EQ(x->unit().id(), y->unit().id());
    EXPECT_EQ(x->decimals(), y->decimals());
  }
}

void expectSameFormats(const CKdDimtextFormatArray& a, const CKdDimtextFormatArray& b) {
  ASSERT_EQ(a.length(), b.length());
  for (int i = 0; i < a.length(); ++i) {
    const CKdDimtextFormat* x = a.objAt(i);
    const CKdDimtextFormat* y = b.objAt(i);
    EXPECT_EQ(x->id(), y->id());
    EXPECT_EQ(x->desc(), y->desc());
    EXPECT_EQ(x->fmt(), y->fmt());
    EXPECT_EQ(x->textHeight(), y->textHeight());
    EXPECT_EQ(x->options(), y->options());
  }
}

void expectSameSymbols(const CVxSymbolModelArray& a, const CVxSymbolModelArray& b) {
  ASSERT_EQ(a.length(), b.length());
  for (int i = 0; i < a.length(); ++i) EXPECT_TRUE(*a.objAt(i) == *b.objAt(i)) << "symbol " << i;
}

class ProjectTest : public vxkd_test::TextsUiTest {
 protected:
  CWsz path(const wchar_t* name = L"data.vkd") const { return dir_.path(name); }

  // A project with a few definitions and symbols of both storage forms.
  static void fill(CKdProject& p) {
    p.propertyDefs().add(L"Width", L"Duct width", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
    p.propertyDefs().add(L"Flow", L"", CKdPropertyValue::typeDoubleReal, CKdUnit::unitLps, 2);
    p.propertyDefs().add(L"Ääkkönen", L"Text ü", CKdPropertyValue::typeText, CKdUnit(), 0);
    for (long id : {4, 9}) {
      CKdDimtextFormat format;
      format.setId(id);
      format.setDesc(id == 4 ? L"Duct size" : L"Größe");
      format.setFmt(L"{Width}{*CRNL*}DN");
      format.setTextHeight(id * 0.5f);
      format.options().setBorderType(CKdDimtextOptions::borderHexagon);
      p.dimTextFormats().append(&format);
    }
    CVxSymbolModel small = symbolOf("SMALL", 125);
    CVxSymbolModel large = symbolOf("LARGE", 126);
    p.symbols().append(&small);
    p.symbols().append(&large);
    // Report 5 shows Width (1) and sorts by Flow (2); report 2 is in the array after it.
    for (long id : {5, 2}) {
      CKdReport report;
      report.setDbId(id);
      report.setDesc((L"Report " + std::to_wstring(id)).c_str());
      CSReportColumn column;
      column.setPropertyId(id == 5 ? 1 : 0);
      report.columns().append(&column);
      report.setSortPropertyId(id == 5 ? 2 : 0);
      p.reportDefs().append(&report);
    }
  }

  vxkd_test::TempFolder dir_;
};

// A report removed from the array alone stays in the file; deleteReportDefs removes its
// record, once for an index given twice, and skips indexes out of range.
TEST_F(ProjectTest, DeletedReportDefinitionsLeaveTheFile) {
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  CKdProject plain;
  ASSERT_TRUE(plain.readDb(nullptr, path()));
  plain.reportDefs().deleteAt(0);
  ASSERT_TRUE(plain.updateDb(nullptr));
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(back.reportDefs().length(), 1) << "updateDb deletes the record of a removed report";

  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  ASSERT_TRUE(p.readDb(nullptr, path()));
  ASSERT_STREQ(p.reportDefs().nameAt(1), L"Report 5");
  EXPECT_TRUE(p.deleteReportDefs(nullptr, CInt32Array{1, 1, 7}));
  ASSERT_EQ(p.reportDefs().length(), 1);
  EXPECT_STREQ(p.reportDefs().nameAt(0), L"Report 2");
  ASSERT_TRUE(back.readDb(nullptr, path()));
  ASSERT_EQ(back.reportDefs().length(), 1);
  EXPECT_EQ(back.reportDefs().objAt(0)->dbId(), 2);
  // The project's own deletion is no change of another user.
  EXPECT_EQ(p.checkUpdated(nullptr, false), 0);
  EXPECT_EQ(ui_.boxCount(), 0);

  // Without its file nothing is deleted, in memory either.
  ASSERT_EQ(std::remove(CWsz(path()).toUtf8().c_str()), 0);
  EXPECT_FALSE(p.deleteReportDefs(nullptr, CInt32Array{0}));
  EXPECT_EQ(p.reportDefs().length(), 1);
}

TEST_F(ProjectTest, SavedDatasetReadsBackEqualInAFreshProject) {
  CKdProject original;
  fill(original);
  ASSERT_TRUE(original.saveDbAs(nullptr, path()));
  EXPECT_EQ(original.fileName(), path());
  EXPECT_NE(original.timeStamp().time(), 0u);

  CKdProject copy;
  ASSERT_TRUE(copy.readDb(nullptr, path()));
  expectSameDefs(original.propertyDefs(), copy.propertyDefs());
  expectSameFormats(original.dimTextFormats(), copy.dimTextFormats());
  expectSameSymbols(original.symbols(), copy.symbols());
  ASSERT_EQ(copy.reportDefs().length(), 2);
  EXPECT_STREQ(copy.reportDefs().nameAt(0), L"Report 2") << "read in key order";
  EXPECT_EQ(copy.reportDefs().objAt(1)->sortPropertyId(), 2);
  EXPECT_EQ(copy.symbols().objAt(0)->nodeCount(), 125);
  EXPECT_EQ(copy.symbols().objAt(1)->nodeCount(), 126);
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_F(ProjectTest, SmallDrawingsGoToTheNodeFieldLargeOnesToTheAttachment) {
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  CQbase db;
  ASSERT_TRUE(db.openDatabase(CKdProject::dictionaryPath(), path(), false));
  CByteBuffer bytes;
  int count = 0;
  ASSERT_TRUE(db.fetchRec("S2", VxKd::buildSymbolDbId(p.symbols().objAt(0)->projectId()).c_str()));
  EXPECT_TRUE(db.getBinaryArray(1601, bytes, count));
  EXPECT_EQ(count, 125);
  EXPECT_FALSE(db.getAttachment(bytes));
  ASSERT_TRUE(db.fetchRec("S2", VxKd::buildSymbolDbId(p.symbols().objAt(1)->projectId()).c_str()));
  EXPECT_FALSE(db.getBinaryArray(1601, bytes, count));
  ASSERT_TRUE(db.getAttachment(bytes));
  EXPECT_EQ(bytes.size(), 126 * 28);
  db.abandon();
}

TEST_F(ProjectTest, SymbolRecordsWithoutIdOrGeometryAreSkipped) {
  ASSERT_TRUE(CKdProject().newDb(nullptr, path()));
  CQbase db;
  ASSERT_TRUE(db.openDatabase(CKdProject::dictionaryPath(), path(), false));
  CVxSymbolModel good = symbolOf("GOOD", 3);
  CByteBuffer nodes = good.nodeBytes();
  for (const char* key : {"00000000", "00000007", "00000009", "abc"}) {
    ASSERT_TRUE(db.createRec("S2", key));
    db.setSz(1504, key);
    if (std::string(key) != "00000009") db.setBinaryArray(1601, nodes.data(), 3);
    ASSERT_TRUE(db.saveRec());
  }
  ASSERT_TRUE(db.closeDatabase());

  TestProject p;
  ASSERT_TRUE(p.readDb(nullptr, path()));
  ASSERT_EQ(p.symbols().length(), 1);
  EXPECT_EQ(p.symbols().objAt(0)->projectId(), 7);
  EXPECT_STREQ(p.symbols().objAt(0)->symbolId(), "00000007");
}

TEST_F(ProjectTest, NextSymbolIdTakesTheFirstGapAfterTheHighestPossible) {
  CKdProject p;
  EXPECT_EQ(p.nextSymbolDbId(), 1);
  CVxSymbolModel a = symbolOf("A", 1, 5);
  CVxSymbolModel b = symbolOf("B", 1, 99999999);
  p.symbols().append(&a);
  EXPECT_EQ(p.nextSymbolDbId(), 6);
  p.symbols().append(&b);
  EXPECT_EQ(p.nextSymbolDbId(), 1);
}

TEST_F(ProjectTest, SymbolsWithoutIdGetFreshIdsWhenWritten) {
  CKdProject p;
  CVxSymbolModel a = symbolOf("A", 2, 0);
  CVxSymbolModel b = symbolOf("B", 2, 4);
  CVxSymbolModel c = symbolOf("C", 2, 0);
  p.symbols().append(&a);
  p.symbols().append(&b);
  p.symbols().append(&c);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  EXPECT_EQ(p.symbols().objAt(0)->projectId(), 5);
  EXPECT_EQ(p.symbols().objAt(2)->projectId(), 6);
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  ASSERT_EQ(back.symbols().length(), 3);
  EXPECT_STREQ(back.symbols().objAt(0)->symbolId(), "B") << "read in key order";
  EXPECT_TRUE(*back.symbols().objAt(1) == *p.symbols().objAt(0));
}

TEST_F(ProjectTest, FindAndDeleteASymbol) {
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  CVxSymbolModel found;
  EXPECT_TRUE(p.find2dSymbol("LARGE", found));
  EXPECT_EQ(found.nodeCount(), 126);
  EXPECT_FALSE(p.find2dSymbol("large", found)) << "symbol ids keep their case";
  EXPECT_EQ(found.nodeCount(), 0);

  CQbase db;
  ASSERT_TRUE(db.openDatabase(CKdProject::dictionaryPath(), path(), false));
  EXPECT_FALSE(p.delete2dSymbolIfNotUsed(db, ""));
  EXPECT_FALSE(p.delete2dSymbolIfNotUsed(db, "MISSING"));
  EXPECT_TRUE(p.delete2dSymbolIfNotUsed(db, L"SMALL"));
  ASSERT_TRUE(db.closeDatabase());
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  ASSERT_EQ(back.symbols().length(), 1);
  EXPECT_STREQ(back.symbols().objAt(0)->symbolId(), "LARGE");
}

using FakeUser = vxkd_test::FakePropertyDefUser;

TEST_F(ProjectTest, DeletedPropertyDefsLeaveTheFileUnlessInUse) {
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  FakeUser layers(iKdPropertyDefUser::layerDefinitions, {p.propertyDefs().idAt(1)});
  EXPECT_TRUE(p.deletePropertyDefs(nullptr, CInt32Array{0, 1, 2}, {&layers}));
  ASSERT_EQ(p.propertyDefs().length(), 1);
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Delete");
  EXPECT_NE(ui_.lastBox().text.find(L"Layer definitions"), std::wstring::npos);
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  ASSERT_EQ(back.propertyDefs().length(), 1);
  EXPECT_STREQ(back.propertyDefs().nameAt(0), L"Flow");
  EXPECT_EQ(p.checkUpdated(nullptr, false), 0) << "the project's own save";
}

TEST_F(ProjectTest, ReportsKeepThePropertyDefinitionsTheyShowOrSortBy) {
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  std::vector<const iKdPropertyDefUser*> users;
  for (int i = 0; i < p.reportDefs().length(); ++i) users.push_back(p.reportDefs().objAt(i));
  EXPECT_TRUE(p.deletePropertyDefs(nullptr, CInt32Array{0, 1, 2}, users));
  EXPECT_EQ(ui_.lastBox().text,
            L"Some of the selected property definitions could not be deleted. They are used in "
            L"following items:\r\nReport definitions");
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(back.propertyDefs().length(), 2);
  EXPECT_STREQ(back.propertyDefs().nameAt(1), L"Flow");
}

TEST_F(ProjectTest, DefaultProjectAndResetHaveNoReports) {
  CKdProject p;
  fill(p);
  CKdProject copy(p);
  p.buildDefaultProject();
  EXPECT_EQ(p.reportDefs().length(), 0);
  ASSERT_EQ(copy.reportDefs().length(), 2) << "a copy has reports of its own";
  copy.resetData();
  EXPECT_EQ(copy.reportDefs().length(), 0);
}

TEST_F(ProjectTest, DeletedDimTextFormatsLeaveTheFileUnlessInUse) {
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  vxkd_test::FakeDimtextFormatUser products({{L"Socket", {9}}});
  EXPECT_TRUE(p.deleteDimTextFormats(nullptr, CInt32Array{0, 1}, {&products}));
  EXPECT_NE(ui_.lastBox().text.find(L"Product definitions\r\n - Socket"), std::wstring::npos);
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  ASSERT_EQ(back.dimTextFormats().length(), 1);
  EXPECT_EQ(back.dimTextFormats().idAt(0), 9);
  expectSameFormats(p.dimTextFormats(), back.dimTextFormats());

  ASSERT_EQ(std::remove(dir_.native("data.vkd").c_str()), 0);
  EXPECT_FALSE(p.deleteDimTextFormats(nullptr, CInt32Array{0}, {}));
  EXPECT_EQ(p.dimTextFormats().length(), 1) << "the file could not be reached: nothing deleted";
}

TEST_F(ProjectTest, DeletionThatCannotReachTheFileDeletesNothing) {
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  ASSERT_EQ(std::remove(dir_.native("data.vkd").c_str()), 0);
  EXPECT_FALSE(p.deletePropertyDefs(nullptr, CInt32Array{0}, {}));
  EXPECT_EQ(p.propertyDefs().length(), 3);
  EXPECT_TRUE(
      lastBoxIs(L"Selected file cannot be found", L"File Not Found", MB_TASKMODAL | MB_ICONSTOP));
}

TEST_F(ProjectTest, CreatingOverAnExistingFileReplacesIt) {
  CKdProject first;
  fill(first);
  ASSERT_TRUE(first.saveDbAs(nullptr, path()));
  CKdProject empty;
  ASSERT_TRUE(empty.saveDbAs(nullptr, path()));
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(back.propertyDefs().length(), 0);
  EXPECT_EQ(back.symbols().length(), 0);
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_F(ProjectTest, NewDbMakesAnEmptyFileAndKeepsTheMemory) {
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.newDb(nullptr, path()));
  EXPECT_EQ(p.fileName(), path());
  EXPECT_EQ(p.propertyDefs().length(), 3);
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(back.propertyDefs().length(), 0);
}

TEST_F(ProjectTest, UpdateDbWritesBackToTheSameFile) {
  CKdProject p;
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  fill(p);
  ASSERT_TRUE(p.updateDb(nullptr));
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  expectSameDefs(p.propertyDefs(), back.propertyDefs());
  CKdProject unbound;
  EXPECT_FALSE(unbound.updateDb(nullptr));
  EXPECT_EQ(ui_.boxCount(), 0) << "no file name: no message";
}

TEST_F(ProjectTest, OpeningWithAnEmptyPathFailsSilently) {
  CKdProject p;
  EXPECT_FALSE(p.readDb(nullptr, L""));
  EXPECT_FALSE(p.readDb(nullptr, nullptr));
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_F(ProjectTest, MissingFileShowsFileNotFound) {
  CKdProject p;
  EXPECT_FALSE(p.readDb(nullptr, path(L"missing.vkd")));
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(
      lastBoxIs(L"Selected file cannot be found", L"File Not Found", MB_TASKMODAL | MB_ICONSTOP));
}

TEST_F(ProjectTest, FileThatIsNoDatasetLeavesTheProjectUntouched) {
  ASSERT_TRUE(vxkd_test::writeBytes(dir_.native("notes.vkd"), "just some text\n"));
  CKdProject p;
  fill(p);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  uint64_t stamp = p.timeStamp().time();
  EXPECT_FALSE(p.readDb(nullptr, path(L"notes.vkd")));
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(
      lastBoxIs(L"Dataset cannot be opened", L"Cannot Open Dataset", MB_TASKMODAL | MB_ICONSTOP));
  EXPECT_EQ(p.fileName(), path());
  EXPECT_EQ(p.propertyDefs().length(), 3);
  EXPECT_EQ(p.symbols().length(), 2);
  EXPECT_EQ(p.timeStamp().time(), stamp);
  EXPECT_EQ(vxkd_test::readBytes(dir_.native("notes.vkd")), "just some text\n");
}

// The program folder moved to an empty folder: the dataset dictionary is missing.
class MissingDictionaryTest : public ProjectTest {
 protected:
  void SetUp() override {
    ProjectTest::SetUp();
    setenv("VXKD_PROGRAM_DIR", empty_.native().c_str(), 1);
  }
  void TearDown() override {
    unsetenv("VXKD_PROGRAM_DIR");
    ProjectTest::TearDown();
  }
  vxkd_test::TempFolder empty_;
};

TEST_F(MissingDictionaryTest, OpeningReportsCreationFailedUnderCannotOpen) {
  ASSERT_TRUE(vxkd_test::writeBytes(dir_.native("data.vkd"), "x"));
  CKdProject p;
  EXPECT_FALSE(p.readDb(nullptr, path()));
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(
      lastBoxIs(L"Dataset creation failed", L"Cannot Open Dataset", MB_TASKMODAL | MB_ICONSTOP));
}

TEST_F(MissingDictionaryTest, CreatingReportsTheMissingDictionary) {
  CKdProject p;
  EXPECT_FALSE(p.saveDbAs(nullptr, path()));
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(lastBoxIs(L"Vkd data dictionary not found", L"Cannot Create Dataset",
                        MB_TASKMODAL | MB_ICONSTOP));
  EXPECT_FALSE(cuFile::exists(path()));
}

TEST_F(ProjectTest, CreationInAMissingFolderShowsCreationFailed) {
  CKdProject p;
  EXPECT_FALSE(p.newDb(nullptr, path(L"no/such/folder/data.vkd")));
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(
      lastBoxIs(L"Dataset creation failed", L"Cannot Create Dataset", MB_TASKMODAL | MB_ICONSTOP));
  EXPECT_TRUE(p.fileName().isEmpty());
}

TEST_F(ProjectTest, ResetDataEmptiesEverythingAndTheLastDimtext) {
  CKdProject p;
  fill(p);
  p.setLastInstalledDimtextId(17);
  p.setLastTreePos(3, 44);
  CKdProject copy(p);
  p.resetData();
  EXPECT_EQ(p.propertyDefs().length(), 0);
  EXPECT_EQ(p.dimTextFormats().length(), 0);
  EXPECT_EQ(p.symbols().length(), 0);
  EXPECT_EQ(p.lastInstalledDimtextId(), 0);
  EXPECT_EQ(copy.dimTextFormats().length(), 2);
  EXPECT_EQ(copy.propertyDefs().length(), 3) << "a copy is deep";
  EXPECT_EQ(copy.lastTreePosId(), 44);
}

TEST_F(ProjectTest, NewDatasetsStartWithoutDimTextFormats) {
  CKdProject p;
  fill(p);
  p.buildDefaultDimTextFormats();
  EXPECT_EQ(p.dimTextFormats().length(), 0);
  EXPECT_EQ(p.propertyDefs().length(), 3);
  fill(p);
  p.buildDefaultProject();
  EXPECT_EQ(p.dimTextFormats().length(), 0);
  EXPECT_EQ(p.symbols().length(), 4) << "symbols are not part of the default content";
}

TEST_F(ProjectTest, FileDialogsAskWithTheirTitlesAndFilter) {
  CWsz chosen(L"stale");
  ui_.answerFileDialogWith(L"/data/a.vkd");
  EXPECT_TRUE(CKdProject::askOpenFileName(nullptr, chosen));
  EXPECT_EQ(chosen.str(), L"/data/a.vkd");
  ui_.cancelFileDialog();
  EXPECT_FALSE(CKdProject::askSaveFileName(nullptr, chosen));
  EXPECT_TRUE(chosen.isEmpty());
  ASSERT_EQ(ui_.interactions().size(), 2u);
  EXPECT_EQ(ui_.interactions()[0].kind, CRecordingUiBackend::Kind::openFile);
  EXPECT_EQ(ui_.interactions()[0].text, L"Select Dataset");
  EXPECT_EQ(ui_.interactions()[0].caption, L"*.vkd|*.vkd|");
  EXPECT_EQ(ui_.interactions()[1].kind, CRecordingUiBackend::Kind::saveFile);
  EXPECT_EQ(ui_.interactions()[1].text, L"Save Dataset As");
}

// "office" would be locked by "offlck": the save dialog's answer always ends in ".vkd".
TEST_F(ProjectTest, SaveDialogAppendsTheExtensionWhenMissing) {
  const std::pair<const wchar_t*, std::wstring> kAnswers[] = {
      {L"/data/office", L"/data/office.vkd"},
      {L"/data/office.vkd", L"/data/office.vkd"},
      {L"/data/OFFICE.VKD", L"/data/OFFICE.VKD"},
      {L"/data/office.vkd.bak", L"/data/office.vkd.bak.vkd"},
  };
  for (const auto& [answer, expected] : kAnswers) {
    CWsz chosen;
    ui_.answerFileDialogWith(answer);
    ASSERT_TRUE(CKdProject::askSaveFileName(nullptr, chosen));
    EXPECT_EQ(chosen.str(), expected);
  }
  CWsz chosen;
  ui_.answerFileDialogWith((L"/" + std::wstring(400, L'n')).c_str());
  ASSERT_TRUE(CKdProject::askSaveFileName(nullptr, chosen));
  EXPECT_EQ(chosen.length(), 300);
  EXPECT_EQ(chosen.mid(296).str(), L".vkd");
}

}  // namespace
