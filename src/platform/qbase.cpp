#include "vxkd/platform/qbase.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <bit>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "platform/qbase_dictionary.h"
#include "platform/qbase_vfs.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/file_time.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"

namespace {

constexpr const char* kKeyColumn = "record_key";
constexpr const char* kFormatTable = "vxkd_dataset";
// How long an open waits for another process's write transaction to end.
constexpr int kBusyTimeoutMs = 5000;

// Numbers inside BLOBs are little-endian whatever the machine.
[[maybe_unused]] void storeLe16(char* p, uint16_t v) {
  p[0] = static_cast<char>(v);
  p[1] = static_cast<char>(v >> 8);
}

void storeLe32(char* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<char>(v >> (8 * i));
}

uint16_t loadLe16(const char* p) {
  return static_cast<uint16_t>(static_cast<uint8_t>(p[0]) | static_cast<uint8_t>(p[1]) << 8);
}

uint32_t loadLe32(const char* p) {
  uint32_t v = 0;
  for (int i = 0; i < 4; ++i) v |= static_cast<uint32_t>(static_cast<uint8_t>(p[i])) << (8 * i);
  return v;
}

// Items of a stored array from / to their little-endian bytes; a plain copy where the
// machine is little-endian.
template <typename T>
void decodeItems(const std::string& bytes, CValueArray<T>& values) {
  static_assert(sizeof(T) == 2 || sizeof(T) == 4);
  int n = static_cast<int>(bytes.size() / sizeof(T));
  values.resize(n);
  if constexpr (std::endian::native == std::endian::little) {
    if (n > 0) std::memcpy(values.data(), bytes.data(), n * sizeof(T));
  } else {
    for (int i = 0; i < n; ++i) {
      const char* p = bytes.data() + i * sizeof(T);
      if constexpr (sizeof(T) == 2) {
        values.data()[i] = std::bit_cast<T>(loadLe16(p));
      } else {
        values.data()[i] = std::bit_cast<T>(loadLe32(p));
      }
    }
  }
}

template <typename T>
void encodeItems(const CValueArray<T>& values, std::string& bytes) {
  static_assert(sizeof(T) == 2 || sizeof(T) == 4);
  bytes.resize(static_cast<size_t>(values.length()) * sizeof(T));
  if constexpr (std::endian::native == std::endian::little) {
    if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
  } else {
    for (int i = 0; i < values.length(); ++i) {
      char* p = bytes.data() + i * sizeof(T);
      if constexpr (sizeof(T) == 2) {
        storeLe16(p, std::bit_cast<uint16_t>(values.data()[i]));
      } else {
        storeLe32(p, std::bit_cast<uint32_t>(values.data()[i]));
      }
    }
  }
}

// A field of the current record as it is stored: integers in `i`, reals in `d`, texts and
// BLOBs in `bytes`.
struct FieldValue {
  bool present = false;
  int64_t i = 0;
  double d = 0;
  std::string bytes;
};

// The prepared statements of one record table, made when first needed. `writes` counts the
// saves and deletions, so that an enumeration notices that its cursor went stale.
struct Table {
  const QbaseRecordDef* def = nullptr;
  sqlite3_stmt* insert = nullptr;
  sqlite3_stmt* select = nullptr;
  sqlite3_stmt* remove = nullptr;
  sqlite3_stmt* scanAll = nullptr;
  sqlite3_stmt* scanAfter = nullptr;
  uint64_t writes = 0;
};

std::string quoted(std::string_view name) { return qbaseConcat({"\"", name, "\""}); }

std::string columnList(const QbaseRecordDef& def) {
  std::string list = quoted(kKeyColumn);
  for (const QbaseFieldDef& f : def.fields) {
    list += ',';
    list += quoted(f.column);
  }
  return list;
}

}  // namespace

struct CQbase::Impl {
  CQbaseDictionary dict;
  sqlite3* db = nullptr;
  std::string path;
  bool created = false;
  bool changed = false;
  // A write failed: the transaction is (being) rolled back and every later write fails.
  bool spoiled = false;
  uint64_t mtimeBefore = 0;  // the file's last-write time when it was opened
  std::vector<Table> tables;
  Table* lastTable = nullptr;

