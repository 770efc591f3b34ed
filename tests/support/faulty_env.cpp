#include "support/faulty_env.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace vxkd_test {

FaultyEnv::FaultyEnv() : previous_(CEnv::install(this)) {}

FaultyEnv::~FaultyEnv() { CEnv::install(previous_); }

void FaultyEnv::failOpen(const std::string& path, int accessMode, int error) {
  openPath_ = path;
  openMode_ = accessMode;
  openError_ = error;
}

int FaultyEnv::openFile(const std::string& path, int flags, mode_t mode) {
  lastOpenFlags_ = flags;
  if (openError_ && path == openPath_ && (openMode_ < 0 || (flags & O_ACCMODE) == openMode_)) {
    errno = openError_;
    return -1;
  }
  int fd = CEnv::openFile(path, flags, mode);
  if (fd >= 0) ++opened_;
  return fd;
}

ssize_t FaultyEnv::writeFile(int fd, const void* data, size_t size) {
  if (writeError_) {
    errno = writeError_;
    return -1;
  }
  return CEnv::writeFile(fd, data, size);
}

int FaultyEnv::closeFile(int fd) {
  ++closed_;
  return CEnv::closeFile(fd);
}

int FaultyEnv::statFd(int fd, struct stat* st) {
  if (statFdError_) {
    errno = statFdError_;
    return -1;
  }
  return CEnv::statFd(fd, st);
}

int FaultyEnv::lockFd(int fd, int operation) {
  int result = CEnv::lockFd(fd, operation);
  if (result == 0 && !(operation & LOCK_UN) && lockHook_) {
    int saved = errno;
    lockHook_(fd);
    errno = saved;
  }
  return result;
}

int FaultyEnv::setFdTimes(int fd, const struct timespec times[2]) {
  if (setTimesError_) {
    errno = setTimesError_;
    return -1;
  }
  if (!wholeSeconds_) return CEnv::setFdTimes(fd, times);
  struct timespec cut[2] = {times[0], times[1]};
  if (cut[1].tv_nsec != UTIME_OMIT && cut[1].tv_nsec != UTIME_NOW) cut[1].tv_nsec = 0;
  return CEnv::setFdTimes(fd, cut);
}

}  // namespace vxkd_test
