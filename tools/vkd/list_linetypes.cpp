// vkd list FILE.vkd linetypes: the linetypes, the built-in solid one first.

#include "tool.h"

namespace vkd {
namespace {

void fillLinetypes(const CKdProject& project, Table& table) {
  table.columns = {{"Name"}, {"Description"}, {"Pattern"}};
  const CKdLinetypeDefArray& linetypes = project.linetypeDefs();
  for (int i = 0; i < linetypes.length(); ++i) {
    const CKdLinetypeDef* def = linetypes.objAt(i);
    table.addRow({narrow(def->name()), narrow(def->desc()), narrow(def->data())});
  }
}

const ListKind kLinetypes("linetypes", "the linetypes", fillLinetypes);

}  // namespace
}  // namespace vkd
