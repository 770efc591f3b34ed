#include "vxkd/platform/lock_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <string>

#include "platform/pg_dataset.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"

namespace {

using Content = std::array<unsigned char, CLockFile::kContentBytes>;

// How often set() starts again when the lock file vanishes or is replaced under it. Each new
// start means another process got on meanwhile, so a few suffice; the bound only keeps a
// file system that misbehaves from holding the caller forever.
constexpr int kMaxAttempts = 64;

bool isHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }

// The owner text as UTF-16, cut to kContentChars units (never inside a surrogate pair),
// filled up with "*", little-endian.
Content buildContent(const wchar_t* owner) {
  std::u16string units = cuSz::toUtf16(owner ? owner : L"");
  if (units.size() > static_cast<size_t>(CLockFile::kContentChars)) {
    units.resize(CLockFile::kContentChars);
    if (isHighSurrogate(units.back())) units.pop_back();
  }
  units.resize(CLockFile::kContentChars, u'*');
  Content bytes{};
  for (size_t i = 0; i < static_cast<size_t>(CLockFile::kContentChars); ++i) {
    bytes[2 * i] = static_cast<unsigned char>(units[i] & 0xFF);
    bytes[2 * i + 1] = static_cast<unsigned char>(units[i] >> 8);
  }
  return bytes;
}

// The owner text of a lock file's first `size` bytes: what precedes the first "*".
std::wstring ownerOf(const Content& bytes, size_t size) {
  std::u16string units;
  for (size_t i = 0; i + 1 < size; i += 2) {
    units.push_back(static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8)));
  }
  size_t star = units.find(u'*');
  if (star != std::u16string::npos) units.resize(star);
  return cuSz::fromUtf16(units);
}

// Reads up to kContentBytes from the start of the open file; false on a read error.
bool readContent(CEnv& env, int fd, Content& bytes, size_t& size) {
  size = 0;
  while (size < bytes.size()) {
    ssize_t n = env.readFile(fd, bytes.data() + size, bytes.size() - size);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) break;
    size += static_cast<size_t>(n);
  }
  return true;
}

