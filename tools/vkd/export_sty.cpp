// vkd export-sty FILE.vkd OUT.sty: writes the dataset's text styles into an STY file.

#include <cstdio>

#include "tool.h"

namespace vkd {
namespace {

int exportSty(const std::vector<std::string>& args, ToolUiBackend& ui) {
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  const CKdTextStyleDefArray& styles = project.textStyleDefs();
  if (!styles.exportSty(nullptr, CWsz::fromUtf8(args[1].c_str())))
    return failWithBox("cannot export the text styles to " + args[1], ui);
  std::printf("Exported %d text styles to %s\n", styles.length(), args[1].c_str());
  return 0;
}

const Command kExportSty("export-sty", "FILE.vkd OUT.sty",
                         "write the text styles into an STY file (replaced if it exists)", 2,
                         exportSty);

}  // namespace
}  // namespace vkd
