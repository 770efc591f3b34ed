#pragma once
// The commit-or-restore shape that every delete command of CKdProject shares.

#include "vxkd/dataset/project.h"

template <typename Array, typename Remove>
bool CKdProject::deleteAndCommit(cuWin::HWND hwnd, Array& array, Remove&& remove) {
  failReason_ = CQbase::reasonNone;
  CQbase db;
  if (!openDb(hwnd, db, true)) return false;
  const Array before(array);
  remove(db, before);
  if (!db.closeDatabase()) {
    // Nothing of it reached the file: the elements stay in memory too.
    failReason_ = db.reason();
    array = before;
    return false;
  }
  db.timeStamp(timeStamp_);
  return true;
}
