#include "vxkd/foundation/record_origin.h"

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/qbase.h"

void CKdRecordOrigin::readFrom(const CQbase& db, bool idTaken) {
  CChBuffer key;
  db.getObjId(key);
  read_ = true;
  idTaken_ = idTaken;
  key_ = key.str();
}

void CKdRecordOrigin::reset() {
  read_ = false;
  idTaken_ = false;
  key_.clear();
}

CKdRecordOrigin::obstacle CKdRecordOrigin::obstacleTo(long id, long minId, long maxId,
                                                      const std::string& canonical) const {
  if (read_ && !idTaken_) return keyWithoutId;
  if (id < minId || id > maxId) return idOutOfRange;
  if (isOdd(canonical) && !isRemovable(canonical)) return keyNotRemovable;
  return noObstacle;
}

bool CKdRecordOrigin::mayWrite(CQbase& db, const char* code, long id, long minId, long maxId,
                               const std::string& canonical) const {
  if (obstacleTo(id, minId, maxId, canonical) != noObstacle) return false;
  if (!isOdd(canonical)) return true;
  // Once the old record is gone (an earlier save moved it), the key is ours again.
  return !(db.fetchRec(code, key_.c_str()) && db.fetchRec(code, canonical.c_str()));
}

void CKdRecordOrigin::retire(CQbase& db, const char* code, const std::string& canonical) const {
  if (isOdd(canonical) && isRemovable(canonical)) db.deleteRec(code, key_.c_str());
}

bool CKdRecordOrigin::deleteFrom(CQbase& db, const char* code, const std::string& canonical) const {
  if (isOdd(canonical)) {
    if (!isRemovable(canonical)) return false;
    // Still under its old key: the record under `canonical`, if any, is another's.
    if (db.deleteRec(code, key_.c_str())) return true;
  }
  return db.deleteRec(code, canonical.c_str());
}
