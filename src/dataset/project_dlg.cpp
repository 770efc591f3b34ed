#include "vxkd/dataset/project_dlg.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>

#include "platform/ui_thread.h"
#include "vxkd/foundation/startup.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/paths.h"
#include "vxkd/ui/message_box.h"

extern char** environ;

namespace {

// The installed bin folder relative to the installed library's folder; the build sets it
// from the installation folders it was configured with.
#ifndef VXKD_BIN_DIR_FROM_LIBRARY
#define VXKD_BIN_DIR_FROM_LIBRARY "../bin"
#endif

constexpr wchar_t kFrontEnd[] = L"vkd-edit";

bool isProgram(const CWsz& path) {
  struct stat st {};
  return CEnv::current().statPath(cuFile::nativePath(path), &st) == 0 && S_ISREG(st.st_mode) &&
         (st.st_mode & 0111) != 0;
}

// The installed front end, or "" when there is none.
CWsz findFrontEnd() {
  CWsz installedBin =
      cuFile::joinPath(cuFile::libraryFolder(), CWsz::fromUtf8(VXKD_BIN_DIR_FROM_LIBRARY));
  for (const CWsz& folder : {VxKd::programFolder(), installedBin}) {
    CWsz program = cuFile::joinPath(folder, kFrontEnd);
    if (!folder.isEmpty() && isProgram(program)) return program;
  }
  return CWsz();
}

// Runs `program` with the dataset's path as its one argument and waits for it. False when it
// cannot be started; otherwise true, with `succeeded` telling whether it exited with 0.
bool runFrontEnd(const CWsz& program, const CWsz& dataset, bool& succeeded) {
  std::string path = cuFile::nativePath(program);
  std::string file = cuFile::nativePath(dataset);
  char* argv[] = {path.data(), file.data(), nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, path.c_str(), nullptr, nullptr, argv, environ) != 0) return false;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0)
    if (errno != EINTR) return false;
  succeeded = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  return true;
}

}  // namespace

extern "C" bool vxkdui_projectDlg(cuWin::HWND parent, CKdProject* project) {
  VXKD_ASSERT_UI_THREAD();
  assert(project && "vxkdui_projectDlg needs the host's project");
  if (!project) {
    VxKd::msgBox(parent, 0, L"Application error: vxkdui_projectDlg without a project", 0,
                 VxKd::appTitle(), cuWin::MB_OK, cuWin::MB_ICONSTOP);
    return false;
  }
  if (!project->timeStamp().isBound()) {
    VxKd::msgErrorBox(parent, 18103, L"#Save the dataset before editing it");
    return false;
  }
  CWsz frontEnd = findFrontEnd();
  if (frontEnd.isEmpty()) {
    VxKd::msgErrorBox(parent, 18101, L"#The dataset editor is not installed");
    return false;
  }
  bool succeeded = false;
  if (!runFrontEnd(frontEnd, project->fileName(), succeeded)) {
    VxKd::msgErrorBox(parent, 18102, L"#The dataset editor cannot be started");
    return false;
  }
  // Whatever the editor saved before it ended is the project's content from now on.
  project->checkUpdated(parent, false);
  return succeeded;
}
