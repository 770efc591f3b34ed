#include "platform/qbase_schema.h"

#include <sys/stat.h>

#include "vxkd/platform/env.h"

namespace {

constexpr const char* kKeyColumn = "record_key";
constexpr const char* kFormatTable = "vxkd_dataset";

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
  CQbaseStatement stmt;
  if (!stmt.prepare(db_, qbaseConcat({"SELECT format, version FROM ", kFormatTable})))
    return error_.sqlFail(db_, path_ + ": not a dataset");
  int rc = stmt.step();
  std::string format;
  int64_t version = 0;
  if (rc == SQLITE_ROW) {
    format = stmt.columnText(0);
    version = stmt.columnInt(1);
  }
  if (rc != SQLITE_ROW && rc != SQLITE_DONE) return error_.sqlFail(db_, path_ + ": not a dataset");
  if (format != dict_->formatName() || version < 1) return error_.fail(path_ + ": not a dataset");
  // A newer program may have changed the layout in ways that a rewrite here would spoil.
  if (version > dict_->formatVersion()) return error_.fail(path_ + ": written by a newer version");
  if (!upgrade || version == dict_->formatVersion()) return true;
  if (!stmt.prepare(db_, qbaseConcat({"UPDATE ", kFormatTable, " SET version=?1"})))
    return error_.sqlFail(db_, path_);
  stmt.bindInt(1, dict_->formatVersion());
  if (stmt.step() != SQLITE_DONE) return error_.sqlFail(db_, path_);
  changed_ = true;
  return true;
}

bool CQbaseSchema::checkWholePages() {
  CQbaseStatement stmt;
  if (!stmt.prepare(db_, "PRAGMA page_size")) return error_.sqlFail(db_, path_);
  int64_t pageSize = stmt.step() == SQLITE_ROW ? stmt.columnInt(0) : 0;
  struct stat st {};
  if (pageSize <= 0 || CEnv::current().statPath(path_, &st) != 0) return error_.sqlFail(db_, path_);
  if (st.st_size % pageSize != 0)
    return error_.fail(path_ + ": damaged, the file ends inside a page");
  return true;
}

bool CQbaseSchema::createFormat() {
  std::string sql = qbaseConcat(
      {"CREATE TABLE ", kFormatTable, " (format TEXT NOT NULL, version INTEGER NOT NULL)"});
  if (!qbaseExec(db_, sql.c_str(), error_)) return false;
  CQbaseStatement stmt;
  if (!stmt.prepare(
          db_, qbaseConcat({"INSERT INTO ", kFormatTable, " (format, version) VALUES (?1, ?2)"})))
    return error_.sqlFail(db_, path_);
  stmt.bindText(1, dict_->formatName());
  stmt.bindInt(2, dict_->formatVersion());
  if (stmt.step() != SQLITE_DONE) return error_.sqlFail(db_, path_);
  changed_ = true;
  return true;
}

bool CQbaseSchema::ensureTables() {
  CQbaseStatement info;
  if (!info.prepare(db_, "SELECT name FROM pragma_table_info(?1)"))
    return error_.sqlFail(db_, path_);
  for (const QbaseTable& t : tables_) {
    const QbaseRecordDef& def = *t.def;
    std::vector<std::string> columns;
    info.reset();
    info.bindText(1, def.table);
    int rc;
    while ((rc = info.step()) == SQLITE_ROW) columns.push_back(info.columnText(0));
    if (rc != SQLITE_DONE) return error_.sqlFail(db_, def.table);
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
      if (!qbaseExec(db_, sql.c_str(), error_)) return false;
      changed_ = true;
      continue;
    }
    if (!has(kKeyColumn))
      return error_.fail(path_ + ": table " + def.table + " is not a record table");
    for (const QbaseFieldDef& f : def.fields) {
      if (has(f.column)) continue;
      sql = qbaseConcat({"ALTER TABLE ", quoted(def.table), " ADD COLUMN ", quoted(f.column), " ",
                         qbaseColumnType(f.type)});
      if (!qbaseExec(db_, sql.c_str(), error_)) return false;
      changed_ = true;
    }
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

std::string CQbaseSchema::sqlOf(const QbaseRecordDef& def, QbaseStatementKind kind) const {
  const std::string table = quoted(def.table), columns = columnList(def);
  const std::string key = quoted(kKeyColumn);
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
  const std::string sql = sqlOf(*t.def, kind);
  if (!stmt.prepare(db_, sql, true)) {
    error_.sqlFail(db_, sql);
    return nullptr;
  }
  return &stmt;
}

void CQbaseSchema::finalizeStatements() {
  for (QbaseTable& t : tables_)
    for (CQbaseStatement& s : t.statements) s.finalize();
}
