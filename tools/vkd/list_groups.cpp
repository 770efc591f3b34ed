// vkd list FILE.vkd groups: the catalogue as a tree, each group indented under its owner in
// order-number order, with its id and the counts of its products and blocks. Groups that the
// tree does not reach (their owner is missing, or the owner links loop) follow, with why.

#include <string>
#include <unordered_set>

#include "tool.h"

namespace vkd {
namespace {

// Why group `g` is not in the tree.
std::string whyNotInTree(const CKdProductGroupArray& groups, const CKdProductGroup& g) {
  if (g.dbId() == 0) return "its record's key holds no id";
  if (g.isRoot()) return "another root";
  if (!groups.findGroup(g.ownerGroupId()))
    return "its owner " + std::to_string(g.ownerGroupId()) + " is missing";
  return "its owners lead back to it";
}

void addRow(Table& table, const CKdProductGroup& g, int depth, const std::string& note) {
  table.addRow({std::string(2 * depth, ' ') + narrow(g.desc()), std::to_string(g.dbId()),
                std::to_string(g.products().length()), std::to_string(g.blocks().length()), note});
}

void fillGroups(const CKdProject& project, Table& table) {
  table.columns = {{"Group"}, {"Id", true}, {"Products", true}, {"Blocks", true}, {"Note"}};
  const CKdProductGroupArray& groups = project.productGroups();
  std::unordered_set<long> shown;
  for (const GroupRow& row : groupTree(groups, CKdProductGroup::rootGroupDefinitions)) {
    addRow(table, *row.group, row.depth, "");
    shown.insert(row.group->dbId());
  }
  for (int i = 0; i < groups.length(); ++i) {
    const CKdProductGroup& g = *groups.objAt(i);
    if (shown.count(g.dbId())) continue;
    // What hangs under a group outside the tree comes with it.
    for (const GroupRow& row : groupTree(groups, g.dbId())) {
      if (!shown.insert(row.group->dbId()).second) continue;
      addRow(table, *row.group, row.depth, row.depth == 0 ? whyNotInTree(groups, g) : "");
    }
  }
}

const ListKind kGroups("groups", "the product groups as a tree, with their products and blocks",
                       fillGroups);

}  // namespace
}  // namespace vkd
