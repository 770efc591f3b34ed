// vkd pull [--force] URI FILE.vkd: copies a dataset from a PostgreSQL server into a file, in
// one read transaction on the server. An existing file is replaced only with --force.

#include <cstdio>

#include "tool.h"
#include "vxkd/platform/paths.h"

namespace vkd {
namespace {

int runPull(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  const CWsz from = CWsz::fromUtf8(args[0].c_str()), to = CWsz::fromUtf8(args[1].c_str());
  if (!cuFile::isServerUri(from))
    return failInput(args[0] + " is no server URI (postgresql://HOST/DATABASE?dataset=NAME)");
  if (cuFile::isServerUri(to)) return failInput(args[1] + " is a server URI; pull writes a file");
  CKdProject project;
  if (!project.readDb(nullptr, from))
    return failInput("cannot read " + args[0] + ": " + failureOf(project, ui));
  if (int result = writeNewDataset(args[1], options.force, project, ui, L"vkd pull")) return result;
  std::printf("Pulled %s into %s\n", args[0].c_str(), args[1].c_str());
  return exitOk;
}

const Command kPull("pull", "[--force] URI FILE.vkd",
                    "copy a dataset from a PostgreSQL server into a file; an\n"
                    "existing file is replaced only with --force",
                    2, "force", runPull);

}  // namespace
}  // namespace vkd
