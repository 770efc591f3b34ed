#pragma once
// CKdRecordOrigin: the key of the record that a definition was read from. A hand-edited file
// may hold records whose keys are not in the form the writers build (" 7" or "7x" beside the
// writer's "000007"), and which still read as an id. The writer stores such a definition
// under its own key and removes the old record in the same transaction, so that a read and
// a save neither lose it nor double it. A definition that cannot be stored so (its key gave
// no id, its id has no key, or its old record could not be removed) is left where it is in
// the file, and `vkd check` names it.
//
// A definition given another id than the one read (a copy, a renumbered definition) is a
// new definition: it is stored under the key of its new id, and the record it came from is
// removed only when that key is not in the writers' form. A record in the writers' form may
// be its original's, which stays in the array and is saved there.

#include <string>

#include "vxkd/platform/export.h"

class CQbase;

class VXKD_API CKdRecordOrigin {
 public:
  // What keeps a definition from being stored under its own key.
  enum obstacle {
    noObstacle,
    // The key read gave the reader no id it takes (none at all, or one out of its range), and
    // the definition still has the id that left it: the definition is not that record's,
    // and writing it would replace another record or leave a copy beside the old one.
    keyWithoutId,
    // The id is outside minId..maxId: its key would not read back as the id (a negative id,
    // one wider than the key).
    idOutOfRange,
    // The old record is to go, but its key is empty or longer than the writers' key: the
    // database cannot address it, so it could not be removed and the definition would be
    // doubled.
    keyNotRemovable,
  };

  // Remembers the key of `db`'s current record ("" without one), the id the definition has
  // after reading it, and whether the reader took that id from the key (`idTaken`).
  void readFrom(const CQbase& db, bool idTaken, long id);
  // Forgets the origin, as for a definition that was never read.
  void reset();
  bool wasRead() const { return read_; }
  // The key read; "" when never read.
  const std::string& key() const { return key_; }
  // True when storing the definition, now of `id`, under `canonical` moves it out of the
  // record it was read from, which is then removed: the same id from a key of another form,
  // or a new id from a key that is not in the writers' form.
  bool movesRecord(long id, const std::string& canonical) const;

  // What keeps a definition of `id`, read from here, from being stored under `canonical`,
  // when the definitions of its kind take the ids minId..maxId.
  obstacle obstacleTo(long id, long minId, long maxId, const std::string& canonical) const;
  // True when the definition may be written now under `canonical` in records of `code`:
  // no obstacle, and, for the id read, not a record under `canonical` beside the old one
  // (another record that reads as the same id, which the write would replace). Changes the
  // current record.
  bool mayWrite(CQbase& db, const char* code, long id, long minId, long maxId,
                const std::string& canonical) const;
  // After the definition was stored under `canonical`: removes the old record when the write
  // moved it (movesRecord). Its absence (already removed by an earlier save) is no failure.
  void retire(CQbase& db, const char* code, long id, const std::string& canonical) const;
  // Deletes the definition's record of `code`: while it is to be moved, the old one if it is
  // still there, else the one under `canonical`. False when there was none, or the old key
  // cannot be addressed.
  bool deleteFrom(CQbase& db, const char* code, long id, const std::string& canonical) const;

 private:
  // Read with this id from a key other than `canonical`.
  bool isMovedAs(long id, const std::string& canonical) const {
    return read_ && id == id_ && key_ != canonical;
  }
  // A key as the writers build it for some id: digits only, as long as `canonical`.
  bool isWritersForm(const std::string& canonical) const;
  bool isRemovable(const std::string& canonical) const {
    return !key_.empty() && key_.size() <= canonical.size();
  }

  bool read_ = false;
  bool idTaken_ = false;
  long id_ = 0;
  std::string key_;
};
