#pragma once
// FaultyEnv: a CEnv that fails chosen system calls and counts the files it opens, so that a
// test can put an unreadable file, a full disk or a clumsy file system under the library.

#include <cerrno>
#include <functional>
#include <string>

#include "vxkd/platform/env.h"

namespace vxkd_test {

// Installs itself for its lifetime and restores the previous environment afterwards. Every
// call not made to fail passes to the system.
class FaultyEnv : public CEnv {
 public:
  FaultyEnv();
  ~FaultyEnv() override;
  FaultyEnv(const FaultyEnv&) = delete;
  FaultyEnv& operator=(const FaultyEnv&) = delete;

  // Fails each open(2) of `path` whose access mode is `accessMode` (O_RDONLY, O_WRONLY or
  // O_RDWR; -1 for any) with errno `error`.
  void failOpen(const std::string& path, int accessMode, int error);
  // Fails each read(2) from a descriptor opened for `path` with `error` (0 stops failing).
  void failReads(const std::string& path, int error);
  // Fails every write(2), fstat(2), utimensat(2) or rename(2) with `error` (0 stops failing).
  void failWrites(int error) { writeError_ = error; }
  void failStatFd(int error) { statFdError_ = error; }
  // Fails each stat(2) of `path` with `error` (0 stops failing).
  void failStatPath(const std::string& path, int error) {
    statPath_ = path;
    statPathError_ = error;
  }
  void failSetTimes(int error) { setTimesError_ = error; }
  void failRenames(int error) { renameError_ = error; }
  // Fails every fsync(2), mkdir(2) or folder listing with `error` (0 stops failing).
  void failSyncs(int error) { syncError_ = error; }
  void failMakeFolders(int error) { makeFolderError_ = error; }
  void failListFolders(int error) { listFolderError_ = error; }
  // The `first`-th database write from now on (counting from 1) fails with `error`, and every
  // later one too when `sticky` (a disk stays full). 0 lets every write through.
  void failDatabaseWrites(int first, int error = ENOSPC, bool sticky = true);
  // Keeps only the whole seconds of the times set, as a file system with a coarse clock does.
  void keepWholeSeconds(bool on) { wholeSeconds_ = on; }
  // A file system whose clock keeps whole seconds: times set and times read are both cut,
  // so that saves within one second carry the same time unless the writer moves it on.
  void coarseClock(bool on) { wholeSeconds_ = coarseReads_ = on; }
  // Runs `hook` with the descriptor after each granted flock(2), before the caller goes on.
  void onLockGranted(std::function<void(int fd)> hook) { lockHook_ = std::move(hook); }

  // Descriptors opened (successfully) and closed through this environment.
  int opened() const { return opened_; }
  int closed() const { return closed_; }
  // Database writes asked about so far, and how many of them failed.
  int databaseWrites() const { return dbWrites_; }
  int databaseWriteFailures() const { return dbFailures_; }

  int openFile(const std::string& path, int flags, mode_t mode) override;
  ssize_t readFile(int fd, void* buffer, size_t size) override;
  ssize_t writeFile(int fd, const void* data, size_t size) override;
  int closeFile(int fd) override;
  int statFd(int fd, struct stat* st) override;
  int statPath(const std::string& path, struct stat* st) override;
  int renamePath(const std::string& from, const std::string& to) override;
  int syncFile(int fd) override;
  int makeFolder(const std::string& path, mode_t mode) override;
  int listFolder(const std::string& path, std::vector<std::string>& names) override;
  int lockFd(int fd, int operation) override;
  int setPathTimes(const std::string& path, const struct timespec times[2]) override;
  int checkDatabaseWrite(const std::string& path, size_t size) override;

 private:
  CEnv* previous_ = nullptr;
  std::string openPath_;
  int openMode_ = -1;
  int openError_ = 0;
  std::string readPath_;
  int readFd_ = -1;
  int readError_ = 0;
  int writeError_ = 0;
  int statFdError_ = 0;
  std::string statPath_;
  int statPathError_ = 0;
  int setTimesError_ = 0;
  int renameError_ = 0;
  int syncError_ = 0;
  int makeFolderError_ = 0;
  int listFolderError_ = 0;
  bool wholeSeconds_ = false;
  bool coarseReads_ = false;
  std::function<void(int)> lockHook_;
  int opened_ = 0;
  int closed_ = 0;
  int dbWrites_ = 0;
  int dbFailures_ = 0;
  int dbFailAt_ = 0;
  int dbError_ = ENOSPC;
  bool dbSticky_ = true;
};

}  // namespace vxkd_test
