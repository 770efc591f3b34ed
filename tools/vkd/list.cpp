// vkd list FILE.vkd KIND [ARGUMENT]: the definitions of one kind, as a table. The kinds live
// in the list_*.cpp files; some take an argument that narrows the list.

#include <cstdio>

#include "tool.h"

namespace vkd {
namespace {

int runList(const std::vector<std::string>& args, const Options&, ToolUiBackend& ui) {
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
  if (!project.readDb(nullptr, CWsz::fromUtf8(args[0].c_str())))
    return fail("cannot read " + args[0] + ": " + failureOf(project, ui));
  Table table;
  if (kind->fillWith) {
    std::string why;
    if (!kind->fillWith(project, hasArgument ? args[2] : std::string(), table, why))
      return fail(why);
  } else {
    kind->fill(project, table);
  }
  table.print();
  return exitOk;
}

const Command kList("list", "FILE.vkd KIND [ARGUMENT]",
                    "show the definitions of one kind as a table; some kinds take an\n"
                    "argument that narrows the list",
                    2, 3, "", runList);

}  // namespace
}  // namespace vkd