  // The current record.
  Table* cur = nullptr;
  std::string curKey;
  std::vector<FieldValue> values;

  // The set being enumerated: its table, the key of the last member and the running query.
  Table* set = nullptr;
  std::string setKey;
  sqlite3_stmt* cursor = nullptr;
  uint64_t cursorWrites = 0;

  std::string error;

  bool fail(std::string message) {
    error = std::move(message);
    return false;
  }

  bool sqlFail(const std::string& what) {
    return fail(what + ": " + (db ? sqlite3_errmsg(db) : "no database"));
  }

  bool exec(const char* sql) {
    char* message = nullptr;
    int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
    if (rc == SQLITE_OK) return true;
    fail(std::string(sql) + ": " + (message ? message : sqlite3_errstr(rc)));
    sqlite3_free(message);
    return false;
  }

  bool prepare(const std::string& sql, sqlite3_stmt** stmt) {
    if (sqlite3_prepare_v3(db, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, stmt, nullptr) ==
        SQLITE_OK) {
      return true;
    }
    *stmt = nullptr;
    return sqlFail(sql);
  }

  // --- opening and closing ---

  bool openFile(const std::string& file, bool create);
  bool checkFormat(bool upgrade);
  bool checkWholePages();
  bool createFormat();
  bool ensureTables();
  void finalizeStatements();
  void teardown(bool removeNewFile);

  // --- records ---

  Table* table(const char* code) {
    if (!db || !code) return nullptr;
    if (lastTable && lastTable->def->code == code) return lastTable;
    for (Table& t : tables) {
      if (t.def->code == code) return lastTable = &t;
    }
    fail(std::string("unknown record code ") + code);
    return nullptr;
  }

  bool validKey(const Table& t, const char* key) {
    if (!key) return fail("no key");
    size_t n = std::strlen(key);
    if (n == 0 || n > static_cast<size_t>(t.def->keyWidth)) {
      return fail("key '" + std::string(key) + "' does not fit record " + t.def->code);
    }
    return true;
  }

  sqlite3_stmt* statement(Table& t, sqlite3_stmt* Table::*which) {
    sqlite3_stmt*& stmt = t.*which;
    if (stmt) return stmt;
    const QbaseRecordDef& def = *t.def;
    const std::string table = quoted(def.table), columns = columnList(def);
    const std::string key = quoted(kKeyColumn);
    std::string sql;
    if (which == &Table::insert) {
      sql = qbaseConcat({"INSERT OR REPLACE INTO ", table, " (", columns, ") VALUES (?1"});
      for (size_t i = 0; i < def.fields.size(); ++i) {
        sql += qbaseConcat({",?", std::to_string(i + 2)});
      }
      sql += ')';
    } else if (which == &Table::select) {
      sql = qbaseConcat({"SELECT ", columns, " FROM ", table, " WHERE ", key, "=?1"});
    } else if (which == &Table::remove) {
      sql = qbaseConcat({"DELETE FROM ", table, " WHERE ", key, "=?1"});
    } else if (which == &Table::scanAll) {
      sql = qbaseConcat({"SELECT ", columns, " FROM ", table, " ORDER BY ", key});
    } else {
      sql =
          qbaseConcat({"SELECT ", columns, " FROM ", table, " WHERE ", key, ">?1 ORDER BY ", key});
    }
    prepare(sql, &stmt);
    return stmt;
  }

  void clearCurrent() {
    cur = nullptr;
    curKey.clear();
  }

  void endSet() {
    if (cursor) sqlite3_reset(cursor);
    cursor = nullptr;
    set = nullptr;
    setKey.clear();
  }

  void loadRow(Table& t, sqlite3_stmt* stmt);
  bool stepSet();

  // True when a write may go ahead; spoils the transaction when it has gone missing.
  bool canWrite() {
    if (!db) return fail("not open");
    if (spoiled) return false;
    if (sqlite3_get_autocommit(db)) return spoil("the transaction has ended");
    return true;
  }

