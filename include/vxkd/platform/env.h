#pragma once
// CEnv: the operating-system services that the library's files go through (the record
// database, the registry files, the lock file, file times). The default passes each call
// to the system; tests install their own to inject faults: a disk that fills up, a file
// that cannot be read, a lock held elsewhere.
//
// Each method returns what the system call of the same meaning returns (-1 with errno set
// on failure), so a caller handles an injected fault exactly like a real one.

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <string>

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

  // Asked by the record database before it writes `size` bytes to the file `path` (the
  // dataset or its journal). 0 lets the write go ahead; an errno value fails it (ENOSPC: the
  // disk is full).
  virtual int checkDatabaseWrite(const std::string& path, size_t size);
};
