#pragma once
// What the platform layer asks of a dataset on a server outside a record database's
// transaction: whether it exists, its version (the time stamp of cuFile::CFileTime), and its
// edit lock (CLockFile). Private to the platform layer.
//
// The edit lock of a server dataset is a session-level advisory lock of the database, keyed
// by the dataset's name (PgLocation::lockKey), held by a session of its own: the server
// drops it when that session ends, also when the holder dies or its connection is cut. The
// owner text is kept beside it in the dataset's table vxkd_lock; a row there whose lock
// nobody holds is a stale lock, as a lock file that nobody holds.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/pg_connection.h"

// Whether the dataset at `uri` exists: 1 yes, 0 no (the server says there is no such
// dataset or database, or the URI names none), -1 it cannot be told (no server reached).
int pgDatasetExists(const std::string& uri);
// The version of the dataset at `uri`; false when it cannot be read.
bool pgDatasetStamp(const std::string& uri, uint64_t& stamp);

// A held edit lock of a server dataset.
class CPgEditLock {
 public:
  CPgEditLock() = default;
  // Releases the lock.
  ~CPgEditLock();
  CPgEditLock(const CPgEditLock&) = delete;
  CPgEditLock& operator=(const CPgEditLock&) = delete;

  // Takes the lock of the dataset at `uri` for `owner` (UTF-8). The results of CLockFile::set:
  // 0 held; -1 no server, a bad URI, or the owner cannot be written (a user who may not
  // edit); -2 someone else holds it (their owner text in `otherOwner`); -3 someone else
  // holds it and the owner text cannot be read. A dataset that does not exist yet can be
  // locked (for its creation): no owner text is kept then.
  int set(const std::string& uri, const std::string& owner, std::string& otherOwner);
  // Removes the owner text and drops the lock.
  void release();

  // Whether the lock of the dataset at `uri` is held and by whom, without taking it: the
  // results of CLockFile::queryOwner (0 free, 1 stale owner text left, -2 held, -3 cannot be
  // told).
  static int query(const std::string& uri, std::string& owner);

 private:
  PgLocation location_;
  std::unique_ptr<CPgConnection> session_;
};

// The server process of this process's session that holds the edit lock of `location`, or 0
// when this process holds none.
int pgHeldLockPid(const PgLocation& location);
// SQL that yields whether the server process $3 holds the edit lock with keys $1 and $2.
extern const char* const kPgLockHeldBySql;