  bool spoil(const std::string& why) {
    fail(why);
    spoiled = true;
    if (cursor) sqlite3_reset(cursor);
    cursor = nullptr;
    if (!sqlite3_get_autocommit(db)) {
      std::string keep = error;
      exec("ROLLBACK");
      error = keep;
    }
    return false;
  }

  // The current record's value of field `number`, when the record's dictionary declares it
  // with type `type`; null (with the reason in `error`) otherwise.
  FieldValue* slot(short number, QbaseFieldType type, const QbaseFieldDef** def = nullptr) {
    int i = cur ? cur->def->indexOf(number) : -1;
    if (i < 0 || cur->def->fields[i].type != type) [[unlikely]] {
      return undeclared(number, type);
    }
    if (def) *def = &cur->def->fields[i];
    return &values[i];
  }

  [[gnu::cold, gnu::noinline]] FieldValue* undeclared(short number, QbaseFieldType type) {
    if (!cur) {
      fail("no current record");
    } else {
      fail(qbaseConcat({"record ", cur->def->code, " has no ", qbaseTypeName(type), " field ",
                        std::to_string(number)}));
    }
    return nullptr;
  }

  // The stored value of a field that the record holds; null when absent or not declared.
  const FieldValue* present(short number, QbaseFieldType type,
                            const QbaseFieldDef** def = nullptr) {
    const FieldValue* v = slot(number, type, def);
    return v && v->present ? v : nullptr;
  }

  bool setInteger(short number, QbaseFieldType type, int64_t value) {
    FieldValue* v = slot(number, type);
    if (!v) return false;
    v->present = true;
    v->i = value;
    return true;
  }

  bool getInteger(short number, QbaseFieldType type, int64_t min, int64_t max, int64_t& out) {
    const FieldValue* v = present(number, type);
    if (!v || v->i < min || v->i > max) return false;
    out = v->i;
    return true;
  }

  bool setBytes(short number, QbaseFieldType type, const void* data, size_t size) {
    FieldValue* v = slot(number, type);
    if (!v) return false;
    v->present = true;
    if (size > 0) {
      v->bytes.assign(static_cast<const char*>(data), size);
    } else {
      v->bytes.clear();
    }
    return true;
  }
};

// ---------------------------------------------------------------------------------------
// Opening and closing

bool CQbase::Impl::openFile(const std::string& file, bool create) {
  const char* vfs = qbaseVfsName();
  if (!vfs) return fail("SQLite has no file layer");
  CEnv& env = CEnv::current();
  // The file must be writable by this process: every open is a write transaction.
  int fd =
      create ? env.openFile(file, O_RDWR | O_CREAT | O_EXCL, 0644) : env.openFile(file, O_RDWR);
  if (fd < 0) return fail(file + ": " + std::strerror(errno));
  env.closeFile(fd);
  path = file;
  created = create;
  // A journal beside a file that did not exist belongs to a file deleted since: it must
  // never be played back into the new one.
  if (create) env.unlinkPath(file + "-journal");

  if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, vfs) !=
      SQLITE_OK) {
    return sqlFail(file);
  }
  sqlite3_extended_result_codes(db, 1);
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  if (sqlite3_db_readonly(db, "main") != 0) return fail(file + ": read-only");
  // Check before anything is written: a database that is not a dataset stays untouched.
  if (!create && (!checkFormat(false) || !checkWholePages())) return false;
  // The rollback journal: every commit writes the file itself, and a process that dies in
  // the middle leaves a journal from which the next opener restores the file.
  sqlite3_stmt* mode = nullptr;
  if (!prepare("PRAGMA journal_mode=DELETE", &mode)) return false;
  int rc = sqlite3_step(mode);
  const unsigned char* journal = rc == SQLITE_ROW ? sqlite3_column_text(mode, 0) : nullptr;
  bool rollbackJournal =
      journal && sqlite3_stricmp(reinterpret_cast<const char*>(journal), "delete") == 0;
  sqlite3_finalize(mode);
  if (!rollbackJournal) return sqlFail(file + ": cannot use the rollback journal");
  if (!exec("PRAGMA synchronous=FULL") || !exec("BEGIN IMMEDIATE")) return false;

  cuFile::CFileTime stamp;
  if (stamp.initFor(CWsz::fromUtf8(file.c_str())) == 0) mtimeBefore = stamp.time();
  if (create ? !createFormat() : !checkFormat(true)) return false;
  tables.assign(dict.records().size(), Table{});
  for (size_t i = 0; i < tables.size(); ++i) tables[i].def = &dict.records()[i];
  return ensureTables();
}

