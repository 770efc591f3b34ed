// vkd list FILE.vkd polydefs: the definition sets of the poly objects, ducts, pipes,
// electrical and data lines, one row per definition, set after set.

#include <string>

#include "tool.h"
#include "vxkd/foundation/system_type.h"

namespace vkd {
namespace {

// The sets in the order their type ids run.
constexpr VxKd::systemTypeIds kTypes[] = {VxKd::systemDuct, VxKd::systemPipe, VxKd::systemElectric,
                                          VxKd::systemData};

void fillPolyDefs(const CKdProject& project, Table& table) {
  table.columns = {{"Type"},         {"Set"},      {"Id", true},    {"Description"},
                   {"Colour"},       {"Linetype"}, {"Width", true}, {"Symbol"},
                   {"System", true}, {"Texts"},    {"Properties"}};
  for (VxKd::systemTypeIds type : kTypes) {
    const CKdProductDefArray* set = project.polyDefSets(type);
    const std::string typeName = narrow(VxKd::getPolyObjectTypeDescription(type));
    for (int i = 0; i < set->length(); ++i) {
      const CKdProductDef* p = set->objAt(i);
      table.addRow({typeName, set->classId(), std::to_string(p->dbId()), narrow(p->desc()),
                    colourName(p->colorNmb()), narrow(p->lineType()), widthText(p->lineWidth()),
                    p->symbolId(), positive(p->systemId()), textsText(p->getIntegratedTexts()),
                    propertiesText(p->properties())});
    }
  }
}

const ListKind kPolyDefs("polydefs", "the definitions of ducts, pipes, electrical and data lines",
                         fillPolyDefs);

}  // namespace
}  // namespace vkd
