#include "platform/file_time.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cwchar>
#include <utility>

#include "platform/env.h"
#include "platform/paths.h"

namespace cuFile {

namespace {

constexpr uint64_t kNanosPerUnit = 100;

// Times before 1970 cannot be told from "unknown" and read as 0.
uint64_t toUnits(const struct timespec& t) {
  if (t.tv_sec < 0) return 0;
  return static_cast<uint64_t>(t.tv_sec) * CFileTime::kUnitsPerSecond +
         static_cast<uint64_t>(t.tv_nsec) / kNanosPerUnit;
}

struct timespec fromUnits(uint64_t units) {
  struct timespec t {};
  t.tv_sec = static_cast<time_t>(units / CFileTime::kUnitsPerSecond);
  t.tv_nsec = static_cast<long>((units % CFileTime::kUnitsPerSecond) * kNanosPerUnit);
  return t;
}

bool isUsablePath(const wchar_t* path) {
  return path && *path && std::wcslen(path) <= static_cast<size_t>(CFileTime::kMaxPath);
}

// The last-write time of the open file `fd`; false when it is not a regular file or fstat
// fails.
bool timeOfFd(CEnv& env, int fd, uint64_t& out) {
  struct stat st {};
  if (env.statFd(fd, &st) != 0 || !S_ISREG(st.st_mode)) return false;
  out = toUnits(st.st_mtim);
  return true;
}

// The largest step touchForward tries: ten seconds covers every file system's time stamp
// granularity (FAT keeps two seconds).
constexpr uint64_t kLargestStep = 10 * CFileTime::kUnitsPerSecond;

}  // namespace

int CFileTime::initFor(const wchar_t* path) {
  CWsz wanted(path);  // `path` may be our own path_, which is emptied next
  path_.empty();
  if (getUpdateTimeOf(wanted, time_) != 0) return -1;
  path_ = std::move(wanted);
  return 0;
}

int CFileTime::isModified(bool takeNewTime) {
  if (!isBound()) return -3;
  uint64_t now = 0;
  if (getUpdateTimeOf(path_, now) != 0) return -1;
  if (now <= time_) return 0;
  if (takeNewTime) time_ = now;
  return 1;
}

int CFileTime::update() {
  if (!isBound()) return -3;
  return getUpdateTimeOf(path_, time_) == 0 ? 0 : -1;
}

int CFileTime::getUpdateTimeOf(const wchar_t* path, uint64_t& out) {
  out = 0;
  if (!isUsablePath(path)) return -1;
  CEnv& env = CEnv::current();
  // O_NONBLOCK: a FIFO at the path must not hang the caller; it is refused below.
  int fd = env.openFile(nativePath(path), O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return -1;
  uint64_t time = 0;
  bool ok = timeOfFd(env, fd, time);
  env.closeFile(fd);
  if (!ok) return -1;
  out = time;
  return 0;
}

bool CFileTime::touchForward(const wchar_t* path, uint64_t before) {
  if (!isUsablePath(path)) return false;
  CEnv& env = CEnv::current();
  // Setting explicit times needs ownership of the file, not write access to it.
  int fd = env.openFile(nativePath(path), O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return false;
  uint64_t now = 0;
  bool ok = timeOfFd(env, fd, now);
  // A file system with coarse time stamps cuts a finer time; each try takes a ten times
  // larger step until the stored time is later.
  for (uint64_t step = 1; ok && now <= before && step <= kLargestStep; step *= 10) {
    struct timespec times[2] = {{0, UTIME_OMIT}, fromUnits(before + step)};
    ok = env.setFdTimes(fd, times) == 0 && timeOfFd(env, fd, now);
  }
  env.closeFile(fd);
  return ok && now > before;
}

}  // namespace cuFile
