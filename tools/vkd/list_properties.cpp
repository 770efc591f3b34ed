// vkd list FILE.vkd properties: the property definitions.

#include <string>

#include "tool.h"
#include "vxkd/properties/property_value.h"
#include "vxkd/properties/unit.h"

namespace vkd {
namespace {

void fillProperties(const CKdProject& project, Table& table) {
  table.columns = {{"Id", true}, {"Name"}, {"Type"}, {"Unit"}, {"Decimals", true}, {"Description"}};
  const CKdPropertyDefArray& defs = project.propertyDefs();
  for (int i = 0; i < defs.length(); ++i) {
    const CKdPropertyDef* def = defs.objAt(i);
    CWsz type, unit;
    CKdPropertyValue::getTypeNameOf(def->valueType(), type);
    def->unit().getLabel(unit);
    table.addRow({std::to_string(def->dbId()), narrow(def->name()), narrow(type), narrow(unit),
                  std::to_string(def->decimals()), narrow(def->desc())});
  }
}

const ListKind kProperties("properties", "the property definitions", fillProperties);

}  // namespace
}  // namespace vkd
