#pragma once
// Runs the built vkd program the way an administrator runs it, standard input closed, and
// keeps what it printed. Only the test programs whose build defines VXKD_VKD_PROGRAM (the
// path of the built vkd) include this.

#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace vxkd_test {

struct VkdResult {
  int code = -1;  // the exit code; -1 when vkd did not end normally
  std::string out;
  std::string err;
};

// `arg` quoted for the shell.
inline std::string shellQuoted(const std::string& arg) {
  std::string q = "'";
  for (char c : arg) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

// Runs vkd with `args`; what it prints passes through the files "stdout" and "stderr" in
// `dir`.
inline VkdResult runVkd(const std::vector<std::string>& args, const TempFolder& dir) {
  std::string command = shellQuoted(VXKD_VKD_PROGRAM);
  for (const std::string& arg : args) command += " " + shellQuoted(arg);
  command += " </dev/null >" + shellQuoted(dir.native("stdout")) + " 2>" +
             shellQuoted(dir.native("stderr"));
  VkdResult run;
  int status = std::system(command.c_str());
  run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.out = dir.read("stdout");
  run.err = dir.read("stderr");
  return run;
}

}  // namespace vxkd_test
