// vkd export-lin FILE.vkd OUT.lin: writes the dataset's linetypes into a LIN file.

#include <cstdio>

#include "tool.h"

namespace vkd {
namespace {

int exportLin(const std::vector<std::string>& args, ToolUiBackend& ui) {
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  const CKdLinetypeDefArray& linetypes = project.linetypeDefs();
  if (!linetypes.exportLin(nullptr, CWsz::fromUtf8(args[1].c_str())))
    return failWithBox("cannot export the linetypes to " + args[1], ui);
  // The built-in solid linetype is not written.
  std::printf("Exported %d linetypes to %s\n", linetypes.length() - 1, args[1].c_str());
  return 0;
}

const Command kExportLin("export-lin", "FILE.vkd OUT.lin",
                         "write the linetypes into a LIN file (replaced if it exists)", 2,
                         exportLin);

}  // namespace
}  // namespace vkd
