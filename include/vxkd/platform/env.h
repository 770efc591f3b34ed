#pragma once
// CEnv: the operating-system services that the library's files go through (the record
// database, the registry files, the lock file, file times). The default passes each call
// to the system; tests install their own to inject faults: a disk that fills up, a file
// that cannot be read, a lock held elsewhere.
//
// Each primitive returns what the system call of the same meaning returns (-1 with errno
// set on failure), so a caller handles an injected fault exactly like a real one. The
// composite operations below them (read a whole file, replace a file atomically, make
// folders, file status) are built on the primitives only, so that the same faults reach
// them; every file the library touches goes through one or the other.

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "vxkd/platform/export.h"

class VXKD_API CEnv {
 public:
  // An environment destroyed while installed is uninstalled first (the system's takes over).
  // Debug builds stop there: the caller was to install another one beforehand.
  virtual ~CEnv();

  // The installed environment (the system's until another is installed).
  static CEnv& current();
  // Installs `env` (null restores the system's) and returns the one it replaces. The caller
  // keeps ownership and must keep `env` alive while it is installed. REQUIRES the
  // user-interface thread.
  static CEnv* install(CEnv* env);

  // open(2), read(2), write(2), close(2), fsync(2), ftruncate(2), fstat(2), stat(2), unlink(2),
  // rename(2), flock(2).
  virtual int openFile(const std::string& path, int flags, mode_t mode = 0644);
  virtual ssize_t readFile(int fd, void* buffer, size_t size);
  virtual ssize_t writeFile(int fd, const void* data, size_t size);
  virtual int closeFile(int fd);
  virtual int syncFile(int fd);
  virtual int truncateFile(int fd, off_t length);
  virtual int statFd(int fd, struct stat* st);
  virtual int statPath(const std::string& path, struct stat* st);
  virtual int unlinkPath(const std::string& path);
  virtual int renamePath(const std::string& from, const std::string& to);
  virtual int lockFd(int fd, int operation);
  // utimensat(2) relative to the working folder, following links.
  virtual int setPathTimes(const std::string& path, const struct timespec times[2]);
  // mkdir(2), access(2), chmod(2).
  virtual int makeFolder(const std::string& path, mode_t mode);
  virtual int accessPath(const std::string& path, int mode);
  virtual int changeMode(const std::string& path, mode_t mode);
  // The names in the folder `path` (without "." and ".."), in no particular order, into
  // `names`. 0 on success; -1 with errno set when the folder cannot be read (`names` is
  // then empty).
  virtual int listFolder(const std::string& path, std::vector<std::string>& names);

  // --- Composite operations ---

  // The whole content of the file `path` into `data`. 0 on success; otherwise the errno of
  // the failure (ENOENT when there is no such file, EFBIG when it holds more than `maxSize`
  // bytes), and `data` is empty.
  int readWholeFile(const std::string& path, std::string& data, size_t maxSize);
  // Replaces the file `path` by one holding `data` with permission `mode`: a temporary file
  // beside it is written and flushed to the disk, renamed over `path`, and the folder is
  // flushed, so that after a crash at any moment `path` names the old file or the new one,
  // each whole. 0 on success; otherwise the errno of the failure, with `path` untouched and
  // no temporary file left.
  int writeFileAtomically(const std::string& path, std::string_view data, mode_t mode);
  // Creates the folder `path` and every missing folder above it with permission `mode`. 0
  // when `path` is a folder afterwards; otherwise the errno of the failure.
  int makeFolders(const std::string& path, mode_t mode);
  // File status (stat(2) of `path`): true when it names an existing file or folder.
  bool exists(const std::string& path);
  // Flushes the folder `path` to the disk, so that a rename or a creation in it lasts; 0 or
  // the errno of the failure.
  int syncFolder(const std::string& path);

  // Asked by the record database before it writes `size` bytes to the file `path` (the
  // dataset or its journal). 0 lets the write go ahead; an errno value fails it (ENOSPC: the
  // disk is full).
  virtual int checkDatabaseWrite(const std::string& path, size_t size);
};

namespace cuFile {
// The folder part of `path` ("." for a bare name, "/" for a file in the root).
VXKD_API std::string folderOfPath(const std::string& path);
}  // namespace cuFile

// An exclusive advisory lock (flock) on the file `path`, created when missing, held for the
// life of the object and released by its end. Serialises the writers of a file that is
// replaced by rename and so cannot carry the lock itself.
class VXKD_API CFileLockGuard {
 public:
  // Waits until the lock is granted; held() tells whether it was.
  explicit CFileLockGuard(const std::string& path);
  ~CFileLockGuard();
  CFileLockGuard(const CFileLockGuard&) = delete;
  CFileLockGuard& operator=(const CFileLockGuard&) = delete;

  bool held() const { return fd_ >= 0; }

 private:
  CEnv& env_;
  int fd_ = -1;
};
