// vkd list FILE.vkd KIND: the definitions of one kind, as a table or as JSON. The kinds live
// in the list_*.cpp files.

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
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  Table table;
  kind->fill(project, table);
  if (options.format == OutputFormat::json)
    printJson(table.toJson());
  else
    table.print();
  return exitOk;
}

const Command kList("list", "FILE.vkd KIND [--format json]",
                    "show the definitions of one kind as a table", 2, "format", runList,
                    "KIND is one of the kinds that `vkd --help` lists (properties, formats,\n"
                    "products, ...). With --format json: a list with one object per row, whose\n"
                    "members are the columns in lower camel case (\"Text height\" gives\n"
                    "textHeight); numbers are JSON numbers, an empty number null.");

}  // namespace
}  // namespace vkd
