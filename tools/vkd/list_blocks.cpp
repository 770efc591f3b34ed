// vkd list FILE.vkd blocks: the block definitions of the catalogue, group after group in the
// order of the tree, with how many of their items draw a product's symbol and how many draw
// graphics of their own. `vkd preview FILE block NAME` draws one.

#include <string>

#include "tool.h"

namespace vkd {
namespace {

void fillBlocks(const CKdProject& project, Table& table) {
  table.columns = {{"Group"}, {"Block"}, {"Items", true}, {"Symbols", true}, {"Graphics", true}};
  const CKdProductGroupArray& groups = project.productGroups();
  for (const GroupRow& row : groupTree(groups, CKdProductGroup::rootGroupDefinitions)) {
    const CKdBlockArray& blocks = row.group->blocks();
    for (int b = 0; b < blocks.length(); ++b) {
      const CKdBlockItemArray& items = blocks.objAt(b)->items();
      int graphics = 0;
      for (int i = 0; i < items.length(); ++i) graphics += items.objAt(i)->hasGraphics() ? 1 : 0;
      table.addRow({groupPathOf(groups, row.group->dbId()), narrow(blocks.objAt(b)->desc()),
                    std::to_string(items.length()), std::to_string(items.length() - graphics),
                    std::to_string(graphics)});
    }
  }
}

const ListKind kBlocks("blocks", "the block definitions with the counts of their items",
                       fillBlocks);

}  // namespace
}  // namespace vkd
