#include "platform/qbase_sqlite.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/qbase_schema.h"
#include "platform/qbase_statement.h"
#include "platform/qbase_vfs.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/file_time.h"
#include "vxkd/platform/paths.h"

namespace {

// How long an open waits for another process's lock on the file to go.
constexpr int kBusyTimeoutMs = 5000;
// How long an update, once under way, waits for the readers to let it write: its work is
// done, and readers leave by themselves.
constexpr int kWriterTimeoutMs = 30000;

// A failure of the system with errno `error`: a file or folder that this process may not
// write is read-only, a missing one missing.
CQbase::failReason reasonOfErrno(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
      return CQbase::reasonReadOnly;
    case ENOENT:
    case ENOTDIR:
      return CQbase::reasonMissing;
    default:
      return CQbase::reasonFailed;
  }
}

// The same for a file that must be written: a missing folder is no missing dataset.
CQbase::failReason writeReasonOfErrno(int error) {
  CQbase::failReason reason = reasonOfErrno(error);
  return reason == CQbase::reasonMissing ? CQbase::reasonFailed : reason;
}

// Each column is taken once as a value: its accessors are cheaper than the column
// functions, and fine while one thread uses the connection. The key is in column 0, then the
// fields of `def` in their order.
void loadRow(CQbaseRecord& record, const QbaseRecordDef& def, sqlite3_stmt* stmt) {
  sqlite3_value* key = sqlite3_column_value(stmt, 0);
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(key));
  record.start(def,
               std::string_view(text ? text : "", static_cast<size_t>(sqlite3_value_bytes(key))));
  const std::vector<QbaseFieldDef>& fields = def.fields;
  std::vector<QbaseFieldValue>& values = record.values();
  for (size_t i = 0; i < fields.size(); ++i) {
    QbaseFieldValue& v = values[i];
    sqlite3_value* value = sqlite3_column_value(stmt, static_cast<int>(i) + 1);
    v.present = sqlite3_value_type(value) != SQLITE_NULL;
    if (!v.present) continue;
    switch (fields[i].type) {
      case QbaseFieldType::kByte:
      case QbaseFieldType::kShort:
      case QbaseFieldType::kLong:
        v.i = sqlite3_value_int64(value);
        break;
      case QbaseFieldType::kFloat:
        v.d = sqlite3_value_double(value);
        break;
      case QbaseFieldType::kSz:
      case QbaseFieldType::kWsz:
        text = reinterpret_cast<const char*>(sqlite3_value_text(value));
        v.bytes.assign(text ? text : "", static_cast<size_t>(sqlite3_value_bytes(value)));
        break;
      default: {
        const auto* blob = static_cast<const char*>(sqlite3_value_blob(value));
        size_t n = static_cast<size_t>(sqlite3_value_bytes(value));
        if (blob) {
          v.bytes.assign(blob, n);
        } else {
          v.bytes.clear();
        }
        break;
      }
    }
  }
}

