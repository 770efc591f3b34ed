#pragma once
// CLockFile: the lock file beside a shared dataset that whoever stores an edit holds, so that
// two users never write the dataset at once.

#include <memory>

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

class CPgEditLock;

// Holds the lock of one lock file, or none. Holding the lock is holding an exclusive flock on
// the open lock file; the kernel drops it when the holder's process ends, so a lock file left
// behind by a crashed holder is stale and the next set() takes it over. The file holds
// kContentChars UTF-16LE characters: the owner text, then "*" up to the end.
//
// A dataset on a server has no lock file: its "lock file name" is its URI
// (lockFileNameFor), and its lock is an advisory lock of the server held by a session of this
// object's own, with the owner text kept in the dataset. The results and the owner texts are
// those of a lock file; the server drops the lock when the holder's session ends, also when
// the holder dies or its connection is cut.
class VXKD_API CLockFile {
 public:
  // Results of set().
  enum setResult : int {
    lockHeld = 0,           // this object holds the lock
    lockCreateFailed = -1,  // the lock file could not be created or written
    lockedByOther = -2,     // someone else holds the lock
    lockUnreadable = -3,    // someone else holds the lock and the file cannot even be read
  };
  // Results of queryOwner().
  enum queryResult : int {
    queryNoLockFile = 0,      // no lock file: nobody holds the lock
    queryStale = 1,           // a lock file that nobody holds (set() would take it over)
    queryLockedByOther = -2,  // someone holds the lock
    queryUnreadable = -3,     // a lock file that cannot be opened or read
  };

  // Characters and bytes of a lock file's content.
  static constexpr int kContentChars = 100;
  static constexpr int kContentBytes = 2 * kContentChars;
  // Size in characters of the caller's buffer for another owner's text, terminator included.
  static constexpr int kOwnerBufferChars = 40;

  CLockFile();
  // Releases the lock when one is held.
  ~CLockFile();
  CLockFile(const CLockFile&) = delete;
  CLockFile& operator=(const CLockFile&) = delete;

  // Takes the lock of `lockPath` for `owner` (null or empty: no owner text). Empties
  // `otherOwner` first when given, and releases a lock this object already holds. Returns a
  // setResult: lockHeld when taken (a stale lock file is taken over and rewritten);
  // lockedByOther with the holder's owner text (what precedes the first "*", at most
  // kOwnerBufferChars - 1 characters) in `otherOwner` when given; lockUnreadable when the
  // held file cannot be read; lockCreateFailed when the file cannot be created or written
  // (e.g. a missing folder), leaving no file of ours behind.
  int set(const wchar_t* lockPath, const wchar_t* owner, wchar_t* otherOwner);

  // When a lock is held: deletes the lock file (unless it is no longer ours), closes it, which
  // drops the lock, and returns to idle. Otherwise nothing.
  void release();

  bool isHeld() const { return handle_ >= 0 || server_ != nullptr; }
  // The descriptor of the open lock file, -1 when idle or holding a server dataset's lock.
  int handle() const { return handle_; }
  // The path of the held lock file, empty when idle.
  const CWsz& path() const { return path_; }

  // The lock file of the dataset `datasetPath`: its last three characters replaced by "lck",
  // blindly (data.vkd locks data.lck; x.vkdx would lock x.vlck); for a server URI the URI
  // itself, whose lock is on the server. Empty, for which set() then
  // fails, when the name cannot carry a lock file: a path shorter than three characters, one
  // whose last three characters include a "/" (the lock would lie in another folder), and
  // one that ends in "lck" (its lock would be the dataset itself, which set() overwrites).
  static CWsz lockFileNameFor(const wchar_t* datasetPath);

  // Tells, without changing the file or taking the lock, whether `lockPath` is locked and by
  // whom. Empties `otherOwner` when given, then puts there the owner text of an existing lock
  // file (stale or held) as set() does. Returns a queryResult. While it looks, a set() by
  // someone else may report the lock as held for that moment.
  static int queryOwner(const wchar_t* lockPath, wchar_t* otherOwner);

 private:
  int handle_ = -1;
  CWsz path_;
  std::unique_ptr<CPgEditLock> server_;
};
