// The project's product catalogue: groups, products, blocks and part ID formats through the
// dataset file, the commands that delete groups and formats, the symbols they keep, and the
// dialog that asks for a new block.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/dialog.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/qbase.h"

using namespace cuWin;

namespace {

constexpr long kRoot = CKdProductGroup::rootGroupDefinitions;

std::vector<std::string> keysOf(const CWsz& path, const char* code) {
  CQbase db;
  std::vector<std::string> keys;
  if (!db.openDatabase(CKdProject::dictionaryPath(), path, CQbase::openRead)) return keys;
  for (bool more = db.fetchFirstMember(code); more; more = db.fetchNextMember()) {
    CChBuffer key;
    db.getObjId(key);
    keys.push_back(key.str());
  }
  db.closeDatabase();
  return keys;
}

std::vector<long> idsOf(const CKdObjArray& array) {
  std::vector<long> ids;
  for (int i = 0; i < array.length(); ++i) ids.push_back(array.idAt(i));
  return ids;
}

class ProjectCatalogueTest : public vxkd_test::TextsUiTest {
 protected:
  CWsz path() const { return dir_.path(L"office.vkd"); }

  // Adds group `id` under `owner` with the products `products` (ids from 1).
  static CKdProductGroup* addGroup(CKdProject& p, long id, long owner, const wchar_t* desc,
                                   std::vector<const wchar_t*> products = {}) {
    CKdProductGroup group;
    CKdGuid guid;
    guid.createValue();
    group.init(id, owner, p.productGroups().nextSortOrderNmbUnderGroup(owner), guid, desc);
    long n = 0;
    for (const wchar_t* name : products) {
      CKdProductDef product;
      product.setDbId(++n);
      product.setDesc(name);
      CKdGuid productGuid;
      productGuid.createValue();
      product.setGuid(productGuid);
      group.products().append(&product);
    }
    p.productGroups().append(&group);
    return p.productGroups().findGroup(id);
  }

  // The catalogue of the tests, saved as office.vkd:
  //   1 Ducts [Rect 200, Rect 300]   2 Round (under 1)   3 Bends (under 2)   4 Pipes
  // and the part ID format 5, used by "Rect 200", and 6, used by no product.
  void saveSample(CKdProject& p) {
    p.propertyDefs().add(L"Width", L"", CKdPropertyValue::typeInt32, CKdUnit(CKdUnit::unitMm), 0);
    CKdProductGroup* ducts = addGroup(p, 1, kRoot, L"Ducts", {L"Rect 200", L"Rect 300"});
    CKdProperty width(*p.propertyDefs().objAt(0));
    width.setValue(L"200");
    ducts->products().objAt(0)->properties().append(&width);
    ducts->products().objAt(0)->setPartIdFmtId(5);
    addGroup(p, 2, 1, L"Round");
    addGroup(p, 3, 2, L"Bends", {L"Bend 90"});
    addGroup(p, 4, kRoot, L"Pipes");
    CKdBlock block;
    block.setDesc(L"Tee");
    block.add(CKdBlockItem());
    p.productGroups().findGroup(2)->blocks().append(&block);
    for (const CKdPartIdFormat& f :
         {CKdPartIdFormat(5, L"Ducts", L"R{Width}"), CKdPartIdFormat(6, L"Spare", L"S")})
      p.partIdFormats().append(&f);
    ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  }

