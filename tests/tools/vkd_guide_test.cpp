// The examples of the user guide (docs/guide.md) print what the guide says they print. Each
// "```console" block holds commands ("$ " lines, run by the shell with the built vkd first
// on the PATH) and, below each, what it prints on standard output and standard error. The
// blocks run one after the other in one empty folder, as a reader would type them; times
// of day are the only text that may differ.

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/vkd_runner.h"

namespace {

using vxkd_test::shellQuoted;
using vxkd_test::TempFolder;

struct Example {
  int line = 0;         // of the command in the guide, counting from 1
  std::string command;  // without the "$ "
  std::string output;   // every line below it, each with its line end
};

std::string guidePath() { return std::string(VXKD_TEST_SOURCE_DIR) + "/../docs/guide.md"; }

std::vector<Example> examplesOf(const std::string& path) {
  std::ifstream in(path);
  std::vector<Example> examples;
  bool inBlock = false;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (!inBlock) {
      inBlock = line == "```console";
    } else if (line == "```") {
      inBlock = false;
    } else if (line.rfind("$ ", 0) == 0) {
      examples.push_back({number, line.substr(2), ""});
    } else if (!examples.empty()) {
      examples.back().output += line + "\n";
    }
  }
  return examples;
}

// What `command` prints, both streams as a terminal shows them, run in `folder`.
std::string run(const std::string& command, const std::string& folder) {
  std::string program = VXKD_VKD_PROGRAM;
  const std::string bin = program.substr(0, program.rfind('/'));
  const std::string shell = "cd " + shellQuoted(folder) + " && PATH=" + shellQuoted(bin) +
                            ":\"$PATH\" && export PATH && { " + command + "\n} 2>&1";
  std::string out;
  if (FILE* pipe = popen(shell.c_str(), "r")) {
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    pclose(pipe);
  }
  return out;
}

// Times of day ("2024-05-02 10:30:00") stand for one another.
std::string withoutTimes(const std::string& text) {
  static const std::regex kTime("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}");
  return std::regex_replace(text, kTime, "<time>");
}

TEST(VkdGuide, EveryExamplePrintsWhatTheGuideSays) {
  const std::vector<Example> examples = examplesOf(guidePath());
  ASSERT_GT(examples.size(), 40u) << guidePath();
  TempFolder folder;
  for (const Example& example : examples) {
    EXPECT_EQ(withoutTimes(run(example.command, folder.native())), withoutTimes(example.output))
        << "docs/guide.md:" << example.line << ": $ " << example.command;
  }
}

// Each command that `vkd --help` lists has an example.
TEST(VkdGuide, EveryCommandHasAnExample) {
  const std::vector<Example> examples = examplesOf(guidePath());
  TempFolder folder;
  std::istringstream help(run("vkd --help", folder.native()));
  std::vector<std::string> commands;
  bool inCommands = false;
  for (std::string line; std::getline(help, line);) {
    if (line == "commands:") {
      inCommands = true;
      continue;
    }
    if (!inCommands || line.size() < 3 || line[2] < 'a' || line[2] > 'z') {
      if (inCommands && line.rfind("  --", 0) == 0) break;
      continue;
    }
    commands.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  ASSERT_GE(commands.size(), 14u);
  for (const std::string& command : commands) {
    bool found = false;
    for (const Example& example : examples)
      found = found || example.command.rfind("vkd " + command + " ", 0) == 0;
    EXPECT_TRUE(found) << "no example of vkd " << command;
  }
}

}  // namespace
