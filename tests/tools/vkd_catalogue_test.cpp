// Runs the built vkd program on a dataset with a product catalogue: the lists of groups,
// products and blocks, and the previews of blocks.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/vkd_runner.h"
#include "vxkd/dataset/project.h"

namespace {

using VkdRun = vxkd_test::VkdResult;
using ::testing::HasSubstr;

constexpr long kRoot = CKdProductGroup::rootGroupDefinitions;

class VkdCatalogue : public ::testing::Test {
 protected:
  // The settings of a fresh user: English.
  VkdCatalogue()
      : hkcu_("VXKD_HKCU", dir_.native("hkcu.reg")), hklm_("VXKD_HKLM", dir_.native("hklm.reg")) {}

  VkdRun vkd(const std::vector<std::string>& args) const { return vxkd_test::runVkd(args, dir_); }
  std::string file(const char* name) const { return dir_.native(name); }

  static CKdProductGroup* addGroup(CKdProject& p, long id, long owner, long order,
                                   const wchar_t* desc) {
    CKdProductGroup group;
    CKdGuid guid;
    guid.createValue();
    group.init(id, owner, order, guid, desc);
    p.productGroups().append(&group);
    return p.productGroups().findGroup(id);
  }

  static CKdProductDef* addProduct(CKdProductGroup* group, long id, const wchar_t* desc,
                                   const char* symbol) {
    CKdProductDef product;
    product.setDbId(id);
    product.setDesc(desc);
    product.setSymbolId(symbol);
    CKdGuid guid;
    guid.createValue();
    product.setGuid(guid);
    group->products().append(&product);
    return group->products().findId(id);
  }

  static CKdBlockItem symbolItem(const CKdProductDef* product, const CGmPoint& at) {
    CKdBlockItem item;
    item.setGuid(product->guid());
    item.setPosition(at);
    return item;
  }

  // "shop.vkd":
  //   Ducts (1)          Station: a symbol, stored graphics, a turned and scaled symbol,
  //                      and an item whose product is gone
  //     Round/Oval (2)   Bend (VALVE)
  //   Pipes (3)          Tee, Elbow, Gone (a symbol the dataset lacks); blocks Station,
  //                      Empty, Broken
  //   Lost (9)           owner 77 is missing
  void makeDataset() {
    CKdProject p;
    p.buildDefaultProject();
    CGmNode line;
    line.type = CGmNode::typeLine;
    line.v[3] = 1;
    CVxSymbolModel valve(0, "VALVE", L"Valve", {line});
    p.symbols().append(&valve);
    CKdProductGroup* ducts = addGroup(p, 1, kRoot, 1, L"Ducts");
    CKdProductGroup* round = addGroup(p, 2, 1, 1, L"Round/Oval");
    CKdProductGroup* pipes = addGroup(p, 3, kRoot, 2, L"Pipes");
    addGroup(p, 9, 77, 1, L"Lost");
    const CKdProductDef* bend = addProduct(round, 1, L"Bend", "VALVE");
    addProduct(pipes, 1, L"Tee", "");
    addProduct(pipes, 2, L"Elbow", "");
    const CKdProductDef* gone = addProduct(pipes, 3, L"Gone", "GONE");

    CKdBlock station;
    station.setDesc(L"Station");
    station.add(symbolItem(bend, {10, 0}));
    CKdBlockItem stored;
    CGmModel drawing;
    drawing.addLine({-5, -5}, {-5, 5});
    stored.setGraphics(drawing);
    station.add(stored);
    CKdBlockItem turned = symbolItem(bend, {0, 20});
    turned.setFirstAxis({0, 1});
    turned.setSecondAxis({-1, 0});
    turned.setScale(2);
    station.add(turned);
    CKdBlockItem orphan;
    orphan.setName(L"Orphan");
    CKdGuid nobody;
    nobody.fromSz("11111111-2222-3333-4444-555555555555");
    orphan.setGuid(nobody);
    station.add(orphan);
    ducts->blocks().append(&station);

    CKdBlock other;
    other.setDesc(L"station");
    other.add(symbolItem(bend, {0, 0}));
    pipes->blocks().append(&other);
    CKdBlock empty;
    empty.setDesc(L"Empty");
    pipes->blocks().append(&empty);
    CKdBlock broken;
    broken.setDesc(L"Broken");
    broken.add(symbolItem(gone, {0, 0}));
    pipes->blocks().append(&broken);
    ASSERT_TRUE(p.saveDbAs(nullptr, CWsz::fromUtf8(file("shop.vkd").c_str())));
  }