  vxkd_test::TempFolder dir_;
};

TEST_F(ProjectCatalogueTest, TheCatalogueSurvivesASaveAndARead) {
  CKdProject p;
  saveSample(p);
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(idsOf(back.productGroups()), (std::vector<long>{1, 2, 3, 4, kRoot}));
  EXPECT_EQ(back.productGroups().getGroupPath(3), CWsz(L"Ducts/Round/Bends"));
  EXPECT_EQ(back.productGroups().findGroup(kRoot)->desc(), CWsz(L"Group definitions"));
  const CKdProductDef* rect = back.productGroups().findProduct(1, 1);
  ASSERT_NE(rect, nullptr);
  EXPECT_EQ(rect->properties().length(), 1);
  // The formats are read before the groups and reach their products.
  EXPECT_EQ(idsOf(back.partIdFormats()), (std::vector<long>{5, 6}));
  EXPECT_EQ(rect->partIdFmt(), CWsz(L"R{Width}"));
  EXPECT_EQ(rect->partId(), CWsz(L"R200"));
  EXPECT_EQ(back.productGroups().findBlock(L"tee", 0)->items().length(), 1);

  CKdProject moved(std::move(back));
  EXPECT_EQ(moved.productGroups().findProduct(1, 1)->partId(), CWsz(L"R200"));
  EXPECT_EQ(moved.fileName(), path());
  moved.resetData();
  EXPECT_EQ(moved.productGroups().length(), 0);
  EXPECT_EQ(moved.partIdFormats().length(), 0);
}

// A product id that no key of its group could hold gets a free one rather than be lost.
TEST_F(ProjectCatalogueTest, ProductsWithoutAKeyOfTheirOwnGetFreeIds) {
  CKdProject p;
  CKdProductGroup* g = addGroup(p, 1, kRoot, L"Ducts", {L"a", L"b", L"c"});
  g->products().objAt(0)->setDbId(10000);
  g->products().objAt(1)->setDbId(0);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(back.productGroups().findGroup(1)->products().length(), 3);
}

TEST_F(ProjectCatalogueTest, ChangedPropertyDefinitionsReachTheGroupsProducts) {
  CKdProject p;
  saveSample(p);
  CKdPropertyDef renamed(*p.propertyDefs().objAt(0));
  renamed.setName(L"Breite");
  p.updatePropertyDefModificationToRefs(renamed);
  EXPECT_NE(p.productGroups().findProduct(1, 1)->properties().findProperty(L"Breite"), nullptr);
}

struct QuestionCase {
  long group;
  const wchar_t* text;
  unsigned icon;
};

TEST_F(ProjectCatalogueTest, TheQuestionDependsOnWhatTheGroupHolds) {
  CKdProject p;
  saveSample(p);
  addGroup(p, 7, 4, L"Steel", {L"Pipe 1"});  // products and no sub groups
  const QuestionCase cases[] = {
      {1, L"Group has product definitions which\r\nwill be deleted.\r\n\r\nDelete selected group?",
       MB_ICONEXCLAMATION},
      {2,
       L"Group has sub groups which will \r\n be deleted with their possible \r\n product "
       L"definitions\r\n\r\nDelete selected group?",
       MB_ICONEXCLAMATION},
      {3, L"Group has product definitions which\r\nwill be deleted.\r\n\r\nDelete selected group?",
       MB_ICONEXCLAMATION},
      {7, L"Group has product definitions which\r\nwill be deleted.\r\n\r\nDelete selected group?",
       MB_ICONEXCLAMATION},
  };
  for (const QuestionCase& c : cases) {
    SCOPED_TRACE(c.group);
    ui_.answerBoxWith(IDNO);
    EXPECT_FALSE(p.deleteProductGroup(nullptr, c.group));
    EXPECT_TRUE(lastBoxIs(c.text, L"Delete Group", MB_YESNO | c.icon | MB_TASKMODAL));
  }
  p.productGroups().findGroup(7)->products().reset();
  ui_.answerBoxWith(IDNO);
  EXPECT_FALSE(p.deleteProductGroup(nullptr, 7));
  EXPECT_TRUE(lastBoxIs(L"Delete selected group?", L"Delete Group",
                        MB_YESNO | MB_ICONQUESTION | MB_TASKMODAL));
  EXPECT_EQ(p.productGroups().length(), 5) << "No deletes nothing";

  ui_.clear();
  EXPECT_FALSE(p.deleteProductGroup(nullptr, kRoot)) << "a root is not deleted";
  EXPECT_FALSE(p.deleteProductGroup(nullptr, 99));
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_F(ProjectCatalogueTest, DeletingAGroupTakesItsDescendantsAndLeavesTheBlocks) {
  CKdProject p;
  saveSample(p);
  ui_.answerBoxWith(IDYES);
  ASSERT_TRUE(p.deleteProductGroup(nullptr, 1));
  EXPECT_EQ(idsOf(p.productGroups()), std::vector<long>{4});
  EXPECT_EQ(p.lastTreePosId(), kRoot) << "the tree stands at the owner, a root";
  EXPECT_EQ(keysOf(path(), "PG"), std::vector<std::string>{"000004"});
  EXPECT_TRUE(keysOf(path(), "PD").empty());
  EXPECT_EQ(keysOf(path(), "BS"), std::vector<std::string>{"0000020001"});
  EXPECT_EQ(keysOf(path(), "BI"), std::vector<std::string>{"0002001000"});
  EXPECT_EQ(p.checkUpdated(nullptr, false), 0) << "the project's own change";
  EXPECT_EQ(dir_.names(), std::vector<std::string>{"office.vkd"}) << "the lock is released";
}

TEST_F(ProjectCatalogueTest, DeletingSubGroupsKeepsTheGroup) {
  CKdProject p;
  saveSample(p);
  ui_.answerBoxWith(IDYES);
  ASSERT_TRUE(p.deleteProductSubGroups(nullptr, 1));
  EXPECT_TRUE(lastBoxIs(L"Delete subgroups of selected group?", L"Delete Group",
                        MB_YESNO | MB_ICONQUESTION | MB_TASKMODAL));
  EXPECT_EQ(idsOf(p.productGroups()), (std::vector<long>{1, 4}));
  EXPECT_EQ(p.lastTreePosId(), 1);
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(idsOf(back.productGroups()), (std::vector<long>{1, 4, kRoot}));
  EXPECT_EQ(back.productGroups().findGroup(1)->products().length(), 2);

  ui_.clear();
  ui_.answerBoxWith(IDNO);
  EXPECT_FALSE(back.deleteProductSubGroups(nullptr, kRoot));
  EXPECT_EQ(ui_.boxCount(), 1) << "a root's sub groups may go";
  EXPECT_EQ(back.productGroups().length(), 3);
}

TEST_F(ProjectCatalogueTest, ADeletionThatCannotBeStoredChangesNothing) {
  CKdProject p;
  saveSample(p);
  CLockFile other;
  ASSERT_EQ(other.set(CLockFile::lockFileNameFor(path()), L"Ann", nullptr), 0);
  ui_.answerBoxWith(IDYES);
  EXPECT_FALSE(p.deleteProductGroup(nullptr, 4));
  EXPECT_EQ(ui_.lastBox().caption, L"Update Failed");
  other.release();
  EXPECT_EQ(p.productGroups().length(), 4);
  EXPECT_EQ(keysOf(path(), "PG").size(), 4u);

  // Another user saved meanwhile: the project is read again and the user asked anew.
  CKdProject theirs;
  ASSERT_TRUE(theirs.readDb(nullptr, path()));
  addGroup(theirs, 8, kRoot, L"Cables");
  ASSERT_TRUE(theirs.updateDb(nullptr));
  ui_.answerBoxWith(IDYES);
  EXPECT_FALSE(p.deleteProductGroup(nullptr, 4));
  EXPECT_EQ(ui_.lastBox().caption, L"Dataset Changed");
  EXPECT_NE(p.productGroups().findGroup(8), nullptr);
  EXPECT_NE(p.productGroups().findGroup(4), nullptr);
}

TEST_F(ProjectCatalogueTest, PartIdFormatsInUseAreKeptAndNamed) {
  CKdProject p;
  saveSample(p);
  p.productGroups().findProduct(1, 2)->setPartIdFmtId(5);
  CKdProductDef duct;
  duct.setDbId(1);
  duct.setDesc(L"Spare duct");
  duct.setPartIdFmtId(6);
  p.polyDefSets(VxKd::systemDuct)->append(&duct);
  EXPECT_FALSE(p.deletePartIdFormats(nullptr, CInt32Array{0, 1}));
  EXPECT_EQ(ui_.lastBox().text,
            L"Some of the selected part ID formats could not be deleted. They are used in "
            L"following product definitions:\r\n\r\n - Rect 200\r\n - Rect 300\r\n - Spare duct");
  EXPECT_EQ(p.partIdFormats().length(), 2);

  p.polyDefSets(VxKd::systemDuct)->reset();
  EXPECT_FALSE(p.deletePartIdFormats(nullptr, CInt32Array{0, 1}));
  EXPECT_EQ(idsOf(p.partIdFormats()), std::vector<long>{5});
  EXPECT_EQ(keysOf(path(), "PI"), std::vector<std::string>{"000005"});
  EXPECT_EQ(p.checkUpdated(nullptr, false), 0);
}

TEST_F(ProjectCatalogueTest, SymbolsInUseByAnyProductAreNotDeleted) {
  CKdProject p;
  saveSample(p);
  for (const char* id : {"VALVE", "DAMPER", "FREE"}) {
    CVxSymbolModel symbol(0, id, L"", {CGmNode{CGmNode::typeLine, 0, {0, 0, 0, 1, 0, 0}}});
    p.symbols().append(&symbol);
  }
  p.productGroups().findProduct(3, 1)->setSymbolId("VALVE");
  CKdProductDef duct;
  duct.setSymbolId("DAMPER");
  p.polyDefSets(VxKd::systemPipe)->append(&duct);
  ASSERT_TRUE(p.updateDb(nullptr));
  CQbase db;
  ASSERT_TRUE(db.openDatabase(CKdProject::dictionaryPath(), path(), CQbase::openUpdate));
  EXPECT_FALSE(p.delete2dSymbolIfNotUsed(db, "VALVE"));
  EXPECT_FALSE(p.delete2dSymbolIfNotUsed(db, L"DAMPER")) << "a poly-object set's symbol too";
  EXPECT_TRUE(p.delete2dSymbolIfNotUsed(db, "FREE"));
  ASSERT_TRUE(db.closeDatabase());
  EXPECT_EQ(p.symbols().length(), 2);
}

TEST_F(ProjectCatalogueTest, BlocksDrawTheProjectsProductSymbols) {
  CKdProject p;
  saveSample(p);
  CVxSymbolModel symbol(0, "VALVE", L"", {CGmNode{CGmNode::typeCircle, 0, {0, 0, 0, 1, 0, 0}}});
  p.symbols().append(&symbol);
  CKdProductDef* bend = p.productGroups().findProduct(3, 1);
  bend->setSymbolId("VALVE");
  CKdBlockItem item;
  item.setGuid(bend->guid());
  item.setPosition({5, 5});
  item.setScale(3);
  CKdBlock block;
  block.add(item);
  CGmModel model;
  ASSERT_TRUE(block.getModel(model, p, false));
  ASSERT_EQ(model.itemCount(), 1);
  const CGmCircle& circle = std::get<CGmCircle>(model.itemAt(0).shape);
  EXPECT_EQ(circle.centre, CGmPoint(5, 5));
  EXPECT_EQ(circle.radius, 3);
}

// ---- the new-block dialog ----

constexpr int kNameField = 1002, kGroupTree = 1004;

TEST_F(ProjectCatalogueTest, TheNewBlockDialogOffersTheGroupTreeAndTakesTheAnswer) {
  CKdProject p;
  saveSample(p);
  std::vector<std::wstring> shown;
  ui_.answerDialogWith([&](VXDialog& dialog) {
    const VxTreeView& tree = dialog.tree(kGroupTree);
    for (int i = 0; i < tree.count(); ++i)
      shown.push_back(std::wstring(tree.depthOf(i), L' ') + tree.textAt(i).str());
    EXPECT_EQ(tree.itemData(tree.selection()), 2) << "the given group is selected";
    EXPECT_EQ(dialog.edit(kNameField).text(), CWsz(L"Cross"));
    dialog.edit(kNameField).setText(L"  Cross 90 ");
    dialog.tree(kGroupTree).select(tree.findData(3));
    return IDOK;
  });
  CWsz name(L"Cross");
  long group = 2;
  ASSERT_TRUE(p.blockDefCreateDlg(nullptr, name, group));
  EXPECT_EQ(name, CWsz(L"Cross 90"));
  EXPECT_EQ(group, 3);
  EXPECT_EQ(shown, (std::vector<std::wstring>{L"Group definitions", L" Ducts", L"  Round",
                                              L"   Bends", L" Pipes"}));
  EXPECT_EQ(ui_.interactions().front().text, L"New Block");
}

TEST_F(ProjectCatalogueTest, TheNewBlockDialogInsistsOnANewName) {
  CKdProject p;
  saveSample(p);
  const auto answer = [](const wchar_t* name, long group) {
    return [=](VXDialog& dialog) {
      dialog.edit(kNameField).setText(name);
      VxTreeView& tree = dialog.tree(kGroupTree);
      tree.select(tree.findData(group));
      return IDOK;
    };
  };
  ui_.answerDialogWith(answer(L" ", 2));
  ui_.answerDialogWith(answer(L"TEE", 2));  // Round has a block "Tee"
  ui_.answerDialogWith(answer(L"Tee", 1));  // Ducts has none
  CWsz name;
  long group = 77;  // unknown: the root is selected
  ASSERT_TRUE(p.blockDefCreateDlg(nullptr, name, group));
  EXPECT_EQ(name, CWsz(L"Tee"));
  EXPECT_EQ(group, 1);
  std::vector<std::wstring> boxes;
  for (const auto& i : ui_.interactions())
    if (i.kind == CRecordingUiBackend::Kind::messageBox) boxes.push_back(i.text);
  EXPECT_EQ(boxes, (std::vector<std::wstring>{L"Enter a name for the block.",
                                              L"The group already has a block of this name."}));

  ui_.clear();
  name = L"Kept";
  group = 4;
  EXPECT_FALSE(p.blockDefCreateDlg(nullptr, name, group)) << "cancelled";
  EXPECT_EQ(name, CWsz(L"Kept"));
  EXPECT_EQ(group, 4);
}

}  // namespace
