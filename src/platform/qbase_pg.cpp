#include "platform/qbase_pg.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/pg_connection.h"
#include "platform/pg_dataset.h"

namespace {

constexpr const char* kKeyColumn = "record_key";
constexpr const char* kFormatTable = "vxkd_dataset";
constexpr const char* kStateTable = "vxkd_state";
constexpr const char* kLockTable = "vxkd_lock";
// How long an open waits for another writer (or a change of the layout) to finish, and how
// long a write, once under way, waits for the readers that a change of the layout must see
// out.
constexpr const char* kOpenLockTimeout = "SET LOCAL lock_timeout = '5s'";
constexpr const char* kWriteLockTimeout = "SET LOCAL lock_timeout = '30s'";
// Members fetched per query while a set is enumerated; fewer for records with attachments,
// which may be large.
constexpr int kBatchRows = 1000;
constexpr int kBatchRowsWithAttachments = 64;

// True for UTF-8 that the server takes as text: well formed, no NUL, no surrogates.
bool isServerText(std::string_view s) {
  for (size_t i = 0; i < s.size();) {
    auto c = static_cast<uint8_t>(s[i]);
    if (c == 0) return false;
    if (c < 0x80) {
      ++i;
      continue;
    }
    int n = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC2 ? 1 : -1;
    if (n < 0 || c > 0xF4 || i + static_cast<size_t>(n) >= s.size()) return false;
    uint32_t cp = c & (0x3F >> n);
    for (int k = 1; k <= n; ++k) {
      auto cc = static_cast<uint8_t>(s[i + k]);
      if ((cc & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (cc & 0x3F);
    }
    if ((n == 2 && cp < 0x800) || (n == 3 && (cp < 0x10000 || cp > 0x10FFFF)) ||
        (cp >= 0xD800 && cp <= 0xDFFF))
      return false;
    i += static_cast<size_t>(n) + 1;
  }
  return true;
}

bool isTextField(QbaseFieldType type) {
  return type == QbaseFieldType::kSz || type == QbaseFieldType::kWsz;
}

class CQbasePg : public CQbaseBackend {
 public:
  explicit CQbasePg(QbaseError& error) : CQbaseBackend(error) {}
  ~CQbasePg() override { abandon(); }

  bool open(const CQbaseDictionary& dict, const std::string& location,
            CQbase::openMode mode) override;
  bool close() override;
  void abandon() override;
  bool isCurrent() override { return conn_ != nullptr; }
  bool stamp(uint64_t& out) override {
    out = stamp_;
    return hasStamp_;
  }
  bool save(const CQbaseRecord& record) override;
  int fetch(const QbaseRecordDef& def, const std::string& key, CQbaseRecord& record) override;
  int remove(const QbaseRecordDef& def, const std::string& key) override;
  bool first(const QbaseRecordDef& def, CQbaseRecord& record) override;
  bool next(CQbaseRecord& record) override;

 protected:
  void rollbackNow() override;

 private:
  // One record table: whether the dataset has it and which of its columns, and its
  // statements.
  struct Table {
    const QbaseRecordDef* def = nullptr;
    bool inDb = false;
    std::vector<bool> columnInDb;
    std::string insert, select, remove, scan;
    uint64_t writes = 0;  // saves and deletions, so that an enumeration notices them
    int batchRows = kBatchRows;
  };

  bool openOn(CQbase::openMode mode);
  bool openForReading();
  bool openForUpdate();
  bool openForCreation();
  bool checkFormat(const CPgResult& row, bool anyVersion);
  bool readColumns();
  bool ensureTables();
  bool takeLayoutLock();
  void buildStatements();
  bool exec(const char* sql, CQbase::failReason reason = CQbase::reasonFailed) {
    return conn_->exec(sql, error_, reason);
  }
  bool execOn(const std::string& sql, CQbase::failReason reason = CQbase::reasonFailed) {
    return conn_->exec(sql.c_str(), error_, reason);
  }
  bool fail(const CPgResult& result, const std::string& what,
            CQbase::failReason reason = CQbase::reasonFailed) {
    return pgFail(error_, *conn_, result, what, reason);
  }
  std::string qualified(std::string_view table) const { return schema_ + "." + pgIdent(table); }
  Table& table(const QbaseRecordDef& def) { return tables_[&def - dict_->records().data()]; }
  void load(const Table& t, const CPgResult& rows, int row, CQbaseRecord& record) const;
  bool fetchBatch(CQbaseRecord& record);
  void endSet() {
    set_ = nullptr;
    batch_ = CPgResult();
    setKey_.clear();
  }
  // Gives the session back to the pool, or lets it go.
  void releaseSession();

  const CQbaseDictionary* dict_ = nullptr;
  PgLocation location_;
  std::string schema_;  // the quoted schema name
  std::unique_ptr<CPgConnection> conn_;
  std::vector<Table> tables_;
  std::map<std::string, std::set<std::string>> columns_;  // the dataset's tables and columns
  bool layoutLocked_ = false;
  uint64_t stamp_ = 0;
  bool hasStamp_ = false;

  // The set being enumerated: its table, the fetched batch, the row in it and the key of the
  // last member.
  Table* set_ = nullptr;
  CPgResult batch_;
  int row_ = 0;
  bool batchIsLast_ = false;
  uint64_t batchWrites_ = 0;
  std::string setKey_;
};

// ---------------------------------------------------------------------------------------
// Opening and closing

bool CQbasePg::open(const CQbaseDictionary& dict, const std::string& location,
                    CQbase::openMode mode) {
  dict_ = &dict;
  resetState(mode);
  hasStamp_ = false;
  std::string why;
  if (!location_.parse(location, why))
    return error_.fail(CQbase::reasonFailed, location + ": " + why);
  schema_ = pgIdent(location_.dataset);
  tables_.assign(dict.records().size(), Table());
  for (size_t i = 0; i < tables_.size(); ++i) tables_[i].def = &dict.records()[i];
  // An idle session from the pool may have been cut meanwhile (a restarted server): then once
  // more on a new one.
  for (int attempt = 0; attempt < 2; ++attempt) {
    conn_ = attempt == 0 ? pgPool::take(location_.conninfo, error_)
                         : CPgConnection::connect(location_.conninfo, error_);
    if (!conn_) return false;
    if (openOn(mode)) return true;
    if (!conn_->reused || !conn_->isBroken()) return false;
    conn_.reset();
    error_.clear();
  }
  return false;
}

bool CQbasePg::openOn(CQbase::openMode mode) {
  layoutLocked_ = false;
  columns_.clear();
  switch (mode) {
    case CQbase::openRead:
      return openForReading();
    case CQbase::openUpdate:
      return openForUpdate();
    default:
      return openForCreation();
  }
}

// The lock on the state table comes before the snapshot: it waits for a change of the layout
// to be committed, so that the snapshot holds all of it.
bool CQbasePg::openForReading() {
  if (!exec("BEGIN ISOLATION LEVEL REPEATABLE READ, READ ONLY") || !exec(kOpenLockTimeout))
    return false;
  CPgResult locked = conn_->run("LOCK TABLE " + qualified(kStateTable) + " IN ACCESS SHARE MODE");
  if (!locked.ok()) {
    // A user without the right to read the dataset is no "read-only" case.
    CQbase::failReason reason =
        locked.sqlState() == "42P01" ? CQbase::reasonNotDataset : CQbase::reasonFailed;
    fail(locked, location_.dataset, reason);
    if (error_.reason == CQbase::reasonReadOnly) error_.reason = CQbase::reasonFailed;
    return false;
  }
  CPgResult format =
      conn_->run("SELECT d.format, d.version, (SELECT stamp FROM " + qualified(kStateTable) +
                 ") FROM " + qualified(kFormatTable) + " d");
  if (!checkFormat(format, false)) return false;
  stamp_ = static_cast<uint64_t>(format.integer(0, 2));
  hasStamp_ = true;
  if (!readColumns()) return false;
  for (Table& t : tables_) {
    auto found = columns_.find(t.def->table);
    t.inDb = found != columns_.end();
    t.columnInDb.clear();
    for (const QbaseFieldDef& f : t.def->fields)
      t.columnInDb.push_back(t.inDb && found->second.count(f.column) > 0);
    if (t.inDb && !found->second.count(kKeyColumn))
      return error_.fail(CQbase::reasonNotDataset,
                         location_.dataset + ": table " + t.def->table + " is not a record table");
  }
  buildStatements();
  return true;
}

// The state row is locked first: writers take turns, and the version read is the one this
// update advances.
bool CQbasePg::openForUpdate() {
  if (!exec("BEGIN ISOLATION LEVEL READ COMMITTED") || !exec(kOpenLockTimeout)) return false;
  CPgResult state = conn_->run("SELECT stamp FROM " + qualified(kStateTable) + " FOR UPDATE");
  if (!state.ok())
    return fail(state, location_.dataset,
                state.sqlState() == "42P01" ? CQbase::reasonNotDataset : CQbase::reasonFailed);
  if (state.rows() != 1)
    return error_.fail(CQbase::reasonNotDataset, location_.dataset + ": not a dataset");
  stamp_ = static_cast<uint64_t>(state.integer(0, 0));
  hasStamp_ = true;
  CPgResult format = conn_->run("SELECT format, version FROM " + qualified(kFormatTable));
  if (!checkFormat(format, false) || !readColumns()) return false;
  if (format.integer(0, 1) < dict_->formatVersion()) {
    if (!takeLayoutLock()) return false;
    CPgParams version;
    version.int4(dict_->formatVersion());
    CPgResult raised =
        conn_->run("UPDATE " + qualified(kFormatTable) + " SET version = $1", version);
    if (!raised.ok()) return fail(raised, location_.dataset);
    changed_ = true;
  }
  if (!ensureTables() || !exec(kWriteLockTimeout)) return false;
  buildStatements();
  return true;
}

// An existing dataset keeps its schema and tables, with the rights granted on them, and
// loses its records; any other schema of that name is refused.
bool CQbasePg::openForCreation() {
  if (!exec("BEGIN ISOLATION LEVEL READ COMMITTED") || !exec(kOpenLockTimeout)) return false;
  CPgParams name;
  name.text(location_.dataset);
  CPgResult exists = conn_->run(
      "SELECT to_regclass(quote_ident($1) || '.vxkd_state') IS NOT NULL FROM pg_catalog."
      "pg_namespace WHERE nspname = $1",
      name);
  if (!exists.ok()) return fail(exists, location_.dataset);
  changed_ = true;
  if (exists.rows() == 0) {
    const std::string sql[] = {
        "CREATE SCHEMA " + schema_,
        "CREATE TABLE " + qualified(kFormatTable) +
            " (format text NOT NULL, version integer NOT NULL)",
        "CREATE TABLE " + qualified(kStateTable) + " (stamp bigint NOT NULL)",
        "CREATE TABLE " + qualified(kLockTable) + " (owner text NOT NULL)",
        "INSERT INTO " + qualified(kStateTable) + " VALUES (0)",
    };
    for (const std::string& s : sql)
      if (!execOn(s)) return false;
    CPgParams format;
    format.text(dict_->formatName()).int4(dict_->formatVersion());
    CPgResult made =
        conn_->run("INSERT INTO " + qualified(kFormatTable) + " VALUES ($1, $2)", format, false);
    if (!made.ok()) return fail(made, location_.dataset);
    stamp_ = 0;
    hasStamp_ = true;
    layoutLocked_ = true;  // nobody sees the schema before the commit
  } else {
    if (exists.integer(0, 0) == 0)
      return error_.fail(CQbase::reasonNotDataset,
                         location_.dataset + ": a schema of that name exists and is no dataset");
    CPgResult state = conn_->run("SELECT stamp FROM " + qualified(kStateTable) + " FOR UPDATE");
    if (!state.ok()) return fail(state, location_.dataset);
    stamp_ = state.rows() == 1 ? static_cast<uint64_t>(state.integer(0, 0)) : 0;
    hasStamp_ = true;
    CPgResult format = conn_->run("SELECT format, version FROM " + qualified(kFormatTable));
    if (!checkFormat(format, true) || !readColumns()) return false;
    for (const auto& [table, columns] : columns_) {
      if (table == kFormatTable || table == kStateTable || table == kLockTable) continue;
      if (!execOn("DELETE FROM " + qualified(table))) return false;
    }
    CPgParams version;
    version.int4(dict_->formatVersion());
    CPgResult set = conn_->run("UPDATE " + qualified(kFormatTable) + " SET version = $1", version);
    if (!set.ok()) return fail(set, location_.dataset);
  }
  if (!readColumns() || !ensureTables() || !exec(kWriteLockTimeout)) return false;
  buildStatements();
  return true;
}

// `row` holds the format name and version: false unless it is a dataset of the dictionary's
// format, and (unless `anyVersion`) of a version that this program can read.
bool CQbasePg::checkFormat(const CPgResult& row, bool anyVersion) {
  if (!row.ok())
    return fail(row, location_.dataset,
                row.sqlState() == "42P01" ? CQbase::reasonNotDataset : CQbase::reasonFailed);
  if (row.rows() != 1 || row.isNull(0, 0) || row.bytes(0, 0) != dict_->formatName() ||
      row.integer(0, 1) < 1)
    return error_.fail(CQbase::reasonNotDataset, location_.dataset + ": not a dataset");
  if (!anyVersion && row.integer(0, 1) > dict_->formatVersion())
    return error_.fail(CQbase::reasonNewerFormat,
                       location_.dataset + ": written by a newer version");
  return true;
}

bool CQbasePg::readColumns() {
  columns_.clear();
  CPgParams name;
  name.text(location_.dataset);
  CPgResult rows = conn_->run(
      "SELECT c.relname, a.attname FROM pg_catalog.pg_attribute a JOIN pg_catalog.pg_class c "
      "ON c.oid = a.attrelid JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace WHERE "
      "n.nspname = $1 AND c.relkind IN ('r', 'p') AND a.attnum > 0 AND NOT a.attisdropped",
      name);
  if (!rows.ok()) return fail(rows, location_.dataset);
  for (int i = 0; i < rows.rows(); ++i)
    columns_[std::string(rows.bytes(i, 0))].insert(std::string(rows.bytes(i, 1)));
  return true;
}

// Readers take the state table before their snapshot: holding it exclusively keeps them
// waiting until the change of the layout is committed.
bool CQbasePg::takeLayoutLock() {
  if (layoutLocked_) return true;
  if (!execOn("LOCK TABLE " + qualified(kStateTable) + " IN ACCESS EXCLUSIVE MODE")) return false;
  layoutLocked_ = true;
  return true;
}

bool CQbasePg::ensureTables() {
  for (Table& t : tables_) {
    const QbaseRecordDef& def = *t.def;
    auto found = columns_.find(def.table);
    if (found == columns_.end()) {
      std::string sql = "CREATE TABLE " + qualified(def.table) + " (" + pgIdent(kKeyColumn) +
                        " text COLLATE \"C\" PRIMARY KEY";
      for (const QbaseFieldDef& f : def.fields)
        sql += ", " + pgIdent(f.column) + " " + qbasePgColumnType(f.type);
      if (!takeLayoutLock() || !execOn(sql + ")")) return false;
      changed_ = true;
    } else {
      if (!found->second.count(kKeyColumn))
        return error_.fail(CQbase::reasonNotDataset,
                           location_.dataset + ": table " + def.table + " is not a record table");
      for (const QbaseFieldDef& f : def.fields) {
        if (found->second.count(f.column)) continue;
        if (!takeLayoutLock() || !execOn("ALTER TABLE " + qualified(def.table) + " ADD COLUMN " +
                                         pgIdent(f.column) + " " + qbasePgColumnType(f.type)))
          return false;
        changed_ = true;
      }
    }
    t.inDb = true;
    t.columnInDb.assign(def.fields.size(), true);
  }
  return true;
}

void CQbasePg::buildStatements() {
  for (Table& t : tables_) {
    const QbaseRecordDef& def = *t.def;
    const std::string table = qualified(def.table), key = pgIdent(kKeyColumn);
    // The key and every field; NULL for a column that an older dataset lacks.
    std::string columns = key, names = key, values = "$1", updates;
    bool attachments = false;
    for (size_t i = 0; i < def.fields.size(); ++i) {
      const std::string column = pgIdent(def.fields[i].column);
      columns += "," + (t.columnInDb[i] ? column : std::string("NULL"));
      names += "," + column;
      values += ",$" + std::to_string(i + 2);
      updates += (updates.empty() ? "" : ",") + column + "=EXCLUDED." + column;
      attachments |= def.fields[i].type == QbaseFieldType::kAttachment ||
                     def.fields[i].type == QbaseFieldType::kBinaryArray;
    }
    t.batchRows = attachments ? kBatchRowsWithAttachments : kBatchRows;
    t.insert = "INSERT INTO " + table + " (" + names + ") VALUES (" + values + ") ON CONFLICT (" +
               key + ") DO " + (updates.empty() ? "NOTHING" : "UPDATE SET " + updates);
    t.select = "SELECT " + columns + " FROM " + table + " WHERE " + key + " = $1";
    t.remove = "DELETE FROM " + table + " WHERE " + key + " = $1";
    t.scan = "SELECT " + columns + " FROM " + table + " WHERE " + key + " > $1 ORDER BY " + key +
             " LIMIT " + std::to_string(t.batchRows);
  }
}

// Every write transaction advances the version: to the transaction's own id when that is
// larger, so that a dataset made again under an old name never goes back to a version that
// a user may still hold. The server's transaction ids only grow.
bool CQbasePg::close() {
  endSet();
  bool ok = !spoiled_ && !readFailed_;
  if (ok && mode_ != CQbase::openRead) {
    ok = conn_->settle(error_) || spoil(error_.message);
    if (ok && changed_) {
      CPgResult advanced = conn_->run("UPDATE " + qualified(kStateTable) +
                                      " SET stamp = greatest(stamp + 1, "
                                      "pg_current_xact_id()::text::bigint) RETURNING stamp");
      if (advanced.ok() && advanced.rows() == 1) {
        stamp_ = static_cast<uint64_t>(advanced.integer(0, 0));
      } else {
        ok = fail(advanced, location_.dataset);
      }
    }
    // A writer whose edit lock went with its session (the connection was cut) must not store
    // an edit that another user, who has the lock now, may be overwriting.
    int holder = ok ? pgHeldLockPid(location_) : 0;
    if (holder != 0) {
      CPgParams who;
      who.int4(kPgLockClass).int4(location_.lockKey()).int4(holder);
      CPgResult held = conn_->run(kPgLockHeldBySql, who);
      if (!held.ok()) {
        ok = fail(held, location_.dataset);
      } else if (held.rows() != 1 || held.integer(0, 0) == 0) {
        ok = error_.fail(CQbase::reasonBusy,
                         location_.dataset + ": the edit lock was lost with its session");
      }
    }
  }
  if (ok) {
    ok = exec("COMMIT");
    if (!ok && conn_->isBroken())
      error_.message +=
          " (the connection broke during the commit: whether it was stored is "
          "not known)";
  }
  if (ok) error_.clear();
  if (!ok) hasStamp_ = false;
  releaseSession();
  return ok;
}

void CQbasePg::rollbackNow() {
  endSet();
  if (!conn_) return;
  QbaseError ignored;
  conn_->settle(ignored);
  if (!conn_->isBroken() && PQtransactionStatus(conn_->get()) != PQTRANS_IDLE)
    conn_->exec("ROLLBACK", ignored);
}

void CQbasePg::releaseSession() {
  if (!conn_) return;
  if (!conn_->isIdle()) rollbackNow();
  pgPool::give(std::move(conn_));
  conn_.reset();
}

void CQbasePg::abandon() {
  if (!conn_) return;
  rollbackNow();
  releaseSession();
  hasStamp_ = false;
}

// ---------------------------------------------------------------------------------------
// Records

bool CQbasePg::save(const CQbaseRecord& record) {
  if (!conn_ || !canWrite()) return false;
  Table& t = table(*record.def());
  const std::vector<QbaseFieldDef>& fields = t.def->fields;
  const std::vector<QbaseFieldValue>& values = record.values();
  CPgParams params;
  params.text(record.key());
  for (size_t i = 0; i < fields.size(); ++i) {
    const QbaseFieldValue& v = values[i];
    switch (fields[i].type) {
      case QbaseFieldType::kByte:
      case QbaseFieldType::kShort:
        v.present ? params.int2(v.i) : params.null(pgInt2);
        break;
      case QbaseFieldType::kLong:
        v.present ? params.int4(v.i) : params.null(pgInt4);
        break;
      case QbaseFieldType::kFloat:
        v.present ? params.float4(v.d) : params.null(pgFloat4);
        break;
      case QbaseFieldType::kSz:
      case QbaseFieldType::kWsz:
        v.present ? params.text(v.bytes) : params.null(pgText);
        break;
      default:
        v.present ? params.bytea(v.bytes) : params.null(pgBytea);
        break;
    }
    // The server refuses such text, and the whole transaction with it: better said here.
    if (v.present && isTextField(fields[i].type) && !isServerText(v.bytes))
      return spoil("saving " + t.def->code + " " + record.key() + ": field " +
                   std::to_string(fields[i].number) + " is no UTF-8 text");
  }
  if (!isServerText(record.key()))
    return spoil("saving " + t.def->code + ": the key is no UTF-8 text");
  if (!conn_->send(t.insert, params, error_))
    return spoil("saving " + t.def->code + " " + record.key() + ": " + error_.message);
  ++t.writes;
  changed_ = true;
  return true;
}

void CQbasePg::load(const Table& t, const CPgResult& rows, int row, CQbaseRecord& record) const {
  record.start(*t.def, rows.bytes(row, 0));
  const std::vector<QbaseFieldDef>& fields = t.def->fields;
  std::vector<QbaseFieldValue>& values = record.values();
  for (size_t i = 0; i < fields.size(); ++i) {
    int col = static_cast<int>(i) + 1;
    QbaseFieldValue& v = values[i];
    v.present = !rows.isNull(row, col);
    if (!v.present) continue;
    switch (fields[i].type) {
      case QbaseFieldType::kByte:
      case QbaseFieldType::kShort:
      case QbaseFieldType::kLong:
        v.i = rows.integer(row, col);
        break;
      case QbaseFieldType::kFloat:
        v.d = rows.real(row, col);
        break;
      default:
        v.bytes.assign(rows.bytes(row, col));
        break;
    }
  }
}

int CQbasePg::fetch(const QbaseRecordDef& def, const std::string& key, CQbaseRecord& record) {
  if (!conn_) return -1;
  Table& t = table(def);
  if (!t.inDb) return 0;
  CPgParams params;
  params.text(key);
  CPgResult rows = conn_->run(t.select, params);
  if (!rows.ok()) {
    fail(rows, "fetching " + def.code);
    failRead();
    return -1;
  }
  if (rows.rows() == 0) return 0;
  load(t, rows, 0, record);
  return 1;
}

int CQbasePg::remove(const QbaseRecordDef& def, const std::string& key) {
  if (!conn_ || !canWrite()) return -1;
  Table& t = table(def);
  CPgParams params;
  params.text(key);
  CPgResult done = conn_->run(t.remove, params);
  if (!done.ok()) {
    fail(done, "deleting " + def.code + " " + key);
    spoil(error_.message);
    return -1;
  }
  if (std::string_view(PQcmdTuples(done.get())) == "0") return 0;
  ++t.writes;
  changed_ = true;
  return 1;
}

// ---------------------------------------------------------------------------------------
// The set enumeration: batches of members in key order, each after the last key enumerated,
// so that saves and deletions meanwhile are taken into account.

bool CQbasePg::fetchBatch(CQbaseRecord& record) {
  CPgParams after;
  after.text(setKey_);
  batch_ = conn_->run(set_->scan, after);
  if (!batch_.ok()) {
    fail(batch_, "enumerating " + set_->def->code);
    endSet();
    failRead();
    return false;
  }
  row_ = 0;
  batchIsLast_ = batch_.rows() < set_->batchRows;
  batchWrites_ = set_->writes;
  if (batch_.rows() == 0) {
    endSet();
    return false;
  }
  load(*set_, batch_, 0, record);
  setKey_ = record.key();
  return true;
}

bool CQbasePg::first(const QbaseRecordDef& def, CQbaseRecord& record) {
  endSet();
  if (!conn_) return false;
  Table& t = table(def);
  if (!t.inDb) return false;
  set_ = &t;
  return fetchBatch(record);
}

bool CQbasePg::next(CQbaseRecord& record) {
  if (!conn_ || !set_) return false;
  if (batchWrites_ != set_->writes) return fetchBatch(record);
  if (++row_ < batch_.rows()) {
    load(*set_, batch_, row_, record);
    setKey_ = record.key();
    return true;
  }
  if (batchIsLast_) {
    endSet();
    return false;
  }
  return fetchBatch(record);
}

}  // namespace

std::unique_ptr<CQbaseBackend> makeQbasePgBackend(QbaseError& error) {
  return std::make_unique<CQbasePg>(error);
}
