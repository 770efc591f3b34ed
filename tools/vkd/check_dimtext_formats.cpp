// vkd check: the dimension text formats that a save could not store under their own keys.
// Their ids start at 0: key "000000" holds a format like any other.

#include <string>
#include <vector>

#include "tool.h"

namespace vkd {
namespace {

void checkDimtextFormats(const CKdProject& project, std::vector<std::string>& problems) {
  checkRecordKeys(project.dimTextFormats(), "RT", "dimension text format", 0, problems);
}

const Check kDimtextFormats("dimension text formats", checkDimtextFormats);

}  // namespace
}  // namespace vkd
