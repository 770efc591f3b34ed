#pragma once
// Runs a program the build made (the vkd tool) as an administrator would, and keeps what it
// printed and how it ended.

#include <string>
#include <vector>

namespace vxkd_test {

struct ToolRun {
  int status = -1;  // the exit status; -1 when it did not end normally
  std::string out;  // standard output
  std::string err;  // standard error
};

// Runs `program` with `args` and waits for it.
ToolRun runTool(const std::string& program, const std::vector<std::string>& args);

#ifdef VXKD_VKD_PROGRAM
// Runs the vkd tool of the build (the test programs know where it is).
inline ToolRun runVkd(const std::vector<std::string>& args) {
  return runTool(VXKD_VKD_PROGRAM, args);
}
#endif

}  // namespace vxkd_test
