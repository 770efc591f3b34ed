// vkd check FILE.vkd: reads the dataset as the library does and runs every registered check
// over it. The checks of each kind of definition live in files of their own (check_*.cpp).
// Exit status 0 without problems, 1 with problems, 2 when the file cannot be read.

#include <cstdio>
#include <string>
#include <vector>

#include "tool.h"

namespace vkd {
namespace {

int check(const std::vector<std::string>& args, ToolUiBackend& ui) {
  CKdProject project;
  if (!project.readDb(nullptr, CWsz::fromUtf8(args[0].c_str()))) {
    fail("cannot read " + args[0] + ": " + failureOf(project, ui));
    return exitUsage;  // 2, as for a wrong command line: 1 says the dataset has problems
  }
  std::vector<std::string> problems;
  for (const Check* check : checks()) check->run(project, problems);
  // The problems alone go to standard output, so that a script can count or filter them.
  for (const std::string& problem : problems) std::printf("%s\n", problem.c_str());
  if (problems.empty()) {
    std::printf("%s: no problems found\n", args[0].c_str());
    return exitOk;
  }
  std::fprintf(stderr, "vkd: %zu problem%s in %s\n", problems.size(),
               problems.size() == 1 ? "" : "s", args[0].c_str());
  return exitFailure;
}

const Command kCheck("check", "FILE.vkd",
                     "list what a save could not store, one problem per line; exit\n"
                     "status 1 with problems, 2 when the file cannot be read",
                     1, check);

}  // namespace
}  // namespace vkd
