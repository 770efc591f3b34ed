// vkd dump FILE.vkd [-o OUT.json]: the whole dataset as its text form (canonical JSON), on
// standard output or into a file, so that it can be kept in version control and compared
// with any diff tool. The dataset is read as every reader reads it, changing nothing.

#include <cstdio>
#include <cstring>

#include "tool.h"
#include "vxkd/merge/dataset_json.h"

namespace vkd {
namespace {

int runDump(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  CKdProject project;
  if (!project.readDb(nullptr, CWsz::fromUtf8(args[0].c_str())))
    return fail("cannot read " + args[0] + ": " + failureOf(project, ui));
  const std::string text = VxKd::datasetToJson(project);
  if (options.output.empty()) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
      return fail(std::string("cannot write the text form: ") + std::strerror(errno));
    return exitOk;
  }
  if (int error = writeOutputFile(options.output, text))
    return fail("cannot write " + options.output + ": " + std::strerror(error));
  std::printf("Wrote the text form of %s to %s\n", args[0].c_str(), options.output.c_str());
  return exitOk;
}

const Command kDump("dump", "[-o OUT.json] FILE.vkd",
                    "write the whole dataset as canonical JSON (to standard output\n"
                    "or OUT.json), for version control and diff tools",
                    1, "output", runDump);

}  // namespace
}  // namespace vkd
