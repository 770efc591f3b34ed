// vkd list FILE.vkd products [GROUP-PATH]: the product definitions of the catalogue, group
// after group in the order of the tree, or those of one group and its sub groups. The path
// is the one `vkd list FILE groups` shows: descriptions joined by "/", case counts.

#include <string>

#include "tool.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

// The group at `path`, or null with the reason in `why`.
const CKdProductGroup* groupAt(const CKdProject& project, const std::string& path,
                               std::string& why) {
  const CKdProductGroupArray& groups = project.productGroups();
  const CWsz wide = CWsz::fromUtf8(path.c_str());
  if (const CKdProductGroup* g = groups.findGroup(CKdProductGroup::rootGroupDefinitions, wide))
    return g;
  why = narrow(project.fileName()) + " has no product group \"" + path + "\"";
  for (int i = 0; i < groups.length(); ++i) {
    const CWsz other = groups.getGroupPath(groups.idAt(i));
    if (!other.isEmpty() && cuSz::equalNoCase(other, wide)) {
      why += " (the path's letter case counts: \"" + narrow(other) + "\")";
      return nullptr;
    }
  }
  why += " (vkd list " + narrow(project.fileName()) + " groups shows the groups)";
  return nullptr;
}

bool fillProducts(const CKdProject& project, const std::string& path, Table& table,
                  std::string& why) {
  long top = CKdProductGroup::rootGroupDefinitions;
  if (!path.empty()) {
    const CKdProductGroup* group = groupAt(project, path, why);
    if (!group) return false;
    top = group->dbId();
  }
  table.columns = {{"Group"},        {"Id", true}, {"Description"}, {"Part ID"},
                   {"Colour"},       {"Linetype"}, {"Width", true}, {"Symbol"},
                   {"System", true}, {"Texts"},    {"Properties"}};
  const CKdProductGroupArray& groups = project.productGroups();
  for (const GroupRow& row : groupTree(groups, top)) {
    const std::string groupPath = groupPathOf(groups, row.group->dbId());
    const CKdProductDefArray& products = row.group->products();
    for (int i = 0; i < products.length(); ++i) {
      const CKdProductDef* p = products.objAt(i);
      table.addRow({groupPath, std::to_string(p->dbId()), narrow(p->desc()), narrow(p->partId()),
                    colourName(p->colorNmb()), narrow(p->lineType()), widthText(p->lineWidth()),
                    p->symbolId(), positive(p->systemId()), textsText(p->getIntegratedTexts()),
                    propertiesText(p->properties())});
    }
  }
  return true;
}

const ListKind kProducts("products", "[GROUP-PATH]",
                         "the product definitions, of all groups or of one and its sub groups",
                         fillProducts);

}  // namespace
}  // namespace vkd
