// vkd: the command line of the dataset administrator. Each command lives in a source file
// of its own (new.cpp, info.cpp, list.cpp, lock_status.cpp, import_lin.cpp, ...); this file
// reads the command line and runs the command.
//
// Options are parsed with getopt_long and may stand anywhere; "--" ends them, so that a
// file name may begin with "-". Failures print one line on standard error and exit with 1;
// a wrong command line exits with 2; lock-status has exit statuses of its own (tool.h).

#include <getopt.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tool.h"
#include "vxkd/foundation/startup.h"
#include "vxkd/platform/host.h"
#include "vxkd/platform/ui_backend.h"

namespace vkd {
namespace {

std::string usage() {
  std::string text =
      "usage: vkd COMMAND [OPTIONS] FILE.vkd [ARGUMENTS]\n"
      "\n"
      "Look after the dataset files of Vantrix KD.\n"
      "\n"
      "commands:\n";
  for (const Command* command : commands()) {
    std::string head = "  " + std::string(command->name) + " " + command->usage;
    std::string help = command->help;
    // The help's lines start in the third column; a long head gets a line of its own.
    std::string indent(30, ' ');
    text += head.size() < indent.size() ? head + std::string(indent.size() - head.size(), ' ')
                                        : head + "\n" + indent;
    for (size_t i = 0; i < help.size(); ++i) {
      text += help[i];
      if (help[i] == '\n' && i + 1 < help.size()) text += indent;
    }
    text += "\n";
  }
  text +=
      "  --help                      show this text\n"
      "  --version                   show the version of vkd and its library\n"
      "\n"
      "kinds of definition for list:\n";
  for (const ListKind* kind : listKinds()) {
    const std::string head =
        std::string(kind->name) + (*kind->argument ? " " : "") + kind->argument;
    text +=
        "  " + head + std::string(head.size() < 24 ? 24 - head.size() : 1, ' ') + kind->help + "\n";
  }
  text += "\nkinds of definition for preview:\n";
  for (const PreviewKind* kind : previewKinds()) {
    const std::string head = std::string(kind->name) + " " + kind->argument;
    text +=
        "  " + head + std::string(head.size() < 24 ? 24 - head.size() : 1, ' ') + kind->help + "\n";
  }
  return text;
}

int usageError(const std::string& message) {
  std::fprintf(stderr, "vkd: %s\n%s", message.c_str(), usage().c_str());
  return exitUsage;
}

const Command* findCommand(const std::string& name) {
  for (const Command* command : commands())
    if (name == command->name) return command;
  return nullptr;
}

// True when `command` accepts the long option `name`.
bool accepts(const Command& command, const char* name) {
  std::string list = std::string(",") + command.options + ",";
  return list.find(std::string(",") + name + ",") != std::string::npos;
}

}  // namespace
}  // namespace vkd

int main(int argc, char** argv) {
  using namespace vkd;
  enum {
    optForce = 'f',
    optSample = 's',
    optHelp = 'h',
    optVersion = 'V',
    optOutput = 'o',
    optFormat = 256,  // long options only from here
    optPlan,
    optWritePlan,
    optDryRun,
  };
  static const option kOptions[] = {
      {"force", no_argument, nullptr, optForce},
      {"sample", no_argument, nullptr, optSample},
      {"help", no_argument, nullptr, optHelp},
      {"version", no_argument, nullptr, optVersion},
      {"output", required_argument, nullptr, optOutput},
      {"format", required_argument, nullptr, optFormat},
      {"plan", required_argument, nullptr, optPlan},
      {"write-plan", required_argument, nullptr, optWritePlan},
      {"dry-run", no_argument, nullptr, optDryRun},
      {nullptr, 0, nullptr, 0},
  };
  Options options;
  bool version = false;
  std::vector<const char*> given;  // the long names of the options given
  opterr = 0;                      // the messages are ours
  int c;
  while ((c = getopt_long(argc, argv, ":fshVo:", kOptions, nullptr)) != -1) {
    switch (c) {
      case optForce:
        options.force = true;
        break;
      case optSample:
        options.sample = true;
        break;
      case optHelp:
        std::printf("%s", usage().c_str());
        return exitOk;
      case optVersion:
        version = true;
        break;
      case optOutput:
        options.output = optarg;
        break;
      case optFormat:
        options.format = optarg;
        if (options.format != "text" && options.format != "json")
          return usageError("--format takes text or json, not \"" + options.format + "\"");
        break;
      case optPlan:
        options.plan = optarg;
        break;
      case optWritePlan:
        options.writePlan = optarg;
        break;
      case optDryRun:
        options.dryRun = true;
        break;
      case ':':
        if (std::strcmp(argv[optind - 1], "--format") == 0)
          return usageError("option --format needs text or json");
        return usageError("option " + std::string(argv[optind - 1]) + " needs a file name");
      default:
        return usageError("unknown option " + std::string(argv[optind - 1]));
    }
    if (c != optVersion)
      for (const option* o = kOptions; o->name; ++o)
        if (o->val == c) given.push_back(o->name);
  }
  std::vector<std::string> args(argv + optind, argv + argc);
  if (version) {
    if (!args.empty() || !given.empty()) return usageError("unknown command line");
    int number = vxkdui_version_nmb();
    std::printf("vkd %d.%d\n", number / 100, number % 100);
    return exitOk;
  }
  if (args.empty()) return usageError("no command given");
  if (args[0] == "help") {
    std::printf("%s", usage().c_str());
    return exitOk;
  }
  const Command* command = findCommand(args[0]);
  if (!command) return usageError("unknown command \"" + args[0] + "\"");
  args.erase(args.begin());
  if (static_cast<int>(args.size()) < command->argCount ||
      static_cast<int>(args.size()) > command->maxArgCount)
    return usageOf(*command);
  for (const char* name : given)
    if (!accepts(*command, name))
      return usageError(std::string(command->name) + " has no option --" + name);

  ToolUiBackend ui;
  CUiBackend::install(&ui);
  VxKd::initVxKd();
  int result =
      command->runWithOptions ? command->runWithOptions(args, options, ui) : command->run(args, ui);
  VxKd::exitVxKd();
  CUiBackend::install(nullptr);
  return result;
}
