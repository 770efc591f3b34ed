// vkd lock-status FILE.vkd: whether a dataset is locked for an update, and by whom. The exit
// status tells it to a script: 0 free, 3 locked by someone, 4 a stale lock file left.

#include <cstdio>

#include "tool.h"
#include "vxkd/platform/paths.h"

namespace vkd {
namespace {

int runLockStatus(const std::vector<std::string>& args, const Options&, ToolUiBackend&) {
  const CWsz path = CWsz::fromUtf8(args[0].c_str());
  std::string why;
  const CWsz lockPath = lockFileOf(path, why);
  if (lockPath.isEmpty()) return failInput(why);
  if (!cuFile::exists(path)) return failInput("no such dataset: " + args[0]);
  wchar_t owner[CLockFile::kOwnerBufferChars] = {};
  switch (CLockFile::queryOwner(lockPath, owner)) {
    case CLockFile::queryNoLockFile:
      std::printf("%s: not locked\n", args[0].c_str());
      return exitOk;
    case CLockFile::queryStale:
      std::printf(
          "%s: not locked (a stale lock file %s is left by a program that ended; the "
          "next update takes it over)\n",
          args[0].c_str(), narrow(lockPath).c_str());
      return exitStaleLock;
    case CLockFile::queryLockedByOther:
      std::printf("%s: locked for an update by %s (%s)\n", args[0].c_str(),
                  *owner ? narrow(owner).c_str() : "another user", narrow(lockPath).c_str());
      return exitLocked;
    default:
      return failInput("cannot read the lock file " + narrow(lockPath));
  }
}

const Command kLockStatus("lock-status", "FILE.vkd",
                          "show whether the dataset is locked for an update, and by whom\n"
                          "(exit status 0 free, 3 locked, 4 a stale lock file left)",
                          1, "", runLockStatus,
                          "The lock file lies beside the dataset: its name with the last three\n"
                          "characters replaced by \"lck\". A lock file that nobody holds is left\n"
                          "by a program that ended without releasing it; the next update takes it\n"
                          "over.",
                          "exit status: 0 the dataset is not locked; 3 someone holds its lock\n"
                          "(the words say who); 4 a stale lock file is left, nobody holds it;\n"
                          "2 a wrong command line, no such dataset, or a lock file that cannot\n"
                          "be read");

}  // namespace
}  // namespace vkd
