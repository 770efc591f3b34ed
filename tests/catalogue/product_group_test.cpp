#include "vxkd/catalogue/product_group.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "vxkd/platform/qbase.h"

namespace {

constexpr long kRoot = CKdProductGroup::rootGroupDefinitions;

CKdProductGroup groupOf(long id, long owner, long order, const wchar_t* desc) {
  CKdProductGroup group;
  CKdGuid guid;
  guid.createValue();
  group.init(id, owner, order, guid, desc);
  return group;
}

CKdProductDef productOf(long id, const wchar_t* desc) {
  CKdProductDef product;
  product.setDbId(id);
  product.setDesc(desc);
  CKdGuid guid;
  guid.createValue();
  product.setGuid(guid);
  return product;
}

CKdBlock blockOf(const wchar_t* desc, int items) {
  CKdBlock block;
  block.setDesc(desc);
  for (int i = 0; i < items; ++i) {
    CKdBlockItem item;
    item.setName((std::wstring(desc) + L"." + std::to_wstring(i)).c_str());
    block.add(item);
  }
  return block;
}

// The tree of the tests:
//   root -1
//     1 Ducts (order 2)      products: 7 "Zeta", 3 "alpha"
//       3 Round (order 1)
//         5 Bends (order 1)
//       4 Rect/Square (order 2)
//     2 Pipes (order 1)
CKdProductGroupArray sampleTree() {
  CKdProductGroupArray groups;
  CKdProductGroup root;
  root.init(kRoot, 0, 0, CKdGuid(), L"Group definitions");
  groups.append(&root);
  CKdProductGroup ducts = groupOf(1, kRoot, 2, L"Ducts");
  CKdProductDef zeta = productOf(7, L"Zeta"), alpha = productOf(3, L"alpha");
  ducts.products().append(&zeta);
  ducts.products().append(&alpha);
  groups.append(&ducts);
  for (const CKdProductGroup& g : {groupOf(2, kRoot, 1, L"Pipes"), groupOf(3, 1, 1, L"Round"),
                                   groupOf(4, 1, 2, L"Rect/Square"), groupOf(5, 3, 1, L"Bends")})
    groups.append(&g);
  return groups;
}

std::vector<long> idsOf(const CKdObjArray& array) {
  std::vector<long> ids;
  for (int i = 0; i < array.length(); ++i) ids.push_back(array.idAt(i));
  return ids;
}

std::vector<int32_t> values(const CInt32Array& a) { return {a.begin(), a.end()}; }

std::vector<std::string> keysOf(CQbase& db, const char* code) {
  std::vector<std::string> keys;
  for (bool more = db.fetchFirstMember(code); more; more = db.fetchNextMember()) {
    CChBuffer key;
    db.getObjId(key);
    keys.push_back(key.str());
  }
  return keys;
}

void storeGroupRecord(CQbase& db, const char* key, long owner, long order) {
  ASSERT_TRUE(db.createRec("PG", key));
  ASSERT_TRUE(db.setLong(1201, owner));
  ASSERT_TRUE(db.setLong(1207, order));
  ASSERT_TRUE(db.saveRec());
}

// ---- the tree in memory ----

TEST(ProductGroupArray, NextOrderNumberIsOneAboveTheHighestChild) {
  CKdProductGroupArray groups;
  EXPECT_EQ(groups.nextSortOrderNmbUnderGroup(9), 1);
  for (const CKdProductGroup& g :
       {groupOf(1, 9, 3, L"a"), groupOf(2, 9, 7, L"b"), groupOf(3, 4, 20, L"other owner")})
    groups.append(&g);
  EXPECT_EQ(groups.nextSortOrderNmbUnderGroup(9), 8);
  EXPECT_EQ(groups.nextSortOrderNmbUnderGroup(5), 1);
}

TEST(ProductGroupArray, SubGroupsAreListedBreadthFirst) {
  const CKdProductGroupArray groups = sampleTree();
  CInt32Array ids;
  groups.getAllSubGroupIdsOf(kRoot, ids);
  EXPECT_EQ(values(ids), (std::vector<int32_t>{1, 2, 3, 4, 5}));
  groups.getAllSubGroupIdsOf(1, ids);
  EXPECT_EQ(values(ids), (std::vector<int32_t>{3, 4, 5}));
  groups.getAllSubGroupIdsOf(5, ids);
  EXPECT_TRUE(ids.isEmpty());
  CKdProductGroupArray subs;
  groups.getAllSubGroupsOf(1, subs);
  EXPECT_EQ(idsOf(subs), (std::vector<long>{3, 4, 5}));
  CKdGuidArray guids;
  groups.getAllSubGroupGuidsOf(groups.findGroup(3)->guid(), guids);
  ASSERT_EQ(guids.length(), 1);
  EXPECT_EQ(*guids.objAt(0), groups.findGroup(5)->guid());
  groups.getAllSubGroupGuidsOf(CKdGuid(), guids);
  EXPECT_EQ(guids.length(), 0);
  EXPECT_TRUE(groups.hasSubGroupsFor(3));
  EXPECT_FALSE(groups.hasSubGroupsFor(5));
}

// Owner links that loop, and a group kept with the id 0, whose children would otherwise be
// the roots (owner 0): every list ends, and no root is anyone's child.
TEST(ProductGroupArray, SubGroupListsEndWhateverTheOwnerLinks) {
  CKdProductGroupArray groups = sampleTree();
  for (const CKdProductGroup& g : {groupOf(8, 9, 1, L"loop a"), groupOf(9, 8, 1, L"loop b"),
                                   groupOf(0, 0, 0, L"damaged"), groupOf(6, 6, 1, L"own owner")})
    groups.append(&g);
  CInt32Array ids;
  groups.getAllSubGroupIdsOf(8, ids);
  EXPECT_EQ(values(ids), std::vector<int32_t>{9});
  groups.getAllSubGroupIdsOf(0, ids);
  EXPECT_TRUE(ids.isEmpty()) << "owner 0 names no parent";
  EXPECT_FALSE(groups.hasSubGroupsFor(0));
  groups.getAllSubGroupIdsOf(6, ids);
  EXPECT_TRUE(ids.isEmpty());
  EXPECT_EQ(groups.findRootGroupId(9), 0) << "a loop reaches no root";
  EXPECT_EQ(groups.findRootGroupId(5), kRoot);
  EXPECT_EQ(groups.findRootGroupId(77), 0);
}

TEST(ProductGroupArray, GroupPathsWriteSlashesAsBackslashesAndAreFoundSo) {
  const CKdProductGroupArray groups = sampleTree();
  EXPECT_EQ(groups.getGroupPath(5), CWsz(L"Ducts/Round/Bends"));
  EXPECT_EQ(groups.getGroupPath(4), CWsz(L"Ducts/Rect\\Square"));
  EXPECT_EQ(groups.getGroupPath(kRoot), CWsz(L"")) << "roots are not part of a path";
  std::vector<CKdProductGroup*> path;
  groups.getGroupPath(5, path);
  ASSERT_EQ(path.size(), 3u);
  EXPECT_EQ(path.front()->dbId(), 1);
  EXPECT_EQ(path.back()->dbId(), 5);

  const struct {
    const wchar_t* path;
    long found;  // 0: none
  } cases[] = {
      {L"Ducts/Rect\\Square", 4},
      {L"Ducts/Round/Bends", 5},
      {L"Ducts", 1},
      {L"Ducts/Rect/Square", 0},
      {L"ducts", 0},  // case counts
      {L"", 0},
      {L"Pipes/Round", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(CWsz(c.path).toUtf8());
    const CKdProductGroup* found = groups.findGroup(CKdProductGroup::rootGroupDefinitions, c.path);
    EXPECT_EQ(found ? found->dbId() : 0, c.found);
  }
}

TEST(ProductGroupArray, GroupPathStopsAfterAHundredStepsOnALoop) {
  CKdProductGroupArray groups;
  for (const CKdProductGroup& g : {groupOf(1, 2, 1, L"a"), groupOf(2, 1, 1, L"b")})
    groups.append(&g);
  std::vector<CKdProductGroup*> path;
  groups.getGroupPath(1, path);
  EXPECT_EQ(path.size(), 100u);
  EXPECT_EQ(groups.getGroupPath(1).length(), 100 * 2 - 1);
}

TEST(ProductGroupArray, FindBlockTakesAPositionInTheFirstGroupThatHasIt) {
  CKdProductGroupArray groups = sampleTree();
  const struct {
    long group;
    int blocks;
  } filled[] = {{2, 2}, {1, 3}, {3, 3}};
  for (const auto& f : filled)
    for (int i = 0; i < f.blocks; ++i) {
      CKdBlock block = blockOf((std::to_wstring(f.group) + L"-" + std::to_wstring(i)).c_str(), 0);
      groups.findGroup(f.group)->blocks().append(&block);
    }
  // The array order is root, 1, 2, 3: group 1 is the first with a third block.
  EXPECT_EQ(groups.findBlock(0, 2)->desc(), CWsz(L"1-2"));
  EXPECT_EQ(groups.findBlock(0, 1)->desc(), CWsz(L"1-1"));
  EXPECT_EQ(groups.findBlock(3, 2)->desc(), CWsz(L"3-2"));
  EXPECT_EQ(groups.findBlock(2, 2), nullptr);
  long in = 0;
  EXPECT_EQ(groups.findBlock(L"3-1", 0, &in)->desc(), CWsz(L"3-1"));
  EXPECT_EQ(in, 3);
  EXPECT_EQ(groups.findBlock(L"3-1", 2), nullptr);
}

TEST(ProductGroupArray, ProductsAreFoundByIdNameAndGuid) {
  CKdProductGroupArray groups = sampleTree();
  CKdProductDef other = productOf(3, L"Other three");
  groups.findGroup(2)->products().append(&other);
  EXPECT_EQ(groups.findProduct(2, 3)->desc(), CWsz(L"Other three"));
  EXPECT_EQ(groups.findProduct(0L, 3)->desc(), CWsz(L"alpha")) << "the first group that has it";
  EXPECT_EQ(groups.findProduct(4, 3), nullptr);
  EXPECT_EQ(groups.findProduct(L"ZETA", 0)->dbId(), 7);
  EXPECT_EQ(groups.findProduct(L"ZETA", 2), nullptr);
  const CKdGuid guid = groups.findGroup(2)->products().objAt(0)->guid();
  EXPECT_EQ(groups.findProduct(guid)->desc(), CWsz(L"Other three"));
  EXPECT_EQ(groups.findProduct(CKdGuid()), nullptr);
  CKdProductDefArray all;
  groups.getAllProductDefs(all);
  groups.getAllProductDefs(all);
  EXPECT_EQ(all.length(), 6) << "appended, not replaced";
}

TEST(ProductGroupArray, GuidsIdsAndDescriptionsMapThroughTheGroups) {
  const CKdProductGroupArray groups = sampleTree();
  CKdGuid unknown;
  unknown.createValue();
  CKdGuidArray guids;
  guids.append(&groups.findGroup(5)->guid());
  guids.append(&unknown);
  guids.append(&groups.findGroup(2)->guid());
  CInt32Array ids;
  groups.getIdsForGuids(guids, ids);
  EXPECT_EQ(values(ids), (std::vector<int32_t>{5, 2}));
  CKdGuidArray back;
  groups.getGuidsForIds(CInt32Array{2, 99, 5}, back);
  ASSERT_EQ(back.length(), 2);
  EXPECT_EQ(*back.objAt(1), groups.findGroup(5)->guid());
  EXPECT_EQ(groups.getDescForGuids(guids, false, L", "), CWsz(L"Bends, Pipes"));
  EXPECT_EQ(groups.getDescForGuids(guids, true, L"; "), CWsz(L"Ducts/Round/Bends; Pipes"));
  EXPECT_EQ(groups.getDescForGuids(guids, false, nullptr), CWsz(L"BendsPipes"));
}

TEST(ProductGroupArray, TopSubGroupsComeInOrderNumberOrder) {
  const CKdProductGroupArray groups = sampleTree();
  CKdProductGroupArray top;
  groups.getTopSubGroupsOf(kRoot, top);
  EXPECT_EQ(idsOf(top), (std::vector<long>{2, 1}));
  groups.getTopSubGroupsOf(0, top);
  EXPECT_EQ(top.length(), 0) << "the root itself is no stored group";
}

TEST(ProductGroupArray, DeletingAGroupTouchesNothingElse) {
  CKdProductGroupArray groups = sampleTree();
  EXPECT_TRUE(groups.deleteGroup(groups.findGroup(3)->guid()));
  EXPECT_TRUE(groups.deleteGroup(2));
  EXPECT_FALSE(groups.deleteGroup(2));
  EXPECT_FALSE(groups.deleteGroup(CKdGuid()));
  EXPECT_EQ(idsOf(groups), (std::vector<long>{kRoot, 1, 4, 5}));
  EXPECT_EQ(groups.findGroup(5)->ownerGroupId(), 3) << "the sub group stays as it was";
}

// Another dataset's path lands on the groups of the same descriptions, whatever their case.
TEST(ProductGroupArray, AppendingAnExistingPathAddsNothing) {
  CKdProductGroupArray groups = sampleTree();
  CKdProductGroupArray other;
  for (const CKdProductGroup& g : {groupOf(40, kRoot, 9, L"DUCTS"), groupOf(41, 40, 1, L"round")})
    other.append(&g);
  std::vector<CKdProductGroup*> path;
  other.getGroupPath(41, path);
  EXPECT_EQ(groups.appendGroupPath(path, CKdProductGroup::rootGroupDefinitions),
            groups.findGroup(3));
  EXPECT_EQ(groups.length(), 6);
  EXPECT_EQ(groups.appendGroupPath({}, CKdProductGroup::rootGroupDefinitions), nullptr);
}

TEST(ProductGroupArray, AppendingANewPathKeepsFreeIdsAndGuids) {
  CKdProductGroupArray groups = sampleTree();
  CKdProductGroupArray other;
  CKdProductGroup top = groupOf(1, kRoot, 9, L"Ducts");  // the same: found
  CKdProductGroup middle = groupOf(70, 1, 4, L"Oval");   // id free: kept
  CKdProductGroup leaf = groupOf(5, 70, 2, L"Flanges");  // id 5 taken: the next free one
  leaf.setGuid(groups.findGroup(2)->guid());             // GUID taken: a fresh one
  for (const CKdProductGroup* g : {&top, &middle, &leaf}) other.append(g);
  std::vector<CKdProductGroup*> path;
  other.getGroupPath(5, path);
  ASSERT_EQ(path.size(), 3u);

  const CKdProductGroup* added =
      groups.appendGroupPath(path, CKdProductGroup::rootGroupDefinitions);
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(added->dbId(), 71);
  EXPECT_EQ(added->ownerGroupId(), 70);
  EXPECT_EQ(added->orderNmb(), 2);
  EXPECT_EQ(added->desc(), CWsz(L"Flanges"));
  EXPECT_FALSE(added->guid().isNull());
  EXPECT_NE(added->guid(), groups.findGroup(2)->guid());
  const CKdProductGroup* oval = groups.findGroup(70);
  ASSERT_NE(oval, nullptr);
  EXPECT_EQ(oval->guid(), middle.guid());
  EXPECT_EQ(oval->ownerGroupId(), 1);
  EXPECT_EQ(groups.getGroupPath(71), CWsz(L"Ducts/Oval/Flanges"));
}

TEST(ProductGroupArray, PartIdFormatsReachTheProductsThatUseThem) {
  CKdPropertyDefArray defs;
  defs.add(L"Width", L"", CKdPropertyValue::typeInt32, CKdUnit(CKdUnit::unitMm), 0);
  CKdProductGroupArray groups = sampleTree();
  CKdProductDefArray& products = groups.findGroup(1)->products();
  CKdProperty width(*defs.objAt(0));
  width.setValue(L"250");
  products.objAt(0)->properties().append(&width);
  products.objAt(0)->setPartIdFmtId(4);
  products.objAt(1)->setPartIdFmtId(9);  // a format that is gone
  CKdPartIdFormatArray formats;
  CKdPartIdFormat format(4, L"Ducts", L"D-{Width}");
  formats.append(&format);

  groups.updatePartIdFormatsToProductDefs(formats);
  EXPECT_EQ(products.objAt(0)->partIdFmt(), CWsz(L"D-{Width}"));
  EXPECT_EQ(products.objAt(0)->partId(), CWsz(L"D-250"));
  EXPECT_EQ(products.objAt(1)->partIdFmtId(), 9) << "the reference stays";
  EXPECT_TRUE(products.objAt(1)->partIdFmt().isEmpty());

  format.setFormat(L"R{Width}");
  groups.updatePartIdFormatToProductDefs(format);
  EXPECT_EQ(products.objAt(0)->partId(), CWsz(L"R250"));
}

// ---- the catalogue in the file ----

class ProductGroupFileTest : public vxkd_test::TempDatasetTest {};

TEST_F(ProductGroupFileTest, NoGroupRecordsReadAsTheRootAlone) {
  CKdProductGroupArray groups;
  ASSERT_TRUE(groups.readFrom(db_, CKdPropertyDefArray()));
  ASSERT_EQ(groups.length(), 1);
  const CKdProductGroup* root = groups.objAt(0);
  EXPECT_EQ(root->dbId(), -1);
  EXPECT_EQ(root->ownerGroupId(), 0);
  EXPECT_EQ(root->orderNmb(), 0);
  EXPECT_TRUE(root->guid().isNull());
  EXPECT_EQ(root->desc(), CWsz(L"Group definitions"));
}

TEST_F(ProductGroupFileTest, AnOrderNumberBelowOneReadsAsTheId) {
  storeGroupRecord(db_, "000012", kRoot, 0);
  storeGroupRecord(db_, "000013", kRoot, -4);
  storeGroupRecord(db_, "000014", kRoot, 3);
  CKdProductGroupArray groups;
  groups.readFrom(db_, CKdPropertyDefArray());
  EXPECT_EQ(groups.findGroup(12)->orderNmb(), 12);
  EXPECT_EQ(groups.findGroup(13)->orderNmb(), 13);
  EXPECT_EQ(groups.findGroup(14)->orderNmb(), 3);
}

TEST_F(ProductGroupFileTest, TheCatalogueComesBackAsItWasSaved) {
  CKdProductGroupArray groups = sampleTree();
  CKdProductGroup* ducts = groups.findGroup(1);
  for (const wchar_t* desc : {L"Tee", L"Bend"}) {
    CKdBlock block = blockOf(desc, 2);
    ducts->blocks().append(&block);
  }
  CKdBlock loose = blockOf(L"Loose", 1);
  groups.findGroup(kRoot)->blocks().append(&loose);
  CKdProductDef rootProduct = productOf(12, L"Root product");
  groups.findGroup(kRoot)->products().append(&rootProduct);
  ASSERT_TRUE(groups.saveTo(db_));
  EXPECT_EQ(keysOf(db_, "PG"),
            (std::vector<std::string>{"000001", "000002", "000003", "000004", "000005"}))
      << "roots have no record";
  EXPECT_EQ(keysOf(db_, "PD"), (std::vector<std::string>{"0000010003", "0000010007", "000012"}));

  CKdProductGroupArray back;
  ASSERT_TRUE(back.readFrom(db_, CKdPropertyDefArray()));
  ASSERT_EQ(back.length(), 6);
  EXPECT_EQ(back.objAt(5)->dbId(), kRoot) << "the default root comes last";
  for (long id : {1, 2, 3, 4, 5}) {
    const CKdProductGroup* a = groups.findGroup(id);
    const CKdProductGroup* b = back.findGroup(id);
    ASSERT_NE(b, nullptr) << id;
    EXPECT_EQ(b->ownerGroupId(), a->ownerGroupId());
    EXPECT_EQ(b->orderNmb(), a->orderNmb());
    EXPECT_EQ(b->guid(), a->guid());
    EXPECT_EQ(b->desc(), a->desc());
  }
  const CKdProductDefArray& products = back.findGroup(1)->products();
  EXPECT_EQ(idsOf(products), (std::vector<long>{3, 7})) << "sorted by description";
  ASSERT_EQ(back.findGroup(1)->blocks().length(), 2);
  EXPECT_EQ(back.findGroup(1)->blocks().objAt(1)->items().objAt(1)->name(), CWsz(L"Bend.1"));
  // The root's products and blocks are stored without a group part and come back to it.
  const CKdProductGroup* root = back.findGroup(kRoot);
  EXPECT_EQ(idsOf(root->products()), std::vector<long>{12});
  ASSERT_EQ(root->blocks().length(), 1);
  EXPECT_EQ(root->blocks().objAt(0)->items().objAt(0)->name(), CWsz(L"Loose.0"));
}

// A block read into the root is written back with it: removed there, it is gone from the
// file too.
TEST_F(ProductGroupFileTest, TheRootsBlocksAreRewritten) {
  CKdProductGroupArray groups = sampleTree();
  for (const wchar_t* desc : {L"A", L"B"}) {
    CKdBlock block = blockOf(desc, 1);
    groups.findGroup(kRoot)->blocks().append(&block);
  }
  ASSERT_TRUE(groups.saveTo(db_));
  CKdProductGroupArray back;
  back.readFrom(db_, CKdPropertyDefArray());
  back.findGroup(kRoot)->blocks().deleteAt(0);
  ASSERT_TRUE(back.saveTo(db_));
  EXPECT_EQ(keysOf(db_, "BS"), std::vector<std::string>{"0000000001"});
  CKdProductGroupArray again;
  again.readFrom(db_, CKdPropertyDefArray());
  EXPECT_EQ(again.findGroup(kRoot)->blocks().objAt(0)->desc(), CWsz(L"B"));
}

// Roots other than -1, and a group read with the id 0, have no key: nothing of them is
// written, and whatever the file holds stays.
TEST_F(ProductGroupFileTest, GroupsWithoutAKeyAreNotWritten) {
  storeGroupRecord(db_, "garbag", 1, 5);
  CKdProductGroupArray groups;
  groups.readFrom(db_, CKdPropertyDefArray());
  ASSERT_NE(groups.findGroup(0), nullptr) << "the damaged record still gives a group";
  for (long id : {0L, -2L}) {
    CKdProductGroup* g = id == 0 ? groups.findGroup(0) : nullptr;
    CKdProductGroup other = groupOf(-2, 0, 0, L"Another root");
    if (!g) {
      groups.append(&other);
      g = groups.findGroup(-2);
    }
    CKdProductDef product = productOf(1, L"Lost?");
    g->products().append(&product);
    CKdBlock block = blockOf(L"Lost?", 1);
    g->blocks().append(&block);
  }
  EXPECT_TRUE(groups.saveTo(db_));
  EXPECT_EQ(keysOf(db_, "PG"), std::vector<std::string>{"garbag"});
  EXPECT_TRUE(keysOf(db_, "PD").empty());
  EXPECT_TRUE(keysOf(db_, "BS").empty());
  EXPECT_TRUE(groups.saveProductsTo(db_));
  EXPECT_TRUE(groups.saveBlocksTo(db_));
  EXPECT_TRUE(keysOf(db_, "PD").empty());

  CKdProductGroup tooLarge = groupOf(1000000, kRoot, 1, L"Beyond the key");
  groups.append(&tooLarge);
  EXPECT_FALSE(groups.saveTo(db_)) << "a stored group whose record cannot be made fails";
}

// Blocks numbered with a gap (written by another program) keep their own items.
TEST_F(ProductGroupFileTest, EachBlockReadsTheItemsOfItsOwnNumber) {
  storeGroupRecord(db_, "000012", kRoot, 1);
  for (const char* key : {"0000120001", "0000120003", "0000120000"}) {
    ASSERT_TRUE(db_.createRec("BS", key));
    ASSERT_TRUE(db_.setWsz(1502, CWsz::fromUtf8(key)));
    ASSERT_TRUE(db_.saveRec());
  }
  for (const char* key : {"0012001000", "0012003000", "0012003001"}) {
    ASSERT_TRUE(db_.createRec("BI", key));
    ASSERT_TRUE(db_.setWsz(1524, CWsz::fromUtf8(key)));
    ASSERT_TRUE(db_.saveRec());
  }
  CKdProductGroupArray groups;
  groups.readFrom(db_, CKdPropertyDefArray());
  const CKdBlockArray& blocks = groups.findGroup(12)->blocks();
  ASSERT_EQ(blocks.length(), 3) << "block 0 stays in its group";
  EXPECT_EQ(blocks.objAt(0)->desc(), CWsz(L"0000120000"));
  EXPECT_EQ(blocks.objAt(0)->items().length(), 0);
  EXPECT_EQ(blocks.objAt(1)->items().length(), 1);
  ASSERT_EQ(blocks.objAt(2)->desc(), CWsz(L"0000120003"));
  ASSERT_EQ(blocks.objAt(2)->items().length(), 2);
  EXPECT_EQ(blocks.objAt(2)->items().objAt(1)->name(), CWsz(L"0012003001"));

  // Written back, they are numbered 1 to 3, each with its items.
  ASSERT_TRUE(groups.saveTo(db_));
  EXPECT_EQ(keysOf(db_, "BS"),
            (std::vector<std::string>{"0000120001", "0000120002", "0000120003"}));
  CKdProductGroupArray back;
  back.readFrom(db_, CKdPropertyDefArray());
  EXPECT_EQ(back.findGroup(12)->blocks().objAt(2)->items().length(), 2);
}

TEST_F(ProductGroupFileTest, RecordsOfUnknownGroupsAndBadKeysAreSkipped) {
  storeGroupRecord(db_, "000012", kRoot, 1);
  for (const char* key : {"0000120001", "0000990001", "0000000001", "0000120000", "x"}) {
    ASSERT_TRUE(db_.createRec("PD", key));
    ASSERT_TRUE(db_.saveRec());
  }
  CKdProductGroupArray groups;
  groups.readFrom(db_, CKdPropertyDefArray());
  EXPECT_EQ(idsOf(groups.findGroup(12)->products()), std::vector<long>{1});
  EXPECT_EQ(groups.findGroup(kRoot)->products().length(), 0);
}

TEST_F(ProductGroupFileTest, DeletingAGroupLeavesItsBlocks) {
  CKdProductGroupArray groups = sampleTree();
  CKdBlock block = blockOf(L"Tee", 1);
  groups.findGroup(1)->blocks().append(&block);
  ASSERT_TRUE(groups.saveTo(db_));
  EXPECT_TRUE(groups.findGroup(1)->deleteFrom(db_));
  EXPECT_EQ(keysOf(db_, "PG"), (std::vector<std::string>{"000002", "000003", "000004", "000005"}));
  EXPECT_TRUE(keysOf(db_, "PD").empty());
  EXPECT_EQ(keysOf(db_, "BS"), std::vector<std::string>{"0000010001"});
  EXPECT_EQ(keysOf(db_, "BI"), std::vector<std::string>{"0001001000"});
  EXPECT_FALSE(groups.findGroup(1)->deleteFrom(db_)) << "its record is gone";
  char key[CKdProductGroup::kDbIdSize];
  EXPECT_STREQ(groups.findGroup(4)->buildDbId(key), "000004");
}

TEST(ProductGroupArray, AnswersForItsProductsAsAUser) {
  CKdProductGroupArray groups = sampleTree();
  CKdProductDef* product = groups.findProduct(1, 7);
  product->setLineType(L"DASHED");
  product->setSymbolId("VALVE");
  CKdIntegratedText text(sddimtextreftype{5, 0, 0, 0}, 0);
  product->getIntegratedTexts().append(&text);
  CKdPropertyDefArray defs;
  defs.add(L"Width", L"", CKdPropertyValue::typeInt32, CKdUnit(CKdUnit::unitMm), 0);
  CKdProperty width(*defs.objAt(0));
  product->properties().append(&width);

  EXPECT_TRUE(groups.usesLinetype(L"dashed"));
  EXPECT_FALSE(groups.usesLinetype(L"DOTTED"));
  EXPECT_TRUE(groups.usesSymbol("VALVE"));
  EXPECT_FALSE(groups.usesSymbol("valve"));
  EXPECT_TRUE(groups.usesPropertyDef(defs.idAt(0)));
  EXPECT_FALSE(groups.usesPropertyDef(defs.idAt(0) + 1));
  CWszArray items;
  EXPECT_TRUE(groups.usesDimtextFormat(5, items));
  EXPECT_EQ(items.length(), 1);
  EXPECT_FALSE(groups.usesDimtextFormat(6, items));

  CKdPropertyDef renamed(*defs.objAt(0));
  renamed.setName(L"Breite");
  groups.updatePropertyDefModification(renamed);
  EXPECT_NE(product->properties().findProperty(L"Breite"), nullptr);
}

TEST(ProductGroupArray, SortsByDescriptionAndOrderNumber) {
  CKdProductGroupArray groups = sampleTree();
  groups.sort(CKdProductGroupArray::sortByOrderNmb);
  EXPECT_EQ(idsOf(groups), (std::vector<long>{kRoot, 2, 3, 5, 1, 4}));
  groups.sort(-CKdProductGroupArray::sortByDescription);
  EXPECT_EQ(groups.nameAt(0), CWsz(L"Round"));
  CKdProductGroup group = groupOf(3, 1, 2, L"x");
  group.reset();
  EXPECT_EQ(group.dbId(), 0);
  EXPECT_STREQ(group.products().classId(), "PD");
}

}  // namespace
