#include "vxkd/catalogue/block.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "support/point_match.h"
#include "support/temp_dataset.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/svg_writer.h"

namespace {

using vxkd_test::near;

constexpr short kColor = 1102, kGraphics = 1605;

// The keys of every record of `code`, in key order.
std::vector<std::string> keysOf(CQbase& db, const char* code) {
  std::vector<std::string> keys;
  for (bool more = db.fetchFirstMember(code); more; more = db.fetchNextMember()) {
    CChBuffer key;
    db.getObjId(key);
    keys.push_back(key.str());
  }
  return keys;
}

// Stores an empty record of `code` under `key`, as another program might have.
void storeRaw(CQbase& db, const char* code, const char* key) {
  ASSERT_TRUE(db.createRec(code, key)) << key;
  ASSERT_TRUE(db.saveRec()) << key;
}

CKdBlock blockOf(const wchar_t* desc, int items) {
  CKdBlock block;
  block.setDesc(desc);
  for (int i = 0; i < items; ++i) {
    CKdBlockItem item;
    item.setName((std::wstring(desc) + L" item " + std::to_wstring(i)).c_str());
    block.add(item);
  }
  return block;
}

std::vector<std::string> itemNames(const CKdBlock& block) {
  std::vector<std::string> names;
  for (int i = 0; i < block.items().length(); ++i)
    names.push_back(block.items().objAt(i)->name().toUtf8());
  return names;
}

class BlockKeyTest : public vxkd_test::TempDatasetTest {};

TEST_F(BlockKeyTest, BlockKeysParseIntoGroupAndNumber) {
  const struct {
    const char* key;
    bool parses;
    long group, number;
  } cases[] = {
      {"0000120003", true, 12, 3},
      {"000012", true, -1, 12},  // six digits alone: a block without a group
      {"0000000004", true, -1, 4},
      {"9999999999", true, 999999, 9999},
      // A block of group 12 numbered 0 stays in group 12, rather than becoming block
      // 120000 of no group.
      {"0000120000", true, 12, 0},
      {"000000", false, 0, 0},
      {"0000000000", false, 0, 0},
      {"block", false, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    ASSERT_TRUE(db_.createRec("BS", c.key));
    long group = 7, number = 7;
    EXPECT_EQ(CKdBlock::parseDbId(db_, group, number), c.parses);
    EXPECT_EQ(group, c.group);
    EXPECT_EQ(number, c.number);
  }
}

TEST_F(BlockKeyTest, ItemKeysParseIntoGroupBlockAndPosition) {
  const struct {
    const char* key;
    bool parses;
    long group, block, item;
  } cases[] = {
      {"0012005003", true, 12, 5, 3},
      {"0000005003", true, -1, 5, 3},  // the group part 0 is the group -1
      {"9999999999", true, 9999, 999, 999},
      {"0012001000", true, 12, 1, 0},
      {"0012000003", false, -1, 0, 3},  // block numbers start at 1
      {"0012005", false, -1, 0, 0},     // no position
      {"abcd005003", false, -1, 5, 3},
      {"0012005xyz", false, -1, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    ASSERT_TRUE(db_.createRec("BI", c.key));
    long group = 7, block = 7, item = 7;
    EXPECT_EQ(CKdBlockItem::parseDbId(db_, group, block, item), c.parses);
    EXPECT_EQ(group, c.group);
    EXPECT_EQ(block, c.block);
    EXPECT_EQ(item, c.item);
  }
}

TEST_F(BlockKeyTest, SavingAGroupReplacesAllItsBlocks) {
  CKdBlockArray blocks;
  for (const wchar_t* desc : {L"A", L"B", L"C"}) {
    CKdBlock block = blockOf(desc, 2);
    blocks.append(&block);
  }
  CKdBlockArray other;
  CKdBlock kept = blockOf(L"Other", 1);
  other.append(&kept);
  ASSERT_TRUE(other.saveTo(db_, 13));
  ASSERT_TRUE(blocks.saveTo(db_, 12));
  EXPECT_EQ(keysOf(db_, "BS"),
            (std::vector<std::string>{"0000120001", "0000120002", "0000120003", "0000130001"}));

  blocks.deleteAt(2);
  ASSERT_TRUE(blocks.saveTo(db_, 12));
  EXPECT_EQ(keysOf(db_, "BS"),
            (std::vector<std::string>{"0000120001", "0000120002", "0000130001"}));
  EXPECT_EQ(keysOf(db_, "BI"), (std::vector<std::string>{"0012001000", "0012001001", "0012002000",
                                                         "0012002001", "0013001000"}));
}

TEST_F(BlockKeyTest, RenumberingAfterADeletionMovesTheItemsAlong) {
  CKdBlockArray blocks;
  CKdBlock a = blockOf(L"A", 3), b = blockOf(L"B", 1);
  blocks.append(&a);
  blocks.append(&b);
  ASSERT_TRUE(blocks.saveTo(db_, 12));
  blocks.deleteAt(0);
  ASSERT_TRUE(blocks.saveTo(db_, 12));

  CKdBlockArray back;
  ASSERT_TRUE(back.readFrom(db_, CKdPropertyDefArray()));
  ASSERT_EQ(back.length(), 1);
  EXPECT_EQ(back.objAt(0)->desc(), L"B");
  EXPECT_EQ(itemNames(*back.objAt(0)), std::vector<std::string>{"B item 0"})
      << "no item of the old first block is left";
}

TEST_F(BlockKeyTest, AnyItemDeletionRemovesItemsWhoseKeyDoesNotParse) {
  storeRaw(db_, "BI", "0012000003");  // block 0
  storeRaw(db_, "BI", "x");
  storeRaw(db_, "BI", "0012005003");
  storeRaw(db_, "BI", "0077001000");
  CKdBlockArray blocks;
  EXPECT_TRUE(blocks.deleteBlockItemRecs(db_, 77, 9));
  EXPECT_EQ(keysOf(db_, "BI"), (std::vector<std::string>{"0012005003", "0077001000"}));
  EXPECT_TRUE(blocks.deleteBlockItemRecs(db_, 12, 5));
  EXPECT_EQ(keysOf(db_, "BI"), std::vector<std::string>{"0077001000"});
  db_.abandon();
  CQbase empty;
  ASSERT_TRUE(empty.openDatabase(vxkd_test::datasetDictionary(), dir_.path(L"e.vkd"), true));
  EXPECT_TRUE(blocks.deleteBlockItemRecs(empty, 1, 1)) << "an empty set";
}

TEST_F(BlockKeyTest, DeletingAGroupsBlocksAlsoRemovesUnparsableBlockRecords) {
  storeRaw(db_, "BS", "0000120001");
  storeRaw(db_, "BS", "0000130001");
  storeRaw(db_, "BS", "garbage");
  storeRaw(db_, "BI", "0012001000");
  storeRaw(db_, "BI", "0013001000");
  CKdBlockArray blocks;
  EXPECT_TRUE(blocks.deleteBlockRecs(db_, 12));
  EXPECT_EQ(keysOf(db_, "BS"), std::vector<std::string>{"0000130001"});
  EXPECT_EQ(keysOf(db_, "BI"), std::vector<std::string>{"0013001000"});
}

TEST_F(BlockKeyTest, BlocksOfTheGroupMinusOneAreKeyedWithGroupZero) {
  CKdBlockArray blocks;
  CKdBlock block = blockOf(L"Loose", 1);
  blocks.append(&block);
  ASSERT_TRUE(blocks.saveTo(db_, -1));
  EXPECT_EQ(keysOf(db_, "BS"), std::vector<std::string>{"0000000001"});
  EXPECT_EQ(keysOf(db_, "BI"), std::vector<std::string>{"0000001000"});
  CKdBlockArray back;
  CInt32Array groups;
  ASSERT_TRUE(back.readFrom(db_, CKdPropertyDefArray(), &groups));
  EXPECT_EQ(groups, CInt32Array{-1});
  EXPECT_EQ(itemNames(*back.objAt(0)), std::vector<std::string>{"Loose item 0"});
}

// A block that no key could carry is not stored, and what the file holds of its group stays
// rather than being deleted for nothing in return.
TEST_F(BlockKeyTest, BlocksBeyondTheKeysAreRefusedAndTheStoredOnesStay) {
  const struct {
    const char* what;
    long group;
    int blocks, items;
  } cases[] = {
      {"group beyond four digits of an item key", 10000, 1, 1},
      {"group beyond six digits", 1000000, 1, 0},
      {"group 0, which reads back as -1", 0, 1, 0},
      {"another negative group", -2, 1, 0},
      {"a thousand items", 12, 1, 1001},
      {"a thousand blocks with items", 12, 1000, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    CKdBlockArray stored;
    CKdBlock before = blockOf(L"Before", 1);
    stored.append(&before);
    if (c.group >= 1 && c.group <= 9999) {
      ASSERT_TRUE(stored.saveTo(db_, c.group));
    }
    const std::vector<std::string> keys = keysOf(db_, "BS"), items = keysOf(db_, "BI");

    CKdBlockArray blocks;
    for (int i = 0; i < c.blocks; ++i) {
      CKdBlock block = blockOf(L"New", c.items);
      blocks.append(&block);
    }
    EXPECT_FALSE(blocks.saveTo(db_, c.group));
    EXPECT_EQ(keysOf(db_, "BS"), keys);
    EXPECT_EQ(keysOf(db_, "BI"), items);
  }
}

CKdPropertyDefArray sampleDefs() {
  CKdPropertyDefArray defs;
  defs.add(L"Power", L"", CKdPropertyValue::typeInt32, CKdUnit(CKdUnit::unitW), 0);
  defs.add(L"Tag", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  return defs;
}

// Every field of an item, each different from its default.
CKdBlockItem fullItem(const CKdPropertyDefArray& defs) {
  CKdBlockItem item;
  CKdGuid guid;
  guid.createValue();
  item.setGuid(guid);
  CKdProperty power(*defs.findName(L"Power"));
  power.setValue(L"1500");
  item.properties().append(&power);
  item.setPosition({10.5, -2.25, 3});
  item.setFirstAxis({0, 1, 0});
  item.setSecondAxis({-1, 0, 0});
  CGmModel model;
  model.addCircle({1, 1}, 0.5);
  EXPECT_TRUE(item.setGraphics(model));
  item.setType(700);
  item.setLineWidth(0.35f);
  item.setLineType(L"DASHED");
  item.setName(L"Socket");
  item.setColorNmb(3);
  item.setScale(2.5f);
  return item;
}

void expectSameItem(const CKdBlockItem& a, const CKdBlockItem& b) {
  EXPECT_EQ(a.guid(), b.guid());
  EXPECT_TRUE(a.properties().isEqualTo(b.properties(), true));
  EXPECT_TRUE(near(a.position(), b.position()));
  EXPECT_EQ(a.firstAxis(), b.firstAxis());
  EXPECT_EQ(a.secondAxis(), b.secondAxis());
  CGmModel ma, mb;
  ASSERT_EQ(ma.load(a.graphicsData().data(), a.graphicsData().size()), a.hasGraphics());
  ASSERT_EQ(mb.load(b.graphicsData().data(), b.graphicsData().size()), b.hasGraphics());
  EXPECT_EQ(ma, mb);
  EXPECT_EQ(a.getType(), b.getType());
  EXPECT_EQ(a.lineWidth(), b.lineWidth());
  EXPECT_EQ(a.lineType(), b.lineType());
  EXPECT_EQ(a.name(), b.name());
  EXPECT_EQ(a.colorNmb(), b.colorNmb());
  EXPECT_EQ(a.scale(), b.scale());
}

TEST_F(BlockKeyTest, ItemsKeepEveryFieldThroughTheFile) {
  const CKdPropertyDefArray defs = sampleDefs();
  CKdBlock block = blockOf(L"Panel", 0);
  block.add(fullItem(defs));
  block.add(CKdBlockItem());
  ASSERT_TRUE(block.saveTo(db_, 4, 1));
  CKdBlock back;
  ASSERT_TRUE(back.readItemsFrom(db_, 4, 1, defs));
  ASSERT_EQ(back.items().length(), 2);
  expectSameItem(*back.items().objAt(0), *block.items().objAt(0));
  expectSameItem(*back.items().objAt(1), *block.items().objAt(1));
  EXPECT_EQ(back.items().objAt(1)->scale(), 1.0f);
  EXPECT_EQ(back.items().objAt(1)->colorNmb(), 0) << "the default colour is written";
}

// Colour 256 is left out of the record; a record without a colour reads as 256, so that the
// colour comes back as it was entered.
TEST_F(BlockKeyTest, ColourByLayerIsNotWrittenAndReadsBack) {
  for (short color : {256, 0, 7}) {
    SCOPED_TRACE(color);
    CKdBlockItem item;
    item.setColorNmb(color);
    ASSERT_TRUE(item.saveTo(db_, 1, 1, 0));
    ASSERT_TRUE(db_.fetchRec("BI", "0001001000"));
    short stored = -1;
    EXPECT_EQ(db_.getShort(kColor, stored), color != 256);
    CKdBlockItem back;
    back.setColorNmb(99);
    back.readFrom(db_, CKdPropertyDefArray());
    EXPECT_EQ(back.colorNmb(), color);
  }
}

TEST_F(BlockKeyTest, LargeStoredGraphicsRoundTrip) {
  // Hundreds of lines, a circle, texts: what a drawn block item holds.
  CGmModel model;
  for (int i = 0; i < 900; ++i) model.addLine({0.0, 1.0 * i}, {100.0, 1.0 * i + 0.5});
  model.setColor(1);
  model.addCircle({50, 50}, 20, CGmFill::solid);
  model.addText(L"Verteiler \u00C4", {5, 5}, {1, 0}, 2.5, L"Arial");
  model.closeNode();
  CKdBlockItem item;
  ASSERT_TRUE(item.setGraphics(model));
  ASSERT_GT(item.graphicsData().size(), 15000);
  ASSERT_TRUE(item.saveTo(db_, 1, 1, 0));

  ASSERT_TRUE(db_.fetchRec("BI", "0001001000"));
  CByteBuffer raw;
  int count = 0;
  ASSERT_TRUE(db_.getBinaryArray(kGraphics, raw, count));
  EXPECT_EQ(raw.size() % CKdBlockItem::graphicsItemSize, 0) << "whole items";
  CKdBlockItem back;
  back.readFrom(db_, CKdPropertyDefArray());
  CGmModel loaded;
  ASSERT_TRUE(loaded.load(back.graphicsData().data(), back.graphicsData().size()));
  EXPECT_EQ(loaded.itemCount(), model.itemCount());
  EXPECT_EQ(loaded.nodeCount(), 1);
  EXPECT_TRUE(near(loaded.boundBox().maximum(), model.boundBox().maximum(), 1e-3));
}

TEST(BlockItem, GraphicsBeyondTheFieldAreRefusedAndTheOldOnesKept) {
  CGmModel small;
  small.addLine({0, 0}, {1, 1});
  CKdBlockItem item;
  ASSERT_TRUE(item.setGraphics(small));
  const CByteBuffer before = item.graphicsData();
  CGmModel huge;
  for (int i = 0; i < 2000; ++i) huge.addLine({0, 0}, {1.0 * i, 1});
  EXPECT_FALSE(item.setGraphics(huge));
  std::vector<uint8_t> bytes(CKdBlockItem::maxGraphicsBytes + 1, 1);
  EXPECT_FALSE(item.setGraphicsData(bytes.data(), static_cast<int>(bytes.size())));
  EXPECT_EQ(item.graphicsData(), before);
  EXPECT_TRUE(item.setGraphicsData(bytes.data(), CKdBlockItem::maxGraphicsBytes));
}

TEST_F(BlockKeyTest, ReadingTheDatasetGivesEveryBlockWithItsOwnItems) {
  CKdBlockArray twelve, thirteen;
  for (const wchar_t* desc : {L"A", L"B"}) {
    CKdBlock block = blockOf(desc, 2);
    twelve.append(&block);
  }
  CKdBlock c = blockOf(L"C", 1);
  thirteen.append(&c);
  ASSERT_TRUE(twelve.saveTo(db_, 12));
  ASSERT_TRUE(thirteen.saveTo(db_, 13));
  storeRaw(db_, "BS", "unparsable");

  CKdBlockArray all;
  CInt32Array groups;
  ASSERT_TRUE(all.readFrom(db_, CKdPropertyDefArray(), &groups));
  ASSERT_EQ(all.length(), 3);
  EXPECT_EQ(groups, (CInt32Array{12, 12, 13}));
  EXPECT_EQ(itemNames(*all.objAt(1)), (std::vector<std::string>{"B item 0", "B item 1"}));
  EXPECT_EQ(itemNames(*all.objAt(2)), std::vector<std::string>{"C item 0"});
  EXPECT_EQ(all.objAt(0)->guid(), twelve.objAt(0)->guid());
}

TEST_F(BlockKeyTest, OneGroupsBlocksAreReadWithTheirItems) {
  CKdBlockArray twelve, loose;
  for (const wchar_t* desc : {L"A", L"B"}) {
    CKdBlock block = blockOf(desc, 2);
    twelve.append(&block);
  }
  CKdBlock c = blockOf(L"C", 1);
  loose.append(&c);
  ASSERT_TRUE(twelve.saveTo(db_, 12));
  ASSERT_TRUE(loose.saveTo(db_, -1));
  CKdBlockArray back;
  ASSERT_TRUE(back.readFrom(db_, 12, CKdPropertyDefArray()));
  ASSERT_EQ(back.length(), 2);
  EXPECT_EQ(itemNames(*back.objAt(1)), (std::vector<std::string>{"B item 0", "B item 1"}));
  ASSERT_TRUE(back.readFrom(db_, -1, CKdPropertyDefArray()));
  ASSERT_EQ(back.length(), 1);
  EXPECT_EQ(itemNames(*back.objAt(0)), std::vector<std::string>{"C item 0"});
  ASSERT_TRUE(back.readFrom(db_, 13, CKdPropertyDefArray()));
  EXPECT_EQ(back.length(), 0);
}

TEST(BlockArray, FindsByGuidAndSortsByDescription) {
  CKdBlockArray blocks;
  for (const wchar_t* desc : {L"beta", L"Alpha", L"gamma"}) {
    CKdBlock block = blockOf(desc, 0);
    blocks.append(&block);
  }
  EXPECT_NE(CKdBlock().guid(), CKdBlock().guid()) << "each new block has a GUID of its own";
  const CKdGuid second = blocks.objAt(1)->guid();
  EXPECT_EQ(blocks.find(second), blocks.objAt(1));
  EXPECT_EQ(blocks.find(CKdGuid()), nullptr);
  blocks.sort(CKdBlockArray::sortByDescription);
  EXPECT_EQ(blocks.nameAt(0), CWsz(L"Alpha"));
  EXPECT_EQ(blocks.nameAt(2), CWsz(L"gamma"));
  blocks.sort(-CKdBlockArray::sortByDescription);
  EXPECT_EQ(blocks.nameAt(0), CWsz(L"gamma"));
  EXPECT_EQ(blocks.findName(L"ALPHA"), blocks.objAt(2));
}

// ---- drawing ----

// Products with symbols, as a project would answer.
class FakeSource : public iKdBlockModelSource {
 public:
  const CKdProductDef* findBlockProduct(const CKdGuid& guid) const override {
    return products.findProduct(guid);
  }
  bool find2dSymbol(const char* symbolId, CVxSymbolModel& out) const override {
    for (const CVxSymbolModel& symbol : symbols)
      if (std::string(symbol.symbolId()) == symbolId) {
        out = symbol;
        return true;
      }
    out = CVxSymbolModel();
    return false;
  }

  // Adds a product that draws `symbolId` (none for ""); returns its GUID.
  CKdGuid addProduct(const char* symbolId) {
    CKdProductDef product;
    CKdGuid guid;
    guid.createValue();
    product.setGuid(guid);
    product.setSymbolId(symbolId);
    products.append(&product);
    return guid;
  }

  CKdProductDefArray products;
  std::vector<CVxSymbolModel> symbols;
};

// A symbol of one line from (0, 0) to (1, 0).
CVxSymbolModel arrowSymbol() {
  CGmNode line;
  line.type = CGmNode::typeLine;
  line.v[3] = 1;
  return CVxSymbolModel(1, "ARROW", L"Arrow", {line});
}

const CGmLine& lineAt(const CGmModel& model, int index) {
  return std::get<CGmLine>(model.itemAt(index).shape);
}

class BlockModelTest : public ::testing::Test {
 protected:
  void SetUp() override {
    source_.symbols.push_back(arrowSymbol());
    arrow_ = source_.addProduct("ARROW");
  }

  CKdBlockItem symbolItem(const CGmPoint& at) const {
    CKdBlockItem item;
    item.setGuid(arrow_);
    item.setPosition(at);
    return item;
  }

  FakeSource source_;
  CKdGuid arrow_;
};

// A symbol, stored graphics, and a symbol turned a quarter and scaled by 2: each item's
// shapes lie where the item puts them, each in a node of its own.
TEST_F(BlockModelTest, ItemsDrawWhereTheyArePlaced) {
  CKdBlock block;
  CKdBlockItem plain = symbolItem({10, 0});
  plain.setColorNmb(1);
  block.add(plain);
  CKdBlockItem stored;
  CGmModel drawing;
  drawing.addLine({-5, -5}, {-5, 5});
  ASSERT_TRUE(stored.setGraphics(drawing));
  stored.setPosition({100, 100});  // stored graphics stand as they are
  block.add(stored);
  CKdBlockItem turned = symbolItem({0, 20});
  turned.setFirstAxis({0, 1});
  turned.setSecondAxis({-1, 0});
  turned.setScale(2);
  block.add(turned);

  CGmModel model;
  model.addLine({7, 7}, {8, 8});  // cleared first
  ASSERT_TRUE(block.getModel(model, source_, false));
  ASSERT_EQ(model.nodeCount(), 3);
  ASSERT_EQ(model.itemCount(), 3);
  for (int node = 0; node < 3; ++node) EXPECT_EQ(model.nodeEnd(node), node + 1);
  EXPECT_TRUE(near(lineAt(model, 0).start, {10, 0}));
  EXPECT_TRUE(near(lineAt(model, 0).end, {11, 0}));
  EXPECT_EQ(model.itemAt(0).color, 1) << "in the item's colour";
  EXPECT_TRUE(near(lineAt(model, 1).start, {-5, -5}));
  EXPECT_TRUE(near(lineAt(model, 1).end, {-5, 5}));
  EXPECT_TRUE(near(lineAt(model, 2).start, {0, 20}));
  EXPECT_TRUE(near(lineAt(model, 2).end, {0, 22}));

  const std::string svg = CGmSvgWriter().write(model);
  for (const char* node : {"data-node=\"0\"", "data-node=\"1\"", "data-node=\"2\""})
    EXPECT_NE(svg.find(node), std::string::npos) << "one SVG group per item: " << node;

  ASSERT_TRUE(block.getModel(model, source_, true));
  EXPECT_EQ(model.nodeCount(), 1);
  EXPECT_EQ(model.itemCount(), 1);
}

TEST_F(BlockModelTest, ItemsThatCannotDrawLeaveAnEmptyNodeAndSayWhy) {
  const CKdGuid bare = source_.addProduct("");
  const CKdGuid lost = source_.addProduct("NOSUCH");
  CKdGuid unknown;
  unknown.createValue();
  CKdBlockItem damaged;
  const char garbage[] = "GMx";
  ASSERT_TRUE(damaged.setGraphicsData(garbage, 3));
  const struct {
    const char* what;
    CKdBlockItem item;
    CKdBlockItem::drawResult result;
  } cases[] = {
      {"a product without a symbol",
       [&] {
         CKdBlockItem item;
         item.setGuid(bare);
         return item;
       }(),
       CKdBlockItem::noSymbol},
      {"a symbol the dataset lacks",
       [&] {
         CKdBlockItem item;
         item.setGuid(lost);
         return item;
       }(),
       CKdBlockItem::unknownSymbol},
      {"a GUID of no product",
       [&] {
         CKdBlockItem item;
         item.setGuid(unknown);
         return item;
       }(),
       CKdBlockItem::noProduct},
      {"no GUID", CKdBlockItem(), CKdBlockItem::noProduct},
      {"damaged graphics", damaged, CKdBlockItem::damagedGraphics},
      {"a symbol", symbolItem({0, 0}), CKdBlockItem::drawnSymbol},
  };
  CKdBlock block;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    CGmModel model;
    EXPECT_EQ(c.item.addTo(model, source_), c.result);
    EXPECT_EQ(model.isEmpty(), c.result != CKdBlockItem::drawnSymbol);
    block.add(c.item);
  }
  CGmModel model;
  ASSERT_TRUE(block.getModel(model, source_, false));
  EXPECT_EQ(model.nodeCount(), 6);
  EXPECT_EQ(model.nodeBegin(5), 0) << "five empty nodes before the symbol's";
  EXPECT_EQ(model.itemCount(), 1);
}

TEST(BlockItem, StoredGraphicsComeBackAfterTheFileAndStillDraw) {
  // The padding a record adds to the graphics does not disturb the drawing.
  CGmModel drawing;
  drawing.addArc({0, 0}, 1, 0, std::numbers::pi);
  CKdBlockItem item;
  ASSERT_TRUE(item.setGraphics(drawing));
  CByteBuffer padded(item.graphicsData());
  padded.resize(CKdBlockItem::graphicsItemSize * 2);
  ASSERT_TRUE(item.setGraphicsData(padded.data(), padded.size()));
  CGmModel model;
  FakeSource none;
  EXPECT_EQ(item.addTo(model, none), CKdBlockItem::drawnStoredGraphics);
  EXPECT_EQ(model.itemCount(), 1);
}

}  // namespace
