#include "platform/qbase_schema.h"

#include <sys/stat.h>

#include "vxkd/platform/env.h"

namespace {

constexpr const char* kKeyColumn = "record_key";
constexpr const char* kFormatTable = "vxkd_dataset";

std::string quoted(std::string_view name) { return qbaseConcat({"\"", name, "\""}); }

}  // namespace

void CQbaseSchema::attach(sqlite3* db, const CQbaseDictionary& dict, const std::string& path) {
  detach();
  db_ = db;
  dict_ = &dict;
  path_ = path;
  tables_.resize(dict.records().size());
  for (size_t i = 0; i < tables_.size(); ++i) tables_[i].def = &dict.records()[i];
}

void CQbaseSchema::detach() {
  tables_.clear();
  lastTable_ = nullptr;
  db_ = nullptr;
  dict_ = nullptr;
  path_.clear();
  changed_ = false;
}

bool CQbaseSchema::checkFormat(bool upgrade) {
  // A table that is missing or cannot be read makes a file that is no dataset, unless
  // SQLite found it to be no database at all, damaged or busy.
  auto notDataset = [this] {
    qbaseSqlFail(error_, db_, path_ + ": not a dataset");
    if (error_.reason == CQbase::reasonFailed) error_.reason = CQbase::reasonNotDataset;
    return false;
  };
  CQbaseStatement stmt;
  if (!stmt.prepare(db_, qbaseConcat({"SELECT format, version FROM ", kFormatTable})))
    return notDataset();
  int rc = stmt.step();
  std::string format;
  int64_t version = 0;
  if (rc == SQLITE_ROW) {
    format = stmt.columnText(0);
    version = stmt.columnInt(1);
  }
  if (rc != SQLITE_ROW && rc != SQLITE_DONE) return notDataset();
  if (format != dict_->formatName() || version < 1)
    return error_.fail(CQbase::reasonNotDataset, path_ + ": not a dataset");
  // A newer program may have changed the layout in ways that a rewrite here would spoil.
  if (version > dict_->formatVersion())
    return error_.fail(CQbase::reasonNewerFormat, path_ + ": written by a newer version");
  if (!upgrade || version == dict_->formatVersion()) return true;
  if (!stmt.prepare(db_, qbaseConcat({"UPDATE ", kFormatTable, " SET version=?1"})))
    return qbaseSqlFail(error_, db_, path_);
  stmt.bindInt(1, dict_->formatVersion());
  if (stmt.step() != SQLITE_DONE) return qbaseSqlFail(error_, db_, path_);
  changed_ = true;
  return true;
}

bool CQbaseSchema::checkWholePages() {
  CQbaseStatement stmt;
  if (!stmt.prepare(db_, "PRAGMA page_size")) return qbaseSqlFail(error_, db_, path_);
  int64_t pageSize = stmt.step() == SQLITE_ROW ? stmt.columnInt(0) : 0;
  struct stat st {};
  if (pageSize <= 0 || CEnv::current().statPath(path_, &st) != 0)
    return qbaseSqlFail(error_, db_, path_);
  if (st.st_size % pageSize != 0)
    return error_.fail(CQbase::reasonDamaged, path_ + ": damaged, the file ends inside a page");
  return true;
}

bool CQbaseSchema::checkIntegrity() {
  // The quick check would be cheaper, but it misses keys out of order: a key changed in
  // place, which a write would turn into duplicate records.
  CQbaseStatement stmt;
  if (!stmt.prepare(db_, "PRAGMA integrity_check(1)")) return qbaseSqlFail(error_, db_, path_);
  int rc = stmt.step();
  if (rc != SQLITE_ROW) return qbaseSqlFail(error_, db_, path_ + ": integrity check");
  std::string result = stmt.columnText(0);
  if (result != "ok") return error_.fail(CQbase::reasonDamaged, path_ + ": damaged, " + result);
  return true;
}

bool CQbaseSchema::createFormat() {
  std::string sql = qbaseConcat(
      {"CREATE TABLE ", kFormatTable, " (format TEXT NOT NULL, version INTEGER NOT NULL)"});
  if (!qbaseExec(db_, sql.c_str(), error_)) return false;
  CQbaseStatement stmt;
  if (!stmt.prepare(
          db_, qbaseConcat({"INSERT INTO ", kFormatTable, " (format, version) VALUES (?1, ?2)"})))
    return qbaseSqlFail(error_, db_, path_);
  stmt.bindText(1, dict_->formatName());
  stmt.bindInt(2, dict_->formatVersion());
  if (stmt.step() != SQLITE_DONE) return qbaseSqlFail(error_, db_, path_);
  changed_ = true;
  return true;
}

bool CQbaseSchema::columnsOf(CQbaseStatement& info, const std::string& table,
                             std::vector<std::string>& out) {
  out.clear();
  info.reset();
  info.bindText(1, table);
  int rc;
  while ((rc = info.step()) == SQLITE_ROW) out.push_back(info.columnText(0));
  return rc == SQLITE_DONE || qbaseSqlFail(error_, db_, table);
}

namespace {

bool hasColumn(const std::vector<std::string>& columns, const std::string& name) {
  for (const std::string& c : columns) {
    if (sqlite3_stricmp(c.c_str(), name.c_str()) == 0) return true;
  }
  return false;
}

}  // namespace