// Binds the key to parameter 1 and the fields to 2.. in their order, absent ones as NULL.
// The bound texts and BLOBs stay the record's: step `stmt` before changing the record.
void bindRow(const CQbaseRecord& record, sqlite3_stmt* stmt) {
  const std::string& key = record.key();
  sqlite3_bind_text(stmt, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
  const std::vector<QbaseFieldDef>& fields = record.def()->fields;
  const std::vector<QbaseFieldValue>& values = record.values();
  for (size_t i = 0; i < fields.size(); ++i) {
    const QbaseFieldValue& v = values[i];
    int col = static_cast<int>(i) + 2;
    if (!v.present) {
      sqlite3_bind_null(stmt, col);
      continue;
    }
    switch (fields[i].type) {
      case QbaseFieldType::kByte:
      case QbaseFieldType::kShort:
      case QbaseFieldType::kLong:
        sqlite3_bind_int64(stmt, col, v.i);
        break;
      case QbaseFieldType::kFloat:
        sqlite3_bind_double(stmt, col, v.d);
        break;
      case QbaseFieldType::kSz:
      case QbaseFieldType::kWsz:
        sqlite3_bind_text(stmt, col, v.bytes.data(), static_cast<int>(v.bytes.size()),
                          SQLITE_STATIC);
        break;
      default:
        sqlite3_bind_blob(stmt, col, v.bytes.data(), static_cast<int>(v.bytes.size()),
                          SQLITE_STATIC);
        break;
    }
  }
}

class CQbaseSqlite : public CQbaseBackend {
 public:
  explicit CQbaseSqlite(QbaseError& error) : CQbaseBackend(error) {}
  ~CQbaseSqlite() override { teardown(true); }

  bool open(const CQbaseDictionary& dict, const std::string& location,
            CQbase::openMode mode) override;
  bool close() override;
  void abandon() override { teardown(true); }
  bool isCurrent() override;
  bool stamp(uint64_t& out) override;
  bool save(const CQbaseRecord& record) override;
  int fetch(const QbaseRecordDef& def, const std::string& key, CQbaseRecord& record) override;
  int remove(const QbaseRecordDef& def, const std::string& key) override;
  bool first(const QbaseRecordDef& def, CQbaseRecord& record) override;
  bool next(CQbaseRecord& record) override;

 protected:
  void rollbackNow() override {
    endSet();
    if (db_ && !sqlite3_get_autocommit(db_))
      sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
  }

 private:
  bool sqlFail(const std::string& what) { return qbaseSqlFail(error_, db_, what); }
  bool exec(const char* sql) { return qbaseExec(db_, sql, error_); }
  bool connect(int flags);
  bool openForReading();
  bool playBackJournal();
  bool openForUpdate();
  bool openForCreation();
  bool useRollbackJournal();
  bool putInPlace();
  void disconnect();
  void teardown(bool removeNewFile);
  // True when a write may go ahead; spoils the transaction when it has gone missing.
  bool writable() {
    if (!canWrite()) return false;
    if (sqlite3_get_autocommit(db_)) return spoil("the transaction has ended");
    return true;
  }
  // The table of `def` (which belongs to the dictionary the backend was opened with).
  QbaseTable* table(const QbaseRecordDef& def) { return schema_.table(def.code.c_str()); }
  void endSet() {
    if (cursor_) cursor_->reset();
    cursor_ = nullptr;
    set_ = nullptr;
    setKey_.clear();
  }
  bool stepSet(CQbaseRecord& record);

  const CQbaseDictionary* dict_ = nullptr;
  CQbaseSchema schema_{error_};
  sqlite3* db_ = nullptr;
  // The file open in `db_`: the dataset, or the temporary file a creation builds and
  // renames to `target_` when it closes.
  std::string path_;
  std::string target_;
  // The file whose time stamp() reads after the close; empty while open.
  std::string closed_;
  uint64_t mtimeBefore_ = 0;  // the last-write time of a file opened for update

  // The set being enumerated: its table, the key of the last member and the running query
  // (one of the table's statements).
  QbaseTable* set_ = nullptr;
  std::string setKey_;
  CQbaseStatement* cursor_ = nullptr;
  uint64_t cursorWrites_ = 0;
};

// ---------------------------------------------------------------------------------------
// Opening and closing

bool CQbaseSqlite::open(const CQbaseDictionary& dict, const std::string& file,
                        CQbase::openMode how) {
  dict_ = &dict;
  resetState(how);
  closed_.clear();
  if (how == CQbase::openCreate) {
    target_ = file;
    return openForCreation();
  }
  struct stat st {};
  if (CEnv::current().statPath(file, &st) != 0)
    return error_.fail(reasonOfErrno(errno), file + ": " + std::strerror(errno));
  if (!S_ISREG(st.st_mode)) return error_.fail(CQbase::reasonNotDatabase, file + ": not a file");
  path_ = file;
  return how == CQbase::openRead ? openForReading() : openForUpdate();
}

bool CQbaseSqlite::connect(int flags) {
  const char* vfs = qbaseVfsName();
  if (!vfs) return error_.fail(CQbase::reasonFailed, "SQLite has no file layer");
  if (sqlite3_open_v2(path_.c_str(), &db_, flags | SQLITE_OPEN_NOMUTEX, vfs) != SQLITE_OK)
    return sqlFail(path_);
  sqlite3_extended_result_codes(db_, 1);
  sqlite3_busy_timeout(db_, kBusyTimeoutMs);
  schema_.attach(db_, *dict_, path_);
  return true;
}

void CQbaseSqlite::disconnect() {
  endSet();
  schema_.detach();
  if (!db_) return;
  if (!sqlite3_get_autocommit(db_)) sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(db_);
  db_ = nullptr;
}

// A read-only connection in a deferred transaction: its first read takes the shared lock,
// which it keeps to the end, so every later read sees the same commit. Nothing is written,
// not even a checkpoint of a file that another tool left in WAL mode.
bool CQbaseSqlite::openForReading() {
  for (int attempt = 0;; ++attempt) {
    if (!connect(SQLITE_OPEN_READONLY)) return false;
    sqlite3_db_config(db_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    if (!exec("BEGIN DEFERRED")) return false;
    if (schema_.checkFormat(false)) break;
    // A writer died in the middle of a commit and left its journal: a reader may not play
    // it back, so a connection that may write does, and the file is read again.
    if (attempt > 0 || sqlite3_extended_errcode(db_) != SQLITE_READONLY_ROLLBACK) return false;
    disconnect();
    if (!playBackJournal()) return false;
  }
  return schema_.checkWholePages() && schema_.findMissingColumns();
}

bool CQbaseSqlite::playBackJournal() {
  if (!connect(SQLITE_OPEN_READWRITE)) return false;
  bool ok = sqlite3_db_readonly(db_, "main") == 0
                ? exec("SELECT count(*) FROM sqlite_master")
                : error_.fail(CQbase::reasonReadOnly,
                              path_ +
                                  ": a writer's journal needs playing back, and this process "
                                  "may not write the file");
  disconnect();
  return ok;
}

// One exclusive transaction, begun only after the file passed the checks: a file that is no
// dataset, or a damaged one, stays untouched.
bool CQbaseSqlite::openForUpdate() {
  CEnv& env = CEnv::current();
  // The journal is made beside the file: both must be writable.
  for (const std::string& need : {path_, cuFile::folderOfPath(path_)}) {
    if (env.accessPath(need, W_OK) != 0)
      return error_.fail(writeReasonOfErrno(errno), need + ": " + std::strerror(errno));
  }
  if (!connect(SQLITE_OPEN_READWRITE)) return false;
  if (sqlite3_db_readonly(db_, "main") != 0)
    return error_.fail(CQbase::reasonReadOnly, path_ + ": read-only");
  if (!schema_.checkFormat(false) || !schema_.checkWholePages()) return false;
  if (!useRollbackJournal()) return false;
  if (!exec("PRAGMA synchronous=FULL") || !exec("BEGIN IMMEDIATE")) return false;
  sqlite3_busy_timeout(db_, kWriterTimeoutMs);
  cuFile::CFileTime stamp;
  if (stamp.initFor(CWsz::fromUtf8(path_.c_str())) == 0) mtimeBefore_ = stamp.time();
  if (!schema_.checkIntegrity()) return false;
  return schema_.checkFormat(true) && schema_.ensureTables();
}

// A new file under a name of its own beside the target, renamed into place at the close.
bool CQbaseSqlite::openForCreation() {
  CEnv& env = CEnv::current();
  static unsigned counter = 0;
  int fd = -1;
  for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
    path_ = target_ + ".new-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
    fd = env.openFile(path_, O_RDWR | O_CREAT | O_EXCL, 0644);
    if (fd < 0 && errno != EEXIST) {
      int failure = errno;
      path_.clear();
      return error_.fail(writeReasonOfErrno(failure), target_ + ": " + std::strerror(failure));
    }
  }
  if (fd < 0) return error_.fail(CQbase::reasonFailed, target_ + ": no free temporary name");
  env.closeFile(fd);
  // A journal beside a file that did not exist belongs to a file deleted since: it must
  // never be played back into the new one.
  env.unlinkPath(path_ + "-journal");
  if (!connect(SQLITE_OPEN_READWRITE)) return false;
  if (!useRollbackJournal()) return false;
  if (!exec("PRAGMA synchronous=FULL") || !exec("BEGIN IMMEDIATE")) return false;
  return schema_.createFormat() && schema_.ensureTables();
}

// The rollback journal: every commit writes the file itself, and a process that dies in the
// middle leaves a journal from which the next opener restores the file.
bool CQbaseSqlite::useRollbackJournal() {
  CQbaseStatement mode;
  if (!mode.prepare(db_, "PRAGMA journal_mode=DELETE")) return sqlFail(path_);
  int rc = mode.step();
  if (rc != SQLITE_ROW) return sqlFail(path_ + ": cannot use the rollback journal");
  if (sqlite3_stricmp(mode.columnText(0).c_str(), "delete") != 0)
    return error_.fail(CQbase::reasonFailed, path_ + ": cannot use the rollback journal");
  return true;
}

// Moves the committed new file over the target. Its last-write time is first set later
// than the file it replaces, so that every user who read that one notices the change.
bool CQbaseSqlite::putInPlace() {
  CEnv& env = CEnv::current();
  struct stat old {};
  bool replaces = env.statPath(target_, &old) == 0;
  if (replaces) {
    // A shared dataset keeps the permissions its users need (group write, say).
    env.changeMode(path_, old.st_mode & 07777);
    cuFile::CFileTime previous;
    previous.initFor(CWsz::fromUtf8(target_.c_str()));
    cuFile::CFileTime::touchForward(CWsz::fromUtf8(path_.c_str()), previous.time());
  }
  if (env.renamePath(path_, target_) != 0) {
    int failure = errno;
    env.unlinkPath(path_);
    return error_.fail(writeReasonOfErrno(failure), target_ + ": " + std::strerror(failure));
  }
  env.syncFolder(cuFile::folderOfPath(target_));
  return true;
}

// Closes the connection, rolling back what is still open, and forgets the file; a new file
// not put in place is removed.
void CQbaseSqlite::teardown(bool removeNewFile) {
  disconnect();
  if (removeNewFile && mode_ == CQbase::openCreate && !path_.empty()) {
    CEnv::current().unlinkPath(path_);
    CEnv::current().unlinkPath(path_ + "-journal");
  }
  path_.clear();
  target_.clear();
  resetState(CQbase::openRead);
  mtimeBefore_ = 0;
}

bool CQbaseSqlite::close() {
  endSet();
  schema_.finalizeStatements();
  bool ok = !spoiled_ && !readFailed_ && exec("COMMIT");
  if (ok) error_.clear();
  bool changed = changed_ || schema_.changed();
  CQbase::openMode mode = mode_;
  std::string file = mode == CQbase::openCreate ? target_ : path_;
  uint64_t before = mtimeBefore_;
  disconnect();
  if (ok && mode == CQbase::openCreate) ok = putInPlace();
  teardown(!ok);
  if (ok) closed_ = file;
  // Other users notice a change by a strictly later last-write time, and the file system's
  // coarse clock can stamp two saves alike: an update moves the time on.
  if (ok && changed && mode == CQbase::openUpdate &&
      !cuFile::CFileTime::touchForward(CWsz::fromUtf8(file.c_str()), before))
    error_.fail(file + ": cannot set the last-write time");
  return ok;
}

bool CQbaseSqlite::isCurrent() {
  int moved = 0;
  return db_ && sqlite3_file_control(db_, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK &&
         moved == 0;
}

// The file's last-write time. While a read is open nobody can commit to the file, so the time
// belongs to what the transaction reads.
bool CQbaseSqlite::stamp(uint64_t& out) {
  const std::string& file = db_ ? (mode_ == CQbase::openCreate ? target_ : path_) : closed_;
  cuFile::CFileTime time;
  if (file.empty() || time.initFor(CWsz::fromUtf8(file.c_str())) != 0) return false;
  out = time.time();
  return true;
}

// ---------------------------------------------------------------------------------------
// Records

bool CQbaseSqlite::save(const CQbaseRecord& record) {
  if (!writable()) return false;
  QbaseTable* t = table(*record.def());
  CQbaseStatement* stmt = t ? schema_.statement(*t, QbaseStatementKind::insert) : nullptr;
  if (!stmt) return false;
  bindRow(record, stmt->get());
  int rc = stmt->step();
  stmt->reset();
  if (rc != SQLITE_DONE)
    return spoil("saving " + t->def->code + " " + record.key() + ": " + sqlite3_errstr(rc));
  ++t->writes;
  changed_ = true;
  return true;
}

int CQbaseSqlite::fetch(const QbaseRecordDef& def, const std::string& key, CQbaseRecord& record) {
  QbaseTable* t = table(def);
  CQbaseStatement* stmt = t ? schema_.statement(*t, QbaseStatementKind::select) : nullptr;
  if (!stmt) return -1;
  stmt->bindText(1, key);
  int rc = stmt->step();
  if (rc == SQLITE_ROW) loadRow(record, def, stmt->get());
  stmt->reset();
  if (rc == SQLITE_ROW) return 1;
  if (rc == SQLITE_DONE) return 0;
  sqlFail("fetching " + def.code);
  failRead();
  return -1;
}

int CQbaseSqlite::remove(const QbaseRecordDef& def, const std::string& key) {
  if (!writable()) return -1;
  QbaseTable* t = table(def);
  CQbaseStatement* stmt = t ? schema_.statement(*t, QbaseStatementKind::remove) : nullptr;
  if (!stmt) return -1;
  stmt->bindText(1, key);
  int rc = stmt->step();
  stmt->reset();
  if (rc != SQLITE_DONE) {
    spoil("deleting " + def.code + " " + key + ": " + sqlite3_errstr(rc));
    return -1;
  }
  if (sqlite3_changes(db_) == 0) return 0;
  ++t->writes;
  changed_ = true;
  return 1;
}

// ---------------------------------------------------------------------------------------
// The set enumeration

bool CQbaseSqlite::stepSet(CQbaseRecord& record) {
  int rc = cursor_->step();
  if (rc == SQLITE_ROW) {
    loadRow(record, *set_->def, cursor_->get());
    setKey_ = record.key();
    return true;
  }
  cursor_->reset();
  cursor_ = nullptr;
  if (rc != SQLITE_DONE) {
    sqlFail("enumerating " + set_->def->code);
    failRead();
  }
  return false;
}

bool CQbaseSqlite::first(const QbaseRecordDef& def, CQbaseRecord& record) {
  endSet();
  QbaseTable* t = table(def);
  CQbaseStatement* stmt = t ? schema_.statement(*t, QbaseStatementKind::scanAll) : nullptr;
  if (!stmt) return false;
  set_ = t;
  cursor_ = stmt;
  cursorWrites_ = t->writes;
  if (stepSet(record)) return true;
  set_ = nullptr;
  return false;
}

bool CQbaseSqlite::next(CQbaseRecord& record) {
  if (!db_ || !set_) return false;
  // A save or deletion in the set may have moved the rows under the running query: start
  // a new one after the last member's key.
  if (!cursor_ || cursorWrites_ != set_->writes) {
    if (cursor_) cursor_->reset();
    cursor_ = schema_.statement(*set_, QbaseStatementKind::scanAfter);
    if (!cursor_) return false;
    cursor_->bindText(1, setKey_);
    cursorWrites_ = set_->writes;
  }
  return stepSet(record);
}

}  // namespace

std::unique_ptr<CQbaseBackend> makeQbaseSqliteBackend(QbaseError& error) {
  return std::make_unique<CQbaseSqlite>(error);
}
