#pragma once
// What the project knows of the records in its file: the kinds of records it deletes by
// itself when their definitions leave memory, and the commit-or-restore shape that every
// delete command shares.

#include <algorithm>
#include <utility>
#include <vector>

#include "vxkd/dataset/project.h"

namespace VxKd {

// Record "S2": one 2D symbol.
inline constexpr const char* kSymbolRecord = "S2";

// The kinds of records stored under their definition's own id (a group's products under the
// group's and the product's). Linetypes are stored by position and rewritten as a whole,
// blocks with each group's blocks, and the layers are the program's fixed set: none of them
// needs to be followed.
enum storedKind : int {
  storedPropertyDefs,
  storedPartIdFormats,
  storedTextStyles,
  storedDimTextFormats,
  storedReports,
  storedGroups,
  storedGroupProducts,
  storedDuctDefs,
  storedPipeDefs,
  storedElectricDefs,
  storedDataDefs,
  storedSymbols,
  storedKindCount
};

// The group (0 for none) and the id of a record.
using CKdStoredKey = std::pair<long, long>;

}  // namespace VxKd

template <typename Array, typename Remove>
bool CKdProject::deleteAndCommit(cuWin::HWND hwnd, int kind, Array& array, Remove&& remove) {
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
  // Their records are gone: a later save must not take another user's new record of the
  // same id for one of them.
  std::vector<long> gone;
  for (int i = 0; i < before.length(); ++i)
    if (!array.findId(before.idAt(i))) gone.push_back(before.idAt(i));
  forgetStored(kind, gone);
  return true;
}
