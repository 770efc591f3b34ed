#pragma once
// cuFile::CFileTime: the last-write time of one file, remembered so that a later look shows
// whether someone else has written the file since.

#include <cstdint>

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

class CQbase;

namespace cuFile {

// A file path bound to the file's last-write time as it was when last read. Times are the
// file's modification time in 100-nanosecond units since 1970; 0 means unknown. Only a
// strictly later time counts as a modification. A dataset on a server (a server URI in place
// of the path, cuFile::isServerUri) has no clock time: its time is its version, which every
// write transaction advances, so that a change is noticed exactly.
class VXKD_API CFileTime {
 public:
  // Longest path a time stamp binds to, in characters.
  static constexpr int kMaxPath = 300;
  // One unit of time: 100 nanoseconds.
  static constexpr uint64_t kUnitsPerSecond = 10000000;

  CFileTime() = default;
  CFileTime(const CFileTime& other) = default;
  CFileTime& operator=(const CFileTime& other) = default;
  virtual ~CFileTime() = default;

  // Unbinds, then reads the last-write time of `path` into time(). On failure (no such file,
  // unreadable, not a regular file, empty path or longer than kMaxPath) returns -1 and stays
  // unbound with time 0; on success binds to `path` and returns 0.
  int initFor(const wchar_t* path);

  // Compares the bound file's current last-write time with the stored one. -3 when unbound,
  // -1 when the time cannot be read (the stored time is kept), 0 when it is not later, 1 when
  // it is strictly later; then, when `takeNewTime`, the stored time becomes the current one.
  int isModified(bool takeNewTime);

  // Re-reads the bound file's time. -3 when unbound; -1 when it cannot be read (the stored
  // time becomes 0, the binding stays); 0 on success.
  int update();

  const CWsz& path() const { return path_; }
  uint64_t time() const { return time_; }
  bool isBound() const { return !path_.isEmpty(); }

  // Called after each write of a shared file, with the time the file had before the write.
  // The file system stamps times with a coarse clock, so a write can leave the time where it
  // was and others would not notice it; then the time is set one unit after `before` (or the
  // smallest step of ten units that the file system keeps). True when the file's time is
  // afterwards strictly later than `before`; false when it cannot be read or set.
  static bool touchForward(const wchar_t* path, uint64_t before);

 protected:
  // Sets `out` to 0, then to the last-write time of the regular file `path`. -1 when it does
  // not exist, is not a regular file or its times cannot be read; otherwise 0. The file is
  // not opened: closing a descriptor would drop the POSIX locks that this process's record
  // database holds on the same file.
  static int getUpdateTimeOf(const wchar_t* path, uint64_t& out);

 private:
  // The record database binds a stamp to the dataset it has open.
  friend class ::CQbase;

  CWsz path_;
  uint64_t time_ = 0;
};

}  // namespace cuFile
