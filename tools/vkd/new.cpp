// vkd new [--force] [--sample | --from FILE.json] FILE.vkd: a new dataset with the default
// content, or with the definitions of a dataset description (the sample's, or a file's).
//
// An existing file is never touched unless --force is given, and even then not while
// someone holds its lock (the lock is taken for the whole creation). The new dataset is
// built beside the target under a temporary name and renamed into place when complete, so
// a failure leaves the old file whole and nothing half-made (writeNewDataset).

#include <cstdio>
#include <cstring>

#include "description.h"
#include "tool.h"
#include "vxkd/platform/env.h"

namespace vkd {
namespace {

// The largest description read: far more than any catalogue needs, and a guard against
// reading a wrong file of gigabytes.
constexpr size_t kMaxDescriptionBytes = 64u << 20;

// Builds the project that `path` describes on top of the default content. Returns exitOk,
// or exitUsage after saying what is wrong with the file.
int buildFrom(const std::string& path, CKdProject& project) {
  std::string text;
  if (int error = CEnv::current().readWholeFile(path, text, kMaxDescriptionBytes))
    return failInput("cannot read " + path + ": " + std::strerror(error));
  std::string why;
  if (!buildFromDescription(text, project, why)) return failInput(path + ": " + why);
  // What `vkd check` would find in the new dataset is an error of the description.
  const std::vector<std::string> problems = problemsOf(project);
  for (const std::string& problem : problems) warn(path + ": " + problem);
  if (!problems.empty())
    return failInput(path + " describes a dataset with " + std::to_string(problems.size()) +
                     (problems.size() == 1 ? " problem" : " problems") + "; nothing was created");
  return exitOk;
}

extern const Command kNew;

int runNew(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  if (options.sample && !options.from.empty()) {
    std::fprintf(stderr, "vkd: --sample and --from exclude each other\n");
    return usageOf(kNew);
  }
  CKdProject project;
  project.buildDefaultProject();
  const std::string description = options.sample ? sampleDescriptionPath() : options.from;
  if (!description.empty())
    if (int status = buildFrom(description, project)) return status;

  if (int result = writeNewDataset(args[0], options.force, project, ui, L"vkd new")) return result;
  std::printf("Created %s\n", args[0].c_str());
  return exitOk;
}

const Command kNew("new", "[--force] [--sample | --from FILE.json] FILE.vkd",
                   "create a dataset with the default content, the sample dataset\n"
                   "(--sample) or the definitions a JSON description lists (--from);\n"
                   "an existing file is replaced only with --force, and never while\n"
                   "its lock is held",
                   1, "force,sample,from", runNew,
                   "The default content is the 24 layers, the linetype CONTINUOUS and the text\n"
                   "style Standard. A description is a JSON file of the form of the sample\n"
                   "(sample-dataset.json in the program folder; docs/guide.md explains it); a\n"
                   "description that cannot be read, or whose dataset would have a problem\n"
                   "that `vkd check` reports, is refused with the place or the problem, and\n"
                   "nothing is created.");

}  // namespace
}  // namespace vkd
