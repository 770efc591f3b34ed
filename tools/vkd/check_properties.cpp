// vkd check: the property definitions that a save could not store under their own keys.

#include <string>
#include <vector>

#include "tool.h"

namespace vkd {
namespace {

void checkPropertyDefs(const CKdProject& project, std::vector<std::string>& problems) {
  checkRecordKeys(project.propertyDefs(), "RD", "property definition", 1, problems);
}

const Check kPropertyDefs("property definitions", checkPropertyDefs);

}  // namespace
}  // namespace vkd
