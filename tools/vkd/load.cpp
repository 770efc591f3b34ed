// vkd load [--force] FILE.json NEW.vkd: builds a dataset from its text form (as vkd dump
// writes it). The text is checked whole before anything is written: a text that cannot be
// taken names its line and leaves no file. NEW.vkd is made as vkd new makes a dataset.

#include <cstdio>
#include <cstring>

#include "tool.h"
#include "vxkd/merge/dataset_json.h"
#include "vxkd/platform/env.h"

namespace vkd {
namespace {

// A text form larger than this is not read (a dataset of 10,000 products takes some 20 MB).
constexpr size_t kMaxTextBytes = size_t{1} << 30;

int runLoad(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  std::string text;
  if (int error = CEnv::current().readWholeFile(args[0], text, kMaxTextBytes))
    return fail("cannot read " + args[0] + ": " + std::strerror(error) +
                "; no dataset was created");
  CKdProject project;
  int line = 0;
  std::string why;
  if (!VxKd::datasetFromJson(nullptr, text, project, &line, &why))
    return fail(args[0] + " line " + std::to_string(line) + ": " + why +
                "; no dataset was created");
  if (int result = writeNewDataset(args[1], options.force, project, ui, L"vkd load")) return result;
  std::printf("Created %s from %s\n", args[1].c_str(), args[0].c_str());
  return exitOk;
}

const Command kLoad("load", "[--force] FILE.json NEW.vkd",
                    "build a dataset from the text form that dump writes; an\n"
                    "existing file is replaced only with --force",
                    2, "force", runLoad);

}  // namespace
}  // namespace vkd
