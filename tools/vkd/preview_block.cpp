// vkd preview FILE.vkd block NAME -o OUT.svg: a block as its items place it: each item's
// stored graphics, or its product's symbol scaled and turned into the item's place. NAME is
// the block's name (ignoring case); where several groups have a block of that name, it is
// GROUP-PATH/NAME, the path as `vkd list FILE groups` shows it.

#include <cstdio>
#include <vector>

#include "tool.h"

namespace vkd {
namespace {

struct Found {
  const CKdBlock* block;
  long group;
};

// The blocks named `name` (ignoring case), of group `groupId` or of every group for 0, the
// first of each group only: a group's block names are its own.
std::vector<Found> blocksNamed(const CKdProductGroupArray& groups, const CWsz& name, long groupId) {
  std::vector<Found> found;
  for (int i = 0; i < groups.length(); ++i) {
    const CKdProductGroup* group = groups.objAt(i);
    if (groupId != 0 && group->dbId() != groupId) continue;
    if (const CKdBlock* block = group->blocks().findName(name))
      found.push_back({block, group->dbId()});
  }
  return found;
}

// Why an item drew nothing.
std::string whyNotDrawn(const CKdBlockItem& item, CKdBlockItem::drawResult result,
                        const CKdProject& project) {
  const CKdProductDef* product = project.findBlockProduct(item.guid());
  switch (result) {
    case CKdBlockItem::damagedGraphics:
      return "its stored graphics are damaged";
    case CKdBlockItem::noProduct:
      return item.guid().isNull()
                 ? "it names no product and has no graphics of its own"
                 : "no product definition has its GUID " + narrow(item.guid().toWsz());
    case CKdBlockItem::noSymbol:
      return "its product \"" + narrow(product->desc()) + "\" has no symbol";
    case CKdBlockItem::unknownSymbol:
      return "the dataset has no symbol \"" + std::string(product->symbolId()) +
             "\", which its product \"" + narrow(product->desc()) + "\" draws";
    default:
      return "";
  }
}

int drawBlock(const CKdProject& project, const std::string& name, CGmModel& model,
              std::string& what) {
  const CKdProductGroupArray& groups = project.productGroups();
  const std::string file = narrow(project.fileName());
  const CWsz wide = CWsz::fromUtf8(name.c_str());
  std::vector<Found> found = blocksNamed(groups, wide, 0);
  const int slash =
      wide.str().rfind(L'/') == std::wstring::npos ? -1 : static_cast<int>(wide.str().rfind(L'/'));
  if (found.empty() && slash > 0) {
    const CKdProductGroup* group =
        groups.findGroup(CKdProductGroup::rootGroupDefinitions, wide.left(slash));
    if (group) found = blocksNamed(groups, wide.mid(slash + 1), group->dbId());
  }
  if (found.empty())
    return fail(file + " has no block \"" + name + "\" (vkd list " + file +
                " blocks shows the blocks)");
  if (found.size() > 1) {
    std::string where;
    for (const Found& f : found)
      where += (where.empty() ? "" : ", ") + groupPathOf(groups, f.group);
    return fail(std::to_string(found.size()) + " blocks are named \"" + name + "\", in " + where +
                "; name one as GROUP-PATH/NAME");
  }
  const CKdBlock& block = *found.front().block;
  block.getModel(model, project, false);
  // What the picture lacks, item by item, so that the administrator can mend it.
  for (int i = 0; i < block.items().length(); ++i) {
    const CKdBlockItem& item = *block.items().objAt(i);
    CGmModel scratch;
    const CKdBlockItem::drawResult result = item.addTo(scratch, project);
    if (result == CKdBlockItem::drawnSymbol || result == CKdBlockItem::drawnStoredGraphics)
      continue;
    const std::string named = item.name().isEmpty() ? "" : " \"" + narrow(item.name()) + "\"";
    std::fprintf(stderr, "vkd: item %d%s draws nothing: %s\n", i + 1, named.c_str(),
                 whyNotDrawn(item, result, project).c_str());
  }
  const std::string described =
      "block \"" + narrow(block.desc()) + "\" of " + groupPathOf(groups, found.front().group);
  if (block.items().length() == 0) return fail(described + " has no items");
  if (model.isEmpty()) return fail("nothing of " + described + " can be drawn");
  what = described;
  return exitOk;
}

const PreviewKind kBlock("block", "NAME", "a block as its items place it", drawBlock);

}  // namespace
}  // namespace vkd