  vxkd_test::TempFolder dir_;
  vxkd_test::ScopedEnv hkcu_;
  vxkd_test::ScopedEnv hklm_;
};

TEST_F(VkdCatalogue, GroupsShowAsATreeWithTheirCounts) {
  makeDataset();
  VkdRun run = vkd({"list", file("shop.vkd"), "groups"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out,
            "Group              Id  Products  Blocks  Note\n"
            "-----------------  --  --------  ------  -----------------------\n"
            "Group definitions  -1         0       0\n"
            "  Ducts             1         0       1\n"
            "    Round/Oval      2         1       0\n"
            "  Pipes             3         3       3\n"
            "Lost                9         0       0  its owner 77 is missing\n");
}

TEST_F(VkdCatalogue, ProductsOfAllGroupsOrOfOneSubtree) {
  makeDataset();
  VkdRun all = vkd({"list", file("shop.vkd"), "products"});
  ASSERT_EQ(all.code, 0) << all.err;
  EXPECT_THAT(all.out, HasSubstr("\nDucts/Round\\Oval   1  Bend "));
  EXPECT_THAT(all.out, HasSubstr("\nPipes              2  Elbow "));
  EXPECT_LT(all.out.find("Elbow"), all.out.find("Tee")) << "sorted by description";

  VkdRun ducts = vkd({"list", file("shop.vkd"), "products", "Ducts"});
  ASSERT_EQ(ducts.code, 0) << ducts.err;
  EXPECT_THAT(ducts.out, HasSubstr("Bend"));
  EXPECT_EQ(ducts.out.find("Elbow"), std::string::npos);
  EXPECT_THAT(vkd({"list", file("shop.vkd"), "products", "Ducts/Round\\Oval"}).out,
              HasSubstr("Bend"));
}

TEST_F(VkdCatalogue, AnUnknownGroupPathSaysWhat) {
  makeDataset();
  VkdRun other = vkd({"list", file("shop.vkd"), "products", "ducts"});
  EXPECT_EQ(other.code, 1);
  EXPECT_THAT(other.err, HasSubstr("has no product group \"ducts\" (the path's letter case "
                                   "counts: \"Ducts\")"));
  VkdRun none = vkd({"list", file("shop.vkd"), "products", "Cables"});
  EXPECT_EQ(none.code, 1);
  EXPECT_THAT(none.err, HasSubstr("groups shows the groups"));
  VkdRun extra = vkd({"list", file("shop.vkd"), "groups", "Ducts"});
  EXPECT_EQ(extra.code, 2);
  EXPECT_THAT(extra.err, HasSubstr("list groups takes no argument, not \"Ducts\""));
  EXPECT_EQ(vkd({"list", file("shop.vkd"), "products", "Ducts", "more"}).code, 2);
}

TEST_F(VkdCatalogue, BlocksAreListedWithTheirItems) {
  makeDataset();
  VkdRun run = vkd({"list", file("shop.vkd"), "blocks"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out,
            "Group  Block    Items  Symbols  Graphics\n"
            "-----  -------  -----  -------  --------\n"
            "Ducts  Station      4        3         1\n"
            "Pipes  station      1        1         0\n"
            "Pipes  Empty        0        0         0\n"
            "Pipes  Broken       1        1         0\n");
  VkdRun info = vkd({"info", file("shop.vkd")});
  EXPECT_THAT(info.out, HasSubstr("Product groups               4\n"));
  EXPECT_THAT(info.out, HasSubstr("Product definitions          4\n"));
  EXPECT_THAT(info.out, HasSubstr("Block definitions            4\n"));
}

// Each item's shapes lie where the item puts them (y is negated in the picture).
TEST_F(VkdCatalogue, ABlockIsDrawnAsItsItemsPlaceIt) {
  makeDataset();
  VkdRun run = vkd({"preview", file("shop.vkd"), "block", "Ducts/Station", "-o", file("b.svg")});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "Wrote the preview of block \"Station\" of Ducts to " + file("b.svg") + "\n");
  EXPECT_EQ(run.err,
            "vkd: item 4 \"Orphan\" draws nothing: no product definition has its GUID "
            "11111111-2222-3333-4444-555555555555\n");
  const std::string svg = dir_.read("b.svg");
  EXPECT_THAT(svg, HasSubstr("<line x1=\"10\" y1=\"0\" x2=\"11\" y2=\"0\""));
  EXPECT_THAT(svg, HasSubstr("<line x1=\"-5\" y1=\"5\" x2=\"-5\" y2=\"-5\""));
  EXPECT_THAT(svg, HasSubstr("<line x1=\"0\" y1=\"-20\" x2=\"0\" y2=\"-22\""));
  EXPECT_THAT(svg, HasSubstr("data-node=\"3\"")) << "one group per item";

  // The block's name ignores case, the path's does not.
  EXPECT_EQ(vkd({"preview", file("shop.vkd"), "block", "Pipes/STATION", "-o", file("c.svg")}).code,
            0);
  EXPECT_EQ(vkd({"preview", file("shop.vkd"), "block", "pipes/STATION", "-o", file("c.svg")}).code,
            1);
}

TEST_F(VkdCatalogue, BlocksThatCannotBeDrawnWriteNothing) {
  makeDataset();
  ASSERT_TRUE(dir_.write("kept.svg", "old picture"));
  const struct {
    const char* name;
    const char* message;
  } cases[] = {
      {"Station", "2 blocks are named \"Station\", in Ducts, Pipes; name one as GROUP-PATH/NAME"},
      {"Nothing", "has no block \"Nothing\""},
      {"Cables/Station", "has no block \"Cables/Station\""},
      {"Empty", "block \"Empty\" of Pipes has no items"},
      {"Broken",
       "vkd: item 1 draws nothing: the dataset has no symbol \"GONE\", which its product \"Gone\" "
       "draws\nvkd: nothing of block \"Broken\" of Pipes can be drawn\n"},
  };
  for (const auto& c : cases) {
    VkdRun run = vkd({"preview", file("shop.vkd"), "block", c.name, "-o", file("kept.svg")});
    EXPECT_EQ(run.code, 1) << c.name;
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr(c.message));
  }
  EXPECT_EQ(dir_.read("kept.svg"), "old picture");
  VkdRun kind = vkd({"preview", file("shop.vkd"), "product", "Bend", "-o", file("kept.svg")});
  EXPECT_EQ(kind.code, 2);
  EXPECT_THAT(kind.err, HasSubstr("nothing of the kind \"product\" can be previewed"));
  EXPECT_THAT(kind.err, HasSubstr("  block NAME"));
  EXPECT_THAT(vkd({"--help"}).out, HasSubstr("kinds of definition for preview:\n  block NAME"));
}

}  // namespace
