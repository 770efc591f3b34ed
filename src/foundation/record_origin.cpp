#include "vxkd/foundation/record_origin.h"

#include <algorithm>

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/qbase.h"

void CKdRecordOrigin::readFrom(const CQbase& db, bool idTaken, long id) {
  CChBuffer key;
  db.getObjId(key);
  read_ = true;
  idTaken_ = idTaken;
  id_ = id;
  key_ = key.str();
}

void CKdRecordOrigin::reset() { *this = CKdRecordOrigin(); }

bool CKdRecordOrigin::isWritersForm(const std::string& canonical) const {
  return key_.size() == canonical.size() &&
         std::all_of(key_.begin(), key_.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool CKdRecordOrigin::movesRecord(long id, const std::string& canonical) const {
  if (!read_ || key_ == canonical) return false;
  return id == id_ || !isWritersForm(canonical);
}

CKdRecordOrigin::obstacle CKdRecordOrigin::obstacleTo(long id, long minId, long maxId,
                                                      const std::string& canonical) const {
  if (read_ && !idTaken_ && id == id_) return keyWithoutId;
  if (id < minId || id > maxId) return idOutOfRange;
  if (movesRecord(id, canonical) && !isRemovable(canonical)) return keyNotRemovable;
  return noObstacle;
}

bool CKdRecordOrigin::mayWrite(CQbase& db, const char* code, long id, long minId, long maxId,
                               const std::string& canonical) const {
  if (obstacleTo(id, minId, maxId, canonical) != noObstacle) return false;
  if (!isMovedAs(id, canonical)) return true;
  // Once the old record is gone (an earlier save moved it), the key is ours again.
  return !(db.fetchRec(code, key_.c_str()) && db.fetchRec(code, canonical.c_str()));
}

void CKdRecordOrigin::retire(CQbase& db, const char* code, long id,
                             const std::string& canonical) const {
  if (movesRecord(id, canonical) && isRemovable(canonical)) db.deleteRec(code, key_.c_str());
}

bool CKdRecordOrigin::deleteFrom(CQbase& db, const char* code, long id,
                                 const std::string& canonical) const {
  if (movesRecord(id, canonical)) {
    if (!isRemovable(canonical)) return false;
    bool oldDeleted = db.deleteRec(code, key_.c_str());
    // Still under its old key with the id read: the record under `canonical`, if any, is
    // another's. With a new id, what is under `canonical` is the definition's own.
    if (isMovedAs(id, canonical)) return oldDeleted || db.deleteRec(code, canonical.c_str());
    return db.deleteRec(code, canonical.c_str()) || oldDeleted;
  }
  return db.deleteRec(code, canonical.c_str());
}
