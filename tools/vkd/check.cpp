// vkd check FILE.vkd: reads the dataset as the library does and runs every registered check
// over it. The checks of each kind of definition live in files of their own (check_*.cpp).
// Exit status 0 without problems, 1 with problems, 2 when the file cannot be read.

#include <cstdio>
#include <string>
#include <vector>

#include "tool.h"

namespace vkd {
namespace {

int check(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  CKdProject project;
  // 2 when the file cannot be read, as for a wrong command line: 1 says it has problems.
  if (int status = readProject(args[0], project, ui)) return status;
  const std::vector<std::string> problems = problemsOf(project);
  if (options.json()) {
    printJson({{"dataset", args[0]}, {"problems", problems}});
  } else {
    // The problems alone go to standard output, so that a script can count or filter them.
    for (const std::string& problem : problems) std::printf("%s\n", problem.c_str());
    if (problems.empty()) std::printf("%s: no problems found\n", args[0].c_str());
  }
  if (problems.empty()) return exitOk;
  warn(std::to_string(problems.size()) + (problems.size() == 1 ? " problem in " : " problems in ") +
       args[0]);
  return exitFailure;
}

const Command kCheck(
    "check", "FILE.vkd [--format json]",
    "list the problems of the dataset, one per line; exit status 1\n"
    "with problems, 2 when the file cannot be read",
    1, "format", check,
    "A problem is a reference that names nothing (a product naming a missing\n"
    "part ID format, linetype, symbol, dimension text format or property\n"
    "definition; a group whose owner is missing; a block item naming a missing\n"
    "product or linetype; a format naming a missing text style or property; a\n"
    "report or layer naming a missing property definition or linetype), a name\n"
    "given twice where names must be unique, a format string with a \"{\" without\n"
    "\"}\", or a record that a save could not store under its own key. Values\n"
    "stored for a property definition that the dataset lacks are found in the\n"
    "file itself: a read drops them. With --format json: {dataset, problems}.",
    "exit status: 0 no problems; 1 problems found (their count on standard\n"
    "error); 2 a wrong command line or a file that cannot be read");

}  // namespace
}  // namespace vkd