// Reads the format row. With `upgrade` an older version is raised to the dictionary's.
bool CQbase::Impl::checkFormat(bool upgrade) {
  sqlite3_stmt* stmt = nullptr;
  std::string sql = std::string("SELECT format, version FROM ") + kFormatTable;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
    return sqlFail(path + ": not a dataset");
  }
  int rc = sqlite3_step(stmt);
  std::string format;
  int64_t version = 0;
  if (rc == SQLITE_ROW) {
    const unsigned char* text = sqlite3_column_text(stmt, 0);
    format = text ? reinterpret_cast<const char*>(text) : "";
    version = sqlite3_column_int64(stmt, 1);
  }
  sqlite3_finalize(stmt);
  if (rc != SQLITE_ROW && rc != SQLITE_DONE) return sqlFail(path + ": not a dataset");
  if (format != dict.formatName() || version < 1) return fail(path + ": not a dataset");
  // A newer program may have changed the layout in ways that a rewrite here would spoil.
  if (version > dict.formatVersion()) return fail(path + ": written by a newer version");
  if (!upgrade || version == dict.formatVersion()) return true;
  sql = std::string("UPDATE ") + kFormatTable + " SET version=?1";
  if (!prepare(sql, &stmt)) return false;
  sqlite3_bind_int(stmt, 1, dict.formatVersion());
  rc = sqlite3_step(stmt);
  sqlite3_finalize(stmt);
  if (rc != SQLITE_DONE) return sqlFail(path);
  changed = true;
  return true;
}

// SQLite writes whole pages: a file that ends inside a page has lost its end.
bool CQbase::Impl::checkWholePages() {
  sqlite3_stmt* stmt = nullptr;
  if (!prepare("PRAGMA page_size", &stmt)) return false;
  int64_t pageSize = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_int64(stmt, 0) : 0;
  sqlite3_finalize(stmt);
  struct stat st {};
  if (pageSize <= 0 || CEnv::current().statPath(path, &st) != 0) return sqlFail(path);
  if (st.st_size % pageSize != 0) return fail(path + ": damaged, the file ends inside a page");
  return true;
}

bool CQbase::Impl::createFormat() {
  std::string sql = std::string("CREATE TABLE ") + kFormatTable +
                    " (format TEXT NOT NULL, version INTEGER NOT NULL)";
  if (!exec(sql.c_str())) return false;
  sqlite3_stmt* stmt = nullptr;
  sql = std::string("INSERT INTO ") + kFormatTable + " (format, version) VALUES (?1, ?2)";
  if (!prepare(sql, &stmt)) return false;
  sqlite3_bind_text(stmt, 1, dict.formatName().c_str(), -1, SQLITE_TRANSIENT);
  sqlite3_bind_int(stmt, 2, dict.formatVersion());
  int rc = sqlite3_step(stmt);
  sqlite3_finalize(stmt);
  if (rc != SQLITE_DONE) return sqlFail(path);
  changed = true;
  return true;
}

