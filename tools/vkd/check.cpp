// vkd check FILE.vkd: reads the dataset as the library does and runs every registered check
// over it. The checks of each kind of definition live in files of their own (check_*.cpp).

#include <cstdio>
#include <string>
#include <vector>

#include "tool.h"

namespace vkd {

int commandCheck(const CWsz& path, ToolUiBackend& ui) {
  CKdProject project;
  if (!project.readDb(nullptr, path)) {
    std::string why = ui.lastMessage();
    fail("cannot read " + narrow(path) + (why.empty() ? "" : " (" + why + ")"));
    return 2;
  }
  std::vector<std::string> problems;
  for (const Check* check : checks()) check->run(project, problems);
  // The problems alone go to standard output, so that a script can count or filter them.
  for (const std::string& problem : problems) std::printf("%s\n", problem.c_str());
  if (problems.empty()) {
    std::printf("%s: no problems found\n", narrow(path).c_str());
    return 0;
  }
  std::fprintf(stderr, "vkd: %zu problem%s in %s\n", problems.size(),
               problems.size() == 1 ? "" : "s", narrow(path).c_str());
  return 1;
}

}  // namespace vkd