// Writes the whole content at the start of the open file and cuts the file after it.
bool writeContent(CEnv& env, int fd, const Content& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t n = env.writeFile(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return env.truncateFile(fd, static_cast<off_t>(bytes.size())) == 0;
}

// True when `path` still names the file open as `fd`; a releasing holder unlinks its file,
// and someone else may have created a new one at the same path since we opened the old one.
bool namesOpenFile(CEnv& env, int fd, const std::string& path) {
  struct stat open {};
  struct stat named {};
  if (env.statFd(fd, &open) != 0 || env.statPath(path, &named) != 0) return false;
  return open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

void copyOwner(wchar_t* otherOwner, const std::wstring& owner) {
  if (otherOwner) cuSz::copyTo(otherOwner, CLockFile::kOwnerBufferChars, owner);
}

// What happened to one attempt at taking the lock through an open descriptor.
enum class Attempt { held, busy, startAgain, failed };

// Takes the exclusive lock on `fd`, checks that `path` still names it and writes `content`.
Attempt holdOpenFile(CEnv& env, int fd, const std::string& path, const Content& content) {
  if (env.lockFd(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return Attempt::busy;
    return errno == EINTR ? Attempt::startAgain : Attempt::failed;
  }
  if (!namesOpenFile(env, fd, path)) return Attempt::startAgain;
  if (!writeContent(env, fd, content)) {
    // The file is ours (locked and still at `path`); leave none behind half-written.
    env.unlinkPath(path);
    return Attempt::failed;
  }
  return Attempt::held;
}

// Reads the owner text of the lock file at `path` into `otherOwner`. Returns lockedByOther,
// lockUnreadable, or 1 when the file has gone meanwhile.
constexpr int kVanished = 1;
int readOwner(CEnv& env, const std::string& path, wchar_t* otherOwner) {
  int fd = env.openFile(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return errno == ENOENT ? kVanished : CLockFile::lockUnreadable;
  Content bytes{};
  size_t size = 0;
  bool readOk = readContent(env, fd, bytes, size);
  env.closeFile(fd);
  if (!readOk) return CLockFile::lockUnreadable;
  copyOwner(otherOwner, ownerOf(bytes, size));
  return CLockFile::lockedByOther;
}

}  // namespace

CLockFile::CLockFile() = default;

CLockFile::~CLockFile() { release(); }

int CLockFile::set(const wchar_t* lockPath, const wchar_t* owner, wchar_t* otherOwner) {
  if (otherOwner) otherOwner[0] = L'\0';
  release();
  if (!lockPath || !*lockPath) return lockCreateFailed;
  if (cuFile::isServerUri(lockPath)) {
    auto lock = std::make_unique<CPgEditLock>();
    std::string other;
    int result = lock->set(cuFile::nativePath(lockPath), cuSz::toUtf8(owner ? owner : L""), other);
    if (result == lockHeld) {
      server_ = std::move(lock);
      path_.set(lockPath);
    }
    std::wstring text = cuSz::fromUtf8(other);
    copyOwner(otherOwner, text.substr(0, text.find(L'*')));
    return result;
  }
  CEnv& env = CEnv::current();
  const std::string native = cuFile::nativePath(lockPath);
  const Content content = buildContent(owner);

  for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
    int fd = env.openFile(native, O_RDWR | O_NOCTTY);
    if (fd < 0) {
      int error = errno;
      if (error == EINTR) continue;
      if (error == ENOENT) {
        // No lock file: create one. Without O_EXCL, one that appeared meanwhile is opened
        // instead, and its lock decides.
        fd = env.openFile(native, O_RDWR | O_CREAT | O_NOCTTY, 0644);
        if (fd < 0) return lockCreateFailed;
      } else if (error == ENOTDIR || error == ENAMETOOLONG || error == ELOOP) {
        return lockCreateFailed;  // the path cannot name a lock file
      }
      // Any other failure (no permission to write, say) means a file is there that we cannot
      // take: it counts as held, and its owner is read below.
    }
    if (fd >= 0) {
      Attempt result = holdOpenFile(env, fd, native, content);
      if (result == Attempt::held) {
        handle_ = fd;
        path_.set(lockPath);
        return lockHeld;
      }
      env.closeFile(fd);
      if (result == Attempt::failed) return lockCreateFailed;
      if (result == Attempt::startAgain) continue;
    }
    int found = readOwner(env, native, otherOwner);
    if (found != kVanished) return found;
  }
  return lockCreateFailed;
}

void CLockFile::release() {
  if (server_) {
    server_.reset();
    path_.empty();
  }
  if (handle_ < 0) return;
  CEnv& env = CEnv::current();
  const std::string native = cuFile::nativePath(path_);
  // Unlink before closing: once closed, another process may take the lock, and the file at
  // the path would then be theirs. Should someone have replaced our file anyway (deleted it
  // by hand), theirs is left alone.
  if (namesOpenFile(env, handle_, native)) env.unlinkPath(native);
  env.closeFile(handle_);
  handle_ = -1;
  path_.empty();
}

CWsz CLockFile::lockFileNameFor(const wchar_t* datasetPath) {
  if (cuFile::isServerUri(datasetPath)) return CWsz(datasetPath);
  std::wstring path = datasetPath ? datasetPath : L"";
  if (path.size() < 3) return CWsz();
  std::wstring lock = path.substr(0, path.size() - 3) + L"lck";
  // The lock would be the dataset itself (set() would overwrite it), or the replaced
  // characters reach into the folder part: such a name cannot carry a lock file.
  if (lock == path || path.find(L'/', path.size() - 3) != std::wstring::npos) return CWsz();
  return CWsz(std::move(lock));
}

int CLockFile::queryOwner(const wchar_t* lockPath, wchar_t* otherOwner) {
  if (otherOwner) otherOwner[0] = L'\0';
  if (!lockPath || !*lockPath) return queryNoLockFile;
  if (cuFile::isServerUri(lockPath)) {
    std::string owner;
    int result = CPgEditLock::query(cuFile::nativePath(lockPath), owner);
    copyOwner(otherOwner, cuSz::fromUtf8(owner));
    return result;
  }
  CEnv& env = CEnv::current();
  int fd = env.openFile(cuFile::nativePath(lockPath), O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return errno == ENOENT || errno == ENOTDIR ? queryNoLockFile : queryUnreadable;
  Content bytes{};
  size_t size = 0;
  int result = queryUnreadable;
  if (readContent(env, fd, bytes, size)) {
    // A shared lock is granted unless someone holds the exclusive one; closing drops it.
    if (env.lockFd(fd, LOCK_SH | LOCK_NB) == 0) {
      result = queryStale;
    } else if (errno == EWOULDBLOCK) {
      result = queryLockedByOther;
    }
  }
  env.closeFile(fd);
  if (result != queryUnreadable) copyOwner(otherOwner, ownerOf(bytes, size));
  return result;
}
