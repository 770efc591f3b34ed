#include "support/run_tool.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/temp_folder.h"

namespace vxkd_test {

ToolRun runTool(const std::string& program, const std::vector<std::string>& args) {
  ToolRun run;
  TempFolder folder;
  const std::string outPath = folder.native("out"), errPath = folder.native("err");
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);

  pid_t pid = fork();
  if (pid == 0) {
    // Files rather than pipes: nothing to drain while waiting, however much it prints.
    int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int in = open("/dev/null", O_RDONLY);  // no terminal: boxes take their safe answer
    if (out < 0 || err < 0 || in < 0) _exit(126);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  int status = 0;
  if (pid < 0 || waitpid(pid, &status, 0) != pid) return run;
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  run.out = readBytes(outPath);
  run.err = readBytes(errPath);
  return run;
}

}  // namespace vxkd_test
