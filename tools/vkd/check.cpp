// vkd check FILE.vkd: reads the dataset as the library does and reports what is wrong with
// it, one problem per line: references that name nothing, names given twice, format strings
// that cannot be laid out (check_references.cpp). Exit status 0 without problems, 1 with
// problems, 2 when the file cannot be read.

#include <cstdio>
#include <string>
#include <vector>

#include "check_references.h"
#include "tool.h"

namespace vkd {
namespace {

int check(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  std::vector<Problem> problems = checkDefinitions(project);
  std::string why;
  if (!checkStoredRecords(args[0], project, problems, why))
    return failInput("cannot read the records of " + args[0] + ": " + why);

  if (options.format == OutputFormat::json) {
    Json list = Json::array();
    for (const Problem& problem : problems)
      list.push_back({{"item", problem.item}, {"problem", problem.text}});
    printJson({{"dataset", args[0]}, {"problems", std::move(list)}});
  } else {
    // The problems alone go to standard output, so that a script can count or filter them.
    for (const Problem& problem : problems) std::printf("%s\n", problem.line().c_str());
    if (problems.empty()) std::printf("%s: no problems found\n", args[0].c_str());
  }
  if (problems.empty()) return exitOk;
  warn(std::to_string(problems.size()) + (problems.size() == 1 ? " problem in " : " problems in ") +
       args[0]);
  return exitFailure;
}

const Command kCheck("check", "FILE.vkd [--format json]",
                     "list the problems of the dataset, one per line; exit status 1\n"
                     "with problems, 2 when the file cannot be read",
                     1, "format", check,
                     "A problem is a reference that names nothing (a product naming a missing\n"
                     "linetype, symbol, dimension text format or property definition; a format\n"
                     "naming a missing text style or property; a layer naming a missing\n"
                     "linetype), a name given twice where names must be unique (property\n"
                     "definitions, linetypes, text styles, layers, symbol ids), or a format\n"
                     "string with a \"{\" without \"}\". Values stored for a property definition\n"
                     "that the dataset lacks are found in the file itself: a read drops them.\n"
                     "With --format json: {dataset, problems: [{item, problem}]}.",
                     "exit status: 0 no problems; 1 problems found (their count on standard\n"
                     "error); 2 a wrong command line or a file that cannot be read");

}  // namespace
}  // namespace vkd