// Creates the tables and adds the columns that the file lacks.
bool CQbase::Impl::ensureTables() {
  sqlite3_stmt* info = nullptr;
  if (!prepare("SELECT name FROM pragma_table_info(?1)", &info)) return false;
  bool ok = true;
  for (const Table& t : tables) {
    const QbaseRecordDef& def = *t.def;
    std::vector<std::string> columns;
    sqlite3_bind_text(info, 1, def.table.c_str(), -1, SQLITE_STATIC);
    int rc;
    while ((rc = sqlite3_step(info)) == SQLITE_ROW) {
      const unsigned char* name = sqlite3_column_text(info, 0);
      columns.emplace_back(name ? reinterpret_cast<const char*>(name) : "");
    }
    sqlite3_reset(info);
    if (rc != SQLITE_DONE) {
      ok = sqlFail(def.table);
      break;
    }
    auto has = [&columns](const std::string& name) {
      for (const std::string& c : columns) {
        if (sqlite3_stricmp(c.c_str(), name.c_str()) == 0) return true;
      }
      return false;
    };
    std::string sql;
    if (columns.empty()) {
      sql = qbaseConcat({"CREATE TABLE ", quoted(def.table), " (", quoted(kKeyColumn),
                         " TEXT PRIMARY KEY NOT NULL"});
      for (const QbaseFieldDef& f : def.fields) {
        sql += qbaseConcat({", ", quoted(f.column), " ", qbaseColumnType(f.type)});
      }
      sql += ") WITHOUT ROWID";
      if (!(ok = exec(sql.c_str()))) break;
      changed = true;
      continue;
    }
    if (!has(kKeyColumn)) {
      ok = fail(path + ": table " + def.table + " is not a record table");
      break;
    }
    for (const QbaseFieldDef& f : def.fields) {
      if (has(f.column)) continue;
      sql = qbaseConcat({"ALTER TABLE ", quoted(def.table), " ADD COLUMN ", quoted(f.column), " ",
                         qbaseColumnType(f.type)});
      if (!(ok = exec(sql.c_str()))) break;
      changed = true;
    }
    if (!ok) break;
  }
  sqlite3_finalize(info);
  return ok;
}

void CQbase::Impl::finalizeStatements() {
  cursor = nullptr;
  for (Table& t : tables) {
    for (sqlite3_stmt** s : {&t.insert, &t.select, &t.remove, &t.scanAll, &t.scanAfter}) {
      sqlite3_finalize(*s);
      *s = nullptr;
    }
  }
}

// Closes the connection, rolling back what is still open, and forgets the file.
void CQbase::Impl::teardown(bool removeNewFile) {
  finalizeStatements();
  if (db) {
    if (!sqlite3_get_autocommit(db)) sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    db = nullptr;
  }
  if (removeNewFile && created && !path.empty()) {
    CEnv::current().unlinkPath(path);
    CEnv::current().unlinkPath(path + "-journal");
  }
  tables.clear();
  lastTable = nullptr;
  clearCurrent();
  values.clear();
  set = nullptr;
  setKey.clear();
  path.clear();
  created = changed = spoiled = false;
  mtimeBefore = 0;
}

CQbase::CQbase() : impl_(std::make_unique<Impl>()) {}

CQbase::~CQbase() { abandon(); }

bool CQbase::openDatabase(const wchar_t* dictionaryPath, const wchar_t* path, bool create) {
  Impl& d = *impl_;
  if (d.db) return d.fail("already open");
  d.error.clear();
  if (!dictionaryPath || !*dictionaryPath) return d.fail("no dictionary");
  if (!d.dict.load(cuFile::nativePath(dictionaryPath))) return d.fail(d.dict.error());
  if (!path || !*path) return d.fail("no dataset path");
  if (!d.openFile(cuFile::nativePath(path), create)) {
    d.teardown(true);
    return false;
  }
  return true;
}

bool CQbase::closeDatabase() {
  Impl& d = *impl_;
  if (!d.db) return d.fail("not open");
  d.finalizeStatements();
  bool ok = !d.spoiled && d.exec("COMMIT");
  if (ok) d.error.clear();
  bool changed = d.changed;
  std::string file = d.path;
  uint64_t before = d.mtimeBefore;
  d.teardown(!ok);
  // Other users notice a change by a strictly later last-write time, and the file
  // system's coarse clock can stamp two saves alike: a commit moves the time on.
  if (ok && changed && !cuFile::CFileTime::touchForward(CWsz::fromUtf8(file.c_str()), before))
    d.fail(file + ": cannot set the last-write time");
  return ok;
}

void CQbase::abandon() {
  if (impl_ && impl_->db) impl_->teardown(true);
}

bool CQbase::isOpen() const { return impl_->db != nullptr; }

void CQbase::setWarnings(bool) {}

const char* CQbase::lastError() const { return impl_->error.c_str(); }

// ---------------------------------------------------------------------------------------
// Records

