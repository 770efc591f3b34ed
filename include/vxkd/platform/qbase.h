#pragma once
// CQbase: the record database that holds a dataset. One SQLite file per dataset, opened
// against a data dictionary (data/VantVkd.ddq documents the file format): one table per
// record code, one column per field, the record key as text primary key.
//
// An open database is one transaction: openDatabase begins it and closeDatabase commits it,
// so an update is all or nothing, also when the process dies in the middle. Any failed
// write (a full disk, an I/O error) spoils the whole transaction: later writes fail and
// closeDatabase rolls back and reports false.
//
// There is one current record, held in memory: createRec starts one, the typed setters fill
// it and saveRec writes it; fetchRec and the set enumeration load one. Fields are addressed
// by number; a field that the dictionary does not declare for the record's code, or
// declares with another type, fails and changes nothing. An absent field reads false.

#include <cstdint>
#include <memory>

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

class VXKD_API CQbase {
 public:
  CQbase();
  // An open database is abandoned: nothing of its transaction reaches the file.
  ~CQbase();
  CQbase(const CQbase&) = delete;
  CQbase& operator=(const CQbase&) = delete;

  // Reads the dictionary and opens the dataset at `path`, beginning its transaction.
  // With `create` the file must not exist yet: an empty dataset is made there (and removed
  // again if the creation fails). Without it the file must be a dataset that this process
  // can write; tables and columns that it lacks are added. False, with nothing changed on
  // disk, for a missing or malformed dictionary, a file that is not a dataset, damaged,
  // read-only or locked by another writer beyond a few seconds, or when already open.
  bool openDatabase(const wchar_t* dictionaryPath, const wchar_t* path, bool create);
  // Commits and closes. True when every change is in the file; its last-write time then
  // has moved strictly forward when anything changed. False when nothing was open or the
  // commit failed, in which case nothing of the transaction is in the file (a new file is
  // removed again).
  bool closeDatabase();
  // Rolls the transaction back and closes; nothing of it reaches the file.
  void abandon();
  bool isOpen() const;

  // Kept for the callers that switch the database library's warnings off; the database
  // never shows messages, so this has no effect.
  void setWarnings(bool on);
  // Why the last operation failed, for logs and tests; "" after a success of open or close.
  const char* lastError() const;

  // Starts a fresh, empty current record of `code` with `key` (1 to the code's key width
  // bytes). Nothing is written: saveRec stores it, replacing any stored record of the same
  // code and key. False for an unknown code or a bad key.
  bool createRec(const char* code, const char* key);
  // Stores the current record. False without one, or when the write fails.
  bool saveRec();
  // Makes the stored record `key` of `code` current; false (no current record) if absent.
  bool fetchRec(const char* code, const char* key);
  // Removes the stored record; false when there is none or the write fails. If it is the
  // current record, there is no current record afterwards.
  bool deleteRec(const char* code, const char* key);
  // The current record's key. False when there is none, or (with the key cut) when it does
  // not fit into `size` - 1 characters.
  bool getObjId(char* buffer, int size) const;
  bool getObjId(CChBuffer& key) const;

  // Enumerates the records of `code` in ascending key order: the first one becomes current.
  // False when the set is empty.
  bool fetchFirstMember(const char* code);
  // The member after the last one enumerated becomes current; false at the end. Records
  // saved or deleted meanwhile are taken into account: after deleting the current member
  // the enumeration goes on with the next key.
  bool fetchNextMember();

  // Typed fields of the current record. A getter returns false, leaving its output as it
  // was, when there is no current record, the dictionary does not declare the field with
  // that type for the record, or the record lacks the field; a setter fails on the same
  // declaration errors and on values that the type cannot hold.
  bool getByte(short fieldNo, uint8_t& value) const;
  bool setByte(short fieldNo, uint8_t value);
  bool getShort(short fieldNo, short& value) const;
  bool setShort(short fieldNo, short value);
  // A signed 32-bit number.
  bool getLong(short fieldNo, long& value) const;
  bool setLong(short fieldNo, long value);
  bool getFloat(short fieldNo, float& value) const;
  bool setFloat(short fieldNo, float value);
  // Narrow (UTF-8) text. A text longer than the field's maximum is cut to it, never in the
  // middle of a character. The buffer form cuts the text to `size` - 1 bytes.
  bool getSz(short fieldNo, CChBuffer& text) const;
  bool getSz(short fieldNo, char* buffer, int size) const;
  bool setSz(short fieldNo, const char* text);
  // Wide text, read up to a NUL that a file written elsewhere may hold, as it is written.
  bool getWsz(short fieldNo, CWsz& text) const;
  bool setWsz(short fieldNo, const wchar_t* text);
  // Three coordinates, stored in single precision.
  bool getPoint(short fieldNo, double& x, double& y, double& z) const;
  bool setPoint(short fieldNo, double x, double y, double z);
  bool getShortArray(short fieldNo, CInt16Array& values) const;
  bool setShortArray(short fieldNo, const CInt16Array& values);
  bool getFloatArray(short fieldNo, CFloatArray& values) const;
  bool setFloatArray(short fieldNo, const CFloatArray& values);
  // `count` items of the field's item size, stored as they stand. Reading gives the bytes
  // and the number of items begun (bytes / item size rounded up), so that a field holding
  // fewer bytes than count × item size is visible to its reader.
  bool getBinaryArray(short fieldNo, CByteBuffer& data, int& count) const;
  bool setBinaryArray(short fieldNo, const void* data, int count);
  // The record's attachment, a block of bytes of any size; false for a record code that
  // has none.
  bool getAttachment(CByteBuffer& data) const;
  bool setAttachment(const CByteBuffer& data);
  bool setAttachment(const void* data, int size);

 private:
  struct VXKD_LOCAL Impl;
  std::unique_ptr<Impl> impl_;
};
