#include "support/faulty_env.h"

#include <fcntl.h>
#include <sys/file.h>

namespace vxkd_test {

namespace {
// Sets errno and gives the failure result of a system call.
int fail(int error) {
  errno = error;
  return -1;
}
}  // namespace

FaultyEnv::FaultyEnv() : previous_(CEnv::install(this)) {}

FaultyEnv::~FaultyEnv() { CEnv::install(previous_); }

void FaultyEnv::failOpen(const std::string& path, int accessMode, int error) {
  openPath_ = path;
  openMode_ = accessMode;
  openError_ = error;
}

void FaultyEnv::failReads(const std::string& path, int error) {
  readPath_ = path;
  readError_ = error;
}

void FaultyEnv::failDatabaseWrites(int first, int error, bool sticky) {
  dbFailAt_ = first > 0 ? dbWrites_ + first : 0;
  dbError_ = error;
  dbSticky_ = sticky;
}

int FaultyEnv::openFile(const std::string& path, int flags, mode_t mode) {
  if (openError_ && path == openPath_ && (openMode_ < 0 || (flags & O_ACCMODE) == openMode_))
    return fail(openError_);
  int fd = CEnv::openFile(path, flags, mode);
  if (fd >= 0) ++opened_;
  if (path == readPath_) readFd_ = fd;
  return fd;
}

ssize_t FaultyEnv::readFile(int fd, void* buffer, size_t size) {
  if (readError_ && fd == readFd_) return fail(readError_);
  return CEnv::readFile(fd, buffer, size);
}

ssize_t FaultyEnv::writeFile(int fd, const void* data, size_t size) {
  if (writeError_) return fail(writeError_);
  return CEnv::writeFile(fd, data, size);
}

int FaultyEnv::closeFile(int fd) {
  ++closed_;
  if (fd == readFd_) readFd_ = -1;
  return CEnv::closeFile(fd);
}

int FaultyEnv::statFd(int fd, struct stat* st) {
  if (statFdError_) return fail(statFdError_);
  int result = CEnv::statFd(fd, st);
  if (result == 0 && coarseReads_) st->st_mtim.tv_nsec = 0;
  return result;
}

int FaultyEnv::statPath(const std::string& path, struct stat* st) {
  if (statPathError_ && path == statPath_) return fail(statPathError_);
  int result = CEnv::statPath(path, st);
  if (result == 0 && coarseReads_) st->st_mtim.tv_nsec = 0;
  return result;
}

int FaultyEnv::renamePath(const std::string& from, const std::string& to) {
  if (renameError_) return fail(renameError_);
  return CEnv::renamePath(from, to);
}

int FaultyEnv::syncFile(int fd) {
  if (syncError_) return fail(syncError_);
  return CEnv::syncFile(fd);
}

int FaultyEnv::makeFolder(const std::string& path, mode_t mode) {
  if (makeFolderError_) return fail(makeFolderError_);
  return CEnv::makeFolder(path, mode);
}

int FaultyEnv::listFolder(const std::string& path, std::vector<std::string>& names) {
  if (listFolderError_) {
    names.clear();
    return fail(listFolderError_);
  }
  return CEnv::listFolder(path, names);
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

namespace {

// The times as a file system that keeps whole seconds stores them.
void cutToSeconds(const struct timespec times[2], struct timespec cut[2]) {
  cut[0] = times[0];
  cut[1] = times[1];
  if (cut[1].tv_nsec != UTIME_OMIT && cut[1].tv_nsec != UTIME_NOW) cut[1].tv_nsec = 0;
}

}  // namespace

int FaultyEnv::setPathTimes(const std::string& path, const struct timespec times[2]) {
  if (setTimesError_) return fail(setTimesError_);
  struct timespec cut[2];
  cutToSeconds(times, cut);
  return CEnv::setPathTimes(path, wholeSeconds_ ? cut : times);
}

int FaultyEnv::checkDatabaseWrite(const std::string& path, size_t size) {
  ++dbWrites_;
  if (dbFailAt_ > 0 && (dbWrites_ == dbFailAt_ || (dbSticky_ && dbWrites_ > dbFailAt_))) {
    ++dbFailures_;
    return dbError_;
  }
  return CEnv::checkDatabaseWrite(path, size);
}

}  // namespace vxkd_test