bool CQbaseSchema::ensureTables() {
  CQbaseStatement info;
  if (!info.prepare(db_, "SELECT name FROM pragma_table_info(?1)"))
    return qbaseSqlFail(error_, db_, path_);
  std::vector<std::string> columns;
  for (const QbaseTable& t : tables_) {
    const QbaseRecordDef& def = *t.def;
    if (!columnsOf(info, def.table, columns)) return false;
    std::string sql;
    if (columns.empty()) {
      sql = qbaseConcat({"CREATE TABLE ", quoted(def.table), " (", quoted(kKeyColumn),
                         " TEXT PRIMARY KEY NOT NULL"});
      for (const QbaseFieldDef& f : def.fields) {
        sql += qbaseConcat({", ", quoted(f.column), " ", qbaseColumnType(f.type)});
      }
      sql += ") WITHOUT ROWID";
      if (!qbaseExec(db_, sql.c_str(), error_)) return false;
      changed_ = true;
      continue;
    }
    if (!hasColumn(columns, kKeyColumn))
      return error_.fail(CQbase::reasonNotDataset,
                         path_ + ": table " + def.table + " is not a record table");
    for (const QbaseFieldDef& f : def.fields) {
      if (hasColumn(columns, f.column)) continue;
      sql = qbaseConcat({"ALTER TABLE ", quoted(def.table), " ADD COLUMN ", quoted(f.column), " ",
                         qbaseColumnType(f.type)});
      if (!qbaseExec(db_, sql.c_str(), error_)) return false;
      changed_ = true;
    }
  }
  return true;
}

bool CQbaseSchema::findMissingColumns() {
  CQbaseStatement info;
  if (!info.prepare(db_, "SELECT name FROM pragma_table_info(?1)"))
    return qbaseSqlFail(error_, db_, path_);
  std::vector<std::string> columns;
  for (QbaseTable& t : tables_) {
    if (!columnsOf(info, t.def->table, columns)) return false;
    t.inFile = !columns.empty();
    if (t.inFile && !hasColumn(columns, kKeyColumn))
      return error_.fail(CQbase::reasonNotDataset,
                         path_ + ": table " + t.def->table + " is not a record table");
    t.columnInFile.clear();
    for (const QbaseFieldDef& f : t.def->fields)
      t.columnInFile.push_back(hasColumn(columns, f.column));
  }
  return true;
}

QbaseTable* CQbaseSchema::table(const char* code) {
  if (!db_ || !code) return nullptr;
  if (lastTable_ && lastTable_->def->code == code) return lastTable_;
  for (QbaseTable& t : tables_) {
    if (t.def->code == code) return lastTable_ = &t;
  }
  error_.fail(std::string("unknown record code ") + code);
  return nullptr;
}

std::string CQbaseSchema::sqlOf(const QbaseTable& t, QbaseStatementKind kind) const {
  const QbaseRecordDef& def = *t.def;
  const std::string table = quoted(def.table), key = quoted(kKeyColumn);
  // What the reading statements select: the key and every field, NULL for a column that an
  // older file lacks.
  std::string columns = key;
  for (size_t i = 0; i < def.fields.size(); ++i) {
    columns += ',';
    columns += t.columnInFile.empty() || t.columnInFile[i] ? quoted(def.fields[i].column) : "NULL";
  }
  // A table that the file lacks holds no records.
  if (!t.inFile && kind != QbaseStatementKind::insert && kind != QbaseStatementKind::remove) {
    std::string nulls = "''";
    for (size_t i = 0; i < def.fields.size(); ++i) nulls += ",NULL";
    return qbaseConcat({"SELECT ", nulls, " WHERE ?1 IS NULL AND 0"});
  }
  switch (kind) {
    case QbaseStatementKind::insert: {
      std::string sql =
          qbaseConcat({"INSERT OR REPLACE INTO ", table, " (", columns, ") VALUES (?1"});
      for (size_t i = 0; i < def.fields.size(); ++i)
        sql += qbaseConcat({",?", std::to_string(i + 2)});
      return sql + ')';
    }
    case QbaseStatementKind::select:
      return qbaseConcat({"SELECT ", columns, " FROM ", table, " WHERE ", key, "=?1"});
    case QbaseStatementKind::remove:
      return qbaseConcat({"DELETE FROM ", table, " WHERE ", key, "=?1"});
    case QbaseStatementKind::scanAll:
      return qbaseConcat({"SELECT ", columns, " FROM ", table, " ORDER BY ", key});
    default:
      return qbaseConcat(
          {"SELECT ", columns, " FROM ", table, " WHERE ", key, ">?1 ORDER BY ", key});
  }
}

CQbaseStatement* CQbaseSchema::statement(QbaseTable& t, QbaseStatementKind kind) {
  CQbaseStatement& stmt = t.statements[static_cast<size_t>(kind)];
  if (stmt.isPrepared()) return &stmt;
  const std::string sql = sqlOf(t, kind);
  if (!stmt.prepare(db_, sql, true)) {
    qbaseSqlFail(error_, db_, sql);
    return nullptr;
  }
  return &stmt;
}

void CQbaseSchema::finalizeStatements() {
  for (QbaseTable& t : tables_)
    for (CQbaseStatement& s : t.statements) s.finalize();
}
