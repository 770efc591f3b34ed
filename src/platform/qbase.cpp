#include "vxkd/platform/qbase.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include "platform/qbase_dictionary.h"
#include "platform/qbase_record.h"
#include "platform/qbase_schema.h"
#include "platform/qbase_statement.h"
#include "platform/qbase_vfs.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/file_time.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"

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

}  // namespace

// The open database: its connection and transaction, the schema with its statements, the
// current record and the set being enumerated.
struct CQbase::Impl {
  QbaseError error;
  CQbaseDictionary dict;
  CQbaseSchema schema{error};
  CQbaseRecord record{error};
  sqlite3* db = nullptr;
  openMode mode = openRead;
  // The file open in `db`: the dataset, or the temporary file a creation builds and
  // renames to `target` when it closes.
  std::string path;
  std::string target;
  bool changed = false;
  // A write failed: the transaction is (being) rolled back and every later write fails.
  bool spoiled = false;
  // A read failed: what was read is not the whole of what was asked for.
  bool readFailed = false;
  uint64_t mtimeBefore = 0;  // the last-write time of a file opened for update

  // The set being enumerated: its table, the key of the last member and the running query
  // (one of the table's statements).
  QbaseTable* set = nullptr;
  std::string setKey;
  CQbaseStatement* cursor = nullptr;
  uint64_t cursorWrites = 0;

  bool fail(std::string message) { return error.fail(std::move(message)); }
  bool fail(failReason reason, std::string message) {
    return error.fail(reason, std::move(message));
  }
  bool sqlFail(const std::string& what) { return error.sqlFail(db, what); }
  bool exec(const char* sql) { return qbaseExec(db, sql, error); }

  bool openFile(const std::string& file, openMode how);
  bool connect(int flags);
  bool openForReading();
  bool playBackJournal();
  bool openForUpdate();
  bool openForCreation();
  bool useRollbackJournal();
  bool putInPlace();
  void disconnect();
  void teardown(bool removeNewFile);

  bool validKey(const QbaseTable& t, const char* key) {
    if (!key) return fail("no key");
    size_t n = std::strlen(key);
    if (n == 0 || n > static_cast<size_t>(t.def->keyWidth))
      return fail("key '" + std::string(key) + "' does not fit record " + t.def->code);
    return true;
  }

  void endSet() {
    if (cursor) cursor->reset();
    cursor = nullptr;
    set = nullptr;
    setKey.clear();
  }
  bool stepSet();

  // A read that SQLite failed (rc) fails the whole transaction: its caller must not take
  // what it got for all there is.
  bool failRead(const std::string& what) {
    sqlFail(what);
    readFailed = true;
    if (mode != openRead) spoil(error.message);
    return false;
  }

  // True when a write may go ahead; spoils the transaction when it has gone missing.
  bool canWrite() {
    if (!db) return fail("not open");
    if (mode == openRead) return fail("opened for reading");
    if (spoiled) return false;
    if (sqlite3_get_autocommit(db)) return spoil("the transaction has ended");
    return true;
  }

  bool spoil(const std::string& why) {
    if (error.reason == reasonNone) error.reason = reasonFailed;
    fail(why);
    spoiled = true;
    if (cursor) cursor->reset();
    cursor = nullptr;
    if (!sqlite3_get_autocommit(db)) {
      QbaseError keep = error;
      exec("ROLLBACK");
      error = keep;
    }
    return false;
  }
};

// ---------------------------------------------------------------------------------------
// Opening and closing

bool CQbase::Impl::openFile(const std::string& file, openMode how) {
  mode = how;
  if (how == openCreate) {
    target = file;
    return openForCreation();
  }
  struct stat st {};
  if (CEnv::current().statPath(file, &st) != 0)
    return fail(reasonOfErrno(errno), file + ": " + std::strerror(errno));
  if (!S_ISREG(st.st_mode)) return fail(reasonNotDatabase, file + ": not a file");
  path = file;
  return how == openRead ? openForReading() : openForUpdate();
}

bool CQbase::Impl::connect(int flags) {
  const char* vfs = qbaseVfsName();
  if (!vfs) return fail(reasonFailed, "SQLite has no file layer");
  if (sqlite3_open_v2(path.c_str(), &db, flags | SQLITE_OPEN_NOMUTEX, vfs) != SQLITE_OK)
    return sqlFail(path);
  sqlite3_extended_result_codes(db, 1);
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  schema.attach(db, dict, path);
  return true;
}

