#pragma once
// CQbase: the record database that holds a dataset. One SQLite file per dataset, opened
// against a data dictionary (data/VantVkd.ddq documents the file format): one table per
// record code, one column per field, the record key as text primary key.
//
// An open database is one transaction: openDatabase begins it and closeDatabase ends it.
// A reader opens the file read-only in a shared transaction: read-only files and folders
// can be read, any number of readers read at once, a reader never sees half of a writer's
// commit, and a read changes no byte and no time of the file, whatever its journal mode.
// An update is one exclusive transaction, all or nothing, also when the process dies in
// the middle; it begins only after the file passed SQLite's integrity check, so damage is
// never made worse by a write. Any failed write (a full disk, an I/O error) spoils the
// whole transaction: later writes fail and closeDatabase rolls back and reports false. A
// read that fails in the middle (a damaged page) fails the transaction as well: a set is
// never silently cut short.
//
// Every failure keeps its reason (reason(), failReason) for the caller and a text for
// logs (lastError()).
//
// There is one current record, held in memory: createRec starts one, the typed setters fill
// it and saveRec writes it; fetchRec and the set enumeration load one. Fields are addressed
// by number; a field that the dictionary does not declare for the record's code, or
// declares with another type, fails and changes nothing. An absent field reads false.

#include <cstdint>
#include <memory>

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/file_time.h"
#include "vxkd/platform/wsz.h"

class VXKD_API CQbase {
 public:
  CQbase();
  // An open database is abandoned: nothing of its transaction reaches the file.
  ~CQbase();
  CQbase(const CQbase&) = delete;
  CQbase& operator=(const CQbase&) = delete;

  // How a file is opened.
  enum openMode : uint8_t {
    // Read-only, in a shared transaction. Writes fail. Tables and columns that an older
    // file lacks read as absent records and fields.
    openRead,
    // One exclusive write transaction. The file must be a dataset that this process can
    // write, in a folder it can write (the journal goes there), and must pass the integrity
    // check; tables and columns that it lacks are added.
    openUpdate,
    // A new, empty dataset, built under a temporary name beside `path` and renamed into
    // place by closeDatabase after the commit, replacing a file there: until then a file at
    // `path` stays whole, and a failure leaves nothing behind.
    openCreate,
  };
  // Why an open, a read or a close failed.
  enum failReason : uint8_t {
    reasonNone = 0,
    reasonNotDatabase,  // not an SQLite database at all (a text file, another format)
    reasonNotDataset,   // an SQLite database, but not a dataset of the dictionary's format
    reasonNewerFormat,  // a dataset written by a newer version of the format
    reasonDamaged,      // damaged: cut short, a broken page, keys out of order
    reasonReadOnly,     // cannot be written by this process (file, folder or file system)
    reasonBusy,         // another process kept the file locked beyond the waiting time
    reasonMissing,      // no such file
    reasonFailed,       // anything else: a bad dictionary, an I/O error, a full disk
  };
  // At most this many items in a binary-array field: more are cut on write and on read.
  static constexpr int kMaxBinaryArrayItems = 1000;

  // Reads the dictionary and opens the dataset at `path` as `mode` says, beginning its
  // transaction. False, with reason() and nothing changed on disk, for a missing or
  // malformed dictionary, a missing file, one that is not a dataset, of a newer format,
  // damaged, read-only (for an update), locked by another process beyond a few seconds, or
  // when already open.
  bool openDatabase(const wchar_t* dictionaryPath, const wchar_t* path, openMode mode);
  // The same for an update, or a creation with `create`.
  bool openDatabase(const wchar_t* dictionaryPath, const wchar_t* path, bool create);
  // Ends the transaction and closes. After an update or a creation: true when every change
  // is in the file; its last-write time has then moved strictly forward when anything
  // changed (see lastError). After a read: true when every read succeeded. False when
  // nothing was open, the commit failed (nothing of the transaction is then in the file, a
  // new file is not made) or a read had failed; reason() tells why.
  bool closeDatabase();
  // Rolls the transaction back and closes; nothing of it reaches the file.
  void abandon();
  bool isOpen() const;
  bool isReadOnly() const;
  // The dataset's time stamp, bound to the path or URI the database was opened with: while
  // open, as the transaction sees it (a file's last-write time; a server dataset's version,
  // which every write transaction advances); after a successful close, as the close left it
  // (for an update or a creation, the stamp its commit gave the dataset). False, with
  // `stamp` unbound, when none can be told.
  bool timeStamp(cuFile::CFileTime& stamp) const;
  // True while the open file is still the one at its path. A file renamed over it since it
  // was opened (a save under a temporary name) makes this false: what was read is then
  // older than the file at the path.
  bool isCurrentFile() const;

  // Kept for the callers that switch the database library's warnings off; the database
  // never shows messages, so this has no effect.
  void setWarnings(bool on);
  // Why the last operation failed, for logs and tests; "" after a successful open. After a
  // successful close "", or a note that the last-write time could not be moved forward (the
  // commit stands; others notice the change by the next save's time).
  const char* lastError() const;
  // The reason of the last failed open or close, or of a failed read since the open;
  // reasonNone after a success.
  failReason reason() const;
  // The reason in a few English words ("damaged", "read-only", ...), for logs and tools.
  static const char* reasonText(failReason reason);

  // Starts a fresh, empty current record of `code` with `key` (1 to the code's key width
  // bytes). Nothing is written: saveRec stores it, replacing any stored record of the same
  // code and key. False for an unknown code or a bad key.
  bool createRec(const char* code, const char* key);
  // Stores the current record. False without one, when opened for reading, or when the
  // write fails.
  bool saveRec();
  // Makes the stored record `key` of `code` current; false (no current record) if absent
  // or when the read fails (which fails the transaction, see above).
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
  // The member after the last one enumerated becomes current; false at the end, and when
  // the read fails (a damaged file), which fails the transaction and sets reason(). Records
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
  // `count` items of the field's item size, stored as they stand, at most
  // kMaxBinaryArrayItems (more are cut). Reading gives the bytes and the number of items
  // begun (bytes / item size rounded up), so that a field holding fewer bytes than count ×
  // item size is visible to its reader; at most kMaxBinaryArrayItems of them.
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
