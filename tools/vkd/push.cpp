// vkd push [--force] FILE.vkd URI: copies a dataset file onto a PostgreSQL server, in one
// read of the file and one transaction on the server, under the server dataset's edit lock.
// An existing server dataset is replaced only with --force.

#include <cstdio>

#include "tool.h"
#include "vxkd/platform/paths.h"

namespace vkd {
namespace {

int runPush(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  const CWsz from = CWsz::fromUtf8(args[0].c_str()), to = CWsz::fromUtf8(args[1].c_str());
  if (cuFile::isServerUri(from)) return failInput(args[0] + " is a server URI; push copies a file");
  if (!cuFile::isServerUri(to))
    return failInput(args[1] + " is no server URI (postgresql://HOST/DATABASE?dataset=NAME)");
  if (std::string problem = cuFile::serverUriProblem(to); !problem.empty())
    return failInput(args[1] + ": " + problem);
  CKdProject project;
  if (!project.readDb(nullptr, from))
    return failInput("cannot read " + args[0] + ": " + failureOf(project, ui));
  if (int result = writeNewDataset(args[1], options.force, project, ui, L"vkd push")) return result;
  std::printf("Pushed %s to %s\n", args[0].c_str(), args[1].c_str());
  return exitOk;
}

const Command kPush("push", "[--force] FILE.vkd URI",
                    "copy a dataset file onto a PostgreSQL server; an existing\n"
                    "dataset there is replaced only with --force",
                    2, "force", runPush);

}  // namespace
}  // namespace vkd
