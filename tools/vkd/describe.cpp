// vkd describe FILE.vkd [-o OUT.json]: the dataset as a JSON description, the form that vkd
// new --from builds a dataset of: so a dataset can be read, kept under version control,
// edited and built again.

#include <cstdio>
#include <cstring>

#include "description.h"
#include "tool.h"

namespace vkd {
namespace {

int runDescribe(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  const std::string text =
      describeDataset(project).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  if (options.output.empty()) {
    std::fputs(text.c_str(), stdout);
    return exitOk;
  }
  if (int error = writeOutputFile(options.output, text))
    return fail("cannot write " + options.output + ": " + std::strerror(error));
  std::printf("Wrote the description of %s to %s\n", args[0].c_str(), options.output.c_str());
  return exitOk;
}

const Command kDescribe("describe", "FILE.vkd [-o OUT.json]",
                        "write the dataset as a JSON description, which vkd new --from\n"
                        "builds again",
                        1, "output", runDescribe,
                        "The description lists every definition in the form of the sample\n"
                        "(sample-dataset.json in the program folder): property definitions,\n"
                        "part ID formats, linetypes (but the built-in CONTINUOUS), text\n"
                        "styles, the 24 layers, dimension text formats, symbols, the\n"
                        "poly-object definitions, the catalogue of groups with their products\n"
                        "and blocks, and the report definitions. It goes to standard output, or\n"
                        "into OUT.json with -o. vkd dump writes the canonical text form instead,\n"
                        "every stored field, for version control and vkd diff.");

}  // namespace
}  // namespace vkd
