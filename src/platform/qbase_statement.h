#pragma once
// CQbaseStatement: one prepared SQLite statement, finalized by its destructor, so that no
// path of the record database can leak one or finalize one twice. Private to CQbase.

#include <sqlite3.h>

#include <string>
#include <string_view>
#include <utility>

#include "platform/qbase_error.h"
#include "vxkd/platform/qbase.h"

class CQbaseStatement {
 public:
  CQbaseStatement() = default;
  ~CQbaseStatement() { finalize(); }
  CQbaseStatement(CQbaseStatement&& other) noexcept : stmt_(std::exchange(other.stmt_, nullptr)) {}
  CQbaseStatement& operator=(CQbaseStatement&& other) noexcept {
    if (this != &other) {
      finalize();
      stmt_ = std::exchange(other.stmt_, nullptr);
    }
    return *this;
  }
  CQbaseStatement(const CQbaseStatement&) = delete;
  CQbaseStatement& operator=(const CQbaseStatement&) = delete;

  // Prepares `sql` on `db`, replacing the statement held. A statement kept for the whole
  // open database is `persistent`. False, holding none, when SQLite refuses the text
  // (sqlite3_errmsg of `db` tells why).
  bool prepare(sqlite3* db, std::string_view sql, bool persistent = false);
  // Finalizes the statement held, if any.
  void finalize();

  bool isPrepared() const { return stmt_ != nullptr; }
  sqlite3_stmt* get() const { return stmt_; }

  // sqlite3_step; SQLITE_MISUSE when nothing is prepared.
  int step() { return stmt_ ? sqlite3_step(stmt_) : SQLITE_MISUSE; }
  // Makes the statement ready to run again; the bindings stay.
  void reset() {
    if (stmt_) sqlite3_reset(stmt_);
  }

  // Parameters are numbered from 1. Texts and blobs must outlive the next step.
  void bindInt(int i, int64_t value) { sqlite3_bind_int64(stmt_, i, value); }
  void bindText(int i, std::string_view text) {
    sqlite3_bind_text(stmt_, i, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  }

  // Columns of the current row, numbered from 0.
  int64_t columnInt(int i) const { return sqlite3_column_int64(stmt_, i); }
  // A text column; "" for NULL.
  std::string columnText(int i) const;

 private:
  sqlite3_stmt* stmt_ = nullptr;
};

// The reason of an SQLite result code that is a failure.
CQbase::failReason qbaseReasonOf(int rc);

// Keeps SQLite's own words and result code for the last failure on `db` in `error`; false.
bool qbaseSqlFail(QbaseError& error, sqlite3* db, const std::string& what);

// Runs `sql` (one or more statements without results) on `db`; false with the reason kept
// in `error`.
bool qbaseExec(sqlite3* db, const char* sql, QbaseError& error);
