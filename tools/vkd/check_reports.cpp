// vkd check: the report definitions that a save could not store under their own keys. A
// record whose key holds no id is not read at all: it shows as a report without a name.

#include <string>
#include <vector>

#include "tool.h"

namespace vkd {
namespace {

void checkReportDefs(const CKdProject& project, std::vector<std::string>& problems) {
  checkRecordKeys(project.reportDefs(), "RE", "report definition", 1, problems);
}

const Check kReportDefs("report definitions", checkReportDefs);

}  // namespace
}  // namespace vkd