// Copies the row into the current record. Each column is taken once as a value: its
// accessors are cheaper than the column functions, and fine while one thread uses the
// connection.
void CQbase::Impl::loadRow(Table& t, sqlite3_stmt* stmt) {
  cur = &t;
  sqlite3_value* key = sqlite3_column_value(stmt, 0);
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(key));
  curKey.assign(text ? text : "", static_cast<size_t>(sqlite3_value_bytes(key)));
  const std::vector<QbaseFieldDef>& fields = t.def->fields;
  values.resize(fields.size());
  for (size_t i = 0; i < fields.size(); ++i) {
    FieldValue& v = values[i];
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

bool CQbase::createRec(const char* code, const char* key) {
  Impl& d = *impl_;
  Table* t = d.table(code);
  if (!t || !d.validKey(*t, key)) return false;
  d.cur = t;
  d.curKey = key;
  d.values.resize(t->def->fields.size());
  for (FieldValue& v : d.values) v.present = false;
  return true;
}

bool CQbase::saveRec() {
  Impl& d = *impl_;
  if (!d.canWrite()) return false;
  if (!d.cur) return d.fail("no current record");
  sqlite3_stmt* stmt = d.statement(*d.cur, &Table::insert);
  if (!stmt) return false;
  sqlite3_bind_text(stmt, 1, d.curKey.data(), static_cast<int>(d.curKey.size()), SQLITE_STATIC);
  const std::vector<QbaseFieldDef>& fields = d.cur->def->fields;
  for (size_t i = 0; i < fields.size(); ++i) {
    const FieldValue& v = d.values[i];
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
  int rc = sqlite3_step(stmt);
  sqlite3_reset(stmt);
  if (rc != SQLITE_DONE)
    return d.spoil("saving " + d.cur->def->code + " " + d.curKey + ": " + sqlite3_errstr(rc));
  ++d.cur->writes;
  d.changed = true;
  return true;
}

bool CQbase::fetchRec(const char* code, const char* key) {
  Impl& d = *impl_;
  d.clearCurrent();
  Table* t = d.table(code);
  if (!t || !d.validKey(*t, key)) return false;
  sqlite3_stmt* stmt = d.statement(*t, &Table::select);
  if (!stmt) return false;
  sqlite3_bind_text(stmt, 1, key, -1, SQLITE_STATIC);
  int rc = sqlite3_step(stmt);
  if (rc == SQLITE_ROW) d.loadRow(*t, stmt);
  sqlite3_reset(stmt);
  if (rc == SQLITE_ROW) return true;
  return rc == SQLITE_DONE ? d.fail("no record " + t->def->code + " " + key)
                           : d.sqlFail("fetching " + t->def->code);
}

bool CQbase::deleteRec(const char* code, const char* key) {
  Impl& d = *impl_;
  Table* t = d.table(code);
  if (!t || !d.validKey(*t, key) || !d.canWrite()) return false;
  sqlite3_stmt* stmt = d.statement(*t, &Table::remove);
  if (!stmt) return false;
  sqlite3_bind_text(stmt, 1, key, -1, SQLITE_STATIC);
  int rc = sqlite3_step(stmt);
  sqlite3_reset(stmt);
  if (rc != SQLITE_DONE) {
    return d.spoil("deleting " + t->def->code + " " + key + ": " + sqlite3_errstr(rc));
  }
  if (sqlite3_changes(d.db) == 0) return d.fail("no record " + t->def->code + " " + key);
  ++t->writes;
  d.changed = true;
  if (d.cur == t && d.curKey == key) d.clearCurrent();
  return true;
}

bool CQbase::getObjId(char* buffer, int size) const {
  const Impl& d = *impl_;
  if (!d.cur || !buffer || size < 1) return false;
  cuSz::copyTo(buffer, size, d.curKey);
  return d.curKey.size() < static_cast<size_t>(size);
}

bool CQbase::getObjId(CChBuffer& key) const {
  if (!impl_->cur) return false;
  key.set(impl_->curKey.c_str());
  return true;
}

bool CQbase::Impl::stepSet() {
  int rc = sqlite3_step(cursor);
  if (rc == SQLITE_ROW) {
    loadRow(*set, cursor);
    setKey = curKey;
    return true;
  }
  sqlite3_reset(cursor);
  cursor = nullptr;
  clearCurrent();
  if (rc != SQLITE_DONE) sqlFail("enumerating " + set->def->code);
  return false;
}

bool CQbase::fetchFirstMember(const char* code) {
  Impl& d = *impl_;
  d.endSet();
  d.clearCurrent();
  Table* t = d.table(code);
  if (!t) return false;
  sqlite3_stmt* stmt = d.statement(*t, &Table::scanAll);
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
    if (d.cursor) sqlite3_reset(d.cursor);
    d.cursor = d.statement(*d.set, &Table::scanAfter);
    if (!d.cursor) return false;
    sqlite3_bind_text(d.cursor, 1, d.setKey.data(), static_cast<int>(d.setKey.size()),
                      SQLITE_STATIC);
    d.cursorWrites = d.set->writes;
  }
  return d.stepSet();
}

// ---------------------------------------------------------------------------------------
// Typed fields

bool CQbase::getByte(short fieldNo, uint8_t& value) const {
  int64_t v;
  if (!impl_->getInteger(fieldNo, QbaseFieldType::kByte, 0, UINT8_MAX, v)) return false;
  value = static_cast<uint8_t>(v);
  return true;
}

bool CQbase::setByte(short fieldNo, uint8_t value) {
  return impl_->setInteger(fieldNo, QbaseFieldType::kByte, value);
}

bool CQbase::getShort(short fieldNo, short& value) const {
  int64_t v;
  if (!impl_->getInteger(fieldNo, QbaseFieldType::kShort, INT16_MIN, INT16_MAX, v)) return false;
  value = static_cast<short>(v);
  return true;
}

bool CQbase::setShort(short fieldNo, short value) {
  return impl_->setInteger(fieldNo, QbaseFieldType::kShort, value);
}

bool CQbase::getLong(short fieldNo, long& value) const {
  int64_t v;
  if (!impl_->getInteger(fieldNo, QbaseFieldType::kLong, INT32_MIN, INT32_MAX, v)) return false;
  value = static_cast<long>(v);
  return true;
}

bool CQbase::setLong(short fieldNo, long value) {
  if (value < INT32_MIN || value > INT32_MAX) return impl_->fail("value does not fit 32 bits");
  return impl_->setInteger(fieldNo, QbaseFieldType::kLong, value);
}

bool CQbase::getFloat(short fieldNo, float& value) const {
  const FieldValue* v = impl_->present(fieldNo, QbaseFieldType::kFloat);
  if (!v) return false;
  value = static_cast<float>(v->d);
  return true;
}

bool CQbase::setFloat(short fieldNo, float value) {
  FieldValue* v = impl_->slot(fieldNo, QbaseFieldType::kFloat);
  if (!v) return false;
  v->present = true;
  v->d = value;
  return true;
}

bool CQbase::getSz(short fieldNo, CChBuffer& text) const {
  const FieldValue* v = impl_->present(fieldNo, QbaseFieldType::kSz);
  if (!v) return false;
  text.set(v->bytes.c_str());
  return true;
}

bool CQbase::getSz(short fieldNo, char* buffer, int size) const {
  if (!buffer || size < 1) return false;
  const FieldValue* v = impl_->present(fieldNo, QbaseFieldType::kSz);
  if (!v) return false;
  cuSz::copyTo(buffer, size, v->bytes);
  return true;
}

bool CQbase::setSz(short fieldNo, const char* text) {
  const QbaseFieldDef* def = nullptr;
  FieldValue* v = impl_->slot(fieldNo, QbaseFieldType::kSz, &def);
  if (!v) return false;
  CChBuffer cut;
  cut.set(text, def->size > 0 ? def->size : -1);
  v->present = true;
  v->bytes = cut.str();
  return true;
}

bool CQbase::getWsz(short fieldNo, CWsz& text) const {
  const FieldValue* v = impl_->present(fieldNo, QbaseFieldType::kWsz);
  if (!v) return false;
  // Up to the first NUL, as the narrow getters and every writer of a text take it: a NUL
  // left in a file by another program cannot be written back.
  text = CWsz(cuSz::fromUtf8(v->bytes.c_str()));
  return true;
}

bool CQbase::setWsz(short fieldNo, const wchar_t* text) {
  FieldValue* v = impl_->slot(fieldNo, QbaseFieldType::kWsz);
  if (!v) return false;
  v->present = true;
  v->bytes = cuSz::toUtf8(text ? text : L"");
  return true;
}

bool CQbase::getPoint(short fieldNo, double& x, double& y, double& z) const {
  const FieldValue* v = impl_->present(fieldNo, QbaseFieldType::kPoint);
  if (!v || v->bytes.size() != 12) return false;
  const char* p = v->bytes.data();
  x = std::bit_cast<float>(loadLe32(p));
  y = std::bit_cast<float>(loadLe32(p + 4));
  z = std::bit_cast<float>(loadLe32(p + 8));
  return true;
}

bool CQbase::setPoint(short fieldNo, double x, double y, double z) {
  char p[12];
  storeLe32(p, std::bit_cast<uint32_t>(static_cast<float>(x)));
  storeLe32(p + 4, std::bit_cast<uint32_t>(static_cast<float>(y)));
  storeLe32(p + 8, std::bit_cast<uint32_t>(static_cast<float>(z)));
  return impl_->setBytes(fieldNo, QbaseFieldType::kPoint, p, sizeof p);
}

bool CQbase::getShortArray(short fieldNo, CInt16Array& values) const {
  const FieldValue* v = impl_->present(fieldNo, QbaseFieldType::kShortArray);
  if (!v || v->bytes.size() % 2 != 0) return false;
  decodeItems(v->bytes, values);
  return true;
}

bool CQbase::setShortArray(short fieldNo, const CInt16Array& values) {
  FieldValue* v = impl_->slot(fieldNo, QbaseFieldType::kShortArray);
  if (!v) return false;
  v->present = true;
  encodeItems(values, v->bytes);
  return true;
}

bool CQbase::getFloatArray(short fieldNo, CFloatArray& values) const {
  const FieldValue* v = impl_->present(fieldNo, QbaseFieldType::kFloatArray);
  if (!v || v->bytes.size() % 4 != 0) return false;
  decodeItems(v->bytes, values);
  return true;
}

bool CQbase::setFloatArray(short fieldNo, const CFloatArray& values) {
  FieldValue* v = impl_->slot(fieldNo, QbaseFieldType::kFloatArray);
  if (!v) return false;
  v->present = true;
  encodeItems(values, v->bytes);
  return true;
}

bool CQbase::getBinaryArray(short fieldNo, CByteBuffer& data, int& count) const {
  const QbaseFieldDef* def = nullptr;
  const FieldValue* v = impl_->present(fieldNo, QbaseFieldType::kBinaryArray, &def);
  if (!v) return false;
  data.set(v->bytes.data(), static_cast<int>(v->bytes.size()));
  count = static_cast<int>((v->bytes.size() + def->size - 1) / def->size);
  return true;
}

bool CQbase::setBinaryArray(short fieldNo, const void* data, int count) {
  const QbaseFieldDef* def = nullptr;
  if (!impl_->slot(fieldNo, QbaseFieldType::kBinaryArray, &def)) return false;
  int64_t size = static_cast<int64_t>(count) * def->size;
  if (count < 0 || (count > 0 && !data) || size > INT_MAX) {
    return impl_->fail("bad binary array of " + std::to_string(count) + " items");
  }
  return impl_->setBytes(fieldNo, QbaseFieldType::kBinaryArray, data, static_cast<size_t>(size));
}

bool CQbase::getAttachment(CByteBuffer& data) const {
  const FieldValue* v = impl_->present(0, QbaseFieldType::kAttachment);
  if (!v) return false;
  data.set(v->bytes.data(), static_cast<int>(v->bytes.size()));
  return true;
}

bool CQbase::setAttachment(const CByteBuffer& data) {
  return setAttachment(data.data(), data.size());
}

bool CQbase::setAttachment(const void* data, int size) {
  if (size < 0 || (size > 0 && !data)) return impl_->fail("bad attachment");
  return impl_->setBytes(0, QbaseFieldType::kAttachment, data, static_cast<size_t>(size));
}