void CQbase::Impl::disconnect() {
  endSet();
  record.clear();
  schema.detach();
  if (!db) return;
  if (!sqlite3_get_autocommit(db)) sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(db);
  db = nullptr;
}

// A read-only connection in a deferred transaction: its first read takes the shared lock,
// which it keeps to the end, so every later read sees the same commit. Nothing is written,
// not even a checkpoint of a file that another tool left in WAL mode.
bool CQbase::Impl::openForReading() {
  for (int attempt = 0;; ++attempt) {
    if (!connect(SQLITE_OPEN_READONLY)) return false;
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    if (!exec("BEGIN DEFERRED")) return false;
    if (schema.checkFormat(false)) break;
    // A writer died in the middle of a commit and left its journal: a reader may not play
    // it back, so a connection that may write does, and the file is read again.
    if (attempt > 0 || sqlite3_extended_errcode(db) != SQLITE_READONLY_ROLLBACK) return false;
    disconnect();
    if (!playBackJournal()) return false;
  }
  return schema.checkWholePages() && schema.findMissingColumns();
}

bool CQbase::Impl::playBackJournal() {
  if (!connect(SQLITE_OPEN_READWRITE)) return false;
  bool ok = sqlite3_db_readonly(db, "main") == 0
                ? exec("SELECT count(*) FROM sqlite_master")
                : fail(reasonReadOnly, path +
                                           ": a writer's journal needs playing back, and "
                                           "this process may not write the file");
  disconnect();
  return ok;
}

// One exclusive transaction, begun only after the file passed the checks: a file that is no
// dataset, or a damaged one, stays untouched.
bool CQbase::Impl::openForUpdate() {
  CEnv& env = CEnv::current();
  // The journal is made beside the file: both must be writable.
  for (const std::string& need : {path, cuFile::folderOfPath(path)}) {
    if (env.accessPath(need, W_OK) != 0)
      return fail(reasonOfErrno(errno) == reasonMissing ? reasonFailed : reasonOfErrno(errno),
                  need + ": " + std::strerror(errno));
  }
  if (!connect(SQLITE_OPEN_READWRITE)) return false;
  if (sqlite3_db_readonly(db, "main") != 0) return fail(reasonReadOnly, path + ": read-only");
  if (!schema.checkFormat(false) || !schema.checkWholePages()) return false;
  if (!useRollbackJournal()) return false;
  if (!exec("PRAGMA synchronous=FULL") || !exec("BEGIN IMMEDIATE")) return false;
  sqlite3_busy_timeout(db, kWriterTimeoutMs);
  cuFile::CFileTime stamp;
  if (stamp.initFor(CWsz::fromUtf8(path.c_str())) == 0) mtimeBefore = stamp.time();
  if (!schema.checkIntegrity()) return false;
  return schema.checkFormat(true) && schema.ensureTables();
}

// A new file under a name of its own beside the target, renamed into place at the close.
bool CQbase::Impl::openForCreation() {
  CEnv& env = CEnv::current();
  static unsigned counter = 0;
  int fd = -1;
  for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
    path = target + ".new-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
    fd = env.openFile(path, O_RDWR | O_CREAT | O_EXCL, 0644);
    if (fd < 0 && errno != EEXIST) {
      int failure = errno;
      path.clear();
      return fail(reasonOfErrno(failure) == reasonMissing ? reasonFailed : reasonOfErrno(failure),
                  target + ": " + std::strerror(failure));
    }
  }
  if (fd < 0) return fail(reasonFailed, target + ": no free temporary name");
  env.closeFile(fd);
  // A journal beside a file that did not exist belongs to a file deleted since: it must
  // never be played back into the new one.
  env.unlinkPath(path + "-journal");
  if (!connect(SQLITE_OPEN_READWRITE)) return false;
  if (!useRollbackJournal()) return false;
  if (!exec("PRAGMA synchronous=FULL") || !exec("BEGIN IMMEDIATE")) return false;
  return schema.createFormat() && schema.ensureTables();
}

// The rollback journal: every commit writes the file itself, and a process that dies in the
// middle leaves a journal from which the next opener restores the file.
bool CQbase::Impl::useRollbackJournal() {
  CQbaseStatement mode;
  if (!mode.prepare(db, "PRAGMA journal_mode=DELETE")) return sqlFail(path);
  int rc = mode.step();
  if (rc != SQLITE_ROW) return sqlFail(path + ": cannot use the rollback journal");
  if (sqlite3_stricmp(mode.columnText(0).c_str(), "delete") != 0)
    return fail(reasonFailed, path + ": cannot use the rollback journal");
  return true;
}

