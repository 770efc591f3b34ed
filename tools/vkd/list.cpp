// vkd list FILE.vkd KIND [ARGUMENT]: the definitions of one kind, as a table. The kinds live
// in the list_*.cpp files; some take an argument that narrows the list.

#include <cstdio>

#include "tool.h"

namespace vkd {
namespace {

int runList(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  const ListKind* kind = nullptr;
  for (const ListKind* k : listKinds())
    if (args[1] == k->name) kind = k;
  if (!kind) {
    std::fprintf(stderr, "vkd: unknown kind of definition \"%s\"\nkinds of definition:\n",
                 args[1].c_str());
    for (const ListKind* k : listKinds()) std::fprintf(stderr, "  %-24s%s\n", k->name, k->help);
    return exitUsage;
  }
  const bool hasArgument = args.size() > 2;
  if (hasArgument && !kind->fillWith) {
    std::fprintf(stderr, "vkd: list %s takes no argument, not \"%s\"\n", kind->name,
                 args[2].c_str());
    return exitUsage;
  }
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  Table table;
  if (kind->fillWith) {
    std::string why;
    // An argument that names nothing is a wrong argument.
    if (!kind->fillWith(project, hasArgument ? args[2] : std::string(), table, why))
      return failInput(why);
  } else {
    kind->fill(project, table);
  }
  if (options.json())
    printJson(table.toJson());
  else
    table.print();
  return exitOk;
}

const Command kList("list", "FILE.vkd KIND [ARGUMENT] [--format json]",
                    "show the definitions of one kind as a table; some kinds take an\n"
                    "argument that narrows the list",
                    2, 3, "format", runList,
                    "KIND is one of the kinds that `vkd --help` lists (properties, formats,\n"
                    "groups, products, ...). With --format json: a list with one object per\n"
                    "row, whose members are the columns in lower camel case (\"Text height\"\n"
                    "gives textHeight); numbers are JSON numbers, an empty number null.");

}  // namespace
}  // namespace vkd
