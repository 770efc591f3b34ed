#include "vxkd/platform/file_time.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cwchar>
#include <utility>

#include "platform/pg_dataset.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/paths.h"

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

// The last-write time of the regular file `path`; false when it is no regular file or
// cannot be read. The file is never opened: closing any descriptor of a file drops every
// POSIX lock this process holds on it, and the record database holds such locks on an
// open dataset while its time is read.
bool timeOfPath(CEnv& env, const std::string& path, uint64_t& out) {
  struct stat st {};
  if (env.statPath(path, &st) != 0 || !S_ISREG(st.st_mode)) return false;
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
  uint64_t time = 0;
  if (!isUsablePath(path)) return -1;
  // A dataset on a server has no file: its version stands for the time.
  bool ok = isServerUri(path) ? pgDatasetStamp(nativePath(path), time)
                              : timeOfPath(CEnv::current(), nativePath(path), time);
  if (!ok) return -1;
  out = time;
  return 0;
}

bool CFileTime::touchForward(const wchar_t* path, uint64_t before) {
  if (!isUsablePath(path)) return false;
  CEnv& env = CEnv::current();
  std::string file = nativePath(path);
  uint64_t now = 0;
  bool ok = timeOfPath(env, file, now);
  // A file system with coarse time stamps cuts a finer time; each try takes a ten times
  // larger step until the stored time is later.
  for (uint64_t step = 1; ok && now <= before && step <= kLargestStep; step *= 10) {
    struct timespec times[2] = {{0, UTIME_OMIT}, fromUnits(before + step)};
    ok = env.setPathTimes(file, times) == 0 && timeOfPath(env, file, now);
  }
  return ok && now > before;
}

}  // namespace cuFile
