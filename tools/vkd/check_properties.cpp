// vkd check: the property definitions that a save could not store under their own keys.

#include <string>
#include <vector>

#include "tool.h"

namespace vkd {
namespace {

std::string recordOf(const CKdPropertyDef& def) {
  return "record RD " + quotedKey(def.origin().key()) + " (property definition \"" +
         narrow(def.name()) + "\")";
}

// True when a save stores another definition of the same id under the key that `index`
// would take: one read from that very key, or one that can be stored and comes earlier in key
// order (the order of a save after a read). The save then leaves `index` where it is.
bool idTakenByAnother(const CKdPropertyDefArray& defs, int index) {
  const CKdPropertyDef* def = defs.objAt(index);
  const std::string key = def->recordKey();
  if (!def->origin().isOdd(key)) return false;
  for (int i = 0; i < defs.length(); ++i) {
    const CKdPropertyDef* other = defs.objAt(i);
    if (i != index && other->dbId() == def->dbId() &&
        other->writeObstacle() == CKdRecordOrigin::noObstacle &&
        (i < index || !other->origin().isOdd(key)))
      return true;
  }
  return false;
}

void checkPropertyDefs(const CKdProject& project, std::vector<std::string>& problems) {
  const CKdPropertyDefArray& defs = project.propertyDefs();
  for (int i = 0; i < defs.length(); ++i) {
    const CKdPropertyDef& def = *defs.objAt(i);
    const std::string id = std::to_string(def.dbId());
    switch (def.writeObstacle()) {
      case CKdRecordOrigin::idOutOfRange:
        problems.push_back(recordOf(def) + ": " +
                           (def.dbId() == 0 ? "the key holds no id" : "id " + id + " is not one") +
                           " of 1 to 999999, so the definition cannot be saved");
        break;
      case CKdRecordOrigin::keyNotRemovable:
        problems.push_back(recordOf(def) + ": id " + id + " cannot be moved to its key " +
                           quotedKey(def.recordKey()) + ", so the definition cannot be saved");
        break;
      case CKdRecordOrigin::noObstacle:
        if (idTakenByAnother(defs, i))
          problems.push_back(recordOf(def) + ": id " + id +
                             " is read from another record too, so the definition cannot be "
                             "saved");
        break;
    }
  }
}

const Check kPropertyDefs("property definitions", checkPropertyDefs);

}  // namespace
}  // namespace vkd