// Moves the committed new file over the target. Its last-write time is first set later
// than the file it replaces, so that every user who read that one notices the change.
bool CQbase::Impl::putInPlace() {
  CEnv& env = CEnv::current();
  struct stat old {};
  bool replaces = env.statPath(target, &old) == 0;
  if (replaces) {
    // A shared dataset keeps the permissions its users need (group write, say).
    env.changeMode(path, old.st_mode & 07777);
    cuFile::CFileTime previous;
    previous.initFor(CWsz::fromUtf8(target.c_str()));
    cuFile::CFileTime::touchForward(CWsz::fromUtf8(path.c_str()), previous.time());
  }
  if (env.renamePath(path, target) != 0) {
    int failure = errno;
    env.unlinkPath(path);
    return fail(reasonOfErrno(failure) == reasonMissing ? reasonFailed : reasonOfErrno(failure),
                target + ": " + std::strerror(failure));
  }
  env.syncFolder(cuFile::folderOfPath(target));
  return true;
}

// Closes the connection, rolling back what is still open, and forgets the file; a new file
// not put in place is removed.
void CQbase::Impl::teardown(bool removeNewFile) {
  disconnect();
  if (removeNewFile && mode == openCreate && !path.empty()) {
    CEnv::current().unlinkPath(path);
    CEnv::current().unlinkPath(path + "-journal");
  }
  path.clear();
  target.clear();
  changed = spoiled = readFailed = false;
  mtimeBefore = 0;
}

CQbase::CQbase() : impl_(std::make_unique<Impl>()) {}

CQbase::~CQbase() { abandon(); }

bool CQbase::openDatabase(const wchar_t* dictionaryPath, const wchar_t* path, bool create) {
  return openDatabase(dictionaryPath, path, create ? openCreate : openUpdate);
}

bool CQbase::openDatabase(const wchar_t* dictionaryPath, const wchar_t* path, openMode mode) {
  Impl& d = *impl_;
  if (d.db) return d.fail(reasonFailed, "already open");
  d.error.clear();
  if (!dictionaryPath || !*dictionaryPath) return d.fail(reasonFailed, "no dictionary");
  if (!d.dict.load(cuFile::nativePath(dictionaryPath))) return d.fail(reasonFailed, d.dict.error());
  if (!path || !*path) return d.fail(reasonMissing, "no dataset path");
  if (!d.openFile(cuFile::nativePath(path), mode)) {
    d.teardown(true);
    return false;
  }
  return true;
}

bool CQbase::closeDatabase() {
  Impl& d = *impl_;
  if (!d.db) return d.fail("not open");
  d.endSet();
  d.schema.finalizeStatements();
  bool ok = !d.spoiled && !d.readFailed && d.exec("COMMIT");
  if (ok) d.error.clear();
  bool changed = d.changed || d.schema.changed();
  std::string file = d.mode == openCreate ? d.target : d.path;
  uint64_t before = d.mtimeBefore;
  d.disconnect();
  if (ok && d.mode == openCreate) ok = d.putInPlace();
  d.teardown(!ok);
  // Other users notice a change by a strictly later last-write time, and the file system's
  // coarse clock can stamp two saves alike: an update moves the time on.
  if (ok && changed && d.mode == openUpdate &&
      !cuFile::CFileTime::touchForward(CWsz::fromUtf8(file.c_str()), before))
    d.fail(file + ": cannot set the last-write time");
  return ok;
}

void CQbase::abandon() {
  if (impl_ && impl_->db) impl_->teardown(true);
}

bool CQbase::isOpen() const { return impl_->db != nullptr; }

bool CQbase::isReadOnly() const { return impl_->db && impl_->mode == openRead; }

