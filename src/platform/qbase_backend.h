#pragma once
// CQbaseBackend: where a record database keeps its records. CQbase checks record codes, keys
// and fields against the dictionary and holds the current record; a backend opens the
// dataset, runs its one transaction, and stores, loads, deletes and enumerates whole
// records. There are two: a SQLite file (qbase_sqlite.h) and a schema of a PostgreSQL
// database (qbase_pg.h). Private to CQbase.
//
// Failures are described in the error the backend was made with. A failed write spoils the
// transaction (later writes fail, close rolls back and reports false); a failed read fails
// it too, so that a set is never silently cut short.

#include <cstdint>
#include <string>

#include "platform/qbase_dictionary.h"
#include "platform/qbase_error.h"
#include "platform/qbase_record.h"
#include "vxkd/platform/qbase.h"

class CQbaseBackend {
 public:
  explicit CQbaseBackend(QbaseError& error) : error_(error) {}
  virtual ~CQbaseBackend() = default;
  CQbaseBackend(const CQbaseBackend&) = delete;
  CQbaseBackend& operator=(const CQbaseBackend&) = delete;

  // Opens the dataset at `location` (a file path or a server URI) against `dict`, which must
  // outlive the backend, as `mode` says, and begins the transaction. False, with the reason
  // in the error and the dataset untouched, when it cannot; abandon() then cleans up.
  virtual bool open(const CQbaseDictionary& dict, const std::string& location,
                    CQbase::openMode mode) = 0;
  // Ends the transaction: commits an update or a creation, ends a read. False when nothing
  // of it reached the dataset (a spoiled transaction, a failed commit) or a read had failed.
  virtual bool close() = 0;
  // Rolls back whatever is open and forgets the dataset; nothing of the transaction stays.
  virtual void abandon() = 0;
  // True while the open dataset is still the one at its location.
  virtual bool isCurrent() = 0;
  // The dataset's time stamp: while open, as the transaction sees it; after a successful
  // close of an update or a creation, the one its commit gave the dataset. False when it
  // cannot be told.
  virtual bool stamp(uint64_t& out) = 0;

  // Stores `record`, replacing a stored one of the same code and key. REQUIRES a write
  // transaction that is not spoiled.
  virtual bool save(const CQbaseRecord& record) = 0;
  // Loads record `key` of `def` into `record`: 1 found, 0 absent, -1 the read failed.
  virtual int fetch(const QbaseRecordDef& def, const std::string& key, CQbaseRecord& record) = 0;
  // Removes record `key` of `def`: 1 removed, 0 absent, -1 the write failed. REQUIRES a write
  // transaction that is not spoiled.
  virtual int remove(const QbaseRecordDef& def, const std::string& key) = 0;
  // Enumerates the set of `def` in ascending key order (bytewise): loads the first member into
  // `record`; false when the set is empty or the read failed.
  virtual bool first(const QbaseRecordDef& def, CQbaseRecord& record) = 0;
  // Loads the member after the last one enumerated; records saved or deleted meanwhile are
  // taken into account. False at the end, without a set, or when the read failed.
  virtual bool next(CQbaseRecord& record) = 0;

  CQbase::openMode mode() const { return mode_; }
  bool spoiled() const { return spoiled_; }

  // True when a write may go ahead.
  bool canWrite() {
    if (mode_ == CQbase::openRead) return error_.fail("opened for reading");
    return !spoiled_;
  }

 protected:
  // Spoils the transaction: every later write fails and close rolls back. False.
  bool spoil(const std::string& why) {
    if (error_.reason == CQbase::reasonNone) error_.reason = CQbase::reasonFailed;
    error_.fail(why);
    spoiled_ = true;
    QbaseError keep = error_;
    rollbackNow();
    error_ = keep;
    return false;
  }
  // A read that failed fails the whole transaction: its caller must not take what it got for
  // all there is. The reason must be in the error already. False.
  bool failRead() {
    readFailed_ = true;
    if (mode_ != CQbase::openRead) spoil(error_.message);
    return false;
  }
  // Rolls the open transaction back at once (the backend stays open, spoiled).
  virtual void rollbackNow() = 0;
  void resetState(CQbase::openMode mode) {
    mode_ = mode;
    spoiled_ = readFailed_ = changed_ = false;
  }

  QbaseError& error_;
  CQbase::openMode mode_ = CQbase::openRead;
  bool spoiled_ = false;
  // A read failed: what was read is not the whole of what was asked for.
  bool readFailed_ = false;
  // Something was written.
  bool changed_ = false;
};
