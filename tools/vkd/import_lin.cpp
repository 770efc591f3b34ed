// vkd import-lin FILE.vkd IN.lin: imports the linetypes of a LIN file into the dataset, under
// the dataset's edit lock.

#include <cstdio>

#include "tool.h"
#include "vxkd/platform/paths.h"

namespace vkd {
namespace {

int importLin(const std::vector<std::string>& args, ToolUiBackend& ui) {
  if (!cuFile::exists(CWsz::fromUtf8(args[1].c_str())))
    return failInput("no such file: " + args[1]);
  CKdDefImportReport report;
  int result = editDataset(args[0], ui, [&](CKdProject& project) -> int {
    if (project.linetypeDefs().importLin(nullptr, CWsz::fromUtf8(args[1].c_str()), &report))
      return exitOk;
    // The file holds nothing to import: an input that cannot be used.
    return failInput(
        withBox("nothing imported from " + args[1] + "; " + args[0] + " is unchanged", ui));
  });
  if (result != 0) return result;
  printImportReport(report, "linetypes", args[1], args[0]);
  return 0;
}

const Command kImportLin("import-lin", "FILE.vkd IN.lin",
                         "import the linetypes of a LIN file (same names are replaced)", 2,
                         importLin);

}  // namespace
}  // namespace vkd