bool CQbase::isCurrentFile() const {
  int moved = 0;
  return impl_->db &&
         sqlite3_file_control(impl_->db, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK &&
         moved == 0;
}

void CQbase::setWarnings(bool) {}

const char* CQbase::lastError() const { return impl_->error.message.c_str(); }

CQbase::failReason CQbase::reason() const { return impl_->error.reason; }

const char* CQbase::reasonText(failReason reason) {
  constexpr const char* kTexts[] = {
      "no failure", "not a database", "not a dataset", "written by a newer version",
      "damaged",    "read-only",      "busy",          "missing",
      "failed",
  };
  return reason <= reasonFailed ? kTexts[reason] : kTexts[reasonFailed];
}

// ---------------------------------------------------------------------------------------
// Records

bool CQbase::createRec(const char* code, const char* key) {
  Impl& d = *impl_;
  QbaseTable* t = d.schema.table(code);
  if (!t || !d.validKey(*t, key)) return false;
  d.record.start(*t->def, key);
  return true;
}

bool CQbase::saveRec() {
  Impl& d = *impl_;
  if (!d.canWrite()) return false;
  if (!d.record.isSet()) return d.fail("no current record");
  QbaseTable* t = d.schema.table(d.record.def()->code.c_str());
  CQbaseStatement* stmt = t ? d.schema.statement(*t, QbaseStatementKind::insert) : nullptr;
  if (!stmt) return false;
  d.record.bind(stmt->get());
  int rc = stmt->step();
  stmt->reset();
  if (rc != SQLITE_DONE)
    return d.spoil("saving " + t->def->code + " " + d.record.key() + ": " + sqlite3_errstr(rc));
  ++t->writes;
  d.changed = true;
  return true;
}

bool CQbase::fetchRec(const char* code, const char* key) {
  Impl& d = *impl_;
  d.record.clear();
  QbaseTable* t = d.schema.table(code);
  if (!t || !d.validKey(*t, key)) return false;
  CQbaseStatement* stmt = d.schema.statement(*t, QbaseStatementKind::select);
  if (!stmt) return false;
  stmt->bindText(1, key);
  int rc = stmt->step();
  if (rc == SQLITE_ROW) d.record.load(*t->def, stmt->get());
  stmt->reset();
  if (rc == SQLITE_ROW) return true;
  return rc == SQLITE_DONE ? d.fail("no record " + t->def->code + " " + key)
                           : d.failRead("fetching " + t->def->code);
}

bool CQbase::deleteRec(const char* code, const char* key) {
  Impl& d = *impl_;
  QbaseTable* t = d.schema.table(code);
  if (!t || !d.validKey(*t, key) || !d.canWrite()) return false;
  CQbaseStatement* stmt = d.schema.statement(*t, QbaseStatementKind::remove);
  if (!stmt) return false;
  stmt->bindText(1, key);
  int rc = stmt->step();
  stmt->reset();
  if (rc != SQLITE_DONE)
    return d.spoil("deleting " + t->def->code + " " + key + ": " + sqlite3_errstr(rc));
  if (sqlite3_changes(d.db) == 0) return d.fail("no record " + t->def->code + " " + key);
  ++t->writes;
  d.changed = true;
  if (d.record.def() == t->def && d.record.key() == key) d.record.clear();
  return true;
}

bool CQbase::getObjId(char* buffer, int size) const {
  const CQbaseRecord& r = impl_->record;
  if (!r.isSet() || !buffer || size < 1) return false;
  cuSz::copyTo(buffer, size, r.key());
  return r.key().size() < static_cast<size_t>(size);
}

bool CQbase::getObjId(CChBuffer& key) const {
  if (!impl_->record.isSet()) return false;
  key.set(impl_->record.key().c_str());
  return true;
}

// ---------------------------------------------------------------------------------------
// The set enumeration

bool CQbase::Impl::stepSet() {
  int rc = cursor->step();
  if (rc == SQLITE_ROW) {
    record.load(*set->def, cursor->get());
    setKey = record.key();
    return true;
  }
  cursor->reset();
  cursor = nullptr;
  record.clear();
  if (rc != SQLITE_DONE) failRead("enumerating " + set->def->code);
  return false;
}

bool CQbase::fetchFirstMember(const char* code) {
  Impl& d = *impl_;
  d.endSet();
  d.record.clear();
  QbaseTable* t = d.schema.table(code);
  if (!t) return false;
  CQbaseStatement* stmt = d.schema.statement(*t, QbaseStatementKind::scanAll);
  if (!stmt) return false;
  d.set = t;
  d.cursor = stmt;
  d.cursorWrites = t->writes;
  if (d.stepSet()) return true;
  d.set = nullptr;
  return false;
}

bool CQbase::fetchNextMember() {
  Impl& d = *impl_;
  if (!d.db || !d.set) return false;
  // A save or deletion in the set may have moved the rows under the running query: start
  // a new one after the last member's key.
  if (!d.cursor || d.cursorWrites != d.set->writes) {
    if (d.cursor) d.cursor->reset();
    d.cursor = d.schema.statement(*d.set, QbaseStatementKind::scanAfter);
    if (!d.cursor) return false;
    d.cursor->bindText(1, d.setKey);
    d.cursorWrites = d.set->writes;
  }
  return d.stepSet();
}

// ---------------------------------------------------------------------------------------
// Typed fields of the current record

bool CQbase::getByte(short fieldNo, uint8_t& value) const {
  int64_t v;
  if (!impl_->record.getInteger(fieldNo, QbaseFieldType::kByte, 0, UINT8_MAX, v)) return false;
  value = static_cast<uint8_t>(v);
  return true;
}

bool CQbase::setByte(short fieldNo, uint8_t value) {
  return impl_->record.setInteger(fieldNo, QbaseFieldType::kByte, value);
}

bool CQbase::getShort(short fieldNo, short& value) const {
  int64_t v;
  if (!impl_->record.getInteger(fieldNo, QbaseFieldType::kShort, INT16_MIN, INT16_MAX, v))
    return false;
  value = static_cast<short>(v);
  return true;
}

bool CQbase::setShort(short fieldNo, short value) {
  return impl_->record.setInteger(fieldNo, QbaseFieldType::kShort, value);
}

bool CQbase::getLong(short fieldNo, long& value) const {
  int64_t v;
  if (!impl_->record.getInteger(fieldNo, QbaseFieldType::kLong, INT32_MIN, INT32_MAX, v))
    return false;
  value = static_cast<long>(v);
  return true;
}

bool CQbase::setLong(short fieldNo, long value) {
  if (value < INT32_MIN || value > INT32_MAX) return impl_->fail("value does not fit 32 bits");
  return impl_->record.setInteger(fieldNo, QbaseFieldType::kLong, value);
}

bool CQbase::getFloat(short fieldNo, float& value) const {
  return impl_->record.getFloat(fieldNo, value);
}

bool CQbase::setFloat(short fieldNo, float value) { return impl_->record.setFloat(fieldNo, value); }

bool CQbase::getSz(short fieldNo, CChBuffer& text) const {
  return impl_->record.getSz(fieldNo, text);
}

bool CQbase::getSz(short fieldNo, char* buffer, int size) const {
  return impl_->record.getSz(fieldNo, buffer, size);
}

bool CQbase::setSz(short fieldNo, const char* text) { return impl_->record.setSz(fieldNo, text); }

bool CQbase::getWsz(short fieldNo, CWsz& text) const { return impl_->record.getWsz(fieldNo, text); }

bool CQbase::setWsz(short fieldNo, const wchar_t* text) {
  return impl_->record.setWsz(fieldNo, text);
}

bool CQbase::getPoint(short fieldNo, double& x, double& y, double& z) const {
  return impl_->record.getPoint(fieldNo, x, y, z);
}

bool CQbase::setPoint(short fieldNo, double x, double y, double z) {
  return impl_->record.setPoint(fieldNo, x, y, z);
}

bool CQbase::getShortArray(short fieldNo, CInt16Array& values) const {
  return impl_->record.getShortArray(fieldNo, values);
}

bool CQbase::setShortArray(short fieldNo, const CInt16Array& values) {
  return impl_->record.setShortArray(fieldNo, values);
}

bool CQbase::getFloatArray(short fieldNo, CFloatArray& values) const {
  return impl_->record.getFloatArray(fieldNo, values);
}

bool CQbase::setFloatArray(short fieldNo, const CFloatArray& values) {
  return impl_->record.setFloatArray(fieldNo, values);
}

bool CQbase::getBinaryArray(short fieldNo, CByteBuffer& data, int& count) const {
  return impl_->record.getBinaryArray(fieldNo, data, count);
}

bool CQbase::setBinaryArray(short fieldNo, const void* data, int count) {
  return impl_->record.setBinaryArray(fieldNo, data, count);
}

bool CQbase::getAttachment(CByteBuffer& data) const { return impl_->record.getAttachment(data); }

bool CQbase::setAttachment(const CByteBuffer& data) {
  return setAttachment(data.data(), data.size());
}

bool CQbase::setAttachment(const void* data, int size) {
  return impl_->record.setAttachment(data, size);
}
