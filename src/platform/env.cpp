#include "vxkd/platform/env.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdio>

#include "platform/ui_thread.h"

namespace {

CEnv& systemEnv() {
  static CEnv env;
  return env;
}

CEnv* gInstalled = nullptr;

}  // namespace

CEnv& CEnv::current() { return gInstalled ? *gInstalled : systemEnv(); }

CEnv::~CEnv() {
  assert(gInstalled != this && "an environment is destroyed while installed");
  if (gInstalled == this) gInstalled = nullptr;
}

CEnv* CEnv::install(CEnv* env) {
  VXKD_ASSERT_UI_THREAD();
  CEnv* previous = &current();
  // The system's environment is installed as none: it outlives every installation.
  gInstalled = env == &systemEnv() ? nullptr : env;
  return previous;
}

int CEnv::openFile(const std::string& path, int flags, mode_t mode) {
  return ::open(path.c_str(), flags | O_CLOEXEC, mode);
}

ssize_t CEnv::readFile(int fd, void* buffer, size_t size) { return ::read(fd, buffer, size); }

ssize_t CEnv::writeFile(int fd, const void* data, size_t size) { return ::write(fd, data, size); }

int CEnv::closeFile(int fd) { return ::close(fd); }

int CEnv::syncFile(int fd) { return ::fsync(fd); }

int CEnv::truncateFile(int fd, off_t length) { return ::ftruncate(fd, length); }

int CEnv::statFd(int fd, struct stat* st) { return ::fstat(fd, st); }

int CEnv::statPath(const std::string& path, struct stat* st) { return ::stat(path.c_str(), st); }

int CEnv::unlinkPath(const std::string& path) { return ::unlink(path.c_str()); }

int CEnv::renamePath(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str());
}

int CEnv::lockFd(int fd, int operation) { return ::flock(fd, operation); }

int CEnv::setPathTimes(const std::string& path, const struct timespec times[2]) {
  return ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

int CEnv::checkDatabaseWrite(const std::string&, size_t) { return 0; }
