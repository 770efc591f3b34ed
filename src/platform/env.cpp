#include "vxkd/platform/env.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/ui_thread.h"

namespace {

CEnv& systemEnv() {
  static CEnv env;
  return env;
}

CEnv* gInstalled = nullptr;

// Retries a primitive that an interrupting signal cut short.
template <typename Call>
auto retryOnInterrupt(Call call) {
  decltype(call()) result;
  do result = call();
  while (result < 0 && errno == EINTR);
  return result;
}

// The errno of the last failure, never 0 (a primitive that failed without saying why).
int lastError() { return errno != 0 ? errno : EIO; }

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

int CEnv::makeFolder(const std::string& path, mode_t mode) { return ::mkdir(path.c_str(), mode); }

int CEnv::accessPath(const std::string& path, int mode) { return ::access(path.c_str(), mode); }

int CEnv::changeMode(const std::string& path, mode_t mode) { return ::chmod(path.c_str(), mode); }

int CEnv::listFolder(const std::string& path, std::vector<std::string>& names) {
  names.clear();
  DIR* dir = ::opendir(path.c_str());
  if (!dir) return -1;
  errno = 0;
  while (const dirent* entry = ::readdir(dir)) {
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
      names.emplace_back(entry->d_name);
  }
  int error = errno;
  ::closedir(dir);
  if (error == 0) return 0;
  names.clear();
  errno = error;
  return -1;
}

int CEnv::checkDatabaseWrite(const std::string&, size_t) { return 0; }

// ---------------------------------------------------------------------------------------
// Composite operations

int CEnv::readWholeFile(const std::string& path, std::string& data, size_t maxSize) {
  data.clear();
  int fd = retryOnInterrupt([&] { return openFile(path, O_RDONLY | O_NOCTTY); });
  if (fd < 0) return lastError();
  int error = 0;
  char chunk[65536];
  for (;;) {
    ssize_t n = readFile(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      error = lastError();
      break;
    }
    if (n == 0) break;
    if (data.size() + static_cast<size_t>(n) > maxSize) {
      error = EFBIG;
      break;
    }
    data.append(chunk, static_cast<size_t>(n));
  }
  closeFile(fd);
  if (error != 0) data.clear();
  return error;
}

int CEnv::writeFileAtomically(const std::string& path, std::string_view data, mode_t mode) {
  // A name of our own beside the target: two writers never share a temporary file.
  static std::atomic<unsigned> counter{0};
  std::string temp;
  int fd = -1;
  for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
    temp = path + ".tmp." + std::to_string(::getpid()) + "." + std::to_string(counter++);
    fd = retryOnInterrupt(
        [&] { return openFile(temp, O_WRONLY | O_CREAT | O_EXCL | O_NOCTTY, mode); });
    if (fd < 0 && errno != EEXIST) return lastError();
  }
  if (fd < 0) return EEXIST;
  int error = 0;
  for (size_t done = 0; error == 0 && done < data.size();) {
    ssize_t n = writeFile(fd, data.data() + done, data.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0)
      error = n < 0 ? lastError() : EIO;
    else
      done += static_cast<size_t>(n);
  }
  if (error == 0 && syncFile(fd) != 0) error = lastError();
  if (closeFile(fd) != 0 && error == 0) error = lastError();
  if (error == 0 && renamePath(temp, path) != 0) error = lastError();
  if (error != 0) {
    unlinkPath(temp);
    return error;
  }
  // Without this the rename might not outlive a crash; the old file would come back, which
  // is still a whole file, so a failure here is not one of the write.
  syncFolder(cuFile::folderOfPath(path));
  return 0;
}

int CEnv::syncFolder(const std::string& path) {
  int fd = openFile(path, O_RDONLY | O_DIRECTORY);
  if (fd < 0) return lastError();
  int error = syncFile(fd) == 0 ? 0 : lastError();
  closeFile(fd);
  return error;
}

int CEnv::makeFolders(const std::string& path, mode_t mode) {
  if (path.empty()) return ENOENT;
  struct stat st {};
  if (statPath(path, &st) == 0) return S_ISDIR(st.st_mode) ? 0 : ENOTDIR;
  // Each folder on the way, from the top down; one that exists already is fine.
  for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
    std::string folder = path.substr(0, slash);
    if (!folder.empty() && folder.back() != '/' && makeFolder(folder, mode) != 0 && errno != EEXIST)
      return lastError();
    if (slash == std::string::npos) break;
  }
  if (statPath(path, &st) != 0) return lastError();
  return S_ISDIR(st.st_mode) ? 0 : ENOTDIR;
}

bool CEnv::exists(const std::string& path) {
  struct stat st {};
  return !path.empty() && statPath(path, &st) == 0;
}

std::string cuFile::folderOfPath(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// ---------------------------------------------------------------------------------------
// CFileLockGuard

CFileLockGuard::CFileLockGuard(const std::string& path) : env_(CEnv::current()) {
  fd_ = env_.openFile(path, O_RDWR | O_CREAT | O_NOCTTY, 0644);
  if (fd_ < 0) return;
  if (retryOnInterrupt([&] { return env_.lockFd(fd_, LOCK_EX); }) != 0) {
    env_.closeFile(fd_);
    fd_ = -1;
  }
}

CFileLockGuard::~CFileLockGuard() {
  if (fd_ < 0) return;
  env_.lockFd(fd_, LOCK_UN);
  env_.closeFile(fd_);
}
