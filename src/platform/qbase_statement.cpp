#include "platform/qbase_statement.h"

bool CQbaseStatement::prepare(sqlite3* db, std::string_view sql, bool persistent) {
  finalize();
  unsigned flags = persistent ? SQLITE_PREPARE_PERSISTENT : 0;
  if (sqlite3_prepare_v3(db, sql.data(), static_cast<int>(sql.size()), flags, &stmt_, nullptr) ==
      SQLITE_OK)
    return stmt_ != nullptr;
  finalize();
  return false;
}

void CQbaseStatement::finalize() {
  sqlite3_finalize(stmt_);
  stmt_ = nullptr;
}

std::string CQbaseStatement::columnText(int i) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, i));
  return text ? std::string(text, static_cast<size_t>(sqlite3_column_bytes(stmt_, i))) : "";
}

CQbase::failReason qbaseReasonOf(int rc) {
  switch (rc & 0xFF) {
    case SQLITE_NOTADB:
      return CQbase::reasonNotDatabase;
    case SQLITE_CORRUPT:
      return CQbase::reasonDamaged;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return CQbase::reasonReadOnly;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return CQbase::reasonBusy;
    default:
      return CQbase::reasonFailed;
  }
}

bool qbaseSqlFail(QbaseError& error, sqlite3* db, const std::string& what) {
  return error.fail(db ? qbaseReasonOf(sqlite3_extended_errcode(db)) : CQbase::reasonFailed,
                    what + ": " + (db ? sqlite3_errmsg(db) : "no database"));
}

bool qbaseExec(sqlite3* db, const char* sql, QbaseError& error) {
  char* message = nullptr;
  int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
  if (rc == SQLITE_OK) return true;
  error.fail(qbaseReasonOf(sqlite3_extended_errcode(db)),
             std::string(sql) + ": " + (message ? message : sqlite3_errstr(rc)));
  sqlite3_free(message);
  return false;
}
